#include "sim_faults.h"

#include <utility>

namespace vlm::sim {

Faults::Faults(FaultPlan plan, u64 seed) : _plan(std::move(plan)), _random(seed) {}

/// A held reply may be lost, doubled or damaged like any other.
Fate Faults::next(u16 code) {
  Fate fate;
  fate.restart = _plan.restart_every != 0 && ++_requests % _plan.restart_every == 0;
  fate.muted = _plan.mute.count(code) != 0;
  if (fate.restart || fate.muted) return fate;
  fate.error = error_of(code);
  fate.delay_us = latency_us(code);
  fate.copies = copies();
  fate.held = happens(_plan.reorder);
  if (fate.held) fate.delay_us += kHoldUs;
  damage(fate);
  if (happens(_plan.stray)) fate.stray = _random();
  return fate;
}

std::optional<u16> Faults::error_of(u16 code) {
  if (const auto once = _plan.fail_once.find(code); once != _plan.fail_once.end()) {
    const u16 error = once->second;
    _plan.fail_once.erase(once);
    return error;
  }
  const auto failing = _plan.fail.find(code);
  return failing != _plan.fail.end() ? std::optional(failing->second) : std::nullopt;
}

/// A lost reply cannot go out twice.
int Faults::copies() {
  if (_plan.drop_next != 0) {
    --_plan.drop_next;
    return 0;
  }
  if (happens(_plan.drop)) return 0;
  return happens(_plan.duplicate) ? 2 : 1;
}

/// What is cut is not lengthened; a flipped bit may lie behind the cut, and then does no harm.
void Faults::damage(Fate& fate) {
  constexpr unsigned kLength = sizeof(msg_from_rep_t);
  constexpr unsigned kLongest = sizeof(userlcm_packet_t::msg_buf);
  if (happens(_plan.truncate)) {
    fate.length = static_cast<unsigned>(_random() % kLength);
  } else if (happens(_plan.extend)) {
    fate.length = static_cast<unsigned>(kLength + 1 + _random() % (kLongest - kLength));
  }
  if (happens(_plan.corrupt)) {
    constexpr unsigned kUsedBits = (1 + sizeof(udp_ctrl_cam_t)) * 8;
    fate.bit = static_cast<unsigned>(_random() % kUsedBits);
  }
}

/// The standard library's distributions differ between its makers, hence plain arithmetic.
bool Faults::happens(double probability) {
  if (probability <= 0) return false;
  constexpr double kUnit = 1.0 / (u64{1} << 53);
  return static_cast<double>(_random() >> 11) * kUnit < probability;
}

/// Any latency of the range; the remainder's bias is far below what a clock shows.
u64 Faults::latency_us(u16 code) {
  const auto own = _plan.latency_of.find(code);
  const Latency latency = own != _plan.latency_of.end()
                              ? own->second
                              : Latency{_plan.latency_low_us, _plan.latency_high_us};
  const u64 span = latency.high_us - latency.low_us;
  return span == 0 ? latency.low_us : latency.low_us + _random() % (span + 1);
}

}  // namespace vlm::sim
