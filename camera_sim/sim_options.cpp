#include "sim_options.h"

#include <iterator>

#include "broker_files.h"
#include "bus_address.h"
#include "fault_switches.h"
#include "options.h"
#include "sim_values.h"

namespace vlm::sim {

namespace {

using vlm::host::keeps;
using vlm::host::Option;
using vlm::host::OptionFault;
using vlm::host::sets;

/// A card that exists: not of size 0.
bool parse_card(const std::string& text, SimOptions& options) {
  u64 kib = 0;
  if (!parse_size(text, kib) || kib == 0) return false;
  options.card_kib = static_cast<u32>(kib);
  return true;
}

bool parse_fleet(const std::string& text, SimOptions& options) {
  constexpr u64 kMostCameras = 10000;
  u64 number = 0;
  if (!parse_number(text, number) || number == 0 || number > kMostCameras) return false;
  options.fleet = static_cast<unsigned>(number);
  return true;
}

/// The beginning of a name of a topic, to which a number is added.
bool parse_prefix(const std::string& text, SimOptions& options) {
  constexpr std::size_t kMost = 50;
  options.prefix = text;
  return text.size() <= kMost && bus::is_topic_name(text);
}

/// Those of the camera, of its faults and of the run.
std::vector<Option> table(SimOptions& o) {
  std::vector<Option> all = {
      {"--thermal", nullptr, "a camera with a thermal sensor", sets(o.thermal)},
      {"--live", nullptr, "a camera that moves in time and sees a scene that changes",
       sets(o.live)},
      {"--card", "SIZE", "a card of SIZE instead of 62G (K, M, G)",
       [&o](const std::string& value) { return parse_card(value, o); }},
      {"--media", "DIR", "keep pictures as files in the folder DIR, which must exist",
       keeps(o.media)},
  };
  for (const FaultSwitch& fault : fault_switches()) {
    all.push_back(
        {"--" + std::string(fault.name), fault.value, fault.help,
         [&fault, &o](const std::string& value) { return fault.apply(value, o.faults); }});
  }
  const Option fleet[] = {
      {"--fleet", "N", "N cameras, behind the broker that VLM_BUS names with its site",
       [&o](const std::string& value) { return parse_fleet(value, o); }},
      {"--camera-prefix", "NAME", "what their names begin with, a number follows (cam-)",
       [&o](const std::string& value) { return parse_prefix(value, o); }},
  };
  all.insert(all.end(), std::begin(fleet), std::end(fleet));
  bus::add_broker_file_options(all);
  const Option run[] = {
      {"--script", "FILE", "run the commands in FILE first", keeps(o.script)},
      {"--seed", "N", "start of the random numbers; a fresh one otherwise",
       [&o](const std::string& value) { return parse_number(value, o.seed.emplace()); }},
      {"--force", nullptr, "serve although another simulated camera serves the bus", sets(o.force)},
      {"--verbose", nullptr, "print one line for each request, reply and notification",
       sets(o.verbose)},
      {"--help", nullptr, "print this and exit", sets(o.help)},
      {"--version", nullptr, "print the version and exit", sets(o.version)},
  };
  all.insert(all.end(), std::begin(run), std::end(run));
  return all;
}

std::string wording_of(const OptionFault& fault) {
  switch (fault.kind) {
    case OptionFault::kTakesNoValue: return fault.name + " takes no value";
    case OptionFault::kNeedsValue: return fault.name + " needs " + fault.wanted;
    case OptionFault::kBadValue:
      return fault.name + " needs " + fault.wanted + ", not \"" + fault.value + "\"";
    default: return "unknown option " + fault.argument;
  }
}

}  // namespace

std::string parse_options(const std::vector<std::string>& arguments, SimOptions& options) {
  const auto fault = vlm::host::read_arguments(arguments, {table(options), nullptr});
  if (fault) return wording_of(*fault);
  const bool alone = !options.script.empty() || !options.media.empty() || options.force;
  if (options.fleet != 0 && alone) return "--script, --media and --force are for one camera";
  return "";
}

std::string options_help() {
  SimOptions unused;
  return "Usage: camera_sim [OPTION]...\n"
         "Plays the camera and its streaming process on the message bus.\n\n" +
         vlm::host::options_help(table(unused), 29) +
         "\nCommands on standard input: see \"help\" there.\n";
}

}  // namespace vlm::sim
