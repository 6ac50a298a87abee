#include "sim_options.h"

#include <cstdio>
#include <functional>
#include <iterator>

#include "fault_switches.h"
#include "sim_values.h"

namespace vlm::sim {

namespace {

// Each reads the whole of `text`; false when it is anything else.

/// A card that exists: not of size 0.
bool parse_card(const std::string& text, SimOptions& options) {
  u64 kib = 0;
  if (!parse_size(text, kib) || kib == 0) return false;
  options.card_kib = static_cast<u32>(kib);
  return true;
}

bool parse_seed(const std::string& text, SimOptions& options) {
  return parse_number(text, options.seed.emplace());
}

/// A row of the option table.
struct Option {
  std::string name;
  const char* value;  // what it takes, null for a switch
  const char* help;
  std::function<bool(const std::string& value, SimOptions& options)> apply;  // false: no such value
};

const Option kCameraOptions[] = {
    {"--thermal", nullptr, "a camera with a thermal sensor",
     [](const std::string&, SimOptions& o) { return o.thermal = true; }},
    {"--live", nullptr, "a camera that moves in time and sees a scene that changes",
     [](const std::string&, SimOptions& o) { return o.live = true; }},
    {"--card", "SIZE", "a card of SIZE instead of 62G (K, M, G)", parse_card},
    {"--media", "DIR", "keep pictures as files in the folder DIR, which must exist",
     [](const std::string& v, SimOptions& o) {
       o.media = v;
       return !v.empty();
     }},
};

const Option kRunOptions[] = {
    {"--script", "FILE", "run the commands in FILE first",
     [](const std::string& v, SimOptions& o) {
       o.script = v;
       return !v.empty();
     }},
    {"--seed", "N", "start of the random numbers; a fresh one otherwise", parse_seed},
    {"--force", nullptr, "serve although another simulated camera serves the bus",
     [](const std::string&, SimOptions& o) { return o.force = true; }},
    {"--verbose", nullptr, "print one line for each request, reply and notification",
     [](const std::string&, SimOptions& o) { return o.verbose = true; }},
    {"--help", nullptr, "print this and exit",
     [](const std::string&, SimOptions& o) { return o.help = true; }},
    {"--version", nullptr, "print the version and exit",
     [](const std::string&, SimOptions& o) { return o.version = true; }},
};

/// Those of the camera, of its faults and of the run.
const std::vector<Option>& all_options() {
  static const std::vector<Option> all = [] {
    std::vector<Option> options(std::begin(kCameraOptions), std::end(kCameraOptions));
    for (const FaultSwitch& fault : fault_switches()) {
      options.push_back({"--" + std::string(fault.name), fault.value, fault.help,
                         [&fault](const std::string& value, SimOptions& o) {
                           return fault.apply(value, o.faults);
                         }});
    }
    options.insert(options.end(), std::begin(kRunOptions), std::end(kRunOptions));
    return options;
  }();
  return all;
}

const Option* find_option(const std::string& name) {
  for (const Option& option : all_options()) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

}  // namespace

std::string parse_options(const std::vector<std::string>& arguments, SimOptions& options) {
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    const auto equals = argument->find('=');
    const std::string name = argument->substr(0, equals);
    const Option* option = find_option(name);
    if (option == nullptr) return "unknown option " + *argument;
    std::optional<std::string> value;
    if (equals != std::string::npos) value = argument->substr(equals + 1);
    if (option->value == nullptr && value) return name + " takes no value";
    if (option->value != nullptr && !value) {
      if (++argument == arguments.end()) return name + " needs " + option->value;
      value = *argument;
    }
    if (!option->apply(value.value_or(""), options)) {
      return name + " needs " + option->value + ", not \"" + *value + "\"";
    }
  }
  return "";
}

std::string options_help() {
  std::string help =
      "Usage: camera_sim [OPTION]...\n"
      "Plays the camera and its streaming process on the message bus.\n\n";
  for (const Option& option : all_options()) {
    const std::string usage =
        option.name + (option.value != nullptr ? std::string(" ") + option.value : "");
    char line[200];
    std::snprintf(line, sizeof line, "  %-29s  %s\n", usage.c_str(), option.help);
    help += line;
  }
  return help + "\nCommands on standard input: see \"help\" there.\n";
}

}  // namespace vlm::sim
