// The object's name has the version in it: what both share is C++.
#include "broker_object.h"

#include <dlfcn.h>

namespace vlm::bus {

const void* from_broker_object(const char* symbol) {
  // Never closed: its threads run to the end.
  void* const object = dlopen(VLM_BROKER_OBJECT, RTLD_NOW);
  return object ? dlsym(object, symbol) : nullptr;
}

const char* broker_object_fault() { return dlerror(); }

}  // namespace vlm::bus
