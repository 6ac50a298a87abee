#include "bus_inbox.h"

#include <cstddef>
#include <system_error>
#include <utility>

#include "decode.h"

namespace vlm::monitor {

namespace {

constexpr std::chrono::seconds kReadyLimit{5};
constexpr std::size_t kHeader = offsetof(userlcm_packet_t, msg_buf);
// A flood is not kept for ever: what nobody has taken by then is dropped.
constexpr std::size_t kMostWaiting = 100000;

}  // namespace

BusInbox::BusInbox(const std::string& sender, const std::vector<std::string>& channels)
    : _subscriptions(bus::ProvenSubscriptions::create(sender, received_on(channels))) {}

std::vector<bus::ProvenSubscriptions::Channel> BusInbox::received_on(
    const std::vector<std::string>& channels) {
  std::vector<bus::ProvenSubscriptions::Channel> all;
  all.reserve(channels.size());
  for (const std::string& channel : channels) {
    all.push_back({channel, [this](const void* packet, unsigned int length, const char* name) {
                     put(packet, length, name);
                   }});
  }
  return all;
}

bool BusInbox::ready() {
  try {
    _subscriptions.start();
  } catch (const std::system_error&) {
    return false;
  }
  return _subscriptions.wait(kReadyLimit);
}

void BusInbox::put(const void* packet, unsigned int length, const char* channel) {
  const auto* const bytes = static_cast<const unsigned char*>(packet);
  const std::lock_guard<std::mutex> guard(_mutex);
  if (_packets.size() >= kMostWaiting) return;
  _packets.push_back({0, channel, Bytes(bytes, bytes + length), {}});
  _changed.notify_all();
}

std::optional<Entry> BusInbox::next(Clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(_mutex);
  const auto is_due = [this] { return !_packets.empty() || _ended; };
  if (!_changed.wait_until(lock, deadline, is_due) || _packets.empty()) return std::nullopt;
  Entry entry = std::move(_packets.front());
  _packets.pop_front();
  return entry;
}

void BusInbox::end() {
  const std::lock_guard<std::mutex> guard(_mutex);
  _ended = true;
  _changed.notify_all();
}

bool BusInbox::has_ended() {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _ended;
}

bool publish(const Entry& entry) {
  const userlcm_packet_t packet = packet_of(entry);
  if (entry.packet.size() < kHeader || entry.packet.size() > sizeof packet) return false;
  return send_msg_to_lcm(&packet, static_cast<unsigned int>(entry.packet.size() - kHeader),
                         entry.channel.c_str()) == 0;
}

}  // namespace vlm::monitor
