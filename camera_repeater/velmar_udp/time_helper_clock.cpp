// The clock rule: which source may set the system clock, and who learns of it.
#include <algorithm>
#include <cstdio>

#include "lcm_request.h"
#include "time_helper.h"

std::atomic<bool> g_need_use_fc_gps_time{false};
int (*g_clock_settime)(clockid_t clock, const timespec* time) = clock_settime;

namespace {

constexpr unsigned long long kMicrosPerSecond = 1'000'000;
constexpr unsigned long long kLastSecond = 0x7fff'ffff;

}  // namespace

bool set_sys_time(unsigned long long time_us, bool time_src_is_fc_gps) {
  const bool need_use_fc_gps_time = g_need_use_fc_gps_time;
  if (time_src_is_fc_gps != need_use_fc_gps_time) {
    std::printf("time_src_is_fc_gps: %d, need_use_fc_gps_time: %d\n", time_src_is_fc_gps,
                need_use_fc_gps_time);
    return true;
  }
  // The clock takes a signed 32-bit number of seconds; a later time stops at its last one.
  const auto seconds = std::min(time_us / kMicrosPerSecond, kLastSecond);
  timespec time{};
  time.tv_sec = static_cast<time_t>(seconds);
  time.tv_nsec = static_cast<long>(time_us % kMicrosPerSecond * 1000);
  g_clock_settime(CLOCK_REALTIME, &time);
  return time_src_is_fc_gps || lcm_request.set_rtos_time(seconds);
}
