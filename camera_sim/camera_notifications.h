// What the simulated camera tells unasked: packets of types 5 to 8, each with the time at which it
// is due.
#ifndef CAMERA_SIM_CAMERA_NOTIFICATIONS_H
#define CAMERA_SIM_CAMERA_NOTIFICATIONS_H

#include <array>
#include <cstddef>
#include <deque>
#include <optional>

#include "payload_bytes.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

struct Notification {
  lcm_msg_type type;
  u64 due_ms;
  /// Start of the message data; zeros follow.
  std::array<u8, sizeof(udp_ctrl_cam_misc_image_info_t)> data{};
};

/// A notification that carries `payload`.
template <typename T>
Notification notification(lcm_msg_type type, u64 due_ms, T payload) {
  Notification made{type, due_ms, {}};
  static_assert(sizeof payload <= sizeof made.data);
  store(made.data.data(), payload);
  return made;
}

/// Notifications in the order in which they are due; those due at once in the order of adding.
class NotificationQueue {
 public:
  static constexpr std::size_t kMost = 1024;

  /// False when kMost wait already: then it is left out, as by a camera whose own queue is full.
  bool add(const Notification& added);
  /// Moves the first one that is due at `now_ms` to `taken`; false when there is none.
  bool take(u64 now_ms, Notification& taken);
  std::optional<u64> next_due_ms() const;
  void clear() { _queue.clear(); }

 private:
  std::deque<Notification> _queue;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_NOTIFICATIONS_H
