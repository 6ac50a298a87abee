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

using Clock = std::chrono::steady_clock;

/// A tap notices only when it looks that its directory has gone.
constexpr std::chrono::milliseconds kLook{1000};

void look_after(bus::Tap& tap, bus::Complaint& complaint) {
  std::string error;
  if (tap.renew(error)) {
    complaint.settled();
  } else {
    complaint.about(error);
  }
}

void wait_for_copies(const bus::Tap& tap) {
  std::vector<pollfd> readable;
  for (const int descriptor : tap.descriptors()) readable.push_back({descriptor, POLLIN, 0});
  poll(readable.data(), static_cast<nfds_t>(readable.size()), static_cast<int>(kLook.count()));
}

void hand_out(const std::vector<bus::TapCopy>& copies, const Heard& heard) {
  for (const bus::TapCopy& copy : copies) {
    if (copy.channel != kRequestChannel) continue;
    const Clock::time_point time{std::chrono::nanoseconds(copy.time_ns)};
    heard(copy.packet.data(), copy.packet.size(), {time, time});
  }
}

[[noreturn]] void serve(bus::Tap& tap, const Heard& heard) {
  bus::Complaint complaint;
  std::vector<bus::TapCopy> copies;
  bool more = false;
  Clock::time_point looked{};
  for (;;) {
    if (!more) wait_for_copies(tap);
    if (Clock::now() - looked >= kLook) {
      look_after(tap, complaint);
      looked = Clock::now();
    }
    copies.clear();
    more = tap.take(copies);
    hand_out(copies, heard);
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
