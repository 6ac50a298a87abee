#include "remote_bus.h"

#include <cstdlib>
#include <cstring>

#include "broker_object.h"
#include "report.h"

namespace vlm::bus {

namespace {

const RemoteBus* bus_of_environment() noexcept {
  const char* const address = std::getenv("VLM_BUS");
  if (!address || std::strncmp(address, "mqtt", 4) != 0) return nullptr;  // as brokers' begin
  const void* const offered = from_broker_object("vlm_remote_bus");
  if (!offered) report(kNoBrokerObject, broker_object_fault());
  return static_cast<const RemoteBus*>(offered);
}

}  // namespace

const RemoteBus* remote_bus() {
  static const RemoteBus* const bus = bus_of_environment();
  return bus;
}

}  // namespace vlm::bus
