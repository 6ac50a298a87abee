#include "recording_input.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace vlm::monitor {

bool open_recording(const std::string& path, std::ifstream& file, std::string& error) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    error = path + ": a directory, not a file";
    return false;
  }
  file.open(path, std::ios::binary);
  if (!file) error = path + ": " + std::system_category().message(errno);
  return static_cast<bool>(file);
}

}  // namespace vlm::monitor
