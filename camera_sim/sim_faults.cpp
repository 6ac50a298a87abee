#include "sim_faults.h"

#include <utility>

Faults::Faults(FaultPlan plan, u64 seed) : _plan(std::move(plan)), _random(seed) {}

/// A lost reply cannot go out twice; a held one may be lost or doubled like any other.
Fate Faults::next(u16 code) {
  Fate fate;
  fate.muted = _plan.mute.count(code) != 0;
  if (fate.muted) return fate;
  if (const auto failing = _plan.fail.find(code); failing != _plan.fail.end()) {
    fate.error = failing->second;
  }
  fate.delay_us = latency_us();
  if (happens(_plan.drop)) {
    fate.copies = 0;
  } else if (happens(_plan.duplicate)) {
    fate.copies = 2;
  }
  fate.held = happens(_plan.reorder);
  if (fate.held) fate.delay_us += kHoldUs;
  return fate;
}

/// The standard library's distributions differ between its makers, hence plain arithmetic.
bool Faults::happens(double probability) {
  if (probability <= 0) return false;
  constexpr double kUnit = 1.0 / (u64{1} << 53);
  return static_cast<double>(_random() >> 11) * kUnit < probability;
}

/// Any latency of the plan's range; the remainder's bias is far below what a clock shows.
u64 Faults::latency_us() {
  const u64 span = _plan.latency_high_us - _plan.latency_low_us;
  return span == 0 ? _plan.latency_low_us : _plan.latency_low_us + _random() % (span + 1);
}
