// The shared object of the package vlm-fleet, which has all that programs do with brokers: a program
// loads it when an address asks for one, and needs nothing of it else.
#ifndef BROKER_OBJECT_H
#define BROKER_OBJECT_H

#include <string>

namespace vlm::bus {

/// What the object offers by the name `symbol`; it stays loaded. Null when it cannot be had: `error`
/// says why. Any thread.
const void* from_broker_object(const char* symbol, std::string& error);

}  // namespace vlm::bus

#endif  // BROKER_OBJECT_H
