// The command line of vlm_bus_monitor.
#ifndef MONITOR_OPTIONS_H
#define MONITOR_OPTIONS_H

#include <string>
#include <vector>

#include "filter.h"
#include "recording_file.h"

namespace vlm::monitor {

struct MonitorOptions {
  std::vector<std::string> channels;  // empty: all
  Filter filter;
  std::string filter_error;
  bool json = false;
  bool hex = false;
  bool stats = false;
  bool quiet = false;
  bool redact = false;
  bool rotates = false;
  bool keeps = false;
  std::string write_file;
  Rotation rotation;
  std::string read_file;
  std::string svg_file;
  std::string csv_file;
  bool help = false;
  bool version = false;
};

/// False on a usage fault: `error` says which.
bool parse_monitor_options(const std::vector<std::string>& arguments, MonitorOptions& options,
                           std::string& error);

std::string monitor_help();

}  // namespace vlm::monitor

#endif  // MONITOR_OPTIONS_H
