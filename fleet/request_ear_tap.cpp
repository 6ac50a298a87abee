// On the bus of this repository, by a tap: it is no subscriber, so that a console still learns that
// there is no camera.
#include <poll.h>

#include <chrono>
#include <memory>
#include <thread>
#include <utility>

#include "report.h"
#include "request_ear.h"
#include "tap.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::fleet {

namespace {

/// A tap notices only when it looks that its directory has gone, or that a publisher has come.
constexpr int kLookMs = 1000;

[[noreturn]] void serve(bus::Tap& tap, const Heard& heard) {
  bus::Complaint complaint;
  for (;;) {
    std::vector<pollfd> readable;
    for (const int descriptor : tap.descriptors()) readable.push_back({descriptor, POLLIN, 0});
    if (poll(readable.data(), static_cast<nfds_t>(readable.size()), kLookMs) == 0) {
      std::string error;
      if (tap.renew(error)) {
        complaint.settled();
      } else {
        complaint.about(error);
      }
    }
    std::vector<bus::TapCopy> copies;
    tap.take(copies);
    for (const bus::TapCopy& copy : copies) {
      if (copy.channel == kRequestChannel) heard(copy.packet.data(), copy.packet.size());
    }
  }
}

}  // namespace

bool overhear_requests(Heard heard, std::string& error) {
  auto tap = bus::Tap::open(error);
  if (!tap) return false;
  auto& kept = *new bus::Tap(std::move(*tap));  // its thread never ends
  std::thread([&kept, heard = std::move(heard)] { serve(kept, heard); }).detach();
  return true;
}

}  // namespace vlm::fleet
