// Times in a build that keeps time_t at 32 bits, as a plain compiler line for the board does.

#include <gtest/gtest.h>
#include <sys/time.h>

#include <ctime>

#include "time_helper.h"
#include "velmar_log.h"

namespace {

static_assert(sizeof(time_t) == 4);

TEST(Time, IsCountedInMicrosecondsOf64Bits) {
  const auto seconds = static_cast<std::uint64_t>(std::time(nullptr));
  const std::uint64_t micros = time_utc_us();
  EXPECT_GE(micros, seconds * 1'000'000);
  EXPECT_LT(micros, (seconds + 60) * 1'000'000);
}

TEST(Time, IsLoggedUpToTheLastSecond) {
  char text[kTimeLineSize] = {};
  format_time_line(1, timeval{2'147'483'647, 999'999}, text);
  EXPECT_STREQ(text, "0001-2038-01-19-03:14:07-999999\r\n");
}

}  // namespace
