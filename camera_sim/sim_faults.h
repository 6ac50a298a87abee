// Faults of the simulated camera's replies: lateness, loss, repetition, wrong order, errors and
// silence on demand. Seeded: the same seed, plan and requests give the same faults everywhere.
#ifndef CAMERA_SIM_SIM_FAULTS_H
#define CAMERA_SIM_SIM_FAULTS_H

#include <map>
#include <optional>
#include <random>
#include <set>

#include "vlm_camera_payloads.h"

/// A reply that is held back goes out this much later, so that later ones can pass it.
constexpr u64 kHoldUs = 50000;

struct FaultPlan {
  u64 latency_low_us = 0;
  u64 latency_high_us = 0;
  // Probabilities, 0 to 1, that a reply is lost, sent twice, held back.
  double drop = 0;
  double duplicate = 0;
  double reorder = 0;
  std::map<u16, u16> fail;  // command code to the result code that it gets
  std::set<u16> mute;       // command codes that nobody hears
};

/// What becomes of one request.
struct Fate {
  bool muted = false;        // neither carried out nor answered
  std::optional<u16> error;  // answered with this instead of being carried out
  int copies = 1;            // how often the reply goes out
  bool held = false;         // not bound to the order of the others
  u64 delay_us = 0;          // from the request to the reply
};

class Faults {
 public:
  Faults(FaultPlan plan, u64 seed);

  /// Decides on the next request.
  Fate next(u16 code);

 private:
  bool happens(double probability);
  u64 latency_us();

  const FaultPlan _plan;
  std::mt19937_64 _random;
};

#endif  // CAMERA_SIM_SIM_FAULTS_H
