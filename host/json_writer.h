// JSON, written value by value.
#ifndef HOST_JSON_WRITER_H
#define HOST_JSON_WRITER_H

#include <string>
#include <string_view>
#include <type_traits>

namespace vlm::host {

/// `text` as a JSON string, in its quotes. Bytes that are not part of well-formed UTF-8 become
/// U+FFFD, control characters are escaped.
std::string json_string(std::string_view text);

/// An object or an array under way; json_object() and json_array() begin one.
class JsonBlock {
 public:
  /// In place of a depth: takes no line and no space, {"a":1,"b":[2,3]}.
  static constexpr int kOneLine = -1;

  /// Adds an element to an array.
  JsonBlock& element(const std::string& json);
  /// Adds a member to an object. The name is a plain text here as in what follows.
  JsonBlock& member(const char* name, const std::string& json);
  JsonBlock& text(const char* name, std::string_view value);
  JsonBlock& boolean(const char* name, bool value);
  template <typename Integer>
  JsonBlock& number(const char* name, Integer value) {
    static_assert(std::is_integral_v<Integer>, "a fraction has no one form");
    if constexpr (std::is_signed_v<Integer>) {
      return signed_number(name, value);
    } else {
      return unsigned_number(name, value);
    }
  }

  /// All that was added so far, closed.
  std::string str() const;

 private:
  friend JsonBlock json_object(int depth);
  friend JsonBlock json_array(int depth);
  JsonBlock(char opening, char closing, int depth);
  JsonBlock& signed_number(const char* name, long long value);
  JsonBlock& unsigned_number(const char* name, unsigned long long value);

  bool _one_line;
  std::string _indent;
  std::string _text;
  char _closing;
  bool _empty = true;
};

/// An object, or an array, `depth` blocks inside others: what it holds stands one a line, two spaces
/// further in than its own.
JsonBlock json_object(int depth = JsonBlock::kOneLine);
JsonBlock json_array(int depth = JsonBlock::kOneLine);

}  // namespace vlm::host

#endif  // HOST_JSON_WRITER_H
