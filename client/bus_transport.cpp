#include "bus_transport.h"

#include <mutex>

#include "proven_subscriptions.h"

namespace vlm::client {

/// Never freed: the bus delivers to it while the process exits.
struct BusTransport::Subscription {
  void receive(const void* packet, unsigned int length) {
    const std::lock_guard<std::recursive_mutex> guard(mutex);
    const Receiver current = receiver;
    if (current) current(packet, length);
  }

  // What a console on the reply channel takes for a message of the camera, and does not know, is the
  // sender of the probes.
  bus::ProvenSubscriptions& replies = bus::ProvenSubscriptions::create(
      kRequestChannel, {{kReplyChannel, [this](const void* packet, unsigned int length,
                                               const char*) { receive(packet, length); }}});
  // Held while the receiver runs, so that it can be changed only between two packets; recursive, as
  // the receiver itself may change it.
  std::recursive_mutex mutex;
  Receiver receiver;  // guarded by the mutex
};

BusTransport::BusTransport() : _subscription(*new Subscription) { _subscription.replies.start(); }

BusTransport::~BusTransport() { BusTransport::listen(nullptr); }

bool BusTransport::wait_until_serving(std::chrono::milliseconds limit) {
  return _subscription.replies.wait(limit);
}

bool BusTransport::publish(const userlcm_packet_t& packet, unsigned int length) {
  return send_msg_to_lcm(&packet, length, kRequestChannel) == 0;
}

void BusTransport::listen(Receiver receiver) {
  const std::lock_guard<std::recursive_mutex> guard(_subscription.mutex);
  _subscription.receiver = std::move(receiver);
}

}  // namespace vlm::client
