// The command line of vlm_bus_replay.
#ifndef MONITOR_REPLAY_OPTIONS_H
#define MONITOR_REPLAY_OPTIONS_H

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
};

/// False on a usage fault: `error` says which.
bool parse_replay_options(const std::vector<std::string>& arguments, ReplayOptions& options,
                          std::string& error);

std::string replay_help();

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_OPTIONS_H
