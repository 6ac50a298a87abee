#include "scheduler.h"

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
  _actions.emplace(Key{due, id}, std::move(action));
  _due.emplace(id, due);
  _changed.notify_all();
  return id;
}

void ThreadScheduler::cancel(Id id) {
  const std::lock_guard<std::mutex> guard(_mutex);
  const auto due = _due.find(id);
  if (due == _due.end()) return;
  _actions.erase(Key{due->second, id});
  _due.erase(due);
}

void ThreadScheduler::run() {
  std::unique_lock<std::mutex> lock(_mutex);
  while (!_ending) {
    if (_actions.empty()) {
      _changed.wait(lock, [this] { return _ending || !_actions.empty(); });
      continue;
    }
    const auto first = _actions.begin();
    if (const TimePoint due = first->first.first; due > now()) {
      _changed.wait_until(lock, due);  // an earlier action may come, or this one be forgotten
      continue;
    }
    const Action action = std::move(first->second);
    _due.erase(first->first.second);
    _actions.erase(first);
    lock.unlock();
    action();
    lock.lock();
  }
}

}  // namespace vlm::client
