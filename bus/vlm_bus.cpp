#include "vlm_bus.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "bus_directory.h"
#include "publisher.h"
#include "report.h"
#include "subscription.h"
#include "vlm_userlcm_control_camera.h"

namespace {

constexpr std::size_t kHeaderSize = offsetof(userlcm_packet_t, msg_buf);

int refuse_to_publish(const char* reason) {
  report(std::string("nothing published: ") + reason);
  return -1;
}

bool is_servable(const Receive_msg_t* subscription) {
  return subscription && subscription->f &&
         std::memchr(subscription->channel, '\0', sizeof subscription->channel) &&
         is_channel_name(subscription->channel);
}

bool any_live(const BusDirectory& directory, const char* channel) {
  const std::vector<std::string> names = directory.sockets_of(channel);
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return static_cast<bool>(directory.connect(name));
  });
}

}  // namespace

int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
  if (!packet) return refuse_to_publish("no packet");
  if (length > sizeof packet->msg_buf) return refuse_to_publish("the message is too long");
  if (!channel || !is_channel_name(channel)) return refuse_to_publish("no channel has this name");
  return Publisher::instance().publish(channel, packet, kHeaderSize + length) ? 0 : -1;
}

void* register_lcm_message(Receive_msg_t* subscription) {
  if (!is_servable(subscription)) {
    report("cannot subscribe: no callback, or no channel of this name");
    return nullptr;
  }
  Subscription served(*subscription);
  if (served.announce()) served.serve();
  return nullptr;
}

bool bus_has_subscriber(const char* channel, int timeout_ms) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeout_ms);
  DirectoryWatch watch;
  for (;;) {
    std::string error;
    const auto directory = BusDirectory::open(error);
    if (!directory) {
      report(error);
      return false;
    }
    watch.watch(*directory);  // before it is read: no later change is missed
    if (any_live(*directory, channel)) return true;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    watch.wait(static_cast<int>(left.count()));
  }
}
