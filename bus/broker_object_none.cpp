// A program that is linked statically loads nothing.
#include "broker_object.h"

namespace vlm::bus {

const void* from_broker_object(const char*, std::string& error) {
  error = "cannot reach a broker: this program is linked statically";
  return nullptr;
}

}  // namespace vlm::bus
