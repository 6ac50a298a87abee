// How the outputs of the time report write times, spans and names.
#ifndef TIME_REPORT_FORMAT_H
#define TIME_REPORT_FORMAT_H

#include <cstdint>
#include <string>

#include "format.h"
#include "time_report.h"

namespace vlm::time_report {

using host::format;

/// "2024-03-05 07:08:09.012345", in UTC.
std::string utc_text(std::int64_t time_us);

/// "+2.310 s", "-1:00:00.000", "+19786 d 07:08:09.012": to the millisecond, half up.
std::string span_text(std::int64_t span_us);

/// "jump back", "jump forward", "stall", "interruption".
const char* kind_text(TimeEventKind kind);

/// "1 stall", "2 stalls": `noun` takes an s for the plural.
std::string count_text(std::uint64_t count, const std::string& noun);

/// "1 jump back, 0 jumps forward, 2 stalls".
std::string faults_text(const TimeReport& report);

}  // namespace vlm::time_report

#endif  // TIME_REPORT_FORMAT_H
