#include "interruption.h"

#include <algorithm>
#include <thread>

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

namespace {

volatile std::sig_atomic_t g_interrupted;

Clock::time_point g_limit = Clock::time_point::max();
int g_uninterrupted;  // how many of Uninterrupted live

extern "C" void on_interruption(int) { g_interrupted = 1; }

}  // namespace

InterruptionHandler::InterruptionHandler() {
  struct sigaction action {};
  action.sa_handler = on_interruption;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, &_before);
}

InterruptionHandler::~InterruptionHandler() { sigaction(SIGINT, &_before, nullptr); }

TimeLimit::TimeLimit(Clock::time_point end) : _end(end), _outer(g_limit) {
  g_limit = std::min(_end, _outer);
}

TimeLimit::~TimeLimit() { g_limit = _outer; }

bool TimeLimit::over() const { return Clock::now() >= _end; }

Uninterrupted::Uninterrupted() { ++g_uninterrupted; }

Uninterrupted::~Uninterrupted() { --g_uninterrupted; }

bool interrupted() {
  return g_uninterrupted == 0 && (g_interrupted != 0 || Clock::now() >= g_limit);
}

void clear_interruption() { g_interrupted = 0; }

bool pause_until(Clock::time_point end) {
  for (auto now = Clock::now(); now < end && !interrupted(); now = Clock::now()) {
    std::this_thread::sleep_until(std::min({end, g_limit, Clock::time_point(now + kLookInterval)}));
  }
  return !interrupted();
}

}  // namespace vlm::ctl
