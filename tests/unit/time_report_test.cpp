#include "time_report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace vlm::time_report;

constexpr std::int64_t kMs = 1'000;
constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kHour = 3'600 * kSecond;
constexpr std::int64_t kStart = 1'709'622'489 * kSecond;

/// A log that is written line by line, every 10 ms, and reported on at once.
class TimeReportTest : public testing::Test {
 protected:
  TimeReportTest() { file(1); }

  void use(const TimeThresholds& thresholds) {
    _report = TimeReport(thresholds);
    file(1);
  }
  void file(int serial) {
    char name[32];
    std::snprintf(name, sizeof name, "log_time_file_%04d.log", serial);
    _report.begin_file({serial, name, ""});
    _serial = serial;
    _number = 1;
    _position = 0;
  }
  void line(int number) {
    if (number > kLinesPerFile) {
      file(_serial + 1);
      number = 1;
    }
    _report.line(++_position, {number, _clock});
    _number = number;
    pass();
  }
  void lines(int count) {
    for (int i = 0; i < count; ++i) line(_number);
  }
  void lose(int count) {
    for (int i = 0; i < count; ++i) pass();
  }
  void clock_moves(std::int64_t us) { _clock += us; }
  void unreadable(int serial) { _report.unreadable({serial, "log_time_file.log", ""}, "why"); }

  const TimeSummary& summary() {
    if (!_finished) _report.finish();
    _finished = true;
    return _report.summary();
  }
  std::uint64_t jumps_back() const { return _report.count(TimeEventKind::kJumpBack); }
  std::uint64_t jumps_forward() const { return _report.count(TimeEventKind::kJumpForward); }
  std::uint64_t stalls() const { return _report.count(TimeEventKind::kStall); }
  std::uint64_t interruptions() const { return _report.count(TimeEventKind::kInterruption); }

  void expect_nothing_happened() const {
    EXPECT_TRUE(_report.clean());
    EXPECT_EQ(interruptions(), 0U);
  }
  void expect_only(TimeEventKind kind, std::int64_t size_us, std::uint64_t position) const {
    const auto events = _report.events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].kind, kind);
    EXPECT_EQ(events[0].size_us, size_us);
    EXPECT_EQ(events[0].position, position);
  }

  TimeReport _report{TimeThresholds{}};
  std::int64_t _clock = kStart;

 private:
  void pass() {
    _clock += 10 * kMs;
    ++_number;
  }

  int _serial = 1;
  int _number = 1;
  std::uint64_t _position = 0;
  bool _finished = false;
};

// --- A clean log ---

TEST_F(TimeReportTest, OfACleanLogTellsItsSpanAndIntervals) {
  lines(101);
  EXPECT_EQ(summary().lines, 101U);
  EXPECT_EQ(summary().files, 1U);
  EXPECT_EQ(summary().first_us, kStart);
  EXPECT_EQ(summary().last_us, kStart + kSecond);
  EXPECT_EQ(summary().elapsed_us, kSecond);
  EXPECT_EQ(_report.intervals().count(), 100U);
  EXPECT_EQ(_report.intervals().min(), 10 * kMs);
  EXPECT_EQ(_report.intervals().max(), 10 * kMs);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, GoesOnFromFileToFile) {
  lines(2 * 9999 + 10);
  EXPECT_EQ(summary().files, 3U);
  EXPECT_EQ(_report.intervals().count(), 2U * 9999 + 9);
  EXPECT_EQ(summary().lost_lines, 0U);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, OfOneLineHasNoInterval) {
  lines(1);
  EXPECT_EQ(summary().first_us, summary().last_us);
  EXPECT_EQ(_report.intervals().count(), 0U);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, MayBeginWithAnySerial) {
  file(57);
  lines(5);
  EXPECT_EQ(summary().lines, 5U);
  EXPECT_EQ(summary().lost_lines, 0U);
}

// --- Stalls and jumps ---

TEST_F(TimeReportTest, AGapOverTheThresholdIsAStall) {
  lines(50);
  clock_moves(90 * kMs + 1);
  lines(50);
  expect_only(TimeEventKind::kStall, 100 * kMs + 1, 51);
  EXPECT_FALSE(_report.clean());
}

