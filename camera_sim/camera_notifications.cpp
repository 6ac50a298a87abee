#include "camera_notifications.h"

#include <algorithm>

namespace vlm::sim {

/// Behind those that are due at the same time.
bool NotificationQueue::add(const Notification& added) {
  if (_queue.size() == kMost) return false;
  const auto later = [](u64 due, const Notification& other) { return due < other.due_ms; };
  _queue.insert(std::upper_bound(_queue.begin(), _queue.end(), added.due_ms, later), added);
  return true;
}

bool NotificationQueue::take(u64 now_ms, Notification& taken) {
  if (_queue.empty() || _queue.front().due_ms > now_ms) return false;
  taken = _queue.front();
  _queue.pop_front();
  return true;
}

std::optional<u64> NotificationQueue::next_due_ms() const {
  if (_queue.empty()) return std::nullopt;
  return _queue.front().due_ms;
}

}  // namespace vlm::sim
