// The way over the board's message bus, through its two functions.
#ifndef VLM_CLIENT_BUS_TRANSPORT_H
#define VLM_CLIENT_BUS_TRANSPORT_H

#include <chrono>
#include <memory>

#include "transport.h"

namespace vlm::client {

/// One subscription of the camera's replies. Its thread serves for as long as the process lives, so
/// make one transport for the bus of this process and keep it.
class BusTransport : public Transport {
 public:
  /// Subscribes; packets may be lost until the subscription serves.
  BusTransport();
  ~BusTransport() override;
  BusTransport(const BusTransport&) = delete;
  BusTransport& operator=(const BusTransport&) = delete;

  /// Waits until the subscription serves. False when it never will, or not within `limit`.
  bool wait_until_serving(std::chrono::milliseconds limit);

  bool publish(const userlcm_packet_t& packet, unsigned int length) override;
  void listen(Receiver receiver) override;

 private:
  struct Subscription;

  // The bus has it, too, for good.
  Subscription& _subscription;
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_BUS_TRANSPORT_H
