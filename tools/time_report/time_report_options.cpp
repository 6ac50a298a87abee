#include "time_report_options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "time_report_format.h"

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

struct Option {
  const char* name;
  const char* value;  // its name in the help; null for a switch
  const char* help;
  bool (*apply)(TimeReportOptions& options, std::string_view value);  // false: not a valid value
};

constexpr std::array<Option, 6> kOptions = {{
    {"--stall", "MS", "a gap above MS milliseconds is a stall (100)",
     [](auto& o, auto value) { return parse_ms(value, o.thresholds.stall_us); }},
    {"--jump", "MS", "a gap above MS milliseconds is a clock set forward (10000)",
     [](auto& o, auto value) { return parse_ms(value, o.thresholds.jump_us); }},
    {"--json", nullptr, "print JSON instead of text", [](auto& o, auto) { return o.json = true; }},
    {"--svg", "FILE", "draw the interval over time to FILE, faults marked",
     [](auto& o, auto value) { return !(o.svg_file = value).empty(); }},
    {"--help", nullptr, "print this help and end", [](auto& o, auto) { return o.help = true; }},
    {"--version", nullptr, "print the version and end",
     [](auto& o, auto) { return o.version = true; }},
}};

const Option* find_option(std::string_view name) {
  const auto* const found = std::find_if(kOptions.begin(), kOptions.end(),
                                         [&](const Option& option) { return name == option.name; });
  return found == kOptions.end() ? nullptr : found;
}

/// The arguments that are still to be read.
class Arguments {
 public:
  Arguments(int argc, const char* const* argv) : _next(argv + 1), _end(argv + argc) {}
  bool empty() const { return _next == _end; }
  std::string_view take() { return *_next++; }

 private:
  const char* const* _next;
  const char* const* _end;
};

bool apply_option(std::string_view argument, Arguments& rest, TimeReportOptions& options,
                  std::string& error) {
  const auto equals = argument.find('=');
  const std::string name(argument.substr(0, equals));
  const Option* const option = find_option(name);
  const bool has_value = equals != std::string_view::npos;
  if (option == nullptr) {
    error = "unknown option " + name;
  } else if (option->value == nullptr && has_value) {
    error = name + " takes no value";
  } else if (option->value != nullptr && !has_value && rest.empty()) {
    error = name + " needs a value";
  } else {
    std::string_view value;
    if (option->value != nullptr) value = has_value ? argument.substr(equals + 1) : rest.take();
    if (!option->apply(options, value)) error = "bad value for " + name + ": " + std::string(value);
  }
  return error.empty();
}

bool take_directory(std::string_view argument, TimeReportOptions& options, std::string& error) {
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
  Arguments rest(argc, argv);
  bool options_ended = false;
  while (!rest.empty()) {
    const auto argument = rest.take();
    if (!options_ended && argument == "--") {
      options_ended = true;
    } else if (options_ended || argument.substr(0, 1) != "-") {
      if (!take_directory(argument, options, error)) return false;
    } else if (!apply_option(argument, rest, options, error)) {
      return false;
    }
  }
  return complete(options, error);
}

std::string time_report_help() {
  std::string text =
      "usage: vlm_time_report [OPTIONS] DIRECTORY\n"
      "Reads the files log_time_file_NNNN.log of a time log and tells where the clock jumped and\n"
      "where the system stalled.\n\n";
  for (const auto& option : kOptions) {
    const auto name =
        std::string(option.name) + (option.value ? std::string(" ") + option.value : "");
    text += format("  %-12s  %s\n", name.c_str(), option.help);
  }
  return text +
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
