// Observations as text and as JSON.
#ifndef MONITOR_LINE_H
#define MONITOR_LINE_H

#include <string>

#include "observation.h"

namespace vlm::monitor {

struct LineStyle {
  bool hex = false;     // the packet's bytes as well
  bool colour = false;  // for a terminal
};

/// With its line end.
std::string text_line(const Observation& observation, const LineStyle& style);
/// One JSON object, with its line end; docs/monitor.md has the schema.
std::string json_line(const Observation& observation, bool hex);

/// "0.512" milliseconds.
std::string milliseconds(std::int64_t ns);
/// "12.345678901" seconds, with `digits` behind the point.
std::string seconds(std::int64_t ns, int digits);

}  // namespace vlm::monitor

#endif  // MONITOR_LINE_H
