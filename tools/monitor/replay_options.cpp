#include "replay_options.h"

#include <cmath>
#include <cstdlib>

#include "arguments.h"
#include "payload_values.h"

namespace vlm::monitor {

namespace {

using Table = std::vector<Option<ReplayOptions>>;

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

const Table& table() {
  using O = ReplayOptions;
  using V = std::string;
  static const Table all = {
      {"--as", nullptr, "ROLE", "console: send the requests; camera: answer them",
       [](O& o, const V& v) { return parse_role(v, o.role); }},
      {"--speed", nullptr, "X", "X times as fast as recorded, or max (1)",
       [](O& o, const V& v) { return parse_speed(v, o.speed); }},
      {"--from", nullptr, "T", "begin T seconds behind the first packet",
       [](O& o, const V& v) { return parse_number(v, 0, o.section.from_s); }},
      {"--to", nullptr, "T", "end T seconds behind the first packet",
       [](O& o, const V& v) { return parse_number(v, 0, o.section.to_s); }},
      {"--expect", nullptr, nullptr, "compare with the recording; the exit status is the verdict",
       [](O& o, const V&) { return o.expect = true; }},
      {"--mask", nullptr, "FIELD",
       "do not compare this value (lens.zoom, video.fps); again for more",
       [](O& o, const V& v) { return add_mask(v, o.masked); }},
      {"--tap", nullptr, nullptr, "print the checks in the Test Anything Protocol",
       [](O& o, const V&) { return o.tap = true; }},
      {"--junit", nullptr, "FILE", "write the checks to FILE as JUnit does",
       [](O& o, const V& v) { return !(o.junit_file = v).empty(); }},
      {"--loop", nullptr, nullptr,
       "camera: after the last answer to a request comes the first again",
       [](O& o, const V&) { return o.loop = true; }},
      {"--destructive", nullptr, nullptr,
       "console: send also what loses data or interrupts the camera",
       [](O& o, const V&) { return o.destructive = true; }},
      {"--help", nullptr, nullptr, "show this text", [](O& o, const V&) { return o.help = true; }},
      {"--version", nullptr, nullptr, "show the version",
       [](O& o, const V&) { return o.version = true; }},
  };
  return all;
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
  if (options.section.from_s > options.section.to_s) error = "--from lies behind --to";
  return error.empty();
}

}  // namespace

bool parse_replay_options(const std::vector<std::string>& arguments, ReplayOptions& options,
                          std::string& error) {
  const auto take_file = [](ReplayOptions& o, const std::string& file) {
    const bool is_first = o.file.empty();
    o.file = file;
    return is_first && !file.empty();
  };
  return parse_arguments<ReplayOptions>(arguments, table(), options, take_file, error) &&
         check(options, error);
}

std::string replay_help() {
  return "usage: vlm_bus_replay FILE --as console|camera [OPTIONS]\n"
         "Plays a recording of the message bus in one of its roles.\n"
         "\n" +
         options_help(table()) +
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
