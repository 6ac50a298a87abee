// The command line of vlm_bus_replay.
#ifndef MONITOR_REPLAY_OPTIONS_H
#define MONITOR_REPLAY_OPTIONS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "replay_recording.h"

namespace vlm::monitor {

struct ReplayOptions {
  enum Role { kNone, kConsole, kCamera };

  std::string file;
  Role role = kNone;
  double speed = 1;  // 0: as fast as it goes
  Section section;
  bool expect = false;
  std::vector<std::string> masked;
  bool tap = false;
  std::string junit_file;
  bool loop = false;
  bool destructive = false;
  bool help = false;
  bool version = false;

  /// How long a recorded time takes at the speed; at most some thirty years, whatever the file says.
  std::chrono::nanoseconds paced(std::int64_t recorded_ns) const;
};

/// False on a usage fault: `error` says which.
bool parse_replay_options(const std::vector<std::string>& arguments, ReplayOptions& options,
                          std::string& error);

std::string replay_help();

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_OPTIONS_H
