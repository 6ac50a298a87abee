// On the bus of this repository, by a tap: it is no subscriber, so that a console still learns that
// there is no camera.
#include <poll.h>

#include <chrono>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "report.h"
#include "request_ear.h"
#include "tap.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::fleet {

namespace {

using Clock = std::chrono::steady_clock;

/// A tap notices only when it looks that its directory has gone.
constexpr std::chrono::milliseconds kLook{1000};
/// Who is about to ask takes what there is itself; nobody is woken for each packet. A publisher's pipe
/// holds what it publishes in 100 ms.
constexpr std::chrono::milliseconds kRest{10};

class Ear {
 public:
  explicit Ear(bus::Tap tap) : _tap(std::move(tap)) {}

  void take(const Bridge::Heard& heard) {
    const std::lock_guard<std::mutex> guard(_mutex);
    _copies.clear();
    _more = _tap.take(_copies);
    for (const bus::TapCopy& copy : _copies) {
      if (copy.channel != kRequestChannel) continue;
      const Clock::time_point time{std::chrono::nanoseconds(copy.time_ns)};
      heard(copy.packet.data(), copy.packet.size(), {time, time});
    }
  }

  /// Returns when there is something to take, or to look after.
  void wait() {
    std::vector<pollfd> readable;
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      if (_more) return;
      for (const int descriptor : _tap.descriptors()) readable.push_back({descriptor, POLLIN, 0});
    }
    poll(readable.data(), static_cast<nfds_t>(readable.size()), static_cast<int>(kLook.count()));
  }

  void look_after() {
    const std::lock_guard<std::mutex> guard(_mutex);
    const auto now = Clock::now();
    if (now - _looked < kLook) return;
    _looked = now;
    std::string error;
    if (_tap.renew(error)) {
      _complaint.settled();
    } else {
      _complaint.about(error);
    }
  }

 private:
  std::mutex _mutex;  // guards all members below
  bus::Tap _tap;
  std::vector<bus::TapCopy> _copies;
  bool _more = false;  // than the last take, without a descriptor that tells
  bus::Complaint _complaint;
  Clock::time_point _looked{};
};

Ear* g_ear;  // its thread never ends

[[noreturn]] void serve(const std::function<void()>& ring) {
  for (;;) {
    g_ear->wait();
    g_ear->look_after();
    ring();
    std::this_thread::sleep_for(kRest);
  }
}

}  // namespace

bool listen_for_requests(std::function<void()> ring, std::string& error) {
  auto tap = bus::Tap::open(error);
  if (!tap) return false;
  g_ear = new Ear(std::move(*tap));
  std::thread([ring = std::move(ring)] { serve(ring); }).detach();
  return true;
}

void take_requests(const Bridge::Heard& heard) { g_ear->take(heard); }

}  // namespace vlm::fleet
