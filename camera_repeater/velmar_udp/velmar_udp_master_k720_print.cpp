#include "velmar_udp_master_k720_print.h"

#include <cstdarg>
#include <cstdio>
#include <string>

void udp_say(const SourcePlace& place, const char* format, ...) {
  va_list args;
  va_start(args, format);
  flockfile(stdout);
  std::printf("[%s:%s][%u]: ", place.file, place.function, place.line);
  std::vprintf(format, args);
  funlockfile(stdout);
  va_end(args);
}

void udp_print_bytes(const char* title, const u8* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text = title;
  text.reserve(text.size() + size * 5 + size / 8 + 1);
  for (std::size_t i = 0; i < size; ++i) {
    const char byte[] = {'0', 'x', kDigits[bytes[i] >> 4], kDigits[bytes[i] & 0xF], ' '};
    text.append(byte, sizeof byte);
    if (i % 8 == 7) text += '\n';
  }
  text += '\n';
  std::fwrite(text.data(), 1, text.size(), stdout);
}
