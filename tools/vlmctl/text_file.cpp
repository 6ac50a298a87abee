#include "text_file.h"

#include <fcntl.h>
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
  // Written beside it and then renamed, so that no reader sees half of it.
  const std::string part = path + ".part";
  std::FILE* const file = std::fopen(part.c_str(), "we");
  if (file == nullptr) fail(kPartly, path, reason());
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size() &&
                       std::fflush(file) == 0 && fsync(fileno(file)) == 0;
  const std::string why = reason();
  const bool closed = std::fclose(file) == 0;
  if (written && closed && std::rename(part.c_str(), path.c_str()) == 0) return;
  const std::string fault = written ? reason() : why;
  std::remove(part.c_str());
  fail(kPartly, path, fault);
}

}  // namespace vlm::ctl
