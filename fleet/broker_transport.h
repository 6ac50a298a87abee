// The way of a client to a camera behind a broker.
#ifndef FLEET_BROKER_TRANSPORT_H
#define FLEET_BROKER_TRANSPORT_H

#include <memory>

#include "remote_camera.h"
#include "transport.h"

namespace vlm::fleet {

class BrokerTransport : public client::Transport {
 public:
  explicit BrokerTransport(std::unique_ptr<BrokerCamera> camera);
  ~BrokerTransport() override;
  BrokerTransport(const BrokerTransport&) = delete;
  BrokerTransport& operator=(const BrokerTransport&) = delete;

  bool publish(const userlcm_packet_t& packet, unsigned int length) override;
  void listen(Receiver receiver) override;

 private:
  struct Outlet;

  const std::shared_ptr<Outlet> _outlet;
  const std::unique_ptr<BrokerCamera> _camera;
};

}  // namespace vlm::fleet

#endif  // FLEET_BROKER_TRANSPORT_H
