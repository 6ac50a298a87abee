// Makes observations of entries, in their order.
#ifndef MONITOR_OBSERVER_H
#define MONITOR_OBSERVER_H

#include <cstdint>
#include <optional>
#include <vector>

#include "conversation.h"
#include "observation.h"

namespace vlm::monitor {

class Observer {
 public:
  /// The entry's observation, behind those of requests whose time has run out before.
  std::vector<Observation> take(Entry entry);
  /// Those of requests whose time has run out by `time_ns`.
  std::vector<Observation> expire(std::int64_t time_ns);

 private:
  Conversation _conversation;
  std::uint64_t _number = 0;
  std::optional<std::int64_t> _first_ns;
};

}  // namespace vlm::monitor

#endif  // MONITOR_OBSERVER_H
