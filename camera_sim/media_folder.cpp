// The pictures are of the simplest kind that every viewer shows: baseline, one component, and blocks
// that are all alike, so that each takes two bits. Those of the raw format are kept so, too.
#include "media_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "payload_bytes.h"
#include "reason.h"

namespace vlm::sim {

namespace {

constexpr char kCard[] = "/sdcard/";
constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;

std::string big_endian(unsigned value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

/// A part of a JPEG file; its length counts itself.
std::string segment(char marker, const std::string& content) {
  return std::string("\xFF") + marker + big_endian(static_cast<unsigned>(content.size()) + 2) +
         content;
}

std::string frame_header() {
  const char one_component[] = {1, 1, 0x11, 0};
  return '\x08' + big_endian(kHeight) + big_endian(kWidth) + '\x01' +
         std::string(one_component, sizeof one_component);
}

/// A table of one code, the bit 0, which stands for nothing: the same as before, or no more in the
/// block.
std::string code_table(char which) {
  std::string table(1 + 16 + 1, '\0');
  table[0] = which;
  table[1] = 1;
  return table;
}

std::string failure(const std::string& what) { return what + ": " + host::reason(); }

/// Makes the folders on the way to `file`.
void make_folders(const std::string& file) {
  for (auto slash = file.find('/', 1); slash != std::string::npos;
       slash = file.find('/', slash + 1)) {
    mkdir(file.substr(0, slash).c_str(), S_IRWXU | S_IRWXG | S_IRWXO);
  }
}

/// False with errno set when not all of `bytes` could be written.
bool write_file(const std::string& path, const std::string& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd < 0) return false;
  const ssize_t written = write(fd, bytes.data(), bytes.size());
  if (written >= 0 && written < static_cast<ssize_t>(bytes.size())) errno = ENOSPC;
  return close(fd) == 0 && written == static_cast<ssize_t>(bytes.size());
}

}  // namespace

std::string jpeg_of(const udp_ctrl_cam_misc_image_info_t& picture) {
  char comment[160];
  std::snprintf(
      comment, sizeof comment,
      "VLMSIM image %u roll %.1f pitch %.1f yaw %.1f latitude %.6f longitude %.6f altitude %.1f",
      picture.image_index, static_cast<double>(picture.roll), static_cast<double>(picture.pitch),
      static_cast<double>(picture.yaw), picture.latitude, picture.longitude,
      static_cast<double>(picture.altitude));
  const char scan_header[] = {1, 1, 0, 0, 63, 0};
  constexpr unsigned kBlocks = kWidth / 8 * (kHeight / 8);
  static_assert(kBlocks % 4 == 0, "the last byte is a whole one");
  return "\xFF\xD8" + segment('\xFE', comment) + segment('\xDB', '\0' + std::string(64, '\x10')) +
         segment('\xC0', frame_header()) + segment('\xC4', code_table('\x00')) +
         segment('\xC4', code_table('\x10')) +
         segment('\xDA', std::string(scan_header, sizeof scan_header)) +
         std::string(kBlocks / 4, '\0') + "\xFF\xD9";
}

std::string MediaFolder::keep(const udp_ctrl_cam_misc_image_info_t& picture) const {
  const std::string url = load_text(reinterpret_cast<const u8*>(picture.url), sizeof picture.url);
  if (picture.result != 0 || url.compare(0, std::strlen(kCard), kCard) != 0) return {};
  const std::string file = _path + '/' + url.substr(std::strlen(kCard));
  make_folders(file);
  const std::string unfinished = file + ".part";
  if (!write_file(unfinished, jpeg_of(picture))) return failure(unfinished);
  if (rename(unfinished.c_str(), file.c_str()) != 0) return failure(file);
  return {};
}

}  // namespace vlm::sim
