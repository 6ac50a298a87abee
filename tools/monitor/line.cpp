#include "line.h"

#include <algorithm>
#include <cstdio>

#include "command_name.h"

namespace vlm::monitor {

namespace {

constexpr char kPlain[] = "\033[0m";
constexpr char kRed[] = "\033[31m";
constexpr char kYellow[] = "\033[1;33m";
constexpr char kCyan[] = "\033[36m";
constexpr std::int64_t kMs = 1'000'000;
constexpr std::int64_t kSecond = 1'000'000'000;

std::string coloured(const std::string& text, const char* colour, const LineStyle& style) {
  return style.colour && !text.empty() ? colour + text + kPlain : text;
}

/// "[dropped 5]"; empty for no mark.
std::string mark_text(const Finding& finding) {
  if (finding.mark == Mark::kNone) return {};
  const std::string count =
      finding.mark == Mark::kDropped ? ' ' + std::to_string(finding.dropped) : "";
  return std::string("[") + name_of(finding.mark) + count + ']';
}

/// The word at the line's beginning: short, so that names stand below one another.
const char* word_of(const Observation& observation) {
  if (observation.number == 0) return "timeout";
  switch (observation.decoded.kind) {
    case Kind::kRequest: return "request";
    case Kind::kReply: return "reply";
    case Kind::kNotification: return "notify";
    case Kind::kSideRequest: return "side";
    case Kind::kSideReply: return "ack";
    case Kind::kProbe: return "probe";
    case Kind::kNote: return "note";
    default: return "other";
  }
}

std::string result_words(const Observation& observation, const LineStyle& style) {
  if (observation.decoded.kind != Kind::kReply) return {};
  const int result = observation.decoded.result;
  if (result == 0) return " ok";
  return ' ' + coloured("error " + std::to_string(result) + " (" + result_text(result) + ')', kRed,
                        style);
}

std::string value_words(const Decoded& decoded) {
  std::string text;
  for (const Value& value : decoded.values) {
    const bool quoted = !value.is_number && value.text.find_first_of(" \"") != value.text.npos;
    text += ' ' + value.name + '=' + (quoted ? '"' + value.text + '"' : value.text);
  }
  return text;
}

std::string hex_rows(const Bytes& bytes) {
  constexpr std::size_t kRow = 32;
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += kRow) {
    char offset[32];
    std::snprintf(offset, sizeof offset, "        %04zx  ", at);
    text += offset + hexadecimal(bytes.data() + at, std::min(kRow, bytes.size() - at)) + '\n';
  }
  return text;
}

/// The members of a JSON object, in their order.
class JsonObject {
 public:
  void raw(const char* key, const std::string& value) {
    _text += _text.empty() ? "{" : ",";
    _text += json_string(key) + ':' + value;
  }
  void text(const char* key, std::string_view value) { raw(key, json_string(value)); }
  void number(const char* key, std::int64_t value) { raw(key, std::to_string(value)); }
  std::string str() const { return _text.empty() ? "{}" : _text + '}'; }

 private:
  std::string _text;
};

std::string json_values(const Decoded& decoded) {
  JsonObject object;
  for (const Value& value : decoded.values) {
    object.raw(value.name.c_str(), value.is_number ? value.text : json_string(value.text));
  }
  return object.str();
}

/// The length of the UTF-8 sequence at the beginning of `text`, 0 for none.
std::size_t sequence_length(std::string_view text) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  std::size_t length = 0;
  if (byte(0) < 0x80) length = 1;
  if (byte(0) >= 0xC2 && byte(0) < 0xE0) length = 2;
  if (byte(0) >= 0xE0 && byte(0) < 0xF0) length = 3;
  if (byte(0) >= 0xF0 && byte(0) < 0xF5) length = 4;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const bool overlong = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
  const bool no_character =
      (byte(0) == 0xED && byte(1) >= 0xA0) || (byte(0) == 0xF4 && byte(1) >= 0x90);
  return overlong || no_character ? 0 : length;
}

}  // namespace

