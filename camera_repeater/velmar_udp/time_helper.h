// Ticks, deadlines and the wall clock. Every function is re-entrant and none reports a failure.
#ifndef TIME_HELPER_H
#define TIME_HELPER_H

#include <atomic>
#include <cstdint>
#include <ctime>

/// Milliseconds of the monotonic clock, kept in signed 32-bit arithmetic and widened with the sign:
/// after about 24.8 days of uptime the value wraps to very large numbers. Only differences over
/// short spans mean anything; take them with elapsed_ms.
std::uint64_t time_ms();

/// The same tick for a given reading of the monotonic clock.
std::uint64_t tick_of(const timespec& monotonic);

/// Milliseconds from one tick to a later one, right across the wrap.
std::uint64_t elapsed_ms(std::uint64_t from, std::uint64_t to);

/// Fills `ts` with the real-time clock plus `seconds`: a deadline for waits that run on that clock.
/// `seconds` must fit an int; negative `seconds` are not normalised.
void get_time_in(timespec* ts, float seconds);

/// `now` plus `seconds`, with at most one carry from the nanoseconds.
timespec time_after(timespec now, float seconds);

/// Microseconds since the Unix epoch, from the real-time clock.
std::uint64_t time_utc_us();

/// True: only a time from the flight controller's GPS may set the system clock; false: only a time
/// from elsewhere. False from the start, and nothing in this program changes it.
extern std::atomic<bool> g_need_use_fc_gps_time;

/// What sets the system clock: clock_settime from the start. Tests put their own in its place while
/// no other thread calls set_sys_time.
extern int (*g_clock_settime)(clockid_t clock, const timespec* time);

/// Sets the system clock to `time_us` (UTC, microseconds since the epoch; seconds from 2^31 on count
/// as 2^31 - 1) when the source is the accepted one, and passes a time that is not from the flight
/// controller on to the camera, which blocks until it answers. Returns false only when the camera
/// does not accept the time; a clock that may not be set, and a source that is not accepted, count
/// as success.
bool set_sys_time(unsigned long long time_us, bool time_src_is_fc_gps);

#endif  // TIME_HELPER_H
