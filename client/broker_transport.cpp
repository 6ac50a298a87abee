#include "broker_transport.h"

#include <mutex>
#include <utility>

namespace vlm::client {

struct BrokerTransport::Outlet {
  // Held while the receiver runs, so that it can be changed only between two packets; recursive, as
  // the receiver itself may change it.
  std::recursive_mutex mutex;
  Receiver receiver;  // guarded by the mutex
};

std::unique_ptr<BrokerTransport> BrokerTransport::reach(const bus::BrokerAddress& address,
                                                        const bus::BrokerFiles& files,
                                                        std::string& error) {
  const bus::BrokerPart* const part = bus::broker_part(error);
  auto camera = part != nullptr ? part->reach(address, files, error) : nullptr;
  if (!camera) return nullptr;
  return std::unique_ptr<BrokerTransport>(new BrokerTransport(std::move(camera)));
}

BrokerTransport::BrokerTransport(std::unique_ptr<bus::RemoteCamera> camera)
    : _outlet(std::make_shared<Outlet>()), _camera(std::move(camera)) {
  _camera->listen(kReplyChannel, [outlet = _outlet](const void* packet, std::size_t length) {
    const std::lock_guard<std::recursive_mutex> guard(outlet->mutex);
    const Receiver current = outlet->receiver;
    if (current) current(packet, length);
  });
}

BrokerTransport::~BrokerTransport() { BrokerTransport::listen(nullptr); }

bool BrokerTransport::wait_until_serving(std::chrono::milliseconds limit, std::string& error) {
  return _camera->wait_until_serving(limit, error);
}

bool BrokerTransport::publish(const userlcm_packet_t& packet, unsigned int length) {
  return _camera->publish(packet, length, kRequestChannel);
}

void BrokerTransport::listen(Receiver receiver) {
  const std::lock_guard<std::recursive_mutex> guard(_outlet->mutex);
  _outlet->receiver = std::move(receiver);
}

}  // namespace vlm::client
