// One line of the monitor's output: a packet, or a request whose time has run out.
#ifndef MONITOR_OBSERVATION_H
#define MONITOR_OBSERVATION_H

#include <cstdint>

#include "conversation.h"
#include "decode.h"
#include "entry.h"

namespace vlm::monitor {

struct Observation {
  std::uint64_t number = 0;   // of the entry, from 1; 0: no packet, a request's time has run out
  std::int64_t time_ns = 0;   // since 1970
  std::int64_t since_ns = 0;  // since the first entry
  Entry entry;
  Decoded decoded;
  Finding finding;
  std::int64_t limit_ns = 0;  // of the time that has run out
};

}  // namespace vlm::monitor

#endif  // MONITOR_OBSERVATION_H
