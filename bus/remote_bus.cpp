#include "remote_bus.h"

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>

#include "report.h"

namespace vlm::bus {

namespace {

/// What waits for one subscription's callback, which may be slow.
class Inbox {
 public:
  explicit Inbox(std::string channel) : _channel(std::move(channel)) {}

  void put(const void* packet, std::size_t length) {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_packets.size() >= kMostWaiting) return drop();
    _packets.emplace_back(static_cast<const char*>(packet), length);
    _changed.notify_one();
  }

  std::string next() {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return !_packets.empty(); });
    std::string first = std::move(_packets.front());
    _packets.pop_front();
    _dropping = false;
    return first;
  }

 private:
  static constexpr std::size_t kMostWaiting = 256;

  void drop() {
    if (!_dropping) report("a subscriber of " + _channel + " does not take its packets");
    _dropping = true;
  }

  const std::string _channel;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::deque<std::string> _packets;
  bool _dropping = false;
};

std::string bus_of_environment() {
  const char* const address = std::getenv("VLM_BUS");
  return address != nullptr ? address : "";
}

RemoteCamera* reach_camera() {
  std::string error;
  const auto address = parse_camera_address(bus_of_environment(), error);
  const BrokerPart* const part = address ? broker_part(error) : nullptr;
  auto camera =
      part != nullptr ? part->reach(*address, broker_files_of_environment(), error) : nullptr;
  if (!camera) report(error);
  return camera.release();  // its thread serves while the process exits
}

}  // namespace

bool bus_is_remote() {
  const std::string address = bus_of_environment();
  return !address.empty() && address.rfind("unix:", 0) != 0;
}

RemoteCamera* remote_camera() {
  static RemoteCamera* const camera = reach_camera();
  return camera;
}

void serve_remotely(RemoteCamera& camera, const Receive_msg_t& subscription) {
  // The camera keeps delivering to it.
  Inbox& inbox = *new Inbox(subscription.channel);
  camera.listen(subscription.channel,
                [&inbox](const void* packet, std::size_t length) { inbox.put(packet, length); });
  for (;;) {
    const std::string next = inbox.next();
    userlcm_packet_t packet{};
    if (next.size() > sizeof packet) continue;
    std::memcpy(&packet, next.data(), next.size());
    char channel[sizeof subscription.channel];  // the callback's own, whatever it does to it
    std::memcpy(channel, subscription.channel, sizeof channel);
    subscription.f(&packet, static_cast<unsigned int>(next.size()), channel, subscription.func);
  }
}

}  // namespace vlm::bus