std::string seconds(std::int64_t ns, int digits) {
  const bool negative = ns < 0;
  const auto size = negative ? 0 - static_cast<std::uint64_t>(ns) : static_cast<std::uint64_t>(ns);
  char text[48];
  std::snprintf(text, sizeof text, "%s%llu.%09llu", negative ? "-" : "",
                static_cast<unsigned long long>(size / kSecond),
                static_cast<unsigned long long>(size % kSecond));
  std::string result = text;
  result.resize(result.size() - static_cast<std::size_t>(9 - digits));
  return result;
}

std::string milliseconds(std::int64_t ns) {
  char text[48];
  std::snprintf(text, sizeof text, "%.3f", static_cast<double>(ns) / kMs);
  return text;
}

std::string text_line(const Observation& observation, const LineStyle& style) {
  const Decoded& decoded = observation.decoded;
  const Finding& finding = observation.finding;
  const std::string number = observation.number == 0 ? "-" : std::to_string(observation.number);
  char head[80];
  std::snprintf(head, sizeof head, "%6s %12s %-7s ", number.c_str(),
                seconds(observation.since_ns, 6).c_str(), word_of(observation));
  std::string line = head + coloured(decoded.name, kCyan, style);
  if (observation.number == 0) {
    line += " request " + std::to_string(finding.request) + " after " +
            std::to_string(observation.limit_ns / kMs) + " ms";
  }
  line += result_words(observation, style);
  if (finding.round_trip_ns) line += ' ' + milliseconds(*finding.round_trip_ns) + " ms";
  line += value_words(decoded);
  if (!observation.entry.comment.empty() && decoded.kind != Kind::kNote) {
    line += " (" + printable(observation.entry.comment) + ')';
  }
  const std::string mark = mark_text(finding);
  if (!mark.empty()) line += ' ' + coloured(mark, kYellow, style);
  return line + '\n' + (style.hex ? hex_rows(observation.entry.packet) : "");
}

std::string json_line(const Observation& observation, bool hex) {
  const Decoded& decoded = observation.decoded;
  const Finding& finding = observation.finding;
  const bool is_packet = observation.number != 0;
  JsonObject object;
  object.raw("number", is_packet ? std::to_string(observation.number) : "null");
  object.raw("time", seconds(observation.time_ns, 9));
  object.raw("since", seconds(observation.since_ns, 9));
  object.text("kind", is_packet ? name_of(decoded.kind) : "timeout");
  object.raw("channel", is_packet && decoded.kind != Kind::kNote
                            ? json_string(observation.entry.channel)
                            : "null");
  object.raw("code", decoded.code < 0 ? "null" : std::to_string(decoded.code));
  object.text("name", decoded.name);
  if (decoded.kind == Kind::kReply && is_packet) {
    object.number("err", decoded.result);
    object.text("err_text", result_text(decoded.result));
  }
  object.raw("values", json_values(decoded));
  object.raw("round_trip_ms",
             finding.round_trip_ns ? milliseconds(*finding.round_trip_ns) : "null");
  object.raw("request", finding.request == 0 ? "null" : std::to_string(finding.request));
  object.raw("mark", finding.mark == Mark::kNone ? "null" : json_string(name_of(finding.mark)));
  if (finding.mark == Mark::kDropped) {
    object.number("dropped", static_cast<std::int64_t>(finding.dropped));
  }
  if (!observation.entry.comment.empty()) object.text("comment", observation.entry.comment);
  if (hex && is_packet) {
    object.text("bytes",
                hexadecimal(observation.entry.packet.data(), observation.entry.packet.size()));
  }
  return object.str() + '\n';
}

std::string json_string(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::size_t length = sequence_length(text);
    const auto first = static_cast<unsigned char>(text.front());
    if (length == 0) {
      result += "\\ufffd";
    } else if (first < 0x20 || first == '"' || first == '\\' || first == 0x7F) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", first);
      result += escaped;
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result + '"';
}

}  // namespace vlm::monitor
