#include "scheduler.h"

#include <algorithm>

namespace vlm::client {

ThreadScheduler::ThreadScheduler() : _thread([this] { run(); }) {}

ThreadScheduler::~ThreadScheduler() {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    _ending = true;
  }
  _changed.notify_all();
  _thread.join();
}

Scheduler::TimePoint ThreadScheduler::now() const { return std::chrono::steady_clock::now(); }

Scheduler::Id ThreadScheduler::after(std::chrono::milliseconds delay, Action action) {
  const std::lock_guard<std::mutex> guard(_mutex);
  const Id id = _next_id++;
  const TimePoint due = now() + delay;
  const auto later = std::find_if(_entries.begin(), _entries.end(),
                                  [due](const Entry& entry) { return entry.due > due; });
  _entries.insert(later, {due, id, std::move(action)});
  _changed.notify_all();
  return id;
}

void ThreadScheduler::cancel(Id id) {
  const std::lock_guard<std::mutex> guard(_mutex);
  const auto found = std::find_if(_entries.begin(), _entries.end(),
                                  [id](const Entry& entry) { return entry.id == id; });
  if (found != _entries.end()) _entries.erase(found);
}

void ThreadScheduler::run() {
  std::unique_lock<std::mutex> lock(_mutex);
  while (!_ending) {
    if (_entries.empty()) {
      _changed.wait(lock, [this] { return _ending || !_entries.empty(); });
      continue;
    }
    if (const TimePoint due = _entries.front().due; due > now()) {
      _changed.wait_until(lock, due);  // an earlier action may come, or this one be forgotten
      continue;
    }
    const Action action = std::move(_entries.front().action);
    _entries.erase(_entries.begin());
    lock.unlock();
    action();
    lock.lock();
  }
}

}  // namespace vlm::client
