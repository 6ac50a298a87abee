#include "time_report_text.h"

#include "time_report_format.h"
#include "utf8.h"

namespace vlm::time_report {

namespace {

std::string row(const char* name, const std::string& text) {
  return format("%-10s", name) + text + "\n";
}

/// Nothing when there is nothing to say.
std::string row_of_count(const char* name, std::uint64_t count, const std::string& text) {
  return count == 0 ? "" : row(name, std::to_string(count) + " " + text);
}

std::string milliseconds(std::int64_t us) {
  return format("%lld.%03lld ms", static_cast<long long>(us / 1000),
                static_cast<long long>(us % 1000));
}

std::string interval_text(const IntervalHistogram& intervals) {
  if (intervals.count() == 0) return "none";
  return milliseconds(intervals.min()) + " min, " + milliseconds(intervals.percentile(50)) +
         " median, " + milliseconds(intervals.percentile(99)) + " p99, " +
         milliseconds(intervals.max()) + " max";
}

std::string lines_text(const TimeSummary& summary) {
  return format("%llu lost, %llu doubled, %llu out of order, %llu garbage, %llu torn",
                static_cast<unsigned long long>(summary.lost_lines),
                static_cast<unsigned long long>(summary.doubled_lines),
                static_cast<unsigned long long>(summary.out_of_order_lines),
                static_cast<unsigned long long>(summary.garbage_lines),
                static_cast<unsigned long long>(summary.torn_lines));
}

std::string log_text(const TimeReport& report, const std::string& directory) {
  const auto& summary = report.summary();
  return row("log", host::printable(directory) + ": " + count_text(summary.files, "file") + ", " +
                        count_text(summary.lines, "line")) +
         row("from", utc_text(summary.first_us) + " UTC") +
         row("to", utc_text(summary.last_us) + " UTC") +
         row("interval", interval_text(report.intervals())) + row("lines", lines_text(summary)) +
         row_of_count("short", summary.short_intervals,
                      "intervals below 9 ms: the clock was set back by less than an interval") +
         row_of_count("broken", report.count(TimeEventKind::kInterruption),
                      "times: the logger did not run, or files are gone") +
         row_of_count("missing", summary.missing_files, "files between the first and the last") +
         row_of_count("unread", summary.unreadable_files.size(), "files could not be read");
}

std::string event_text(const TimeEvent& event) {
  const auto place = event.file + ":" + std::to_string(event.position);
  return format("%-28s  %s  %-12s  %16s\n", place.c_str(), utc_text(event.time_us).c_str(),
                kind_text(event.kind), span_text(event.size_us).c_str());
}

std::string events_text(const TimeReport& report) {
  std::string text;
  for (const auto& event : report.events()) text += event_text(event);
  for (std::size_t i = 0; i < kTimeEventKinds; ++i) {
    const auto kind = static_cast<TimeEventKind>(i);
    if (report.count(kind) > LargestEvents::kKept) {
      text += format("Of %llu events of the kind \"%s\", the %zu largest are listed.\n",
                     static_cast<unsigned long long>(report.count(kind)), kind_text(kind),
                     LargestEvents::kKept);
    }
  }
  return text.empty() ? "" : "\n" + text;
}

}  // namespace

std::string time_report_text(const TimeReport& report, const std::string& directory) {
  const auto verdict = report.clean() ? "clean: " : "FAULTY: ";
  return verdict + faults_text(report) + "\n" + log_text(report, directory) + events_text(report);
}

}  // namespace vlm::time_report
