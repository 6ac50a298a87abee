// A recording that is read.
#ifndef MONITOR_RECORDING_INPUT_H
#define MONITOR_RECORDING_INPUT_H

#include <fstream>
#include <string>

namespace vlm::monitor {

/// False when it cannot be read: `error` says why, and begins with the path.
bool open_recording(const std::string& path, std::ifstream& file, std::string& error);

/// Whether both paths lead to one file: what is written to the one would be lost to the other.
bool is_same_file(const std::string& one, const std::string& other);

}  // namespace vlm::monitor

#endif  // MONITOR_RECORDING_INPUT_H
