#include "time_report_json.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace vlm::time_report;

constexpr std::int64_t kStart = 1'709'622'489'012'345;

TEST(TimeReportJson, HoldsTheWholeReport) {
  TimeReport report{TimeThresholds{}};
  report.begin_file({1, "log_time_file_0001.log", ""});
  report.line(1, {1, kStart});
  report.line(2, {2, kStart + 10'061});
  report.line(3, {3, kStart + 2'320'122});
  report.line(4, {4, kStart - 3'600'000'000});
  report.unreadable({2, "log_time_file_0002.log", ""}, "Is \"broken\"");
  report.finish();
  EXPECT_EQ(time_report_json(report, "/sdcard/log_time_dir"), R"({
  "directory": "/sdcard/log_time_dir",
  "clean": false,
  "jumps_back": 1,
  "jumps_forward": 0,
  "stalls": 1,
  "interruptions": 0,
  "stall_threshold_us": 100000,
  "jump_threshold_us": 10000000,
  "files": 1,
  "missing_files": 0,
  "unreadable_files": [
    {
      "file": "log_time_file_0002.log",
      "reason": "Is \"broken\""
    }
  ],
  "lines": 4,
  "first": "2024-03-05T07:08:09.012345Z",
  "first_us": 1709622489012345,
  "last": "2024-03-05T06:08:09.012345Z",
  "last_us": 1709618889012345,
  "elapsed_us": 2320122,
  "interval_us": {
    "count": 2,
    "min": 10061,
    "median": 10061,
    "p99": 2310061,
    "max": 2310061
  },
  "short_intervals": 0,
  "lost_lines": 0,
  "doubled_lines": 0,
  "out_of_order_lines": 0,
  "garbage_lines": 0,
  "torn_lines": 0,
  "events": [
    {
      "kind": "stall",
      "file": "log_time_file_0001.log",
      "line": 3,
      "time": "2024-03-05T07:08:11.332467Z",
      "time_us": 1709622491332467,
      "size_us": 2310061,
      "elapsed_us": 2320122
    },
    {
      "kind": "jump back",
      "file": "log_time_file_0001.log",
      "line": 4,
      "time": "2024-03-05T06:08:09.012345Z",
      "time_us": 1709618889012345,
      "size_us": -3602320122,
      "elapsed_us": 2320122
    }
  ]
}
)");
}

TEST(TimeReportJson, HasEmptyListsAndNoIntervalsOfOneLine) {
  TimeReport report{TimeThresholds{}};
  report.begin_file({1, "log_time_file_0001.log", ""});
  report.line(1, {1, 0});
  report.finish();
  const auto json = time_report_json(report, "d");
  for (const auto* part :
       {"\n  \"clean\": true,\n", "\n  \"unreadable_files\": [],\n", "\n  \"events\": []\n}\n",
        "\n  \"interval_us\": {\n    \"count\": 0\n  },\n",
        "\n  \"first\": \"1970-01-01T00:00:00.000000Z\",\n"}) {
    EXPECT_NE(json.find(part), std::string::npos) << part;
  }
}

TEST(TimeReportJson, EscapesNames) {
  TimeReport report{TimeThresholds{}};
  report.begin_file({1, "log_time_file_0001.log", ""});
  report.line(1, {1, 0});
  report.finish();
  const auto json = time_report_json(report, "a\"b\\c\n\xff\xc3\xa9");
  EXPECT_EQ(json.substr(0, json.find(",\n")),
            "{\n  \"directory\": \"a\\\"b\\\\c\xEF\xBF\xBD\xEF\xBF\xBD\xc3\xa9\"");
}

}  // namespace
