// Time, as clients see it: tests tick it.
#ifndef VLM_CLIENT_SCHEDULER_H
#define VLM_CLIENT_SCHEDULER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vlm::client {

/// Runs actions later. Any thread may call it, under any lock: it never runs an action from within,
/// and an action runs while it holds no lock of its own.
class Scheduler {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Action = std::function<void()>;
  using Id = unsigned long long;

  virtual ~Scheduler() = default;

  virtual TimePoint now() const = 0;
  /// Runs `action` once, `delay` from now.
  virtual Id after(std::chrono::milliseconds delay, Action action) = 0;
  /// Forgets an action; one that runs already is not waited for.
  virtual void cancel(Id id) = 0;
};

/// The steady clock, and a thread that runs the actions, in the order in which they are due.
class ThreadScheduler : public Scheduler {
 public:
  ThreadScheduler();
  /// Forgets all actions; waits for one that is running. Not to be called by an action.
  ~ThreadScheduler() override;
  ThreadScheduler(const ThreadScheduler&) = delete;
  ThreadScheduler& operator=(const ThreadScheduler&) = delete;

  TimePoint now() const override;
  Id after(std::chrono::milliseconds delay, Action action) override;
  void cancel(Id id) override;

 private:
  struct Entry {
    TimePoint due;
    Id id;
    Action action;
  };

  void run();

  std::mutex _mutex;  // guards all members below but the thread
  std::condition_variable _changed;
  std::vector<Entry> _entries;  // in the order in which they are due, then in that of their ids
  Id _next_id = 1;
  bool _ending = false;
  std::thread _thread;
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_SCHEDULER_H
