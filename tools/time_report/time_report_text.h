// The time report for a person.
#ifndef TIME_REPORT_TEXT_H
#define TIME_REPORT_TEXT_H

#include <string>

#include "time_report.h"

namespace vlm::time_report {

/// The report of at least one line, some ten lines and one for each event that was kept.
std::string time_report_text(const TimeReport& report, const std::string& directory);

}  // namespace vlm::time_report

#endif  // TIME_REPORT_TEXT_H
