#include "velmar_udp_master_k720_print.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

#include "velmar_output.h"
#include "vlm_udp_camctrl_defines.h"

void udp_say(const SourcePlace& place, const char* format, ...) {
  va_list args;
  va_start(args, format);
  flockfile(stdout);
  print_pieces({"[", place.file, ":", place.function, "][", Decimal(place.line), "]: "});
  std::vprintf(format, args);
  funlockfile(stdout);
  va_end(args);
}

void udp_say_text(const SourcePlace& place, const char* text) {
  print_pieces({"[", place.file, ":", place.function, "][", Decimal(place.line), "]: ", text});
}

void udp_say_number(const SourcePlace& place, const char* text, unsigned number) {
  print_pieces({"[", place.file, ":", place.function, "][", Decimal(place.line), "]: ", text,
                Decimal(number), "\n"});
}

void udp_print_bytes(const char* title, const u8* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  constexpr std::size_t kBytesAtOnce = sizeof(camctrl_msg_t);  // a multiple of a line's 8
  flockfile(stdout);
  std::fputs(title, stdout);
  for (std::size_t i = 0;;) {
    char text[kBytesAtOnce * 5 + kBytesAtOnce / 8 + 1];
    char* end = text;
    for (const std::size_t until = std::min(size, i + kBytesAtOnce); i < until; ++i) {
      const char byte[] = {'0', 'x', kDigits[bytes[i] >> 4], kDigits[bytes[i] & 0xF], ' '};
      end = std::copy(std::begin(byte), std::end(byte), end);
      if (i % 8 == 7) *end++ = '\n';
    }
    const bool last = i == size;
    if (last) *end++ = '\n';
    std::fwrite(text, 1, static_cast<std::size_t>(end - text), stdout);
    if (last) break;
  }
  funlockfile(stdout);
}
