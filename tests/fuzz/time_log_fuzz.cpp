// Time-log files into the report, in all its forms.
//
// Input: the files, with a byte 0xFF between them; their serials count from 1.
#include "fuzz_input.h"
#include "temporary_directory.h"
#include "time_report.h"
#include "time_report_json.h"
#include "time_report_svg.h"
#include "time_report_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const TemporaryDirectory directory;
  FuzzInput input(bytes, size);
  for (int serial = 1; serial == 1 || !input.empty(); ++serial) {
    directory.write("log_time_file_" + std::to_string(serial) + ".log", input.text('\xFF'));
  }
  TimeLogListing listing;
  std::string error;
  must(list_time_log(directory.path(), listing, error), "the directory can be read");
  TimeReport report{TimeThresholds{}};
  std::uint64_t read = 0;
  read_time_log(directory.path(), listing, report, [&](std::uint64_t sum) { read = sum; });
  report.finish();
  must(read == listing.bytes, "every byte is read");
  if (report.summary().lines == 0) return 0;
  time_report_text(report, directory.path());
  time_report_json(report, directory.path());
  time_report_svg(report, directory.path());
  return 0;
}
