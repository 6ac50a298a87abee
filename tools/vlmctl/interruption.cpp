#include "interruption.h"

#include <algorithm>
#include <csignal>
#include <thread>

namespace vlm::ctl {

namespace {

volatile std::sig_atomic_t g_interrupted;

// Signals reach any thread, so they do not end a sleep of this one.
constexpr std::chrono::milliseconds kSlice{50};

extern "C" void on_interruption(int) { g_interrupted = 1; }

}  // namespace

InterruptionHandler::InterruptionHandler(Reading reading) {
  struct sigaction action {};
  action.sa_handler = on_interruption;
  action.sa_flags = reading == kGoesOn ? SA_RESTART : 0;
  sigaction(SIGINT, &action, &_before);
}

InterruptionHandler::~InterruptionHandler() { sigaction(SIGINT, &_before, nullptr); }

bool interrupted() { return g_interrupted != 0; }

void clear_interruption() { g_interrupted = 0; }

bool pause_until(std::chrono::steady_clock::time_point end) {
  using Clock = std::chrono::steady_clock;
  for (auto now = Clock::now(); now < end && !interrupted(); now = Clock::now()) {
    std::this_thread::sleep_until(std::min<Clock::time_point>(end, now + kSlice));
  }
  return !interrupted();
}

}  // namespace vlm::ctl
