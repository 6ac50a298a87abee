#include "json.h"

#include <cstdio>

namespace vlm::ctl {

namespace {

using Byte = unsigned char;

bool is_continuation(Byte byte) { return (byte & 0xC0) == 0x80; }

/// The bytes of the character at the start of `text`; 0: they are not UTF-8.
std::size_t character_size(std::string_view text) {
  const auto at = [text](std::size_t i) {
    return i < text.size() ? static_cast<Byte>(text[i]) : 0;
  };
  const auto first = static_cast<Byte>(at(0));
  const auto second = static_cast<Byte>(at(1));
  if (first < 0x80) return 1;
  std::size_t size = 0;
  if (first >= 0xC2 && first <= 0xDF) size = 2;
  if (first >= 0xE0 && first <= 0xEF) size = 3;
  if (first >= 0xF0 && first <= 0xF4) size = 4;
  // No long forms, no surrogates, nothing beyond the last character.
  const bool wrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  for (std::size_t i = 1; i < size; ++i) {
    if (wrong || !is_continuation(static_cast<Byte>(at(i)))) return 0;
  }
  return size;
}

std::string escaped(char letter) {
  if (letter == '"' || letter == '\\') return {'\\', letter};
  if (static_cast<Byte>(letter) >= 0x20 && letter != 0x7F) return {letter};
  char escape[8] = {};
  std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(static_cast<Byte>(letter)));
  return escape;
}

}  // namespace

std::string json_text(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t size = character_size(text);
    if (size == 0) json += "\\ufffd";
    if (size == 1) json += escaped(text[0]);
    if (size > 1) json += text.substr(0, size);
    text.remove_prefix(size == 0 ? 1 : size);
  }
  return json + '"';
}

void JsonBuilder::part() {
  if (!empty()) _text += ',';
}

JsonBuilder& JsonBuilder::add(std::string_view key, const std::string& json) {
  part();
  _text += json_text(key) + ':' + json;
  return *this;
}

JsonBuilder& JsonBuilder::add_text(std::string_view key, std::string_view text) {
  return add(key, json_text(text));
}

JsonBuilder& JsonBuilder::add_number(std::string_view key, long long number) {
  return add(key, std::to_string(number));
}

JsonBuilder& JsonBuilder::append(const std::string& json) {
  part();
  _text += json;
  return *this;
}

}  // namespace vlm::ctl
