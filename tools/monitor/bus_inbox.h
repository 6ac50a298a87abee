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

#include "entry.h"
#include "proven_subscriptions.h"

namespace vlm::monitor {

/// Packets of some channels. The bus never gives its threads back, so an inbox is never destroyed.
class BusInbox {
 public:
  using Clock = std::chrono::steady_clock;

  /// `sender` names this program in the probes by which it finds out that it is subscribed.
  BusInbox(const std::string& sender, const std::vector<std::string>& channels);
  BusInbox(const BusInbox&) = delete;
  BusInbox& operator=(const BusInbox&) = delete;

  /// Subscribes, and waits until all channels serve; once. False when the bus cannot be used.
  bool ready();

  /// The next packet, once it is there; none after `deadline`, or once ended.
  std::optional<Entry> next(Clock::time_point deadline);

  /// Lets next() return at once from now on. Any thread.
  void end();
  bool has_ended();

 private:
  std::vector<bus::ProvenSubscriptions::Channel> received_on(
      const std::vector<std::string>& channels);
  void put(const void* packet, unsigned int length, const char* channel);

  bus::ProvenSubscriptions& _subscriptions;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::deque<Entry> _packets;
  bool _ended = false;
};

/// Publishes the packet on the entry's channel.
bool publish(const Entry& entry);

}  // namespace vlm::monitor

#endif  // MONITOR_BUS_INBOX_H
