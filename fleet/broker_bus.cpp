#include "broker_bus.h"

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>

#include "mosquitto_loop.h"
#include "remote_camera.h"
#include "report.h"

namespace vlm::fleet {

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
    if (!_dropping) bus::report("a subscriber of " + _channel + " does not take its packets");
    _dropping = true;
  }

  const std::string _channel;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::deque<std::string> _packets;
  bool _dropping = false;
};

BrokerCamera* reach_camera_of_environment() {
  const char* const bus = std::getenv("VLM_BUS");
  std::string error;
  const auto address = bus::parse_camera_address(bus != nullptr ? bus : "", error);
  auto camera = address ? BrokerCamera::reach(*address, bus::broker_files_of_environment(),
                                              make_mosquitto_loop, error)
                        : nullptr;
  if (!camera) bus::report(error);
  return camera.release();  // its thread serves while the process exits
}

/// Connects in the background. Null, with a message once, when it cannot be reached that way.
BrokerCamera* camera_of_environment() {
  static BrokerCamera* const camera = reach_camera_of_environment();
  return camera;
}

void call_back(const Receive_msg_t& subscription, const std::string& bytes) {
  userlcm_packet_t packet{};
  if (bytes.size() > sizeof packet) return;
  std::memcpy(&packet, bytes.data(), bytes.size());
  char channel[sizeof subscription.channel];  // the callback's own, whatever it does to it
  std::memcpy(channel, subscription.channel, sizeof channel);
  subscription.f(&packet, static_cast<unsigned int>(bytes.size()), channel, subscription.func);
}

}  // namespace

int publish_remotely(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
  BrokerCamera* const camera = camera_of_environment();
  return camera != nullptr && camera->publish(*packet, length, channel) ? 0 : -1;
}

void serve_remotely(const Receive_msg_t* subscription) {
  BrokerCamera* const camera = camera_of_environment();
  if (camera == nullptr) return;
  const Receive_msg_t served = *subscription;
  Inbox& inbox = *new Inbox(served.channel);  // the camera keeps delivering to it
  camera->listen(served.channel,
                 [&inbox](const void* packet, std::size_t length) { inbox.put(packet, length); });
  for (;;) call_back(served, inbox.next());
}

/// Of a camera behind a broker its presence tells; a program's own channels are nobody else's.
bool remote_has_subscriber(const char* channel, int timeout_ms) {
  const bool of_camera =
      std::strcmp(channel, kRequestChannel) == 0 || std::strcmp(channel, kRtspRequestChannel) == 0;
  BrokerCamera* const camera = of_camera ? camera_of_environment() : nullptr;
  return camera != nullptr && camera->wait_until_online(std::chrono::milliseconds(timeout_ms));
}

}  // namespace vlm::fleet
