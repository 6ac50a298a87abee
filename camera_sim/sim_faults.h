// Faults of the simulated camera's replies: lateness, loss, repetition, wrong order, damage, replies
// that nobody asked for, restarts, errors and silence on demand. Seeded: the same seed, plan and requests give the same faults everywhere.
#ifndef CAMERA_SIM_SIM_FAULTS_H
#define CAMERA_SIM_SIM_FAULTS_H

#include <map>
#include <optional>
#include <random>
#include <set>

#include "vlm_camera_payloads.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

/// A reply that is held back goes out this much later, so that later ones can pass it.
constexpr u64 kHoldUs = 50000;

struct Latency {
  u64 low_us;
  u64 high_us;
};

struct FaultPlan {
  u64 latency_low_us = 0;
  u64 latency_high_us = 0;
  std::map<u16, Latency> latency_of;  // command codes with a latency of their own
  // Probabilities, 0 to 1, that a reply is lost, sent twice, held back, cut, lengthened, changed by a
  // bit, and that one to another command follows it.
  double drop = 0;
  double duplicate = 0;
  double reorder = 0;
  double truncate = 0;
  double extend = 0;
  double corrupt = 0;
  double stray = 0;
  u32 drop_next = 0;             // replies that are lost whatever the probability
  u32 restart_every = 0;         // the camera restarts at each request of this number; 0: never
  std::map<u16, u16> fail;       // command code to the result code that it gets
  std::map<u16, u16> fail_once;  // likewise, the next time alone
  std::set<u16> mute;            // command codes that nobody hears
};

/// What becomes of one request.
struct Fate {
  bool muted = false;              // neither carried out nor answered
  bool restart = false;            // likewise: the camera restarts
  std::optional<u16> error;        // answered with this instead of being carried out
  int copies = 1;                  // how often the reply goes out
  bool held = false;               // not bound to the order of the others
  u64 delay_us = 0;                // from the request to the reply
  std::optional<unsigned> length;  // of the reply's message, other than it should have
  std::optional<unsigned> bit;     // of the reply's message, which is flipped
  std::optional<u64> stray;        // a reply of this seed follows that nobody asked for
};

class Faults {
 public:
  Faults(FaultPlan plan, u64 seed);

  /// Decides on the next request.
  Fate next(u16 code);
  /// To be changed between two requests.
  FaultPlan& plan() { return _plan; }

 private:
  bool happens(double probability);
  std::optional<u16> error_of(u16 code);
  int copies();
  u64 latency_us(u16 code);
  void damage(Fate& fate);

  FaultPlan _plan;
  u64 _requests = 0;
  std::mt19937_64 _random;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_SIM_FAULTS_H
