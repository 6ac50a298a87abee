// Console output of the camera-control service and its test client.
#ifndef VELMAR_UDP_MASTER_K720_PRINT_H
#define VELMAR_UDP_MASTER_K720_PRINT_H

#include <cstddef>

#include "vlm_camera_payloads.h"

/// Where a message comes from.
struct SourcePlace {
  const char* file;
  const char* function;
  unsigned line;
};

/// The place of the call.
constexpr SourcePlace udp_here(const char* file = __builtin_FILE(),
                               const char* function = __builtin_FUNCTION(),
                               unsigned line = __builtin_LINE()) {
  return {file, function, line};
}

/// Prints a message prefixed "[file:function][line]: "; other threads' output stays outside it.
void udp_say(const SourcePlace& place, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// The same for a text as it is, and for `text`, a number and a newline: what every datagram prints
/// goes these ways.
void udp_say_text(const SourcePlace& place, const char* text);
void udp_say_number(const SourcePlace& place, const char* text, unsigned number);

/// Prints `title` and then each of `size` bytes as "0x%02x ", with a newline after every 8th and one
/// at the end. Other threads' output stays outside it. Allocates nothing.
void udp_print_bytes(const char* title, const u8* bytes, std::size_t size);

#endif  // VELMAR_UDP_MASTER_K720_PRINT_H
