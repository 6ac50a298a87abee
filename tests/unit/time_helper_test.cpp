#include "time_helper.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

timespec at(time_t seconds, long nanos) {
  timespec ts{};
  ts.tv_sec = seconds;
  ts.tv_nsec = nanos;
  return ts;
}

constexpr time_t kDay = 86'400;

bool operator==(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

std::uint64_t nanos_of(const timespec& ts) {
  return static_cast<std::uint64_t>(ts.tv_sec) * 1'000'000'000U +
         static_cast<std::uint64_t>(ts.tv_nsec);
}

timespec now(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return ts;
}

TEST(Tick, ResultsAreUnsigned64Bit) {
  static_assert(std::is_same_v<decltype(time_ms()), std::uint64_t>);
  static_assert(std::is_same_v<decltype(time_utc_us()), std::uint64_t>);
}

TEST(Tick, CountsWholeMilliseconds) {
  EXPECT_EQ(tick_of(at(0, 0)), 0U);
  EXPECT_EQ(tick_of(at(0, 999'999)), 0U);
  EXPECT_EQ(tick_of(at(0, 1'000'000)), 1U);
  EXPECT_EQ(tick_of(at(12, 345'678'901)), 12'345U);
  EXPECT_EQ(tick_of(at(1, 999'999'999)), 1'999U);
}

TEST(Tick, IsRightUpToTheLastMillisecondBeforeTheWrap) {
  EXPECT_EQ(tick_of(at(2'147'483, 647'999'999)), 2'147'483'647U);
}

TEST(Tick, WrapsToNegativeNumbersAfterTheLast) {
  EXPECT_EQ(static_cast<std::int64_t>(tick_of(at(2'147'483, 648'000'000))), -2'147'483'648LL);
}

TEST(Tick, At25DaysIsThatManyMillisecondsMinus2To32) {
  EXPECT_EQ(tick_of(at(25 * kDay, 0)),
            static_cast<std::uint64_t>(2'160'000'000LL - 4'294'967'296LL));
}

TEST(Tick, StartsOverAfter2To32Milliseconds) {
  EXPECT_EQ(tick_of(at(4'294'967, 296'000'000)), 0U);
  EXPECT_EQ(tick_of(at(4'294'968, 0)), 704U);
}

TEST(Tick, ReadsTheMonotonicClock) {
  const auto before = tick_of(now(CLOCK_MONOTONIC));
  const auto tick = time_ms();
  const auto after = tick_of(now(CLOCK_MONOTONIC));
  EXPECT_LE(elapsed_ms(before, tick), elapsed_ms(before, after));
}

TEST(Elapsed, IsTheDifferenceOfTheTicks) {
  EXPECT_EQ(elapsed_ms(1'000, 1'000), 0U);
  EXPECT_EQ(elapsed_ms(1'000, 4'500), 3'500U);
}

TEST(Elapsed, IsRightAcrossTheWrap) {
  const auto before = tick_of(at(2'147'483, 600'000'000));
  const auto after = tick_of(at(2'147'483, 700'000'000));
  EXPECT_GT(after, before);
  EXPECT_EQ(elapsed_ms(before, after), 100U);
}

TEST(Elapsed, IsRightWhereTheTickStartsOver) {
  const auto before = tick_of(at(4'294'967, 290'000'000));
  const auto after = tick_of(at(4'294'967, 300'000'000));
  EXPECT_EQ(elapsed_ms(before, after), 10U);
}

TEST(Deadline, CarriesFromTheNanosecondsOnce) {
  EXPECT_TRUE(time_after(at(10, 700'000'000), 1.5F) == at(12, 200'000'000));
}

TEST(Deadline, DoesNotCarryAtTheLastNanosecond) {
  EXPECT_TRUE(time_after(at(10, 499'999'999), 0.5F) == at(10, 999'999'999));
}

TEST(Deadline, CarriesAtAWholeSecond) {
  EXPECT_TRUE(time_after(at(10, 500'000'000), 0.5F) == at(11, 0));
}

TEST(Deadline, InZeroSecondsIsNow) {
  EXPECT_TRUE(time_after(at(10, 999'999'999), 0.0F) == at(10, 999'999'999));
}

TEST(Deadline, TakesTheFractionFromTheFloatInDoublePrecision) {
  // 0.1F is 0.100000001490116...; 16777.9F is 16777.900390625.
  EXPECT_TRUE(time_after(at(0, 0), 0.1F) == at(0, 100'000'001));
  EXPECT_TRUE(time_after(at(0, 0), 16'777.9F) == at(16'777, 900'390'625));
}

TEST(Deadline, LeavesNegativeSecondsAsTheyAre) {
  EXPECT_TRUE(time_after(at(10, 200'000'000), -1.5F) == at(9, -300'000'000));
}

TEST(Deadline, LiesOnTheRealTimeClock) {
  const auto before = nanos_of(now(CLOCK_REALTIME));
  timespec deadline{};
  get_time_in(&deadline, 2.5F);
  const auto after = nanos_of(now(CLOCK_REALTIME));
  EXPECT_GE(nanos_of(deadline), before + 2'500'000'000U);
  EXPECT_LE(nanos_of(deadline), after + 2'500'000'000U);
  EXPECT_LT(deadline.tv_nsec, 1'000'000'000L);
}

TEST(WallClock, IsTheRealTimeClockInMicroseconds) {
  const auto before = nanos_of(now(CLOCK_REALTIME)) / 1000U;
  const auto time = time_utc_us();
  const auto after = nanos_of(now(CLOCK_REALTIME)) / 1000U;
  EXPECT_LE(before, time);
  EXPECT_LE(time, after);
}

}  // namespace
