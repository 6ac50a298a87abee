// What ends a command before its time: Ctrl-C, where it is to end the command and not the program,
// and the limit of a batch's `within`. For the main thread, which runs the commands.
#ifndef VLMCTL_INTERRUPTION_H
#define VLMCTL_INTERRUPTION_H

#include <chrono>
#include <csignal>

namespace vlm::ctl {

/// How often a wait looks whether it is to end: signals reach any thread and wake none of ours.
constexpr std::chrono::milliseconds kLookInterval{50};

/// Whether the command is to end: there was a Ctrl-C since the last clear_interruption(), or a time
/// limit has passed.
bool interrupted();
void clear_interruption();

/// While it lives, Ctrl-C is an interruption and does not end the program. Reading goes on behind it.
class InterruptionHandler {
 public:
  InterruptionHandler();
  ~InterruptionHandler();
  InterruptionHandler(const InterruptionHandler&) = delete;
  InterruptionHandler& operator=(const InterruptionHandler&) = delete;

 private:
  struct sigaction _before {};
};

/// While it lives, what runs is interrupted at `end`; inside another one, at the earlier of both.
class TimeLimit {
 public:
  explicit TimeLimit(std::chrono::steady_clock::time_point end);
  ~TimeLimit();
  TimeLimit(const TimeLimit&) = delete;
  TimeLimit& operator=(const TimeLimit&) = delete;

  /// Whether its own end has passed.
  bool over() const;

 private:
  const std::chrono::steady_clock::time_point _end;
  const std::chrono::steady_clock::time_point _outer;
};

/// While it lives, nothing is interrupted: for steps that belong together.
class Uninterrupted {
 public:
  Uninterrupted();
  ~Uninterrupted();
  Uninterrupted(const Uninterrupted&) = delete;
  Uninterrupted& operator=(const Uninterrupted&) = delete;
};

/// Returns false, at once, when there is or was an interruption.
bool pause_until(std::chrono::steady_clock::time_point end);

}  // namespace vlm::ctl

#endif  // VLMCTL_INTERRUPTION_H
