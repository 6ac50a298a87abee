// Moves values in and out of command payloads, whose fields may be unaligned. Little-endian, as the
// machine is.
#ifndef CAMERA_SIM_PAYLOAD_BYTES_H
#define CAMERA_SIM_PAYLOAD_BYTES_H

#include <cstring>
#include <string>

#include "vlm_camera_payloads.h"

namespace vlm::sim {

/// Bytes of every command payload.
constexpr std::size_t kPayloadSize = 128;

/// The value of type T at the start of `bytes`, which hold at least sizeof(T).
template <typename T>
T load(const u8* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// Puts `value` at the start of `bytes`, which have room for it.
template <typename T>
void store(u8* bytes, T value) {
  std::memcpy(bytes, &value, sizeof value);
}

/// The text in the first `size` bytes: up to its terminator, or all of them when there is none.
inline std::string load_text(const u8* bytes, std::size_t size = kPayloadSize) {
  const char* text = reinterpret_cast<const char*>(bytes);
  return std::string(text, strnlen(text, size));
}

}  // namespace vlm::sim

#endif  // CAMERA_SIM_PAYLOAD_BYTES_H
