#include "bus_inbox.h"

#include <cstdio>
#include <thread>
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
    : _readiness(sender, channels) {
  for (const std::string& channel : channels) {
    Receive_msg_t& subscription = _subscriptions.emplace_back();
    std::snprintf(subscription.channel, sizeof subscription.channel, "%s", channel.c_str());
    subscription.f = on_packet;
    subscription.func = this;
    std::thread([this, &subscription] {
      register_lcm_message(&subscription);
      _readiness.give_up();
    }).detach();
  }
}

bool BusInbox::ready() { return _readiness.wait(kReadyLimit); }

void BusInbox::on_packet(void* packet, unsigned int length, char* channel, void* user) {
  static_cast<BusInbox*>(user)->put(packet, length, channel);
}

void BusInbox::put(const void* packet, unsigned int length, char* channel) {
  if (_readiness.is_probe(packet, length, channel)) return;
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
