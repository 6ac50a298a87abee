// The way of packets between a client and one camera.
#ifndef VLM_CLIENT_TRANSPORT_H
#define VLM_CLIENT_TRANSPORT_H

#include <functional>

#include "vlm_userlcm_control_camera.h"

namespace vlm::client {

class Transport {
 public:
  /// Takes a packet that came for this program: `length` bytes of a userlcm_packet_t, possibly fewer
  /// than all of it.
  using Receiver = std::function<void(const void* packet, std::size_t length)>;

  virtual ~Transport() = default;

  /// Publishes the first `length` bytes of the packet's message for the camera. False when it could
  /// not be published. Any thread; the answer comes on another one.
  virtual bool publish(const userlcm_packet_t& packet, unsigned int length) = 0;

  /// Hands every packet to `receiver`, one at a time, in place of the receiver before; empty: to
  /// nobody. Does not return while the one before is running, but on its own thread.
  virtual void listen(Receiver receiver) = 0;
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_TRANSPORT_H
