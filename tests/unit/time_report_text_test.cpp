#include "time_report_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace vlm::time_report;

constexpr std::int64_t kStart = 1'709'622'489'012'345;

TimeLogFile log_file(int serial) {
  return {serial, "log_time_file_000" + std::to_string(serial) + ".log", ""};
}

std::string text_of(TimeReport& report) {
  report.finish();
  return time_report_text(report, "/sdcard/log_time_dir");
}

TEST(TimeReportText, OfACleanLogIsShort) {
  TimeReport report{TimeThresholds{}};
  report.begin_file(log_file(1));
  for (int i = 0; i < 3; ++i) report.line(1, {1 + i, kStart + i * 10'061});
  EXPECT_EQ(text_of(report),
            "clean: 0 jumps back, 0 jumps forward, 0 stalls\n"
            "log       /sdcard/log_time_dir: 1 file, 3 lines\n"
            "from      2024-03-05 07:08:09.012345 UTC\n"
            "to        2024-03-05 07:08:09.032467 UTC\n"
            "interval  10.061 ms min, 10.061 ms median, 10.061 ms p99, 10.061 ms max\n"
            "lines     0 lost, 0 doubled, 0 out of order, 0 garbage, 0 torn\n");
}

TEST(TimeReportText, OfOneLineHasNoInterval) {
  TimeReport report{TimeThresholds{}};
  report.begin_file(log_file(1));
  report.line(1, {1, kStart});
  EXPECT_EQ(text_of(report),
            "clean: 0 jumps back, 0 jumps forward, 0 stalls\n"
            "log       /sdcard/log_time_dir: 1 file, 1 line\n"
            "from      2024-03-05 07:08:09.012345 UTC\n"
            "to        2024-03-05 07:08:09.012345 UTC\n"
            "interval  none\n"
            "lines     0 lost, 0 doubled, 0 out of order, 0 garbage, 0 torn\n");
}

TEST(TimeReportText, TellsEverythingThatWasFound) {
  TimeReport report{TimeThresholds{}};
  report.begin_file(log_file(1));
  report.line(1, {1, kStart});
  report.line(2, {1, kStart});
  report.line(3, {2, kStart + 5'000});
  report.line(4, {5, kStart + 35'000});
  report.line(5, {4, kStart + 25'000});
  report.line(6, {6, kStart + 2'345'000});
  report.garbage_line();
  report.line(8, {7, kStart + 62'345'000});
  report.torn_line();
  report.begin_file(log_file(4));
  report.line(1, {1, kStart + 100'000'000});
  report.line(2, {2, kStart - 86'400'000'000});
  report.unreadable(log_file(5), "Input/output error");
  EXPECT_EQ(
      text_of(report),
      "FAULTY: 1 jump back, 1 jump forward, 1 stall\n"
      "log       /sdcard/log_time_dir: 2 files, 9 lines\n"
      "from      2024-03-05 07:08:09.012345 UTC\n"
      "to        2024-03-04 07:08:09.012345 UTC\n"
      "interval  5.000 ms min, 5.000 ms median, 2310.000 ms p99, 2310.000 ms max\n"
      "lines     1 lost, 1 doubled, 1 out of order, 1 garbage, 1 torn\n"
      "short     1 intervals below 9 ms: the clock was set back by less than an interval\n"
      "broken    1 times: the logger did not run, or files are gone\n"
      "missing   2 files between the first and the last\n"
      "unread    1 files could not be read\n"
      "\n"
      "log_time_file_0001.log:6      2024-03-05 07:08:11.357345  stall                 +2.310 s\n"
      "log_time_file_0001.log:8      2024-03-05 07:09:11.357345  jump forward      +0:01:00.000\n"
      "log_time_file_0004.log:1      2024-03-05 07:09:49.012345  interruption         +37.655 s\n"
      "log_time_file_0004.log:2      2024-03-04 07:08:09.012345  jump back     -1 d 0:01:40.000\n");
}

TEST(TimeReportText, SaysWhenNotAllEventsAreListed) {
  TimeReport report{TimeThresholds{}};
  report.begin_file(log_file(1));
  for (int i = 0; i < 102; ++i) report.line(1, {1 + i, kStart + i * 200'000});
  const auto text = text_of(report);
  EXPECT_NE(text.find("FAULTY: 0 jumps back, 0 jumps forward, 101 stalls\n"), std::string::npos);
  EXPECT_NE(text.find("\nOf 101 events of the kind \"stall\", the 100 largest are listed.\n"),
            std::string::npos);
}

TEST(TimeReportText, PrintsOddDirectoryNames) {
  TimeReport report{TimeThresholds{}};
  report.begin_file(log_file(1));
  report.line(1, {1, kStart});
  report.finish();
  const auto text = time_report_text(report,
                                     "odd\n\xff"
                                     "dir");
  EXPECT_NE(text.find("\nlog       odd\xEF\xBF\xBD\xEF\xBF\xBD"
                      "dir: 1 file"),
            std::string::npos);
}

}  // namespace