TEST_F(TimeReportTest, AGapOfTheThresholdIsNone) {
  lines(50);
  clock_moves(90 * kMs);
  lines(50);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, AGapOverTheJumpThresholdIsAJumpForward) {
  lines(50);
  clock_moves(10 * kSecond - 10 * kMs + 1);
  lines(50);
  expect_only(TimeEventKind::kJumpForward, 10 * kSecond + 1, 51);
}

TEST_F(TimeReportTest, AGapOfTheJumpThresholdIsStillAStall) {
  lines(50);
  clock_moves(10 * kSecond - 10 * kMs);
  lines(50);
  expect_only(TimeEventKind::kStall, 10 * kSecond, 51);
}

TEST_F(TimeReportTest, TimeThatRunsBackwardsIsAJumpBackHoweverSmall) {
  lines(50);
  clock_moves(-10 * kMs - 1);
  lines(50);
  expect_only(TimeEventKind::kJumpBack, -1, 51);
}

TEST_F(TimeReportTest, TimeThatStandsStillIsAShortInterval) {
  lines(50);
  clock_moves(-10 * kMs);
  lines(50);
  expect_nothing_happened();
  EXPECT_EQ(summary().short_intervals, 1U);
  EXPECT_EQ(_report.intervals().min(), 0);
}

TEST_F(TimeReportTest, ShortIntervalsBeginBelow9Milliseconds) {
  lines(5);
  clock_moves(-1 * kMs);
  lines(5);
  EXPECT_EQ(summary().short_intervals, 0U);
  clock_moves(-1 * kMs - 1);
  lines(5);
  EXPECT_EQ(summary().short_intervals, 1U);
}

TEST_F(TimeReportTest, TheThresholdsAreTheCallers) {
  use({20 * kMs, kSecond});
  lines(5);
  clock_moves(11 * kMs);
  lines(5);
  clock_moves(kSecond);
  lines(5);
  EXPECT_EQ(stalls(), 1U);
  EXPECT_EQ(jumps_forward(), 1U);
}

