#include "velmar_flag_cond.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <future>

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kForEver = -1;
// Long enough for a waiter that is released by mistake to show it.
constexpr milliseconds kAWhile{50};

class FlagCondition : public testing::Test {
 protected:
  /// Waits on a thread of its own.
  void start_wait(int timeout_ms = kForEver) {
    _waiter = std::async(std::launch::async, [=] { return _condition.waitForFlag(timeout_ms); });
  }
  bool still_waiting() const { return _waiter.wait_for(kAWhile) == std::future_status::timeout; }
  bool released() { return _waiter.get(); }

  bool reached() { return _condition.waitForFlag(0); }

  VelmarFlagCond _condition;
  std::future<bool> _waiter;
};

TEST_F(FlagCondition, BeginsWithFlagAndTargetZero) {
  EXPECT_EQ(_condition.flag(), 0U);
  EXPECT_EQ(_condition.targetFlag(), 0U);
  EXPECT_TRUE(reached());
}

TEST_F(FlagCondition, CombinesBitsAsTheOperationSays) {
  _condition.setFlag(0x0f, OP_NONE);
  EXPECT_EQ(_condition.flag(), 0x0fU);
  _condition.setFlag(0xf0000000, OP_OR);
  EXPECT_EQ(_condition.flag(), 0xf000000fU);
  _condition.setFlag(0x80000003, OP_CLEAR);
  EXPECT_EQ(_condition.flag(), 0x7000000cU);
  _condition.setFlag(0x21, OP_NONE);
  EXPECT_EQ(_condition.flag(), 0x21U);
}

TEST_F(FlagCondition, ReplacesTheFlagOnAnUnknownOperation) {
  for (const int op : {3, 7, -1, INT_MAX}) {
    _condition.setFlag(0xff, OP_NONE);
    _condition.setFlag(0x12, static_cast<FlagOp>(op));
    EXPECT_EQ(_condition.flag(), 0x12U) << op;
  }
}

TEST_F(FlagCondition, SetsTheTargetAndKeepsOrResetsTheFlag) {
  _condition.setFlag(6, OP_NONE);
  _condition.setTarget(9, false);
  EXPECT_EQ(_condition.targetFlag(), 9U);
  EXPECT_EQ(_condition.flag(), 6U);
  _condition.setTarget(8, true);
  EXPECT_EQ(_condition.targetFlag(), 8U);
  EXPECT_EQ(_condition.flag(), 0U);
}

TEST_F(FlagCondition, ResetsTheFlagAndKeepsTheTarget) {
  _condition.setTarget(5, true);
  _condition.setFlag(5, OP_OR);
  _condition.resetFlag();
  EXPECT_EQ(_condition.flag(), 0U);
  EXPECT_EQ(_condition.targetFlag(), 5U);
}

TEST_F(FlagCondition, ReturnsAtOnceWhenTargetZeroIsArmedWithReset) {
  _condition.setFlag(7, OP_NONE);
  _condition.setTarget(0, true);
  EXPECT_TRUE(_condition.waitForFlag(kForEver));
  EXPECT_TRUE(_condition.waitForFlag(0));
  EXPECT_TRUE(_condition.waitForFlag(INT_MAX));
}

TEST_F(FlagCondition, DoesNotWaitWithATimeoutOfZero) {
  _condition.setTarget(3, true);
  EXPECT_FALSE(_condition.waitForFlag(0));
  _condition.setFlag(3, OP_OR);
  EXPECT_TRUE(_condition.waitForFlag(0));
}

TEST_F(FlagCondition, GivesUpAfterAPositiveTimeout) {
  _condition.setTarget(3, true);
  const auto start = Clock::now();
  EXPECT_FALSE(_condition.waitForFlag(30));
  EXPECT_GE(Clock::now() - start, milliseconds(30));
}

TEST_F(FlagCondition, WaitsUntilAllBitsOfTheTargetAreSet) {
  _condition.setTarget(3, true);
  start_wait();
  _condition.setFlag(1, OP_OR);
  EXPECT_TRUE(still_waiting());
  _condition.setFlag(2, OP_OR);
  EXPECT_TRUE(released());
}

TEST_F(FlagCondition, ReleasesAWaiterWithinItsTimeout) {
  _condition.setTarget(3, true);
  start_wait(600'000);
  _condition.setFlag(3, OP_NONE);
  EXPECT_TRUE(released());
}

TEST_F(FlagCondition, IsNotReachedWithBitsBeyondTheTarget) {
  _condition.setTarget(3, true);
  _condition.setFlag(7, OP_OR);
  EXPECT_FALSE(reached());
  start_wait();
  EXPECT_TRUE(still_waiting());
  _condition.setFlag(4, OP_CLEAR);
  EXPECT_TRUE(released());
}

TEST_F(FlagCondition, BlocksAgainAfterBitsAreCleared) {
  _condition.setTarget(3, true);
  _condition.setFlag(3, OP_OR);
  EXPECT_TRUE(reached());
  _condition.setFlag(1, OP_CLEAR);
  EXPECT_FALSE(_condition.waitForFlag(1));
}

TEST_F(FlagCondition, ReleasesAWaiterWhenTheTargetMovesToTheFlag) {
  _condition.setFlag(6, OP_NONE);
  _condition.setTarget(1, false);
  start_wait();
  EXPECT_TRUE(still_waiting());
  _condition.setTarget(6, false);
  EXPECT_TRUE(released());
}

TEST_F(FlagCondition, ReleasesAWaiterForZeroWhenTheFlagIsReset) {
  _condition.setFlag(6, OP_NONE);
  start_wait();
  EXPECT_TRUE(still_waiting());
  _condition.resetFlag();
  EXPECT_TRUE(released());
}

TEST_F(FlagCondition, ArmsAndWaitsInOneStep) {
  _condition.setFlag(6, OP_NONE);
  EXPECT_TRUE(_condition.waitForFlag(6, false, kForEver));
  EXPECT_FALSE(_condition.waitForFlag(6, true, 0));
  EXPECT_EQ(_condition.flag(), 0U);
  EXPECT_EQ(_condition.targetFlag(), 6U);
  EXPECT_TRUE(_condition.waitForFlag(0, true, 0));
}

TEST_F(FlagCondition, KeepsWaitingAfterArmingInOneStep) {
  auto waiter =
      std::async(std::launch::async, [this] { return _condition.waitForFlag(2, false, kForEver); });
  EXPECT_EQ(waiter.wait_for(kAWhile), std::future_status::timeout);
  _condition.setFlag(2, OP_OR);
  EXPECT_TRUE(waiter.get());
}

}  // namespace
