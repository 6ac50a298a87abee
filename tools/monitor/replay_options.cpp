#include "replay_options.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "broker_files.h"
#include "options.h"
#include "payload_values.h"
#include "recording_input.h"

namespace vlm::monitor {

namespace {

bool parse_number(const std::string& text, double least, double& number) {
  char* end = nullptr;
  number = std::strtod(text.c_str(), &end);
  return !text.empty() && *end == '\0' && std::isfinite(number) && number >= least;
}

bool parse_speed(const std::string& text, double& speed) {
  constexpr double kSlowest = 0.001;
  if (text != "max") return parse_number(text, kSlowest, speed);
  speed = 0;
  return true;
}

bool parse_role(const std::string& text, ReplayOptions::Role& role) {
  if (text == "console") role = ReplayOptions::kConsole;
  if (text == "camera") role = ReplayOptions::kCamera;
  return text == "console" || text == "camera";
}

bool add_mask(const std::string& text, std::vector<std::string>& masked) {
  masked.push_back(text);
  return is_value_name(text);
}

std::vector<host::Option> table(ReplayOptions& o) {
  using V = std::string;
  std::vector<host::Option> options = {
      {"--as", "ROLE", "console: send the requests; camera: answer them",
       [&o](const V& v) { return parse_role(v, o.role); }},
      {"--speed", "X", "X times as fast as recorded, or max (1)",
       [&o](const V& v) { return parse_speed(v, o.speed); }},
      {"--from", "T", "begin T seconds behind the first packet",
       [&o](const V& v) { return parse_number(v, 0, o.section.from_s); }},
      {"--to", "T", "end T seconds behind the first packet",
       [&o](const V& v) { return parse_number(v, 0, o.section.to_s); }},
      {"--expect", nullptr, "compare with the recording; the exit status is the verdict",
       host::sets(o.expect)},
      {"--mask", "FIELD", "do not compare this value (lens.zoom, video.fps); again for more",
       [&o](const V& v) { return add_mask(v, o.masked); }},
      {"--tap", nullptr, "print the checks in the Test Anything Protocol", host::sets(o.tap)},
      {"--junit", "FILE", "write the checks to FILE as JUnit does", host::keeps(o.junit_file)},
      {"--loop", nullptr, "camera: after the last answer to a request comes the first again",
       host::sets(o.loop)},
      {"--destructive", nullptr, "console: send also what loses data or interrupts the camera",
       host::sets(o.destructive)},
  };
  bus::add_broker_file_options(options);
  options.push_back({"--help", nullptr, "print this help and end", host::sets(o.help)});
  options.push_back({"--version", nullptr, "print the version and end", host::sets(o.version)});
  return options;
}

bool check(const ReplayOptions& options, std::string& error) {
  if (options.help || options.version) return true;
  const bool is_camera = options.role == ReplayOptions::kCamera;
  if (options.file.empty()) error = "no recording given";
  if (options.role == ReplayOptions::kNone) error = "--as console or --as camera is missing";
  if (options.loop && !is_camera) error = "--loop is the camera's";
  if (options.destructive && is_camera) error = "--destructive is the console's";
  if (!options.expect && (options.tap || !options.junit_file.empty() || !options.masked.empty())) {
    error = "--mask, --tap and --junit need --expect";
  }
  if (!options.junit_file.empty() && is_same_file(options.junit_file, options.file)) {
    error = "the recording cannot be written";
  }
  if (options.section.from_s > options.section.to_s) error = "--from lies behind --to";
  return error.empty();
}

}  // namespace

std::chrono::nanoseconds ReplayOptions::paced(std::int64_t recorded_ns) const {
  constexpr double kMostNs = 1e18;
  if (speed == 0) return {};
  const double ns = std::clamp(static_cast<double>(recorded_ns) / speed, 0.0, kMostNs);
  return std::chrono::nanoseconds(static_cast<std::int64_t>(ns));
}

bool parse_replay_options(const std::vector<std::string>& arguments, ReplayOptions& options,
                          std::string& error) {
  const auto take_file = [&options](const std::string& file) {
    const bool is_first = options.file.empty();
    options.file = file;
    return is_first && !file.empty();
  };
  if (const auto fault = host::read_arguments(arguments, {table(options), take_file})) {
    error = host::text_of(*fault);
    return false;
  }
  return check(options, error);
}

std::string replay_help() {
  ReplayOptions unused;
  return "usage: vlm_bus_replay FILE --as console|camera [OPTIONS]\n"
         "Plays a recording of the message bus in one of its roles.\n"
         "\n" +
         host::options_help(table(unused), 25) +
         "\n"
         "As console it sends each request at its time, once the answers that the recording has\n"
         "before it have come. As camera it answers until it is told to end by a signal: the n-th\n"
         "request of its kind gets the n-th answer, one that was not recorded is unsupported.\n"
         "\n"
         "Exit status: 0 equal, 1 it differs, or something cannot be written, 2 wrong usage, 3 "
         "the\n"
         "file is cut off or damaged (what was whole has been played) or cannot be read, 4 no bus\n"
         "or no camera.\n";
}

}  // namespace vlm::monitor
