#include "time_report_json.h"

#include "time_report_format.h"

namespace vlm::time_report {

namespace {

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : printable(text)) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

/// The members of an object, or the elements of an array, one a line at an indentation.
class Block {
 public:
  Block(char opening, char closing, int depth)
      : _closing(closing), _indent(2 * static_cast<std::size_t>(depth), ' '), _text(1, opening) {}

  Block& element(const std::string& json) {
    _text += (_empty ? "\n  " : ",\n  ") + _indent + json;
    _empty = false;
    return *this;
  }
  Block& member(const char* name, const std::string& json) {
    return element(quoted(name) + ": " + json);
  }
  Block& text(const char* name, const std::string& value) { return member(name, quoted(value)); }
  template <typename Integer>
  Block& number(const char* name, Integer value) {
    return member(name, std::to_string(value));
  }

  std::string str() const { return _text + (_empty ? "" : "\n" + _indent) + _closing; }

 private:
  char _closing;
  std::string _indent;
  std::string _text;
  bool _empty = true;
};

Block object(int depth) { return {'{', '}', depth}; }
Block array(int depth) { return {'[', ']', depth}; }

/// "2024-03-05T07:08:09.012345Z".
std::string iso_text(std::int64_t time_us) {
  std::string text = utc_text(time_us) + "Z";
  text[text.find(' ')] = 'T';
  return text;
}

std::string intervals_json(const IntervalHistogram& intervals) {
  auto json = object(1);
  json.number("count", intervals.count());
  if (intervals.count() != 0) {
    json.number("min", intervals.min())
        .number("median", intervals.percentile(50))
        .number("p99", intervals.percentile(99))
        .number("max", intervals.max());
  }
  return json.str();
}

std::string unreadable_json(const std::vector<TimeLogFile>& files) {
  auto json = array(1);
  for (const auto& file : files) {
    json.element(object(2).text("file", file.name).text("reason", file.fault).str());
  }
  return json.str();
}

std::string event_json(const TimeEvent& event) {
  return object(2)
      .text("kind", kind_text(event.kind))
      .text("file", event.file)
      .number("line", event.position)
      .text("time", iso_text(event.time_us))
      .number("time_us", event.time_us)
      .number("size_us", event.size_us)
      .number("elapsed_us", event.elapsed_us)
      .str();
}

std::string events_json(const std::vector<TimeEvent>& events) {
  auto json = array(1);
  for (const auto& event : events) json.element(event_json(event));
  return json.str();
}

}  // namespace

std::string time_report_json(const TimeReport& report, const std::string& directory) {
  const auto& summary = report.summary();
  auto json = object(0);
  json.text("directory", directory)
      .member("clean", report.clean() ? "true" : "false")
      .number("jumps_back", report.count(TimeEventKind::kJumpBack))
      .number("jumps_forward", report.count(TimeEventKind::kJumpForward))
      .number("stalls", report.count(TimeEventKind::kStall))
      .number("interruptions", report.count(TimeEventKind::kInterruption))
      .number("stall_threshold_us", report.thresholds().stall_us)
      .number("jump_threshold_us", report.thresholds().jump_us)
      .number("files", summary.files)
      .number("missing_files", summary.missing_files)
      .member("unreadable_files", unreadable_json(summary.unreadable_files))
      .number("lines", summary.lines)
      .text("first", iso_text(summary.first_us))
      .number("first_us", summary.first_us)
      .text("last", iso_text(summary.last_us))
      .number("last_us", summary.last_us)
      .number("elapsed_us", summary.elapsed_us)
      .member("interval_us", intervals_json(report.intervals()))
      .number("short_intervals", summary.short_intervals)
      .number("lost_lines", summary.lost_lines)
      .number("doubled_lines", summary.doubled_lines)
      .number("out_of_order_lines", summary.out_of_order_lines)
      .number("garbage_lines", summary.garbage_lines)
      .number("torn_lines", summary.torn_lines)
      .member("events", events_json(report.events()));
  return json.str() + "\n";
}

}  // namespace vlm::time_report
