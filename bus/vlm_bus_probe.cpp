// Tells whether a channel of the embedded bus has a live subscriber, so that scripts can wait until
// a program is ready. Subscribers do not notice.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "broker_files.h"
#include "bus_directory.h"
#include "options.h"
#include "standard_output.h"
#include "vlm_bus.h"

namespace vlm::bus {

namespace {

struct Request {
  std::string channel;
  int wait_ms = 0;
  bool help = false;
  bool version = false;
};

bool parse_milliseconds(const std::string& text, int& ms) {
  constexpr long kDay = 24L * 60 * 60 * 1000;
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || end != text.c_str() + text.size() || value < 0 || value > kDay) return false;
  ms = static_cast<int>(value);
  return true;
}

std::vector<host::Option> table(Request& request) {
  std::vector<host::Option> options = {
      {"--wait", "MS", "look for up to MS milliseconds (default 0)",
       [&](const std::string& value) { return parse_milliseconds(value, request.wait_ms); }},
  };
  add_broker_file_options(options);
  options.push_back({"--help", nullptr, "show this text", host::sets(request.help)});
  options.push_back({"--version", nullptr, "show the version", host::sets(request.version)});
  return options;
}

std::string usage() {
  Request unused;
  return "Usage: vlm_bus_probe CHANNEL [OPTION]...\n"
         "Tells by its exit status whether CHANNEL has a live subscriber on the bus.\n"
         "\n" +
         host::options_help(table(unused), 25) +
         "\n"
         "Exit status: 0 there is a subscriber, 1 there is none, 2 wrong usage.\n";
}

/// Help and version stand alone.
bool parse(const std::vector<std::string>& arguments, Request& request) {
  const auto channel = [&](const std::string& name) {
    const bool first = request.channel.empty();
    request.channel = name;
    return first && is_channel_name(name);
  };
  if (host::read_arguments(arguments, {table(request), channel})) return false;
  if (request.help || request.version) return arguments.size() == 1;
  return !request.channel.empty();
}

int run(int argc, char** argv) {
  Request request;
  if (!parse(host::arguments_of(argc, argv), request)) {
    std::fprintf(stderr, "vlm_bus_probe: wrong usage\n%s", usage().c_str());
    return 2;
  }
  if (request.help) return host::show("vlm_bus_probe", usage());
  if (request.version) return host::show("vlm_bus_probe", "vlm_bus_probe " VLM_VERSION "\n");
  return bus_has_subscriber(request.channel.c_str(), request.wait_ms) ? 0 : 1;
}

}  // namespace

}  // namespace vlm::bus

int main(int argc, char** argv) { return vlm::bus::run(argc, argv); }
