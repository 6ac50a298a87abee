// Tells from a time log where the clock jumped and where the system stalled.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "reason.h"
#include "standard_output.h"
#include "time_log_reader.h"
#include "time_report.h"
#include "time_report_format.h"
#include "time_report_json.h"
#include "time_report_options.h"
#include "time_report_svg.h"
#include "time_report_text.h"
#include "utf8.h"

namespace vlm::time_report {

namespace {

enum ExitStatus { kClean = 0, kFailure = 1, kUsage = 2, kFaulty = 3 };

int fail(const std::string& text) {
  std::fprintf(stderr, "vlm_time_report: %s\n", text.c_str());
  return kFailure;
}

/// One line on standard error that counts to 100 %; silent for small logs and away from terminals.
class ProgressLine {
 public:
  explicit ProgressLine(std::uint64_t bytes)
      : _bytes(bytes), _shown(bytes >= kWorthShowing && isatty(STDERR_FILENO) == 1) {}
  ~ProgressLine() {
    if (_shown) std::fputs("\r\033[K", stderr);
  }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void update(std::uint64_t done) {
    if (!_shown) return;
    // A log that is still being written may have grown.
    const auto percent = static_cast<int>(std::min(done, _bytes) * 100 / _bytes);
    if (percent == _percent) return;
    _percent = percent;
    std::fprintf(stderr, "\rvlm_time_report: %d %%", percent);
  }

 private:
  static constexpr std::uint64_t kWorthShowing = 16U << 20;

  std::uint64_t _bytes;
  bool _shown;
  int _percent = -1;
};

bool write_file(const std::string& path, const std::string& text) {
  std::FILE* const file = std::fopen(path.c_str(), "we");
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && written;
}

int read_log(const std::string& directory, TimeReport& report) {
  TimeLogListing listing;
  std::string error;
  if (!list_time_log(directory, listing, error))
    return fail(host::printable(directory) + ": " + error);
  {
    ProgressLine progress(listing.bytes);
    read_time_log(directory, listing, report, [&](auto bytes) { progress.update(bytes); });
  }
  report.finish();
  for (const auto& file : report.summary().unreadable_files) fail(file.name + ": " + file.fault);
  if (report.summary().lines != 0) return kClean;
  return fail(host::printable(directory) + ": no line of a time log");
}

int make_report(const TimeReportOptions& options) {
  TimeReport report(options.thresholds);
  if (const int status = read_log(options.directory, report); status != kClean) return status;
  if (!options.svg_file.empty() &&
      !write_file(options.svg_file, time_report_svg(report, options.directory))) {
    return fail(host::printable(options.svg_file) + ": " + host::reason());
  }
  const auto text = options.json ? time_report_json(report, options.directory)
                                 : time_report_text(report, options.directory);
  if (host::show("vlm_time_report", text) != 0) return kFailure;
  return report.clean() ? kClean : kFaulty;
}

int run(int argc, char** argv) {
  TimeReportOptions options;
  std::string error;
  if (!parse_time_report_options(argc, argv, options, error)) {
    fail(error);
    std::fputs("Try vlm_time_report --help.\n", stderr);
    return kUsage;
  }
  if (options.help) return host::show("vlm_time_report", time_report_help());
  if (options.version) {
    return host::show("vlm_time_report", "vlm_time_report " VLM_VERSION "\n");
  }
  return make_report(options);
}

}  // namespace

}  // namespace vlm::time_report

int main(int argc, char** argv) { return vlm::time_report::run(argc, argv); }
