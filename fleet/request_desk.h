// Where requests from the network wait for their turn at the camera: its records carry no identity,
// so that one is in flight at a time, and none while another program on the camera's bus waits for
// its own answer. Others take turns with the network, too: what they ask once its turn has come is
// waited for only where the same answer is wanted, or a console that asks without a pause would let
// nobody else in.
//
// Clients take turns, each with its requests in the order in which they came. The bound holds for all
// of them together; who finds it reached is told that the camera is busy, at once.
//
// After a time-out the answer may still come, and nothing in it tells that it is late. Requests that
// the same answer would end wait for a moment then; others pass them.
#ifndef FLEET_REQUEST_DESK_H
#define FLEET_REQUEST_DESK_H

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "vlm_userlcm_control_camera.h"

namespace vlm::fleet {

class RequestDesk {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Milliseconds = std::chrono::milliseconds;

  static constexpr std::size_t kMostWaiting = 32;
  /// How long the answer to another program's request is waited for; and how much later than an
  /// answer its request is still recognised.
  static constexpr Milliseconds kListen{3000};
  /// How long an answer that did not come in time keeps others like it waiting.
  static constexpr Milliseconds kOwed{1000};

  struct Request {
    std::string client;        // its topic for answers; empty: the bridge itself
    std::string correlation;   // handed back with the answer
    std::string packet;        // of the bus
    u16 code = 0;              // of the request
    u16 answer = 0;            // the code of its answer
    TimePoint expires;         // not to be sent after that
    Milliseconds patience{0};  // for the answer
  };

  /// When a packet was published, as far as that is known.
  struct Published {
    TimePoint earliest;
    TimePoint latest;
  };

  enum class Refusal { kFull, kWaitedTooLong };

  /// What is to be done now, in this order.
  struct Step {
    enum Kind { kAsk, kAnswer, kRefuse, kGiveUp } kind;
    Request request;
    Refusal refusal = Refusal::kFull;  // of kRefuse
  };
  using Steps = std::vector<Step>;

  Steps submit(Request request, TimePoint now);
  /// An answer with this code has come. `asked` tells whether it is to a request from here: the step
  /// kAnswer then names it.
  Steps answered(u16 answer, TimePoint now, bool& asked);
  /// Another program of the bus has published a request, which this answer ends within `patience`. It
  /// may have come already: the two are seen on different threads.
  void overheard(u16 answer, Milliseconds patience, const Published& published, TimePoint now);
  /// Time has passed.
  Steps pass(TimePoint now);
  /// When pass() has something to do; none: not before another call.
  std::optional<TimePoint> due(TimePoint now) const;

  std::size_t waiting() const { return _waiting; }

 private:
  struct Foreign {
    u16 answer;
    TimePoint published;
    TimePoint until;
  };

  struct Unasked {
    u16 answer;
    TimePoint came;
  };

  void send_next(TimePoint now, Steps& steps);
  void forget_unasked(TimePoint now);
  bool is_held_back(TimePoint now);
  void drop_expired(TimePoint now, Steps& steps);
  bool is_expected(u16 answer, TimePoint now) const;
  std::optional<Request> take_next(TimePoint now);

  std::map<std::string, std::deque<Request>> _queues;  // by client
  std::deque<std::string> _turns;                      // clients that wait, the next one first
  std::size_t _waiting = 0;
  std::optional<Request> _in_flight;
  TimePoint _in_flight_until;
  std::optional<TimePoint> _turn;  // since when the network's requests wait for others alone
  std::vector<Foreign> _foreign;
  std::map<u16, TimePoint> _owed;  // until when
  std::deque<Unasked> _unasked;    // answers whose requests have not been overheard yet
};

}  // namespace vlm::fleet

#endif  // FLEET_REQUEST_DESK_H
