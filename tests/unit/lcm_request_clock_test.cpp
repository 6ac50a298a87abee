// Steps of the real-time clock and the engine's waits: this program itself sets that clock, so no
// wait may run on it. The steps are taken where the machine allows them and last for an instant;
// elsewhere these tests prove the length of the waits alone.

#include <sys/timex.h>

#include "engine_test.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kTimeout{300};
constexpr time_t kStep = 10;  // seconds

/// Steps the real-time clock by `seconds`. Refused without the privilege, which is all right.
void step_clock(time_t seconds) {
  timex change{};
  change.modes = ADJ_SETOFFSET;
  change.time.tv_sec = seconds;
  adjtimex(&change);
}

/// The real-time clock runs ahead while the object lives.
class ClockAhead {
 public:
  ClockAhead() { step_clock(kStep); }
  ~ClockAhead() { step_clock(-kStep); }
  ClockAhead(const ClockAhead&) = delete;
  ClockAhead& operator=(const ClockAhead&) = delete;
};

class ClockStep : public EngineTest {
 protected:
  ClockStep() {
    bus().stay_silent();
    give_up_after(kTimeout);
  }

  /// Begins a camera request, which will time out; it waits when this returns.
  void start_camera_request() {
    _start = Clock::now();
    _pending = std::async(std::launch::deferred,
                          [ended = start_request(UDP_CTRL_CAM_GET_IRIS, kTimeout)]() mutable {
                            return ended.get().success;
                          });
  }

  /// Begins a side-channel request, likewise.
  void start_rtsp_request() {
    _start = Clock::now();
    _pending = std::async(std::launch::async, [this] {
      return _engine.send_msg_rtsp_and_wait(GET_FLC_STATUS, nullptr, 0);
    });
    bus().wait_for_published(1);
    // The sender holds the channel's lock until it waits.
    _engine.receive_msg_from_rtsp(SEND_FPS_ACK, nullptr);
  }

  void expect_timeout_in_time() {
    EXPECT_FALSE(_pending.get());
    EXPECT_GE(Clock::now() - _start, kTimeout);
    EXPECT_LT(Clock::now() - _start, std::chrono::seconds(kStep) - kTimeout);
  }

 private:
  Clock::time_point _start;
  std::future<bool> _pending;
};

TEST_F(ClockStep, ForwardDoesNotShortenTheWaitForTheCamera) {
  start_camera_request();
  { const ClockAhead ahead; }
  expect_timeout_in_time();
}

TEST_F(ClockStep, BackDoesNotStretchTheWaitForTheCamera) {
  {
    const ClockAhead ahead;
    start_camera_request();
  }
  expect_timeout_in_time();
}

TEST_F(ClockStep, ForwardDoesNotShortenTheWaitForTheStreamer) {
  start_rtsp_request();
  { const ClockAhead ahead; }
  expect_timeout_in_time();
}

TEST_F(ClockStep, BackDoesNotStretchTheWaitForTheStreamer) {
  {
    const ClockAhead ahead;
    start_rtsp_request();
  }
  expect_timeout_in_time();
}

}  // namespace
