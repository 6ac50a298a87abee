#include "time_report_format.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::time_report;

constexpr std::int64_t kMs = 1'000;
constexpr std::int64_t kSecond = 1'000 * kMs;

TEST(TimeReportFormat, WritesTimesInUtc) {
  EXPECT_EQ(utc_text(1'709'622'489'012'345), "2024-03-05 07:08:09.012345");
  EXPECT_EQ(utc_text(0), "1970-01-01 00:00:00.000000");
  EXPECT_EQ(utc_text(-1), "1969-12-31 23:59:59.999999");
  EXPECT_EQ(utc_text(-62'135'596'800 * kSecond), "0001-01-01 00:00:00.000000");
  EXPECT_EQ(utc_text(253'402'300'799 * kSecond), "9999-12-31 23:59:59.000000");
}

TEST(TimeReportFormat, WritesSpansToTheMillisecond) {
  EXPECT_EQ(span_text(0), "+0.000 s");
  EXPECT_EQ(span_text(-1), "-0.000 s");
  EXPECT_EQ(span_text(499), "+0.000 s");
  EXPECT_EQ(span_text(500), "+0.001 s");
  EXPECT_EQ(span_text(150 * kMs), "+0.150 s");
  EXPECT_EQ(span_text(59'999 * kMs), "+59.999 s");
  EXPECT_EQ(span_text(60 * kSecond), "+0:01:00.000");
  EXPECT_EQ(span_text(-3'599'990 * kMs), "-0:59:59.990");
  EXPECT_EQ(span_text(86'399'999 * kMs), "+23:59:59.999");
  EXPECT_EQ(span_text(86'400 * kSecond), "+1 d 0:00:00.000");
  EXPECT_EQ(span_text(-1'709'535'600'012 * kMs), "-19786 d 7:00:00.012");
}

TEST(TimeReportFormat, NamesEveryKind) {
  EXPECT_STREQ(kind_text(TimeEventKind::kJumpBack), "jump back");
  EXPECT_STREQ(kind_text(TimeEventKind::kJumpForward), "jump forward");
  EXPECT_STREQ(kind_text(TimeEventKind::kStall), "stall");
  EXPECT_STREQ(kind_text(TimeEventKind::kInterruption), "interruption");
}

TEST(TimeReportFormat, CountsWithThePlural) {
  EXPECT_EQ(count_text(0, "stall"), "0 stalls");
  EXPECT_EQ(count_text(1, "stall"), "1 stall");
  EXPECT_EQ(count_text(2, "stall"), "2 stalls");
}

}  // namespace
