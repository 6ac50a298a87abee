#include "utf8.h"

namespace vlm::host {

std::size_t utf8_character_size(std::string_view text, std::size_t at) {
  if (at >= text.size()) return 0;
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const unsigned lead = byte(at);
  if (lead < 0x80) return 1;
  const std::size_t size = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  // The second byte is narrower after some first ones: no overlong forms, no surrogates, nothing
  // beyond U+10FFFF.
  unsigned least = 0x80;
  unsigned most = 0xbf;
  if (lead == 0xe0) least = 0xa0;
  if (lead == 0xed) most = 0x9f;
  if (lead == 0xf0) least = 0x90;
  if (lead == 0xf4) most = 0x8f;
  if (lead < 0xc2 || lead > 0xf4 || byte(at + 1) < least || byte(at + 1) > most) return 0;
  for (std::size_t i = at + 2; i < at + size; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xbf) return 0;
  }
  return size;
}

std::string printable(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = utf8_character_size(text, at);
    if (size == 0 || is_control(text[at])) {
      result += kReplacementCharacter;
    } else {
      result += text.substr(at, size);
    }
    at += size == 0 ? 1 : size;
  }
  return result;
}

}  // namespace vlm::host
