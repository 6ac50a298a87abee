// Opens a recording to be read.
#ifndef MONITOR_RECORDING_INPUT_H
#define MONITOR_RECORDING_INPUT_H

#include <fstream>
#include <string>

namespace vlm::monitor {

/// False when it cannot be read: `error` says why, and begins with the path.
bool open_recording(const std::string& path, std::ifstream& file, std::string& error);

}  // namespace vlm::monitor

#endif  // MONITOR_RECORDING_INPUT_H
