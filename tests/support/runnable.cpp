#include "runnable.h"

std::vector<std::string> runnable(std::vector<std::string> command) {
  static const std::vector<std::string> emulator{VLM_EMULATOR};
  const std::string build = VLM_BUILD_DIR "/";
  if (command.front().compare(0, build.size(), build) == 0) {
    command.insert(command.begin(), emulator.begin(), emulator.end());
  }
  return command;
}
