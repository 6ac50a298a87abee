#include "sim_options.h"

#include <cstdio>

#include "sim_values.h"

namespace {

// Each reads the whole of `text`; false when it is anything else.

/// One duration, or two with ".." between them.
bool parse_latency(const std::string& text, SimOptions& options) {
  const auto dots = text.find("..");
  const std::string high = dots == std::string::npos ? text : text.substr(dots + 2);
  FaultPlan& plan = options.faults;
  return parse_duration(text.substr(0, dots), plan.latency_low_us) &&
         parse_duration(high, plan.latency_high_us) && plan.latency_low_us <= plan.latency_high_us;
}

/// Two numbers with "=" between them.
bool parse_fail(const std::string& text, SimOptions& options) {
  const auto equals = text.find('=');
  u16 code = 0;
  u16 error = 0;
  if (equals == std::string::npos || !parse_number(text.substr(0, equals), code) ||
      !parse_number(text.substr(equals + 1), error)) {
    return false;
  }
  options.faults.fail[code] = error;
  return true;
}

bool parse_mute(const std::string& text, SimOptions& options) {
  u16 code = 0;
  if (!parse_number(text, code)) return false;
  options.faults.mute.insert(code);
  return true;
}

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
  const char* name;
  const char* value;  // what it takes, null for a switch
  const char* help;
  bool (*apply)(const std::string& value, SimOptions& options);  // false: not such a value
};

const Option kOptions[] = {
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
    {"--latency", "TIME[..TIME]", "delay each reply, e.g. 20ms or 20ms..80ms (us, ms, s)",
     parse_latency},
    {"--drop", "P", "lose a reply with probability P (0 to 1)",
     [](const std::string& v, SimOptions& o) { return parse_probability(v, o.faults.drop); }},
    {"--duplicate", "P", "send a reply twice with probability P",
     [](const std::string& v, SimOptions& o) { return parse_probability(v, o.faults.duplicate); }},
    {"--reorder", "P", "hold a reply back by 50 ms, past later ones, with probability P",
     [](const std::string& v, SimOptions& o) { return parse_probability(v, o.faults.reorder); }},
    {"--fail", "CODE=ERR", "answer command CODE with result ERR; may be repeated", parse_fail},
    {"--mute", "CODE", "neither carry out nor answer command CODE; may be repeated", parse_mute},
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

const Option* find_option(const std::string& name) {
  for (const Option& option : kOptions) {
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
  for (const Option& option : kOptions) {
    const std::string usage =
        std::string(option.name) + (option.value != nullptr ? std::string(" ") + option.value : "");
    char line[160];
    std::snprintf(line, sizeof line, "  %-23s %s\n", usage.c_str(), option.help);
    help += line;
  }
  return help + "\nCommands on standard input: see \"help\" there.\n";
}
