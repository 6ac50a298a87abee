// What a long action is at: a line at the terminal that goes on to change.
#ifndef VLMCTL_PROGRESS_H
#define VLMCTL_PROGRESS_H

#include <chrono>
#include <string>

#include "console.h"

namespace vlm::ctl {

/// Shows its line while it lives; then the one that was there before is back.
class Progress {
 public:
  explicit Progress(const Console& console);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// "photo.take: capturing, 12 s": the text, and the time since it began.
  void show_with_time(const std::string& text) const;
  /// "120 steps, 3.4 a second, 1 failed"
  void show_steps(std::size_t steps, std::size_t failures) const;

 private:
  std::chrono::duration<double> elapsed() const;

  const Console& _console;
  const std::string _before;
  const std::chrono::steady_clock::time_point _start;
};

/// Shows `text` in place of the terminal's last line, cut to its width; empty: clears it.
void show_live_line(const std::string& text);

/// Whether standard error is a terminal that can show it.
bool has_live_line();

}  // namespace vlm::ctl

#endif  // VLMCTL_PROGRESS_H
