// The command line of vlm_time_report: one table, from which it is parsed and its help is made.
#ifndef TIME_REPORT_OPTIONS_H
#define TIME_REPORT_OPTIONS_H

#include <string>

#include "time_report.h"

namespace vlm::time_report {

struct TimeReportOptions {
  TimeThresholds thresholds;
  bool json = false;
  bool help = false;
  bool version = false;
  std::string svg_file;  // empty: no picture
  std::string directory;
};

/// Options may stand before and after the directory, their values in the next argument or after
/// "="; "--" ends them. False, with the reason in `error`, for anything that is no valid use.
bool parse_time_report_options(int argc, const char* const* argv, TimeReportOptions& options,
                               std::string& error);

std::string time_report_help();

}  // namespace vlm::time_report

#endif  // TIME_REPORT_OPTIONS_H
