#include "remote_transport.h"

#include "broker_object.h"
#include "format.h"

namespace vlm::client {

bool is_remote(const std::string& camera) {
  return camera.rfind("mqtt", 0) == 0 && camera.find("://") != std::string::npos;
}

std::unique_ptr<Transport> reach_camera(const std::string& address, std::chrono::milliseconds limit,
                                        RemoteFault& fault) {
  const void* const part = bus::from_broker_object("vlm_remote_transport");
  if (part != nullptr) {
    return std::unique_ptr<Transport>(
        static_cast<const RemotePart*>(part)->reach(address, limit, fault));
  }
  fault.text = host::format(bus::kNoBrokerObject, bus::broker_object_fault());
  return nullptr;
}

}  // namespace vlm::client
