// Follows requests and their answers through the packets of the bus, and finds what looks wrong.
#ifndef MONITOR_CONVERSATION_H
#define MONITOR_CONVERSATION_H

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "decode.h"

namespace vlm::monitor {

/// What looks wrong, in fixed words.
enum class Mark {
  kNone,
  kNoAnswer,  // a request without an answer in time
  kUnasked,   // an answer that nobody asked for, or not any more
  kCrossed,   // a request while another one waits
  kDropped,   // the monitor's own losses
};

/// "no answer", "unasked", "crossed", "dropped"; empty for none.
const char* name_of(Mark mark);

/// How long the request engine waits for the answer to the request of that kind and code.
std::int64_t answer_limit_ns(Kind kind, int code);

/// What is known of a packet beside its content.
struct Finding {
  Mark mark = Mark::kNone;
  std::uint64_t dropped = 0;                  // how many, with kDropped
  std::optional<std::int64_t> round_trip_ns;  // of an answer
  std::uint64_t request = 0;                  // number of the packet that it answers, 0 for none
};

/// A request whose time has run out.
struct Unanswered {
  std::uint64_t number = 0;  // of the request
  std::int64_t time_ns = 0;  // when its time ran out
  std::int64_t limit_ns = 0;
  Kind kind = Kind::kRequest;
  int code = -1;
};

class Conversation {
 public:
  /// The requests whose time has run out by `time_ns`, by time; each is told once.
  std::vector<Unanswered> expire(std::int64_t time_ns);

  /// Takes the packet `number`. To be called with times that do not fall, expire() before it.
  Finding take(std::uint64_t number, const Entry& entry, const Decoded& decoded);

 private:
  struct Pending {
    std::uint64_t number;
    std::int64_t time_ns;
  };
  /// One of the two ways: to the camera, to the streaming process.
  struct Way {
    Kind kind;
    std::map<int, std::deque<Pending>> pending;  // by code, the oldest first; none is empty
    std::int64_t next_expiry_ns;                 // no request's time runs out before
    std::int64_t in_doubt_until_ns;              // the request of an answer may have been lost
  };

  static void expire(Way& way, std::int64_t time_ns, std::vector<Unanswered>& all);
  static Finding ask(Way& way, std::uint64_t number, std::int64_t time_ns, int code);
  static Finding answer(Way& way, std::int64_t time_ns, int code);
  void lose(std::int64_t time_ns);

  Way _camera{Kind::kRequest, {}, INT64_MAX, INT64_MIN};
  Way _side{Kind::kSideRequest, {}, INT64_MAX, INT64_MIN};
};

}  // namespace vlm::monitor

#endif  // MONITOR_CONVERSATION_H
