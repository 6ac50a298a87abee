// Texts from outside, which may be no UTF-8.
#ifndef HOST_UTF8_H
#define HOST_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vlm::host {

/// U+FFFD, which stands for what is no character.
constexpr char kReplacementCharacter[] = "\xEF\xBF\xBD";

/// Bytes of the well-formed UTF-8 character at `at`, 1 to 4; 0 when there is none.
std::size_t utf8_character_size(std::string_view text, std::size_t at);

/// Whether `c` is one of the control characters of ASCII.
inline bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

/// `text` with every byte that is not part of well-formed UTF-8 and every control character
/// replaced by U+FFFD.
std::string printable(std::string_view text);

}  // namespace vlm::host

#endif  // HOST_UTF8_H
