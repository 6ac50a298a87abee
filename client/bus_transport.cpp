#include "bus_transport.h"

#include <cstring>
#include <mutex>
#include <thread>

#include "bus_readiness.h"

namespace vlm::client {

/// Never freed: the bus delivers to it while the process exits.
struct BusTransport::Subscription {
  Subscription() {
    std::memcpy(bus.channel, kReplyChannel, sizeof kReplyChannel);
    bus.f = on_packet;
    bus.func = this;
  }

  static void on_packet(void* packet, unsigned int length, char* channel, void* user) {
    if (packet == nullptr || channel == nullptr) return;
    static_cast<Subscription*>(user)->receive(packet, length, channel);
  }

  void receive(const void* packet, unsigned int length, const char* channel) {
    if (readiness.is_probe(packet, length, channel)) return;
    const std::lock_guard<std::recursive_mutex> guard(mutex);
    const Receiver current = receiver;
    if (current) current(packet, length);
  }

  Receive_msg_t bus{};
  // What a console on the reply channel takes for a message of the camera, and does not know.
  vlm::bus::BusReadiness readiness{kRequestChannel, {kReplyChannel}};
  // Held while the receiver runs, so that it can be changed only between two packets; recursive, as
  // the receiver itself may change it.
  std::recursive_mutex mutex;
  Receiver receiver;  // guarded by the mutex
};

BusTransport::BusTransport() : _subscription(*new Subscription) {
  std::thread([subscription = &_subscription] {
    register_lcm_message(&subscription->bus);
    subscription->readiness.give_up();
  }).detach();
}

BusTransport::~BusTransport() { listen(nullptr); }

bool BusTransport::wait_until_serving(std::chrono::milliseconds limit) {
  return _subscription.readiness.wait(limit);
}

bool BusTransport::publish(const userlcm_packet_t& packet, unsigned int length) {
  return send_msg_to_lcm(&packet, length, kRequestChannel) == 0;
}

void BusTransport::listen(Receiver receiver) {
  const std::lock_guard<std::recursive_mutex> guard(_subscription.mutex);
  _subscription.receiver = std::move(receiver);
}

}  // namespace vlm::client
