#include "time_report_options.h"

#include <charconv>
#include <string_view>

#include "options.h"

namespace vlm::time_report {

namespace {

constexpr std::int64_t kLongestThresholdMs = 1'000'000'000;

bool parse_ms(std::string_view text, std::int64_t& us) {
  std::int64_t ms = 0;
  const auto* const end = text.data() + text.size();
  const auto [rest, fault] = std::from_chars(text.data(), end, ms);
  if (fault != std::errc{} || rest != end || ms < 1 || ms > kLongestThresholdMs) return false;
  us = ms * 1000;
  return true;
}

std::vector<host::Option> table(TimeReportOptions& o) {
  const auto milliseconds = [](std::int64_t& us) {
    return [&us](const std::string& value) { return parse_ms(value, us); };
  };
  return {
      {"--stall", "MS", "a gap above MS milliseconds is a stall (100)",
       milliseconds(o.thresholds.stall_us)},
      {"--jump", "MS", "a gap above MS milliseconds is a clock set forward (10000)",
       milliseconds(o.thresholds.jump_us)},
      {"--json", nullptr, "print JSON instead of text", host::sets(o.json)},
      {"--svg", "FILE", "draw the interval over time to FILE, faults marked",
       host::keeps(o.svg_file)},
      {"--help", nullptr, "print this help and end", host::sets(o.help)},
      {"--version", nullptr, "print the version and end", host::sets(o.version)},
  };
}

bool take_directory(const std::string& argument, TimeReportOptions& options, std::string& error) {
  if (!options.directory.empty()) error = "more than one directory";
  if (argument.empty()) error = "the directory has no name";
  options.directory = argument;
  return error.empty();
}

bool complete(const TimeReportOptions& options, std::string& error) {
  if (options.help || options.version) return true;
  if (options.directory.empty()) error = "no directory given";
  if (options.thresholds.jump_us < options.thresholds.stall_us) error = "--jump is below --stall";
  return error.empty();
}

}  // namespace

bool parse_time_report_options(int argc, const char* const* argv, TimeReportOptions& options,
                               std::string& error) {
  const auto directory = [&](const std::string& text) {
    return take_directory(text, options, error);
  };
  const auto fault =
      host::read_arguments(host::arguments_of(argc, argv), {table(options), directory});
  if (fault && error.empty()) error = host::text_of(*fault);
  return !fault && complete(options, error);
}

std::string time_report_help() {
  TimeReportOptions unused;
  return "usage: vlm_time_report [OPTIONS] DIRECTORY\n"
         "Reads the files log_time_file_NNNN.log of a time log and tells where the clock jumped "
         "and\n"
         "where the system stalled.\n\n" +
         host::options_help(table(unused), 12) +
         "\nThe log knows the wall clock only. A clock set back by more than an interval always "
         "shows.\n"
         "A clock set forward looks like a stall of the same length: gaps above --stall and up to\n"
         "--jump are called stalls, longer ones jumps forward. Gaps while the logger was not "
         "running\n"
         "are no faults.\n"
         "\nExit status: 0 no faults, 3 jumps or stalls found, 1 nothing could be read or "
         "written,\n"
         "2 wrong usage.\n";
}

}  // namespace vlm::time_report
