// The way to a camera behind a broker.
#ifndef VLM_CLIENT_BROKER_TRANSPORT_H
#define VLM_CLIENT_BROKER_TRANSPORT_H

#include <chrono>
#include <memory>
#include <string>

#include "broker.h"
#include "transport.h"

namespace vlm::client {

/// A connection of its own to the broker; any number of them in a process.
class BrokerTransport : public Transport {
 public:
  /// Connects in the background. Null when the camera cannot be reached that way: `error` says why.
  static std::unique_ptr<BrokerTransport> reach(const bus::BrokerAddress& address,
                                                const bus::BrokerFiles& files, std::string& error);
  ~BrokerTransport() override;
  BrokerTransport(const BrokerTransport&) = delete;
  BrokerTransport& operator=(const BrokerTransport&) = delete;

  /// Waits until answers can come. False when they cannot within `limit`: `error` says why.
  bool wait_until_serving(std::chrono::milliseconds limit, std::string& error);
  /// What the broker keeps about the camera: "online", "silent", "offline"; empty: nothing.
  std::string presence() { return _camera->presence(); }

  bool publish(const userlcm_packet_t& packet, unsigned int length) override;
  void listen(Receiver receiver) override;

 private:
  struct Outlet;

  explicit BrokerTransport(std::unique_ptr<bus::RemoteCamera> camera);

  const std::shared_ptr<Outlet> _outlet;
  const std::unique_ptr<bus::RemoteCamera> _camera;
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_BROKER_TRANSPORT_H
