#include "observer.h"

#include <utility>

#include "command_name.h"

namespace vlm::monitor {

std::vector<Observation> Observer::take(Entry entry) {
  if (!_first_ns) _first_ns = entry.time_ns;
  std::vector<Observation> all = expire(entry.time_ns);
  Observation& observation = all.emplace_back();
  observation.number = ++_number;
  observation.time_ns = entry.time_ns;
  observation.since_ns = entry.time_ns - *_first_ns;
  observation.decoded = decode(entry);
  observation.finding = _conversation.take(_number, entry, observation.decoded);
  observation.entry = std::move(entry);
  return all;
}

std::vector<Observation> Observer::expire(std::int64_t time_ns) {
  std::vector<Observation> all;
  for (const Unanswered& late : _conversation.expire(time_ns)) {
    Observation& observation = all.emplace_back();
    observation.time_ns = late.time_ns;
    observation.since_ns = late.time_ns - _first_ns.value_or(late.time_ns);
    observation.entry.channel = late.kind == Kind::kRequest ? kRequestChannel : kRtspRequestChannel;
    observation.decoded.kind = late.kind;
    observation.decoded.code = late.code;
    observation.decoded.name = late.kind == Kind::kRequest
                                   ? command_name(late.code)
                                   : side_name(static_cast<unsigned>(late.code));
    observation.finding.mark = Mark::kNoAnswer;
    observation.finding.request = late.number;
    observation.limit_ns = late.limit_ns;
  }
  return all;
}

}  // namespace vlm::monitor
