// Objects of JSON, on one line each.
#ifndef VLMCTL_JSON_H
#define VLMCTL_JSON_H

#include <string>
#include <string_view>

namespace vlm::ctl {

/// A text with its quotes. Bytes that are not UTF-8 become the replacement character.
std::string json_text(std::string_view text);

/// Builds "{...}" or "[...]" from parts that are JSON already.
class JsonBuilder {
 public:
  static JsonBuilder object() { return JsonBuilder('{', '}'); }
  static JsonBuilder array() { return JsonBuilder('[', ']'); }

  /// Of an object. `json` is a value written in JSON.
  JsonBuilder& add(std::string_view key, const std::string& json);
  JsonBuilder& add_text(std::string_view key, std::string_view text);
  JsonBuilder& add_number(std::string_view key, long long number);
  /// Of an array.
  JsonBuilder& append(const std::string& json);

  bool empty() const { return _text.size() == 1; }
  std::string text() const { return _text + _end; }

 private:
  JsonBuilder(char begin, char end) : _text(1, begin), _end(end) {}
  void part();

  std::string _text;
  char _end;
};

}  // namespace vlm::ctl

#endif  // VLMCTL_JSON_H
