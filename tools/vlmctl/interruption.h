// Pauses that Ctrl-C ends, where it is to end a command and not the program.
#ifndef VLMCTL_INTERRUPTION_H
#define VLMCTL_INTERRUPTION_H

#include <chrono>
#include <csignal>

namespace vlm::ctl {

/// Whether there was one since the last clear_interruption().
bool interrupted();
void clear_interruption();

/// While it lives, Ctrl-C is an interruption and does not end the program.
class InterruptionHandler {
 public:
  /// Whether reading goes on behind it.
  enum Reading { kGoesOn, kEndsReading };

  explicit InterruptionHandler(Reading reading = kGoesOn);
  ~InterruptionHandler();
  InterruptionHandler(const InterruptionHandler&) = delete;
  InterruptionHandler& operator=(const InterruptionHandler&) = delete;

 private:
  struct sigaction _before {};
};

/// Returns false, at once, when there is or was an interruption.
bool pause_until(std::chrono::steady_clock::time_point end);

}  // namespace vlm::ctl

#endif  // VLMCTL_INTERRUPTION_H
