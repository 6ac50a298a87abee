// A recording as a whole, for the replay.
#ifndef MONITOR_REPLAY_RECORDING_H
#define MONITOR_REPLAY_RECORDING_H

#include <string>
#include <vector>

#include "observation.h"

namespace vlm::monitor {

/// What of a recording is played, in seconds from its first packet.
struct Section {
  double from_s = 0;
  double to_s = 1e18;
};

enum class Loaded {
  kWhole,
  kDamaged,  // what was whole has been loaded
  kNothing,  // it cannot be read, or is no recording of the bus
};

/// Loads the packets of the section, with what is known of them; `error` says what is wrong.
Loaded load_recording(const std::string& path, const Section& section,
                      std::vector<Observation>& packets, std::string& error);

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_RECORDING_H
