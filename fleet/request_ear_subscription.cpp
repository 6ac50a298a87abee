// On the board's own bus, which has no taps, by a subscription beside the camera's.
#include <chrono>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

#include "proven_subscriptions.h"
#include "request_ear.h"

namespace vlm::fleet {

namespace {

/// How much later than its answer a request may come.
constexpr RequestDesk::Milliseconds kEarly{100};
constexpr std::size_t kMostKept = 4096;

struct Request {
  std::string packet;
  RequestDesk::TimePoint came;
};

class Inbox {
 public:
  void put(const void* packet, unsigned int length) {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_requests.size() == kMostKept) _requests.pop_front();
    _requests.push_back(
        {{static_cast<const char*>(packet), length}, std::chrono::steady_clock::now()});
  }
  std::deque<Request> take() {
    const std::lock_guard<std::mutex> guard(_mutex);
    return std::exchange(_requests, {});
  }

 private:
  std::mutex _mutex;
  std::deque<Request> _requests;
};

Inbox& inbox() {
  static Inbox& only = *new Inbox;  // the bus keeps delivering to it
  return only;
}

}  // namespace

bool listen_for_requests(std::function<void()> ring, std::string& error) {
  constexpr std::chrono::seconds kLimit{5};
  auto& subscription = bus::ProvenSubscriptions::create(
      "vlm_bus_bridge",
      {{kRequestChannel,
        [ring = std::move(ring)](const void* packet, unsigned int length, const char*) {
          inbox().put(packet, length);
          ring();
        }}});
  subscription.start();
  if (subscription.wait(kLimit)) return true;
  error = "the bus does not deliver";
  return false;
}

void take_requests(const Bridge::Heard& heard) {
  for (const Request& request : inbox().take()) {
    heard(request.packet.data(), request.packet.size(), {request.came - kEarly, request.came});
  }
}

}  // namespace vlm::fleet
