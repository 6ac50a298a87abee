#include "packet_schedule.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace vlm::sim {

bool PacketSchedule::add_in_order(u64 due_us, OutgoingPacket packet) {
  const u64 latest_us = std::max(_latest_in_order_us, due_us);
  if (!add(latest_us, true, std::move(packet))) return false;
  _latest_in_order_us = latest_us;
  return true;
}

bool PacketSchedule::add(u64 due_us, OutgoingPacket packet) {
  return add(due_us, false, std::move(packet));
}

bool PacketSchedule::add(u64 due_us, bool ordered, OutgoingPacket packet) {
  if (_heap.size() == kMostPackets) return false;
  _heap.push_back({due_us, _serial++, ordered, std::move(packet)});
  std::push_heap(_heap.begin(), _heap.end(), later);
  if (ordered) ++_ordered;
  return true;
}

std::optional<OutgoingPacket> PacketSchedule::take(u64 now_us) {
  if (_heap.empty() || _heap.front().due_us > now_us) return std::nullopt;
  std::pop_heap(_heap.begin(), _heap.end(), later);
  OutgoingPacket taken = std::move(_heap.back().outgoing);
  if (_heap.back().ordered) --_ordered;
  _heap.pop_back();
  return taken;
}

std::optional<u64> PacketSchedule::next_due_us() const {
  if (_heap.empty()) return std::nullopt;
  return _heap.front().due_us;
}

/// Order of the heap; the serial number makes it stable.
bool PacketSchedule::later(const Entry& a, const Entry& b) {
  return std::tie(a.due_us, a.serial) > std::tie(b.due_us, b.serial);
}

}  // namespace vlm::sim
