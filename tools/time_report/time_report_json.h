// The time report for scripts.
#ifndef TIME_REPORT_JSON_H
#define TIME_REPORT_JSON_H

#include <string>

#include "time_report.h"

namespace vlm::time_report {

/// One JSON object; docs/time_log.md lists its fields. All figures are whole numbers, times and
/// spans in microseconds. The report has at least one line.
std::string time_report_json(const TimeReport& report, const std::string& directory);

}  // namespace vlm::time_report

#endif  // TIME_REPORT_JSON_H
