#include "sim_faults.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace vlm::sim;

constexpr int kRounds = 10000;

FaultPlan plan_of(double drop, double duplicate, double reorder) {
  FaultPlan plan;
  plan.drop = drop;
  plan.duplicate = duplicate;
  plan.reorder = reorder;
  return plan;
}

struct Tally {
  int lost = 0;
  int twice = 0;
  int held = 0;
};

Tally tally(const FaultPlan& plan, u64 seed = 1) {
  Faults faults(plan, seed);
  Tally tally;
  for (int i = 0; i < kRounds; ++i) {
    const Fate fate = faults.next(1);
    tally.lost += fate.copies == 0 ? 1 : 0;
    tally.twice += fate.copies == 2 ? 1 : 0;
    tally.held += fate.held ? 1 : 0;
  }
  return tally;
}

TEST(Faults, WithoutAPlanEveryReplyGoesOutOnceAndAtOnce) {
  Faults faults({}, 1);
  for (int code = 0; code < 1000; ++code) {
    const Fate fate = faults.next(static_cast<u16>(code));
    ASSERT_FALSE(fate.muted);
    ASSERT_FALSE(fate.error);
    ASSERT_FALSE(fate.held);
    ASSERT_EQ(fate.copies, 1);
    ASSERT_EQ(fate.delay_us, 0U);
  }
}

TEST(Faults, OfProbabilityOneHappenAlwaysAndOfZeroNever) {
  EXPECT_EQ(tally(plan_of(1, 0, 0)).lost, kRounds);
  EXPECT_EQ(tally(plan_of(0, 1, 0)).twice, kRounds);
  EXPECT_EQ(tally(plan_of(0, 0, 1)).held, kRounds);
  const Tally none = tally(plan_of(0, 0, 0));
  EXPECT_EQ(none.lost + none.twice + none.held, 0);
}

TEST(Faults, HappenAsOftenAsTheirProbabilitySays) {
  const Tally some = tally(plan_of(0.1, 0.2, 0.3));
  EXPECT_NEAR(some.lost, kRounds * 0.1, kRounds * 0.02);
  // Only what is not lost can go out twice.
  EXPECT_NEAR(some.twice, kRounds * 0.9 * 0.2, kRounds * 0.02);
  EXPECT_NEAR(some.held, kRounds * 0.3, kRounds * 0.02);
}

TEST(Faults, AreTheSameForTheSameSeedAndOthersForAnother) {
  FaultPlan plan = plan_of(0.3, 0.3, 0.3);
  plan.latency_high_us = 1000;
  Faults one(plan, 42);
  Faults same(plan, 42);
  Faults other(plan, 43);
  int differences = 0;
  for (int i = 0; i < 1000; ++i) {
    const Fate fate = one.next(1);
    const Fate twin = same.next(1);
    ASSERT_EQ(fate.copies, twin.copies);
    ASSERT_EQ(fate.held, twin.held);
    ASSERT_EQ(fate.delay_us, twin.delay_us);
    differences += fate.delay_us != other.next(1).delay_us ? 1 : 0;
  }
  EXPECT_GT(differences, 900);
}

TEST(Faults, AreTheSameOnEveryMachine) {
  FaultPlan plan;
  plan.latency_high_us = 999999;
  Faults faults(plan, 1);
  std::vector<u64> delays;
  for (int i = 0; i < 4; ++i) delays.push_back(faults.next(1).delay_us);
  // Remainders of the generator's first numbers, which its definition fixes.
  std::mt19937_64 numbers(1);
  for (const u64 delay : delays) EXPECT_EQ(delay, numbers() % 1000000);
}

TEST(Faults, LatencyStaysWithinItsEndsAndReachesBoth) {
  FaultPlan plan;
  plan.latency_low_us = 10;
  plan.latency_high_us = 13;
  Faults faults(plan, 1);
  std::set<u64> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(faults.next(1).delay_us);
  EXPECT_EQ(seen, (std::set<u64>{10, 11, 12, 13}));
}

TEST(Faults, AFixedLatencyIsExact) {
  FaultPlan plan;
  plan.latency_low_us = plan.latency_high_us = 20000;
  EXPECT_EQ(Faults(plan, 1).next(1).delay_us, 20000U);
}

TEST(Faults, WhatIsHeldBackComesLaterThanItsLatency) {
  FaultPlan plan = plan_of(0, 0, 1);
  plan.latency_low_us = plan.latency_high_us = 20000;
  EXPECT_EQ(Faults(plan, 1).next(1).delay_us, 20000U + kHoldUs);
}

TEST(Faults, ByCodeConcernThatCodeAlone) {
  FaultPlan plan;
  plan.fail[3] = 9;
  plan.mute.insert(6);
  Faults faults(plan, 1);
  EXPECT_EQ(faults.next(3).error, 9);
  EXPECT_TRUE(faults.next(6).muted);
  EXPECT_FALSE(faults.next(3).muted);
  EXPECT_FALSE(faults.next(4).error);
  EXPECT_FALSE(faults.next(4).muted);
}

TEST(Faults, OnceConcernTheNextRequestAlone) {
  FaultPlan plan;
  plan.fail[3] = 9;
  plan.fail_once[3] = 76;
  plan.drop_next = 2;
  Faults faults(plan, 1);
  EXPECT_EQ(faults.next(3).error, 76);
  const Fate second = faults.next(3);
  EXPECT_EQ(second.error, 9);
  EXPECT_EQ(second.copies, 0);
  EXPECT_EQ(faults.next(3).copies, 1);
}

TEST(Faults, RestartAtEachRequestOfANumber) {
  FaultPlan plan;
  plan.restart_every = 3;
  plan.mute.insert(6);  // counts all the same
  Faults faults(plan, 1);
  for (int i = 1; i <= 30; ++i) EXPECT_EQ(faults.next(6).restart, i % 3 == 0) << i;
}

TEST(Faults, MayGiveACommandALatencyOfItsOwn) {
  FaultPlan plan;
  plan.latency_low_us = plan.latency_high_us = 20;
  plan.latency_of[3] = {500, 500};
  Faults faults(plan, 1);
  EXPECT_EQ(faults.next(3).delay_us, 500U);
  EXPECT_EQ(faults.next(4).delay_us, 20U);
}

TEST(Faults, DamageWithinTheirBounds) {
  FaultPlan plan;
  plan.truncate = 0.5;
  plan.extend = 1;
  plan.corrupt = 1;
  plan.stray = 1;
  Faults faults(plan, 1);
  int cut = 0;
  std::set<u64> strays;
  for (int i = 0; i < kRounds; ++i) {
    const Fate fate = faults.next(1);
    ASSERT_TRUE(fate.length && fate.bit && fate.stray);
    ASSERT_NE(*fate.length, 257U);
    ASSERT_LE(*fate.length, 1024U);
    ASSERT_LT(*fate.bit, 133U * 8);
    cut += *fate.length < 257 ? 1 : 0;
    strays.insert(*fate.stray);
  }
  EXPECT_NEAR(cut, kRounds / 2, kRounds * 0.02);
  EXPECT_EQ(strays.size(), static_cast<std::size_t>(kRounds));
}

TEST(Faults, MayBeChangedWhileTheyAct) {
  Faults faults({}, 1);
  EXPECT_EQ(faults.next(1).copies, 1);
  faults.plan().drop = 1;
  EXPECT_EQ(faults.next(1).copies, 0);
}

}  // namespace
