#include "json_writer.h"

#include <cstdio>

#include "utf8.h"

namespace vlm::host {

namespace {

/// One character, as it stands in a string.
std::string escaped(std::string_view character) {
  const char first = character.front();
  if (first == '"' || first == '\\') return {'\\', first};
  if (!is_control(first)) return std::string(character);
  char code[8];
  std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(first));
  return code;
}

}  // namespace

std::string json_string(std::string_view text) {
  std::string result = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = utf8_character_size(text, at);
    result += size == 0 ? kReplacementCharacter : escaped(text.substr(at, size));
    at += size == 0 ? 1 : size;
  }
  return result + '"';
}

JsonBlock::JsonBlock(char opening, char closing, int depth)
    : _one_line(depth == kOneLine),
      _indent(_one_line ? 0 : 2 * static_cast<std::size_t>(depth), ' '),
      _text(1, opening),
      _closing(closing) {}

JsonBlock& JsonBlock::element(const std::string& json) {
  if (!_empty) _text += ',';
  if (!_one_line) _text += "\n  " + _indent;
  _text += json;
  _empty = false;
  return *this;
}

JsonBlock& JsonBlock::member(const char* name, const std::string& json) {
  return element(json_string(name) + (_one_line ? ":" : ": ") + json);
}

JsonBlock& JsonBlock::text(const char* name, std::string_view value) {
  return member(name, json_string(value));
}

JsonBlock& JsonBlock::boolean(const char* name, bool value) {
  return member(name, value ? "true" : "false");
}

JsonBlock& JsonBlock::signed_number(const char* name, long long value) {
  return member(name, std::to_string(value));
}

JsonBlock& JsonBlock::unsigned_number(const char* name, unsigned long long value) {
  return member(name, std::to_string(value));
}

std::string JsonBlock::str() const {
  return _text + (_empty || _one_line ? "" : "\n" + _indent) + _closing;
}

JsonBlock json_object(int depth) { return {'{', '}', depth}; }
JsonBlock json_array(int depth) { return {'[', ']', depth}; }

}  // namespace vlm::host
