// Decides which of the network's messages are requests, before they wait for their turn.
#ifndef FLEET_REQUEST_GATE_H
#define FLEET_REQUEST_GATE_H

#include <chrono>
#include <deque>
#include <set>
#include <string>

#include "broker.h"
#include "request_desk.h"

namespace vlm::fleet {

/// What the operator of a bridge forbids.
struct BridgeRules {
  std::set<u16> denied;
  bool read_only = false;
};

/// Requests that have been seen, by client and correlation, for as long as a copy of one can be under
/// way. Bounded: a flood shortens the memory.
class SeenRequests {
 public:
  using TimePoint = RequestDesk::TimePoint;
  static constexpr std::size_t kMost = 4096;
  static constexpr std::chrono::seconds kMemory{10};

  /// True when it is new; it is not from then on.
  bool note(const std::string& client, const std::string& correlation, TimePoint now);

 private:
  struct Seen {
    TimePoint forgotten;
    std::string key;
  };

  std::deque<Seen> _order;
  std::set<std::string> _keys;
};

class RequestGate {
 public:
  using TimePoint = RequestDesk::TimePoint;

  /// How old a request may get before it is sent.
  static constexpr std::chrono::seconds kOldest{3};

  enum class Kind { kCamera, kService, kRtsp };

  struct Verdict {
    /// kDrop: not to be answered, as nobody can be answered.
    enum Outcome { kAdmit, kRefuse, kDrop } outcome;
    RequestDesk::Request request;  // also of kRefuse, as far as it is known
    vlm_err_t result = VLM_ERR_NONE;
    const char* reason = "";
  };

  explicit RequestGate(BridgeRules rules) : _rules(std::move(rules)) {}

  Verdict judge(const bus::BrokerMessage& message, Kind kind, bool stalled, TimePoint now);

 private:
  const BridgeRules _rules;
  SeenRequests _seen;
};

/// How long the program that published a request of this code waits for its answer.
std::chrono::milliseconds patience_of(u16 code);

}  // namespace vlm::fleet

#endif  // FLEET_REQUEST_GATE_H
