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

bool is_same_file(const std::string& one, const std::string& other) {
  struct stat first {};
  struct stat second {};
  return one == other || (stat(one.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 &&
                          first.st_dev == second.st_dev && first.st_ino == second.st_ino);
}

}  // namespace vlm::monitor
