// Packets that wait for their time.
#ifndef CAMERA_SIM_PACKET_SCHEDULE_H
#define CAMERA_SIM_PACKET_SCHEDULE_H

#include <optional>
#include <string>
#include <vector>

#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

/// A packet with the number of its meaningful bytes, and what to say when it goes out.
struct OutgoingPacket {
  userlcm_packet_t packet;
  unsigned int length;
  std::string trace;
};

/// Not synchronised. Times are microseconds from any start.
class PacketSchedule {
 public:
  /// More do not fit: clients that ask faster than they are answered must not fill the memory.
  static constexpr std::size_t kMostPackets = 4096;

  // Both return false, and do nothing, when the schedule is full.

  /// Due at `due_us`, or later: never before a packet that was added in order before.
  bool add_in_order(u64 due_us, OutgoingPacket packet);
  /// Due at `due_us`, whatever waits.
  bool add(u64 due_us, OutgoingPacket packet);

  /// The first packet that is due at `now_us`; of those due at once the one added first.
  std::optional<OutgoingPacket> take(u64 now_us);
  std::optional<u64> next_due_us() const;
  /// Whether a packet waits that a new one must not overtake.
  bool holds_ordered() const { return _ordered != 0; }

 private:
  struct Entry {
    u64 due_us;
    u64 serial;
    bool ordered;
    OutgoingPacket outgoing;
  };
  bool add(u64 due_us, bool ordered, OutgoingPacket packet);
  static bool later(const Entry& a, const Entry& b);

  std::vector<Entry> _heap;  // the earliest entry is at the front
  u64 _serial = 0;
  std::size_t _ordered = 0;  // entries that were added in order
  u64 _latest_in_order_us = 0;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_PACKET_SCHEDULE_H