TEST_F(TimeReportTest, EventsTellWhereTheyAre) {
  lines(9999 + 4);
  clock_moves(2 * kSecond);
  lines(1);
  const auto events = _report.events();
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].file, "log_time_file_0002.log");
  EXPECT_EQ(events[0].position, 5U);
  EXPECT_EQ(events[0].time_us, kStart + 100'030 * kMs + 2 * kSecond);
  EXPECT_EQ(events[0].elapsed_us, 100'030 * kMs + 2 * kSecond);
}

TEST_F(TimeReportTest, EventsComeInTheOrderOfTheLog) {
  lines(10);
  clock_moves(kHour);
  lines(10);
  clock_moves(kSecond);
  lines(10);
  clock_moves(-kHour);
  lines(10);
  const auto events = _report.events();
  ASSERT_EQ(events.size(), 3U);
  EXPECT_EQ(events[0].kind, TimeEventKind::kJumpForward);
  EXPECT_EQ(events[1].kind, TimeEventKind::kStall);
  EXPECT_EQ(events[2].kind, TimeEventKind::kJumpBack);
}

TEST_F(TimeReportTest, JumpsAreNoIntervalsAndTakeNoLoggingTime) {
  lines(10);
  clock_moves(kHour);
  lines(10);
  clock_moves(-kHour);
  lines(10);
  EXPECT_EQ(_report.intervals().count(), 27U);
  EXPECT_EQ(_report.intervals().max(), 10 * kMs);
  EXPECT_EQ(summary().elapsed_us, 270 * kMs);
}

TEST_F(TimeReportTest, StallsAreIntervalsAndTakeLoggingTime) {
  lines(10);
  clock_moves(kSecond);
  lines(10);
  EXPECT_EQ(_report.intervals().max(), kSecond + 10 * kMs);
  EXPECT_EQ(summary().elapsed_us, kSecond + 190 * kMs);
}

TEST_F(TimeReportTest, AGapBetweenTwoFullFilesIsJudgedLikeAnyOther) {
  lines(9999);
  clock_moves(kSecond);
  lines(10);
  EXPECT_EQ(stalls(), 1U);
  EXPECT_EQ(interruptions(), 0U);
}

TEST_F(TimeReportTest, AllEventsAreCountedAndTheLargestKept) {
  for (int i = 0; i < 300; ++i) {
    lines(10);
    clock_moves(kSecond + i * 7 % 300 * kMs);
  }
  lines(1);
  EXPECT_EQ(stalls(), 300U);
  const auto events = _report.events();
  ASSERT_EQ(events.size(), 100U);
  for (const auto& event : events) EXPECT_GE(event.size_us, kSecond + 210 * kMs);
}

TEST_F(TimeReportTest, ManySmallEventsOfOneKindDoNotHideAnother) {
  lines(10);
  clock_moves(-11 * kMs);
  for (int i = 0; i < 300; ++i) {
    lines(10);
    clock_moves(kSecond);
  }
  EXPECT_EQ(_report.events().front().kind, TimeEventKind::kJumpBack);
}

// --- Lost lines ---

TEST_F(TimeReportTest, MissingNumbersAreLostLines) {
  lines(10);
  lose(3);
  lines(10);
  EXPECT_EQ(summary().lost_lines, 3U);
  EXPECT_EQ(_report.intervals().count(), 18U);
  EXPECT_EQ(_report.intervals().max(), 10 * kMs);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, LostLinesAreAllowedTheUsualTime) {
  lines(10);
  lose(500);
  lines(10);
  EXPECT_EQ(summary().lost_lines, 500U);
  EXPECT_EQ(summary().elapsed_us, 5'190 * kMs);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, AStallAmongLostLinesIsSeen) {
  lines(10);
  lose(500);
  clock_moves(2 * kSecond);
  lines(10);
  expect_only(TimeEventKind::kStall, 7 * kSecond + 10 * kMs, 11);
}

TEST_F(TimeReportTest, TheFirstLinesOfAFileMayBeLost) {
  lines(9999);
  file(2);
  lose(4);
  lines(10);
  EXPECT_EQ(summary().lost_lines, 4U);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, TheFirstLinesOfTheLogMayBeLost) {
  lose(4);
  lines(10);
  EXPECT_EQ(summary().lost_lines, 4U);
  expect_nothing_happened();
}

// --- Doubled lines, and lines out of order ---

TEST_F(TimeReportTest, ARepeatedLineIsDoubledAndItsSuccessorNotLate) {
  lines(10);
  _report.line(11, {10, _clock - 10 * kMs});
  lose(1);
  lines(10);
  EXPECT_EQ(summary().doubled_lines, 1U);
  EXPECT_EQ(summary().lost_lines, 1U);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, LineOneTwiceIsDoubled) {
  line(1);
  line(1);
  EXPECT_EQ(summary().doubled_lines, 1U);
  EXPECT_EQ(summary().lines, 2U);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, SwappedLinesAreOutOfOrderAndNotLost) {
  lines(10);
  const auto time_of = [&](int number) { return kStart + (number - 1) * 10 * kMs; };
  _report.line(11, {12, time_of(12)});
  _report.line(12, {11, time_of(11)});
  _report.line(13, {13, time_of(13)});
  EXPECT_EQ(summary().out_of_order_lines, 1U);
  EXPECT_EQ(summary().lost_lines, 0U);
  expect_nothing_happened();
}

TEST_F(TimeReportTest, AWrongNumberDoesNotBlindTheReportForTheRestOfTheFile) {
  lines(10);
  line(9000);
  line(12);
  lines(10);
  clock_moves(kSecond);
  lines(10);
  EXPECT_EQ(stalls(), 1U);
  EXPECT_EQ(jumps_forward(), 0U);
  EXPECT_EQ(summary().out_of_order_lines, 2U);
  EXPECT_EQ(summary().lost_lines, 1U);
}

TEST_F(TimeReportTest, LateLinesApartFromEachOtherDoNotBeginARun) {
  lines(40);
  for (const int number : {45, 42, 46, 47, 43, 48}) {
    _report.line(1, {number, kStart + (number - 1) * 10 * kMs});
  }
  EXPECT_EQ(summary().out_of_order_lines, 2U);
  EXPECT_EQ(summary().lost_lines, 2U);
  EXPECT_EQ(summary().elapsed_us, 470 * kMs);
}

// --- Interruptions ---

TEST_F(TimeReportTest, AFileThatEndsEarlyEndsARun) {
  lines(100);
  clock_moves(kHour);
  file(2);
  lines(100);
  expect_only(TimeEventKind::kInterruption, kHour + 10 * kMs, 1);
  EXPECT_TRUE(_report.clean());
  EXPECT_EQ(summary().lost_lines, 0U);
  EXPECT_EQ(summary().elapsed_us, 1'980 * kMs);
}

TEST_F(TimeReportTest, TimeThatRunsBackwardsAcrossAnInterruptionIsAJump) {
  lines(100);
  clock_moves(-kHour);
  file(2);
  lines(100);
  EXPECT_EQ(jumps_back(), 1U);
  EXPECT_EQ(interruptions(), 0U);
}

TEST_F(TimeReportTest, LineOneWithinAFileBeginsAnewRun) {
  lines(100);
  clock_moves(kHour);
  line(1);
  lines(100);
  EXPECT_EQ(interruptions(), 1U);
  EXPECT_EQ(summary().doubled_lines, 0U);
  EXPECT_EQ(summary().lost_lines, 0U);
  EXPECT_TRUE(_report.clean());
}

TEST_F(TimeReportTest, AMissingFileIsAnInterruption) {
  lines(9999);
  file(4);
  clock_moves(200 * kSecond);
  lines(10);
  EXPECT_EQ(summary().missing_files, 2U);
  EXPECT_EQ(interruptions(), 1U);
  EXPECT_TRUE(_report.clean());
}

TEST_F(TimeReportTest, AnUnreadableFileIsAnInterruptionAndNotMissing) {
  lines(9999);
  unreadable(2);
  file(3);
  clock_moves(100 * kSecond);
  lines(10);
  ASSERT_EQ(summary().unreadable_files.size(), 1U);
  EXPECT_EQ(summary().unreadable_files[0].serial, 2);
  EXPECT_EQ(summary().unreadable_files[0].fault, "why");
  EXPECT_EQ(summary().missing_files, 0U);
  EXPECT_EQ(interruptions(), 1U);
}

TEST_F(TimeReportTest, AnEmptyFileIsAnInterruption) {
  lines(9999);
  file(2);
  file(3);
  clock_moves(100 * kSecond);
  lines(10);
  EXPECT_EQ(summary().files, 3U);
  EXPECT_EQ(summary().missing_files, 0U);
  EXPECT_EQ(interruptions(), 1U);
}

TEST_F(TimeReportTest, TwoFilesWithOneSerialAreTwoRuns) {
  lines(100);
  file(1);
  lines(100);
  EXPECT_EQ(interruptions(), 1U);
  EXPECT_EQ(summary().doubled_lines, 0U);
  EXPECT_EQ(summary().missing_files, 0U);
}

// --- What is no line ---

TEST_F(TimeReportTest, CountsGarbageAndTornLines) {
  lines(3);
  _report.garbage_line();
  _report.garbage_line();
  _report.torn_line();
  EXPECT_EQ(summary().garbage_lines, 2U);
  EXPECT_EQ(summary().torn_lines, 1U);
  EXPECT_EQ(summary().lines, 3U);
}

TEST_F(TimeReportTest, SurvivesTheWidestLeapsOfTheCalendar) {
  use({kMs, std::int64_t{1'000'000'000} * kMs});
  constexpr std::int64_t kFirst = -62'135'596'800 * kSecond;
  constexpr std::int64_t kLast = 253'402'300'799 * kSecond;
  for (int number = 1; number < 9999; number += 2) {
    _report.line(1, {number, kFirst});
    _report.line(2, {number + 1, kLast});
  }
  EXPECT_EQ(jumps_forward(), 4999U);
  EXPECT_EQ(jumps_back(), 4998U);
}

}  // namespace
