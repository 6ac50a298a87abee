#include "text_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "exit_status.h"

namespace vlm::ctl {

namespace {

constexpr std::size_t kLargest = 16U << 20;

std::string reason() { return std::system_category().message(errno); }

std::string read_text(std::FILE* file, const std::string& path) {
  std::string text;
  std::array<char, 4096> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file)) {
    text.append(buffer.data(), count);
    if (text.size() > kLargest) fail(kUsage, path, "it is too large");
  }
  if (std::ferror(file) != 0) fail(kUsage, path, reason());
  return text;
}

/// False: it was not written whole; errno is set. What can be brought to the disk is there then.
bool write_text(const std::string& path, const char* mode, const std::string& text) {
  std::FILE* const file = std::fopen(path.c_str(), mode);
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size() &&
                       std::fflush(file) == 0 && (fsync(fileno(file)) == 0 || errno == EINVAL);
  const int error = errno;
  const bool closed = std::fclose(file) == 0;
  if (!written) errno = error;
  return written && closed;
}

std::string read_path(const std::string& path) {
  if (path == "-") return read_text(stdin, path);
  std::FILE* const file = std::fopen(path.c_str(), "re");
  if (file == nullptr) fail(kUsage, path, reason());
  try {
    std::string text = read_text(file, path);
    std::fclose(file);
    return text;
  } catch (...) {
    std::fclose(file);
    throw;
  }
}

}  // namespace

std::vector<std::string> read_lines(const std::string& path) {
  const std::string text = read_path(path);
  std::vector<std::string> lines;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t end = std::min(text.find('\n', place), text.size());
    std::size_t size = end - place;
    if (size > 0 && text[place + size - 1] == '\r') --size;
    lines.push_back(text.substr(place, size));
    place = end + 1;
  }
  return lines;
}

void write_file(const std::string& path, const std::string& text) {
  struct stat there {};
  if (lstat(path.c_str(), &there) == 0 && !S_ISREG(there.st_mode)) {
    // A device, a pipe or a link stays what it is.
    if (!write_text(path, "we", text)) fail(kPartly, path, reason());
    return;
  }
  // Written beside it and then renamed, so that no reader sees half of it; under a name of its own,
  // so that two who write it do not mix.
  const std::string part = path + '.' + std::to_string(getpid());
  std::remove(part.c_str());
  if (write_text(part, "wxe", text) && std::rename(part.c_str(), path.c_str()) == 0) return;
  const std::string fault = reason();
  std::remove(part.c_str());
  fail(kPartly, path, fault);
}

}  // namespace vlm::ctl
