#include "progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

Progress::Progress(const Console& console)
    : _console(console), _before(console.progress()), _start(Clock::now()) {}

Progress::~Progress() { _console.show_progress(_before); }

void Progress::show_with_time(const std::string& text) const {
  char time[32] = {};
  std::snprintf(time, sizeof time, ", %.0f s", elapsed().count());
  _console.show_progress(text + time);
}

void Progress::show_steps(std::size_t steps, std::size_t failures) const {
  char text[96] = {};
  std::snprintf(text, sizeof text, "%zu steps, %.1f a second, %zu failed", steps,
                static_cast<double>(steps) / std::max(elapsed().count(), 0.001), failures);
  _console.show_progress(text);
}

std::chrono::duration<double> Progress::elapsed() const { return Clock::now() - _start; }

void show_live_line(const std::string& text) {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
  const std::size_t width = known ? size.ws_col - 1U : 79;
  std::fprintf(stderr, "\r%s\033[K", text.substr(0, width).c_str());
  std::fflush(stderr);
}

bool has_live_line() {
  const char* const terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

}  // namespace vlm::ctl
