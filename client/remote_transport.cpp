#include "remote_transport.h"

#include "broker_object.h"

namespace vlm::client {

bool is_remote(const std::string& camera) {
  return camera.rfind("mqtt://", 0) == 0 || camera.rfind("mqtts://", 0) == 0;
}

std::unique_ptr<Transport> reach_camera(const std::string& address, std::chrono::milliseconds limit,
                                        RemoteFault& fault) {
  const void* const part = bus::from_broker_object("vlm_remote_transport", fault.text);
  if (part == nullptr) return nullptr;
  return static_cast<const RemotePart*>(part)->reach(address, limit, fault);
}

}  // namespace vlm::client
