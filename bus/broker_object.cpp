// The object's name has the version in it: what both share is C++. It is found by the search path of
// the programs that link this: beside them, where they are built, or in the library folder that
// belongs to theirs.
#include "broker_object.h"

#include <dlfcn.h>

#include "format.h"

namespace vlm::bus {

const void* from_broker_object(const char* symbol, std::string& error) {
  // Never closed: its threads run to the end.
  void* const object = dlopen(VLM_BROKER_OBJECT, RTLD_NOW);
  const void* const found = object != nullptr ? dlsym(object, symbol) : nullptr;
  if (found == nullptr) {
    error = host::format("cannot reach a broker, which needs the package vlm-fleet: %s", dlerror());
  }
  return found;
}

}  // namespace vlm::bus
