// The bus of a process where VLM_BUS names a camera behind a broker.
#ifndef REMOTE_BUS_H
#define REMOTE_BUS_H

#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

/// What the shared object of the broker offers as vlm_remote_bus: the camera that VLM_BUS names, to
/// which it connects at the first call. It says itself what is wrong, once.
struct RemoteBus {
  /// As send_msg_to_lcm, of a packet that has been checked.
  int (*publish)(const userlcm_packet_t* packet, unsigned int length, const char* channel);
  /// As register_lcm_message; returns only when the camera cannot be reached that way.
  void (*serve)(const Receive_msg_t* subscription);
  /// As bus_has_subscriber.
  bool (*has_subscriber)(const char* channel, int timeout_ms);
};

/// Null when this process has its bus on this machine, or when the object cannot be had, which it says
/// then. Settled by the first call.
const RemoteBus* remote_bus();

}  // namespace vlm::bus

#endif  // REMOTE_BUS_H
