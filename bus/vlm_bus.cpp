#include "vlm_bus.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string>

#include "bus_directory.h"
#include "format.h"
#include "publisher.h"
#include "reason.h"
#include "remote_bus.h"
#include "report.h"
#include "subscription.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

namespace {

constexpr std::size_t kHeaderSize = offsetof(userlcm_packet_t, msg_buf);

int refuse_to_publish(const char* reason) {
  report("nothing published: %s", reason);
  return -1;
}

bool is_servable(const Receive_msg_t* subscription) {
  return subscription && subscription->f &&
         std::memchr(subscription->channel, '\0', sizeof subscription->channel) &&
         is_channel_name(subscription->channel);
}

/// Whom a client misses when nobody subscribes the channel of its requests.
struct Server {
  const char* channel;  // of the requests
  const char* from;     // the channel that a request names as its sender's
  const char* name;
  std::atomic<bool> told;  // that it is missing: once a program
};

Server g_servers[] = {
    {kRequestChannel, kReplyChannel, "camera", {false}},
    {kRtspRequestChannel, kRtspReplyChannel, "streaming process", {false}},
};

/// To be called when nobody got `packet`. Says so when it is a client's request: whatever else the
/// operator reads then is a time-out. The probes of a server that starts are no requests.
void tell_missing_server(const userlcm_packet_t& packet, const char* channel) {
  for (Server& server : g_servers) {
    const bool request = std::strcmp(channel, server.channel) == 0 &&
                         std::strncmp(packet.channel, server.from, sizeof packet.channel) == 0;
    if (!request || server.told.exchange(true)) continue;
    report("no %s on bus %s: nobody subscribes %s", server.name,
           BusDirectory::configured_path().c_str(), channel);
  }
}

/// Whether a live process has a socket of `channel`. False with an `error` when that cannot be told.
bool any_live(const BusDirectory& directory, const char* channel, std::string& error) {
  for (const std::string& name : directory.sockets_of(channel)) {
    if (directory.connect(name)) return true;
    if (errno != ECONNREFUSED && errno != ENOENT) {
      error = host::format("cannot reach %s: %s", name.c_str(), host::reason().c_str());
    }
  }
  return false;
}

int publish(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
  if (!packet) return refuse_to_publish("no packet");
  if (length > sizeof packet->msg_buf) return refuse_to_publish("the message is too long");
  if (!channel || !is_channel_name(channel)) return refuse_to_publish("no channel has this name");
  if (const RemoteBus* const remote = remote_bus()) return remote->publish(packet, length, channel);
  const auto subscribers = Publisher::instance().publish(channel, packet, kHeaderSize + length);
  if (subscribers == std::size_t{0}) tell_missing_server(*packet, channel);
  return subscribers ? 0 : -1;
}

void serve(const Receive_msg_t* subscription) {
  if (!is_servable(subscription)) {
    return report("cannot subscribe: no callback, or no channel of this name");
  }
  if (const RemoteBus* const remote = remote_bus()) return remote->serve(subscription);
  Subscription served(*subscription);
  if (served.announce()) served.serve();
}

}  // namespace

bool bus_has_subscriber(const char* channel, int timeout_ms) {
  if (const RemoteBus* const remote = remote_bus())
    return remote->has_subscriber(channel, timeout_ms);
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeout_ms);
  DirectoryWatch watch;
  for (;;) {
    std::string error;
    const auto directory = BusDirectory::open(error);
    if (directory) {
      watch.watch(*directory);  // before it is read: no later change is missed
      if (any_live(*directory, channel, error)) return true;
    }
    if (!error.empty()) {
      report(error);
      return false;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    watch.wait(static_cast<int>(left.count()));
  }
}

}  // namespace vlm::bus

int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
  return vlm::bus::publish(packet, length, channel);
}

void* register_lcm_message(Receive_msg_t* subscription) {
  vlm::bus::serve(subscription);
  return nullptr;
}
