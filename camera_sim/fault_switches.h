// The switches of the faults: each is an option of the program ("--NAME VALUE") and a command of its
// operator ("NAME VALUE").
#ifndef CAMERA_SIM_FAULT_SWITCHES_H
#define CAMERA_SIM_FAULT_SWITCHES_H

#include <string>
#include <vector>

#include "sim_faults.h"

namespace vlm::sim {

struct FaultSwitch {
  const char* name;
  const char* value;  // what it takes
  const char* help;
  bool (*apply)(const std::string& value, FaultPlan& plan);  // false: not such a value
};

/// All of them, in the order of the help.
const std::vector<FaultSwitch>& fault_switches();

}  // namespace vlm::sim

#endif  // CAMERA_SIM_FAULT_SWITCHES_H
