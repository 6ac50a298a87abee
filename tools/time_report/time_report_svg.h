// The time report as a picture: the interval over the logging time, faults marked.
#ifndef TIME_REPORT_SVG_H
#define TIME_REPORT_SVG_H

#include <string>

#include "time_report.h"

namespace vlm::time_report {

/// An SVG document. Each column of the picture spans from the shortest to the longest interval of
/// its time, on a logarithmic scale; stalls are bands, jumps and interruptions upright lines.
/// Faults carry labels as far as these have room, the worst first.
std::string time_report_svg(const TimeReport& report, const std::string& directory);

}  // namespace vlm::time_report

#endif  // TIME_REPORT_SVG_H
