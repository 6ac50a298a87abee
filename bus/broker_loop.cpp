#include "broker.h"
#include "broker_object.h"

namespace vlm::bus {

std::unique_ptr<BrokerLoop> make_broker_loop(std::string& error) {
  const void* const part = from_broker_object("vlm_broker_part", error);
  return part != nullptr ? static_cast<const BrokerPart*>(part)->make_loop(error) : nullptr;
}

}  // namespace vlm::bus
