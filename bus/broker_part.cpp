// The shared object stands beside the programs, where they are built, or in the library folder that
// belongs to theirs.
#include <dlfcn.h>
#include <unistd.h>

#include <climits>

#include "broker.h"

namespace vlm::bus {

namespace {

std::string folder_of_program() {
  char path[PATH_MAX];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
  if (size <= 0) return ".";
  const std::string program(path, static_cast<std::size_t>(size));
  return program.substr(0, program.rfind('/'));
}

/// Null with dlerror() set when neither place has it.
void* open_object() {
  const std::string folder = folder_of_program();
  const std::string beside = folder + "/" VLM_BROKER_OBJECT;
  const bool built = access(beside.c_str(), F_OK) == 0;
  const std::string path = built ? beside : folder + "/" VLM_BROKER_FOLDER "/" VLM_BROKER_OBJECT;
  // Never closed: its threads run to the end.
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

struct Loaded {
  const BrokerPart* part = nullptr;
  std::string error;
};

Loaded load() {
  void* const object = open_object();
  using Offer = const BrokerPart* (*)(const char* version);
  const auto offer =
      object != nullptr ? reinterpret_cast<Offer>(dlsym(object, "vlm_broker_part")) : nullptr;
  if (offer == nullptr) {
    const char* const reason = dlerror();
    return {nullptr, std::string("cannot reach a broker, which needs the package vlm-fleet: ") +
                         (reason != nullptr ? reason : "it is another program's")};
  }
  const BrokerPart* const part = offer(VLM_VERSION);
  return {part,
          part != nullptr ? "" : "the package vlm-fleet is of another version than " VLM_VERSION};
}

}  // namespace

const BrokerPart* broker_part(std::string& error) {
  static const Loaded& loaded = *new Loaded(load());
  error = loaded.error;
  return loaded.part;
}

}  // namespace vlm::bus
