#include "bus_readiness.h"

#include <unistd.h>

#include <cstring>

namespace {

/// No message of the system has this type.
constexpr u8 kProbeType = 0xFF;
constexpr std::chrono::milliseconds kProbeInterval{10};

}  // namespace

BusReadiness::BusReadiness(std::vector<std::string> channels)
    : _sender("camera_sim_probe_" + std::to_string(getpid())),
      _silent(channels.begin(), channels.end()) {}

bool BusReadiness::is_probe(const void* packet, unsigned int length, const char* channel) {
  if (length <= _sender.size() || std::memcmp(packet, _sender.c_str(), _sender.size() + 1) != 0) {
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
  std::unique_lock<std::mutex> lock(_mutex);
  while (!_silent.empty() && !_failed && std::chrono::steady_clock::now() < deadline) {
    const std::set<std::string> silent = _silent;
    lock.unlock();
    for (const std::string& channel : silent) publish_probe(channel);
    lock.lock();
    _changed.wait_until(lock, std::chrono::steady_clock::now() + kProbeInterval,
                        [this] { return _silent.empty() || _failed; });
  }
  return _silent.empty() && !_failed;
}

void BusReadiness::publish_probe(const std::string& channel) const {
  userlcm_packet_t probe{};
  std::strncpy(probe.channel, _sender.c_str(), sizeof probe.channel - 1);
  probe.msg_buf[0] = kProbeType;
  send_msg_to_lcm(&probe, 1, channel.c_str());
}
