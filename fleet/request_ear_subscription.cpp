// On the board's own bus, which has no taps, by a subscription beside the camera's.
#include <chrono>

#include "proven_subscriptions.h"
#include "request_ear.h"

namespace vlm::fleet {

namespace {

/// How much later than its answer a request may come.
constexpr RequestDesk::Milliseconds kEarly{100};

}  // namespace

bool overhear_requests(Heard heard, std::string& error) {
  constexpr std::chrono::seconds kLimit{5};
  auto& subscription = bus::ProvenSubscriptions::create(
      "vlm_bus_bridge",
      {{kRequestChannel,
        [heard = std::move(heard)](const void* packet, unsigned int length, const char*) {
          const auto now = std::chrono::steady_clock::now();
          heard(packet, length, {now - kEarly, now});
        }}});
  subscription.start();
  if (subscription.wait(kLimit)) return true;
  error = "the bus does not deliver";
  return false;
}

}  // namespace vlm::fleet
