// Small parts of vlmctl: times, how several things end, latencies, events.

#include <gtest/gtest.h>

#include <cstring>

#include "console.h"
#include "duration.h"
#include "event.h"
#include "latency.h"
#include "tally.h"

namespace {

using namespace vlm::ctl;
using namespace std::chrono_literals;

TEST(Duration, IsANumberWithItsUnit) {
  EXPECT_EQ(parse_duration("500ms"), 500ms);
  EXPECT_EQ(parse_duration("2s"), 2s);
  EXPECT_EQ(parse_duration("1m"), 1min);
  EXPECT_EQ(parse_duration("1000h"), 1000h);
  for (const char* const wrong :
       {"", "2", "s", "-1s", "+1s", "1.5s", "1 s", "1sec", "1001h", "99999999999999999999s"}) {
    EXPECT_EQ(parse_duration(wrong), std::nullopt) << wrong;
  }
}

int status(const std::vector<int>& all) {
  Tally tally;
  for (const int each : all) each == kDone ? tally.succeeded() : tally.failed(each);
  return tally.status();
}

TEST(Tally, TellsPartFromAll) {
  EXPECT_EQ(status({}), kDone);
  EXPECT_EQ(status({kDone, kDone}), kDone);
  EXPECT_EQ(status({kRefused}), kRefused);
  EXPECT_EQ(status({kNoAnswer, kNoAnswer}), kNoAnswer);
  EXPECT_EQ(status({kRefused, kNoAnswer, kRefused}), kPartly);
  EXPECT_EQ(status({kDone, kRefused}), kPartly);
  EXPECT_EQ(status({kRefused, kDone}), kPartly);
}

TEST(Latency, TellsQuantilesByRank) {
  Latency latency;
  for (int i = 100; i >= 1; --i) latency.add(i * 1us);
  EXPECT_EQ(latency.quantile(0), 1us);
  EXPECT_EQ(latency.quantile(0.5), 50us);
  EXPECT_EQ(latency.quantile(0.99), 99us);
  EXPECT_EQ(latency.quantile(1), 100us);
}

TEST(Latency, CountsEachTimeInOneBin) {
  Latency latency;
  for (const auto time : {126us, 250us, 251us, 900us}) latency.add(time);
  const auto bins = latency.histogram();
  ASSERT_EQ(bins.size(), 3U);
  EXPECT_EQ(bins[0].above, 125us);
  EXPECT_EQ(bins[0].count, 2U);
  EXPECT_EQ(bins[1].count, 1U);
  EXPECT_EQ(bins[2].up_to, 1ms);
  EXPECT_EQ(bins[2].count, 1U);
}

TEST(Console, WritesTimesOfUtc) {
  using Time = std::chrono::system_clock::time_point;
  EXPECT_EQ(utc_text(Time(1763769011042ms)), "2025-11-21T23:50:11.042Z");
  EXPECT_EQ(utc_text(Time(-1ms)), "1969-12-31T23:59:59.999Z");
}

TEST(Console, LetsNoByteMoveTheCursor) {
  EXPECT_EQ(printable("a\x1b[2J\n\x7f"), "a\\x1b[2J\\x0a\\x7f");
}

msg_from_rep_t message(u8 type, const void* data, std::size_t size) {
  msg_from_rep_t made{};
  made.msg_type = type;
  std::memcpy(made.msg_data, data, size);
  return made;
}

TEST(Event, OfTheCardHasStatusStorageAndCount) {
  const u8 packed = 2 | 3 << 3 | 1 << 6;
  const Event event = event_of(message(LCM_SDCARD_STATUS, &packed, 1));
  EXPECT_EQ(event.name, "storage");
  ASSERT_EQ(event.details.size(), 3U);
  EXPECT_EQ(event.details[1].second, "3");
  EXPECT_EQ(event.details[2].second, "2");
}

TEST(Event, OfAPictureBoundsItsFileAndWritesNoImpossibleNumber) {
  udp_ctrl_cam_misc_image_info_t info{};
  std::memset(info.url, 'x', sizeof info.url);
  info.latitude = 48.5;
  info.image_index = 7;
  info.result = -1;
  const u32 infinity = 0x7F800000;
  std::memcpy(reinterpret_cast<u8*>(&info) + offsetof(udp_ctrl_cam_misc_image_info_t, roll),
              &infinity, sizeof infinity);
  const Event event = event_of(message(LCM_MISC_IMAGE_INFO, &info, sizeof info));
  EXPECT_EQ(event.name, "picture");
  EXPECT_EQ(event.details[0].second, '"' + std::string(64, 'x') + '"');
  EXPECT_EQ(event.details[1].second, "7");
  EXPECT_EQ(event.details[2].second, "-1");
  EXPECT_EQ(event.details[3].second, "null");
  EXPECT_EQ(event.details[6].second, "48.5");
}

}  // namespace
