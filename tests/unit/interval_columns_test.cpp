#include "interval_columns.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::time_report;

TEST(IntervalColumns, AreTenMillisecondsWideAtFirst) {
  IntervalColumns columns;
  columns.add(10'000, 5);
  columns.add(10'001, 6);
  ASSERT_EQ(columns.columns().size(), 2U);
  EXPECT_EQ(columns.width_us(), 10'000);
  EXPECT_EQ(columns.columns()[0].longest, 5);
  EXPECT_EQ(columns.columns()[1].longest, 6);
}

TEST(IntervalColumns, KeepTheShortestAndTheLongest) {
  IntervalColumns columns;
  for (const int interval : {7, 3, 9, 4}) columns.add(1, interval);
  ASSERT_EQ(columns.columns().size(), 1U);
  EXPECT_EQ(columns.columns()[0].shortest, 3);
  EXPECT_EQ(columns.columns()[0].longest, 9);
}

TEST(IntervalColumns, AreEmptyWhereNoIntervalEnds) {
  IntervalColumns columns;
  columns.add(35'000, 0);
  ASSERT_EQ(columns.columns().size(), 4U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(columns.columns()[i].shortest, -1);
    EXPECT_EQ(columns.columns()[i].longest, -1);
  }
  EXPECT_EQ(columns.columns()[3].shortest, 0);
}

TEST(IntervalColumns, TakeTimeZero) {
  IntervalColumns columns;
  columns.add(0, 0);
  EXPECT_EQ(columns.columns().size(), 1U);
}

TEST(IntervalColumns, AreJoinedInPairsWhenThereAreTooMany) {
  IntervalColumns columns;
  for (int i = 0; i < 1024; ++i) columns.add(10'000 * (i + 1), 100 + i);
  EXPECT_EQ(columns.columns().size(), 1024U);
  EXPECT_EQ(columns.width_us(), 10'000);
  columns.add(10'250'000, 5'000);
  ASSERT_EQ(columns.columns().size(), 513U);
  EXPECT_EQ(columns.width_us(), 20'000);
  for (std::size_t i = 0; i < 512; ++i) {
    EXPECT_EQ(columns.columns()[i].shortest, 100 + 2 * static_cast<int>(i));
    EXPECT_EQ(columns.columns()[i].longest, 101 + 2 * static_cast<int>(i));
  }
  EXPECT_EQ(columns.columns()[512].longest, 5'000);
}

TEST(IntervalColumns, JoinAnOddColumnAndEmptyOnes) {
  IntervalColumns columns;
  columns.add(5, 50);
  columns.add(25'000, 70);
  columns.add(1024LL * 20'000, 90);
  EXPECT_EQ(columns.columns()[0].shortest, 50);
  EXPECT_EQ(columns.columns()[0].longest, 50);
  EXPECT_EQ(columns.columns()[1].longest, 70);
  EXPECT_EQ(columns.columns()[2].longest, -1);
}

TEST(IntervalColumns, StayBoundedOverAllTime) {
  IntervalColumns columns;
  columns.add(1, 3);
  columns.add(std::int64_t{1} << 60, 4);
  EXPECT_LE(columns.columns().size(), 1024U);
  EXPECT_EQ(columns.columns().front().shortest, 3);
  EXPECT_EQ(columns.columns().back().longest, 4);
}

}  // namespace
