// Threads of a program, run one at a time on a clock of the test's own, in an order that the test
// chooses: each is a fiber, and a wait on a condition variable hands over to the test.
//
// The linker's --wrap leads the timed waits, the notifies, the steady clock and time_ms of a program
// here. Waits without a time-out are not led here.
#ifndef FIBERS_H
#define FIBERS_H

#include <pthread.h>
#include <ucontext.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

class Fiber {
 public:
  explicit Fiber(std::function<void()> body);
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;

  bool done() const { return _done; }
  bool waits() const { return _condition != nullptr; }
  bool runnable() const { return !_done && !waits(); }

 private:
  friend class Fibers;
  static constexpr std::size_t kStackSize = 256 * 1024;
  static void enter();

  std::function<void()> _body;
  std::unique_ptr<char[]> _stack;
  ucontext_t _context{};
  const void* _condition = nullptr;  // what it waits on
  std::chrono::nanoseconds _deadline{};
  bool _done = false;
};

/// All fibers of the process; the test calls, and their bodies where it is said.
class Fibers {
 public:
  static Fibers& instance();

  /// Forgets all fibers; each must be done. The clock goes on.
  void reset(std::uint32_t seed);
  Fiber& add(std::function<void()> body);
  const std::vector<std::unique_ptr<Fiber>>& all() const { return _all; }

  /// Lets `fiber`, which is runnable, go on until it waits, yields or is done.
  void resume(Fiber& fiber);
  /// Ends the wait of `fiber` for no reason.
  void wake(Fiber& fiber) { fiber._condition = nullptr; }
  /// Moves the clock; waits whose time is over end.
  void pass(std::chrono::nanoseconds time);
  std::chrono::nanoseconds now() const { return _now; }

  /// Called by a body: gives the others a turn.
  void yield();
  /// The fiber that runs; null when the test itself does.
  Fiber* current() const { return _current; }

  // The waits and notifies come here.
  int wait(const void* condition, pthread_mutex_t* mutex, std::chrono::nanoseconds deadline);
  void notify_one(const void* condition);

 private:
  friend class Fiber;

  std::vector<std::unique_ptr<Fiber>> _all;
  Fiber* _current = nullptr;
  ucontext_t _test{};
  std::chrono::nanoseconds _now = std::chrono::hours(1);
  std::mt19937 _random;
};

#endif  // FIBERS_H
