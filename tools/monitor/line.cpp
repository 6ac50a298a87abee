#include "line.h"

#include <algorithm>
#include <cstdio>

#include "command_name.h"
#include "json_writer.h"

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

std::string json_values(const Decoded& decoded) {
  auto object = host::json_object();
  for (const Value& value : decoded.values) {
    object.member(value.name.c_str(), value.is_number ? value.text : host::json_string(value.text));
  }
  return object.str();
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
  auto object = host::json_object();
  object.member("number", is_packet ? std::to_string(observation.number) : "null");
  object.member("time", seconds(observation.time_ns, 9));
  object.member("since", seconds(observation.since_ns, 9));
  object.text("kind", is_packet ? name_of(decoded.kind) : "timeout");
  object.member("channel", is_packet && decoded.kind != Kind::kNote
                               ? host::json_string(observation.entry.channel)
                               : "null");
  object.member("code", decoded.code < 0 ? "null" : std::to_string(decoded.code));
  object.text("name", decoded.name);
  if (decoded.kind == Kind::kReply && is_packet) {
    object.number("err", decoded.result);
    object.text("err_text", result_text(decoded.result));
  }
  object.member("values", json_values(decoded));
  object.member("round_trip_ms",
                finding.round_trip_ns ? milliseconds(*finding.round_trip_ns) : "null");
  object.member("request", finding.request == 0 ? "null" : std::to_string(finding.request));
  object.member("mark",
                finding.mark == Mark::kNone ? "null" : host::json_string(name_of(finding.mark)));
  if (finding.mark == Mark::kDropped) {
    object.number("dropped", finding.dropped);
  }
  if (!observation.entry.comment.empty()) object.text("comment", observation.entry.comment);
  if (hex && is_packet) {
    object.text("bytes",
                hexadecimal(observation.entry.packet.data(), observation.entry.packet.size()));
  }
  return object.str() + '\n';
}

}  // namespace vlm::monitor
