#include "interval_histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace vlm::time_report;

TEST(IntervalHistogram, IsEmptyAtFirst) {
  const IntervalHistogram histogram;
  EXPECT_EQ(histogram.count(), 0U);
  EXPECT_EQ(histogram.min(), 0);
  EXPECT_EQ(histogram.max(), 0);
}

TEST(IntervalHistogram, OfOneValueIsThatValueThroughout) {
  IntervalHistogram histogram;
  histogram.add(10'061);
  for (const unsigned percent : {1U, 50U, 99U, 100U}) {
    EXPECT_EQ(histogram.percentile(percent), 10'061);
  }
}

TEST(IntervalHistogram, IsExactBelow16384) {
  IntervalHistogram histogram;
  for (int value = 0; value < 16'384; ++value) histogram.add(value);
  EXPECT_EQ(histogram.percentile(1), 163);
  EXPECT_EQ(histogram.percentile(50), 8191);
  EXPECT_EQ(histogram.percentile(100), 16'383);
}

TEST(IntervalHistogram, TakesTheSmallestValueThatTheShareDoesNotExceed) {
  IntervalHistogram histogram;
  for (const int value : {1, 2, 3, 4}) histogram.add(value);
  EXPECT_EQ(histogram.percentile(50), 2);
  EXPECT_EQ(histogram.percentile(51), 3);
  EXPECT_EQ(histogram.percentile(99), 4);
}

TEST(IntervalHistogram, KeepsTheExtremesExact) {
  IntervalHistogram histogram;
  for (const std::int64_t value : {10'061, 2'310'307, 10'352}) histogram.add(value);
  EXPECT_EQ(histogram.min(), 10'061);
  EXPECT_EQ(histogram.max(), 2'310'307);
  EXPECT_EQ(histogram.count(), 3U);
}

TEST(IntervalHistogram, TakesTheLargestValueThereIs) {
  IntervalHistogram histogram;
  histogram.add(std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(histogram.percentile(50), std::numeric_limits<std::int64_t>::max());
}

TEST(IntervalHistogram, IsCloseAboveTheExactPercentile) {
  std::mt19937_64 random(7);
  IntervalHistogram histogram;
  std::vector<std::int64_t> all;
  for (int i = 0; i < 20'000; ++i) {
    const auto value = static_cast<std::int64_t>(random() >> (1 + random() % 60));
    histogram.add(value);
    all.push_back(value);
  }
  std::sort(all.begin(), all.end());
  for (unsigned percent = 1; percent <= 100; ++percent) {
    const auto exact = all[percent * 200 - 1];
    const auto estimate = histogram.percentile(percent);
    EXPECT_GE(estimate, exact) << percent;
    EXPECT_LE(estimate, exact + exact / 5000) << percent;
  }
}

}  // namespace
