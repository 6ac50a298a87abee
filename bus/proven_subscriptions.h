// Subscriptions that are known to serve.
#ifndef PROVEN_SUBSCRIPTIONS_H
#define PROVEN_SUBSCRIPTIONS_H

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "bus_readiness.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

/// Channels that this process subscribes for the rest of its life: the bus gives no thread back, so
/// these objects are never destroyed.
class ProvenSubscriptions {
 public:
  /// Takes a packet, of which there are `length` bytes, as the callbacks of the bus do.
  using Receiver = std::function<void(void* packet, unsigned int length, char* channel)>;
  struct Channel {
    std::string name;
    Receiver receive;  // runs on the thread of the channel
  };

  /// Not yet subscribed. `sender` is what probes name as their sender's channel.
  static ProvenSubscriptions& create(const std::string& sender, std::vector<Channel> channels);
  ProvenSubscriptions(const ProvenSubscriptions&) = delete;
  ProvenSubscriptions& operator=(const ProvenSubscriptions&) = delete;

  /// Starts a thread named `name` that runs `body`; false when it cannot be made.
  using StartThread = bool (*)(const char* name, std::function<void()> body);

  /// Subscribes, on a thread named BUS for each channel. Once. False as soon as `start_thread` is.
  bool start(StartThread start_thread);
  /// Likewise; throws std::system_error when a thread cannot be made.
  void start();

  /// Waits until every channel has brought a probe back, which no receiver sees. False when a
  /// subscription has ended, or `limit` has passed.
  bool wait(std::chrono::milliseconds limit) { return _readiness.wait(limit); }

 private:
  struct Served {
    ProvenSubscriptions* owner;
    Receiver receive;
    Receive_msg_t subscription;
  };

  ProvenSubscriptions(const std::string& sender, std::vector<Channel> channels);
  static void on_packet(void* packet, unsigned int length, char* channel, void* served);

  BusReadiness _readiness;
  std::deque<Served> _served;  // the bus keeps pointers to its elements
};

}  // namespace vlm::bus

#endif  // PROVEN_SUBSCRIPTIONS_H
