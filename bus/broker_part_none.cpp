// A program that is linked statically loads nothing.
#include "broker.h"

namespace vlm::bus {

const BrokerPart* broker_part(std::string& error) {
  error = "cannot reach a broker: this program is linked statically";
  return nullptr;
}

}  // namespace vlm::bus
