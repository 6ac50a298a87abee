// Probes are sent again and again: the first ones may be published before anyone has subscribed.
#include "bus_readiness.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "envelope.h"

namespace vlm::bus {

namespace {

/// No message of the system has this type.
constexpr char kProbeType = '\xFF';
/// The subscription is mostly there within the first; each interval is twice the one before.
constexpr std::chrono::milliseconds kFirstInterval{1};
constexpr std::chrono::milliseconds kLongestInterval{16};

}  // namespace

BusReadiness::BusReadiness(std::string sender, std::vector<std::string> channels)
    : _sender(std::move(sender)),
      _text(kProbeType + std::string("probe of process ") + std::to_string(getpid())),
      _silent(channels.begin(), channels.end()) {}

/// The text is compared whole, so that no other process' probe counts.
bool BusReadiness::is_probe(const void* packet, unsigned int length, const char* channel) {
  const char* message = static_cast<const char*>(packet) + kEnvelopeSize;
  const std::size_t size = _text.size() + 1;  // its terminator: no number is taken for a longer one
  if (length < kEnvelopeSize + size || std::memcmp(message, _text.c_str(), size) != 0) {
    return false;
  }
  const std::lock_guard<std::mutex> guard(_mutex);
  _silent.erase(channel);
  _changed.notify_all();
  return true;
}

void BusReadiness::give_up() {
  const std::lock_guard<std::mutex> guard(_mutex);
  _failed = true;
  _changed.notify_all();
}

bool BusReadiness::wait(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  auto interval = kFirstInterval;
  std::unique_lock<std::mutex> lock(_mutex);
  while (!_silent.empty() && !_failed && std::chrono::steady_clock::now() < deadline) {
    // Publishing takes no lock: a probe may come back on another thread before it returns.
    const std::set<std::string> silent = _silent;
    lock.unlock();
    for (const std::string& channel : silent) publish_probe(channel);
    lock.lock();
    _changed.wait_until(lock, std::chrono::steady_clock::now() + interval,
                        [this] { return _silent.empty() || _failed; });
    interval = std::min(2 * interval, kLongestInterval);
  }
  return _silent.empty() && !_failed;
}

void BusReadiness::publish_probe(const std::string& channel) const {
  userlcm_packet_t probe = packet_from(_sender);
  std::memcpy(probe.msg_buf, _text.c_str(), _text.size() + 1);
  send_msg_to_lcm(&probe, static_cast<unsigned int>(_text.size() + 1), channel.c_str());
}

}  // namespace vlm::bus
