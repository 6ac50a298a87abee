// The shared object of the package vlm-fleet, which has all that programs do with brokers: a program
// loads it when an address asks for one, and needs nothing of it else.
#ifndef BROKER_OBJECT_H
#define BROKER_OBJECT_H

namespace vlm::bus {

/// What the object offers by the name `symbol`; it stays loaded. Null when it cannot be had. Any
/// thread.
const void* from_broker_object(const char* symbol);

/// Why the last call of this thread got nothing; valid until its next one.
const char* broker_object_fault();

/// What to tell then, with the fault in it.
constexpr char kNoBrokerObject[] = "brokers need the package vlm-fleet: %s";

}  // namespace vlm::bus

#endif  // BROKER_OBJECT_H
