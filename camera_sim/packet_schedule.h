// Packets that wait for their time.
#ifndef CAMERA_SIM_PACKET_SCHEDULE_H
#define CAMERA_SIM_PACKET_SCHEDULE_H

#include <optional>
#include <string>
#include <vector>

#include "vlm_userlcm_control_camera.h"

/// A packet with the number of its meaningful bytes, and what to say when it goes out.
struct OutgoingPacket {
  userlcm_packet_t packet;
  unsigned int length;
  std::string trace;
};

/// Not synchronised. Times are microseconds from any start.
class PacketSchedule {
 public:
  /// Due at `due_us`, or later: never before a packet that was added in order before.
  void add_in_order(u64 due_us, OutgoingPacket packet);
  /// Due at `due_us`, whatever waits.
  void add(u64 due_us, OutgoingPacket packet);

  /// The first packet that is due at `now_us`; of those due at once the one added first.
  std::optional<OutgoingPacket> take(u64 now_us);
  std::optional<u64> next_due_us() const;

 private:
  struct Entry {
    u64 due_us;
    u64 serial;
    OutgoingPacket outgoing;
  };
  static bool later(const Entry& a, const Entry& b);

  std::vector<Entry> _heap;  // the earliest entry is at the front
  u64 _serial = 0;
  u64 _latest_in_order_us = 0;
};

#endif  // CAMERA_SIM_PACKET_SCHEDULE_H
