// What the shared object offers to the programs.
#include <cstring>
#include <exception>

#include "mosquitto_loop.h"
#include "remote_camera.h"

namespace vlm::fleet {

namespace {

std::unique_ptr<bus::BrokerLoop> make_loop() { return std::make_unique<MosquittoLoop>(); }

std::unique_ptr<bus::RemoteCamera> reach(const bus::BrokerAddress& address,
                                         const bus::BrokerFiles& files, std::string& error) {
  try {
    return BrokerCamera::reach(address, files, make_loop, error);
  } catch (const std::exception& fault) {
    error = std::string("cannot reach ") + text_of(address) + ": " + fault.what();
    return nullptr;
  }
}

constexpr bus::BrokerPart kPart{make_loop, reach};

}  // namespace

}  // namespace vlm::fleet

/// Null when the program is of another version: what both share is C++.
extern "C" __attribute__((visibility("default"))) const vlm::bus::BrokerPart* vlm_broker_part(
    const char* version) {
  return std::strcmp(version, VLM_VERSION) == 0 ? &vlm::fleet::kPart : nullptr;
}
