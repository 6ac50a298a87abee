#include "remote_bus.h"

#include <cstdlib>
#include <cstring>

#include "broker_object.h"
#include "report.h"

namespace vlm::bus {

namespace {

constexpr char kBeginning[] = "mqtt";  // of the addresses of brokers

/// Stands in where the object cannot be had.
constexpr RemoteBus kNoBus{
    [](const userlcm_packet_t*, unsigned int, const char*) { return -1; },
    [](const Receive_msg_t*) {},
    [](const char*, int) { return false; },
};

const RemoteBus* bus_of_environment() {
  const char* const address = std::getenv("VLM_BUS");
  if (!address || std::strncmp(address, kBeginning, sizeof kBeginning - 1) != 0) return nullptr;
  std::string error;
  const void* const offered = from_broker_object("vlm_remote_bus", error);
  if (offered) return static_cast<const RemoteBus*>(offered);
  report(error);
  return &kNoBus;
}

}  // namespace

const RemoteBus* remote_bus() {
  static const RemoteBus* const bus = bus_of_environment();
  return bus;
}

}  // namespace vlm::bus
