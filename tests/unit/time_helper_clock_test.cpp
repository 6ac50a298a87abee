#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ostream>
#include <vector>

#include "scripted_bus.h"
#include "time_helper.h"
#include "transcript.h"

namespace {

/// What the clock was set to, and how often the camera had been told by then.
struct Setting {
  clockid_t clock;
  timespec time;
  std::size_t published;
};
std::vector<Setting> settings;
bool refuses = false;

int record_setting(clockid_t clock, const timespec* time) {
  settings.push_back({clock, *time, ScriptedBus::instance().published().size()});
  if (!refuses) return 0;
  errno = EPERM;
  return -1;
}

class ClockRule : public testing::Test {
 protected:
  ClockRule() {
    _bus.reset();
    settings.clear();
    refuses = false;
    g_clock_settime = record_setting;
  }
  ~ClockRule() override {
    g_clock_settime = clock_settime;
    g_need_use_fc_gps_time = false;
  }

  static void expect_clock(time_t seconds, long nanos) {
    ASSERT_EQ(settings.size(), 1U);
    EXPECT_EQ(settings[0].clock, CLOCK_REALTIME);
    EXPECT_EQ(settings[0].time.tv_sec, seconds);
    EXPECT_EQ(settings[0].time.tv_nsec, nanos);
  }

  u64 time_told_to_camera() const {
    const auto request = _bus.only_record();
    EXPECT_EQ(request.cmd_type, 32);
    u64 seconds = 0;
    std::memcpy(&seconds, request.cmd_params, sizeof seconds);
    return seconds;
  }

  ScriptedBus& _bus = ScriptedBus::instance();
};

TEST(ClockRuleDefault, IsThatTheAppSetsTheClock) { EXPECT_FALSE(g_need_use_fc_gps_time); }

TEST_F(ClockRule, AnAppsTimeSetsTheClockAndGoesToTheCamera) {
  EXPECT_TRUE(set_sys_time(1'600'000'000'123'456ULL, false));
  expect_clock(1'600'000'000, 123'456'000);
  EXPECT_EQ(time_told_to_camera(), 1'600'000'000U);
}

TEST_F(ClockRule, TheClockIsSetBeforeTheCameraIsTold) {
  set_sys_time(1'600'000'000'123'456ULL, false);
  ASSERT_EQ(settings.size(), 1U);
  EXPECT_EQ(settings[0].published, 0U);
}

TEST_F(ClockRule, ATimeThatTheCameraRefusesIsAFailure) {
  _bus.answer({}, 1);
  EXPECT_FALSE(set_sys_time(1'600'000'000'123'456ULL, false));
  expect_clock(1'600'000'000, 123'456'000);
}

TEST_F(ClockRule, AGpsTimeIsPassedOverWhileTheAppSetsTheClock) {
  const auto text = transcript_of([] { EXPECT_TRUE(set_sys_time(1'600'000'000'123'456, true)); });
  EXPECT_EQ(text, "time_src_is_fc_gps: 1, need_use_fc_gps_time: 0\n");
  EXPECT_TRUE(settings.empty());
  EXPECT_TRUE(_bus.published().empty());
}

TEST_F(ClockRule, AnAppsTimeIsPassedOverWhileTheGpsSetsTheClock) {
  g_need_use_fc_gps_time = true;
  const auto text = transcript_of([] { EXPECT_TRUE(set_sys_time(1'600'000'000'123'456, false)); });
  EXPECT_EQ(text, "time_src_is_fc_gps: 0, need_use_fc_gps_time: 1\n");
  EXPECT_TRUE(settings.empty());
  EXPECT_TRUE(_bus.published().empty());
}

TEST_F(ClockRule, AGpsTimeSetsTheClockAndIsKeptFromTheCamera) {
  g_need_use_fc_gps_time = true;
  const auto text = transcript_of([] { EXPECT_TRUE(set_sys_time(1'600'000'000'123'456, true)); });
  EXPECT_EQ(text, "");
  expect_clock(1'600'000'000, 123'456'000);
  EXPECT_TRUE(_bus.published().empty());
}

TEST_F(ClockRule, AClockThatMayNotBeSetGoesUnnoticed) {
  refuses = true;
  EXPECT_TRUE(set_sys_time(1'600'000'000'123'456ULL, false));
  EXPECT_EQ(time_told_to_camera(), 1'600'000'000U);
}

struct Split {
  unsigned long long time_us;
  time_t seconds;
  long nanos;
};

void PrintTo(const Split& split, std::ostream* out) { *out << split.time_us << "us"; }

class ClockSplit : public ClockRule, public testing::WithParamInterface<Split> {};

TEST_P(ClockSplit, IsWholeSecondsAndTheRest) {
  g_need_use_fc_gps_time = true;
  EXPECT_TRUE(set_sys_time(GetParam().time_us, true));
  expect_clock(GetParam().seconds, GetParam().nanos);
}

INSTANTIATE_TEST_SUITE_P(All, ClockSplit,
                         testing::Values(Split{0, 0, 0}, Split{999'999, 0, 999'999'000},
                                         Split{1'000'000, 1, 0},
                                         Split{1'600'000'000'999'999, 1'600'000'000, 999'999'000},
                                         Split{2'147'483'647'999'999, 2'147'483'647, 999'999'000}));

// Beyond 32 bits the seconds stay at the last, and the rest is what it is.
INSTANTIATE_TEST_SUITE_P(BeyondTheLastSecond, ClockSplit,
                         testing::Values(Split{2'147'483'648'000'001, 2'147'483'647, 1'000},
                                         Split{4'294'967'296'000'000, 2'147'483'647, 0},
                                         Split{0xffff'ffff'ffff'ffff, 2'147'483'647, 551'615'000}));

timespec read_clock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

std::int64_t nanos_of(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Puts the machine's clock back to where it would be without the test.
class ClockRestorer {
 public:
  ~ClockRestorer() {
    const std::int64_t time = nanos_of(read_clock(CLOCK_MONOTONIC)) + _offset;
    timespec ts{};
    ts.tv_sec = static_cast<time_t>(time / 1'000'000'000);
    ts.tv_nsec = static_cast<long>(time % 1'000'000'000);
    clock_settime(CLOCK_REALTIME, &ts);
  }

 private:
  std::int64_t _offset =
      nanos_of(read_clock(CLOCK_REALTIME)) - nanos_of(read_clock(CLOCK_MONOTONIC));
};

bool may_set_clock() {
  const timespec now = read_clock(CLOCK_REALTIME);
  return clock_settime(CLOCK_REALTIME, &now) == 0;
}

TEST(RealClock, IsSetWhereTheMachineAllowsIt) {
  const ClockRestorer restorer;
  const bool allowed = may_set_clock();
  g_need_use_fc_gps_time = true;
  const auto start = nanos_of(read_clock(CLOCK_MONOTONIC));
  const std::uint64_t target_us = time_utc_us() + 2'000;
  EXPECT_TRUE(set_sys_time(target_us, true));
  const auto time = nanos_of(read_clock(CLOCK_REALTIME));
  const auto end = nanos_of(read_clock(CLOCK_MONOTONIC));
  g_need_use_fc_gps_time = false;
  if (!allowed) return;
  const auto since_target = time - static_cast<std::int64_t>(target_us) * 1000;
  EXPECT_GE(since_target, 0);
  EXPECT_LE(since_target, end - start);
}

}  // namespace
