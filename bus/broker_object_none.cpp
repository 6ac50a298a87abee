// A program that is linked statically loads nothing.
#include "broker_object.h"

namespace vlm::bus {

const void* from_broker_object(const char*) { return nullptr; }

const char* broker_object_fault() { return "this program is linked statically"; }

}  // namespace vlm::bus
