// Command line of the simulator: one table, from which the help is printed too.
#ifndef CAMERA_SIM_SIM_OPTIONS_H
#define CAMERA_SIM_SIM_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "camera_storage.h"
#include "sim_faults.h"

namespace vlm::sim {

struct SimOptions {
  bool thermal = false;
  bool live = false;
  u32 card_kib = kCardKib;
  std::string script;           // empty: none
  std::string media;            // empty: pictures are not kept
  unsigned fleet = 0;           // cameras behind a broker; 0: one, on a bus of this machine
  std::string prefix = "cam-";  // of their names
  bool verbose = false;
  bool force = false;
  bool help = false;
  bool version = false;
  std::optional<u64> seed;
  FaultPlan faults;
};

/// Reads `arguments`, the program's name left out; "--name value" and "--name=value" both serve.
/// Returns an empty text, or what is wrong.
std::string parse_options(const std::vector<std::string>& arguments, SimOptions& options);

/// What --help prints.
std::string options_help();

}  // namespace vlm::sim

#endif  // CAMERA_SIM_SIM_OPTIONS_H
