#include "broker.h"
#include "broker_object.h"
#include "format.h"

namespace vlm::bus {

std::unique_ptr<BrokerLoop> make_broker_loop(std::string& error) {
  const void* const part = from_broker_object("vlm_broker_part");
  if (part != nullptr) return static_cast<const BrokerPart*>(part)->make_loop(error);
  error = host::format(kNoBrokerObject, broker_object_fault());
  return nullptr;
}

}  // namespace vlm::bus
