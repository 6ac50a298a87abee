// A mutex whose use clang's thread-safety analysis checks: members are declared with the lock that
// guards them, functions with the lock that their caller holds. Other compilers see a plain mutex.
#ifndef VELMAR_MUTEX_H
#define VELMAR_MUTEX_H

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "velmar_output.h"

// Macros, since attributes that only one compiler knows cannot be written otherwise.
#if defined(__clang__)
#define VLM_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define VLM_THREAD_ANNOTATION(attribute)
#endif
#define VLM_GUARDED_BY(mutex) VLM_THREAD_ANNOTATION(guarded_by(mutex))
#define VLM_REQUIRES(mutex) VLM_THREAD_ANNOTATION(requires_capability(mutex))
// For what is safe without the lock, and says why.
#define VLM_UNCHECKED VLM_THREAD_ANNOTATION(no_thread_safety_analysis)
#define VLM_EXCLUDES(...) VLM_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

/// Locked by a MutexLock only.
class VLM_THREAD_ANNOTATION(capability("mutex")) Mutex {
 private:
  friend class MutexLock;

  std::mutex _mutex;
};

/// Holds a mutex for as long as it lives, or until unlock().
class VLM_THREAD_ANNOTATION(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) VLM_THREAD_ANNOTATION(acquire_capability(mutex))
      : _lock(mutex._mutex) {}
  ~MutexLock() VLM_THREAD_ANNOTATION(release_capability()) = default;
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void unlock() VLM_THREAD_ANNOTATION(release_capability()) { _lock.unlock(); }

  /// Gives the mutex back until `predicate` holds, at most `timeout`; returns whether it holds. On
  /// the steady clock, since this program itself sets the real-time clock. `predicate` runs with
  /// the mutex held; a lambda says so with VLM_REQUIRES. What was printed is shown before a wait.
  /// Left out of the analysis, which cannot know that the predicate's mutex is this one.
  template <typename Predicate>
  bool wait_at_most(std::condition_variable& condition, std::chrono::milliseconds timeout,
                    Predicate predicate) VLM_UNCHECKED {
    if (predicate()) return true;
    show_output();
    return condition.wait_until(_lock, std::chrono::steady_clock::now() + timeout, predicate);
  }

 private:
  std::unique_lock<std::mutex> _lock;
};

#endif  // VELMAR_MUTEX_H
