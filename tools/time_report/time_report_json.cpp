#include "time_report_json.h"

#include "json_writer.h"
#include "time_report_format.h"
#include "utf8.h"

namespace vlm::time_report {

namespace {

using host::json_array;
using host::json_object;

/// What the other outputs show, too: no control character is kept.
std::string shown(const std::string& text) { return host::printable(text); }

/// "2024-03-05T07:08:09.012345Z".
std::string iso_text(std::int64_t time_us) {
  std::string text = utc_text(time_us) + "Z";
  text[text.find(' ')] = 'T';
  return text;
}

std::string intervals_json(const IntervalHistogram& intervals) {
  auto json = json_object(1);
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
  auto json = json_array(1);
  for (const auto& file : files) {
    json.element(
        json_object(2).text("file", shown(file.name)).text("reason", shown(file.fault)).str());
  }
  return json.str();
}

std::string event_json(const TimeEvent& event) {
  return json_object(2)
      .text("kind", kind_text(event.kind))
      .text("file", shown(event.file))
      .number("line", event.position)
      .text("time", iso_text(event.time_us))
      .number("time_us", event.time_us)
      .number("size_us", event.size_us)
      .number("elapsed_us", event.elapsed_us)
      .str();
}

std::string events_json(const std::vector<TimeEvent>& events) {
  auto json = json_array(1);
  for (const auto& event : events) json.element(event_json(event));
  return json.str();
}

}  // namespace

std::string time_report_json(const TimeReport& report, const std::string& directory) {
  const auto& summary = report.summary();
  auto json = json_object(0);
  json.text("directory", shown(directory))
      .boolean("clean", report.clean())
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
