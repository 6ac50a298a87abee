#include "time_helper.h"

namespace {

constexpr long kNanosPerSecond = 1'000'000'000;

timespec read_clock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

}  // namespace

std::uint64_t tick_of(const timespec& monotonic) {
  // Unsigned, so that the wrap of the 32-bit product is defined.
  const auto ms = static_cast<std::uint32_t>(monotonic.tv_sec) * 1000U +
                  static_cast<std::uint32_t>(monotonic.tv_nsec / 1'000'000);
  return static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(ms)});
}

std::uint64_t elapsed_ms(std::uint64_t from, std::uint64_t to) {
  return static_cast<std::uint32_t>(to - from);
}

std::uint64_t time_ms() { return tick_of(read_clock(CLOCK_MONOTONIC)); }

timespec time_after(timespec now, float seconds) {
  const int whole = static_cast<int>(seconds);
  const auto fraction = static_cast<std::int64_t>((static_cast<double>(seconds) - whole) * 1e9);
  now.tv_sec += whole;
  now.tv_nsec += static_cast<long>(fraction);
  if (now.tv_nsec >= kNanosPerSecond) {
    now.tv_nsec -= kNanosPerSecond;
    now.tv_sec += 1;
  }
  return now;
}

void get_time_in(timespec* ts, float seconds) {
  *ts = time_after(read_clock(CLOCK_REALTIME), seconds);
}

std::uint64_t time_utc_us() {
  const timespec now = read_clock(CLOCK_REALTIME);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000U +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000U;
}
