#include "broker_transport.h"

#include <mutex>
#include <utility>

namespace vlm::fleet {

struct BrokerTransport::Outlet {
  // Held while the receiver runs, so that it can be changed only between two packets; recursive, as
  // the receiver itself may change it.
  std::recursive_mutex mutex;
  Receiver receiver;  // guarded by the mutex
};

BrokerTransport::BrokerTransport(std::unique_ptr<BrokerCamera> camera)
    : _outlet(std::make_shared<Outlet>()), _camera(std::move(camera)) {
  _camera->listen(kReplyChannel, [outlet = _outlet](const void* packet, std::size_t length) {
    const std::lock_guard<std::recursive_mutex> guard(outlet->mutex);
    const Receiver current = outlet->receiver;
    if (current) current(packet, length);
  });
}

BrokerTransport::~BrokerTransport() { BrokerTransport::listen(nullptr); }

bool BrokerTransport::publish(const userlcm_packet_t& packet, unsigned int length) {
  return _camera->publish(packet, length, kRequestChannel);
}

void BrokerTransport::listen(Receiver receiver) {
  const std::lock_guard<std::recursive_mutex> guard(_outlet->mutex);
  _outlet->receiver = std::move(receiver);
}

}  // namespace vlm::fleet
