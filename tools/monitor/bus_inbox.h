// Packets from the bus, for a thread that waits for them.
#ifndef MONITOR_BUS_INBOX_H
#define MONITOR_BUS_INBOX_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "bus_readiness.h"
#include "entry.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::monitor {

/// Subscribes channels. The bus never gives its threads back, so an inbox is never destroyed.
class BusInbox {
 public:
  using Clock = std::chrono::steady_clock;

  /// `sender` names this program in the probes by which it finds out that it is subscribed.
  BusInbox(const std::string& sender, const std::vector<std::string>& channels);
  BusInbox(const BusInbox&) = delete;
  BusInbox& operator=(const BusInbox&) = delete;

  /// Waits until all channels serve. False when the bus cannot be used.
  bool ready();

  /// The next packet, once it is there; none after `deadline`, or once ended.
  std::optional<Entry> next(Clock::time_point deadline);

  /// Lets next() return at once from now on. Any thread.
  void end();
  bool has_ended();

 private:
  static void on_packet(void* packet, unsigned int length, char* channel, void* user);
  void put(const void* packet, unsigned int length, char* channel);

  bus::BusReadiness _readiness;
  std::deque<Receive_msg_t> _subscriptions;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::deque<Entry> _packets;
  bool _ended = false;
};

/// Publishes the packet on the entry's channel.
bool publish(const Entry& entry);

}  // namespace vlm::monitor

#endif  // MONITOR_BUS_INBOX_H
