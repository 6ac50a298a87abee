// What a command of vlmctl costs from its start to its end, camera and program on one core:
//
//   vlmctl_version   prints its version: no bus, no camera
//   vlmctl_get       get lens.zoom
//   vlmctl_get_all   get --all, every setting and reading that the camera has
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"
#include "process.h"

namespace {

using namespace vlm::bench;

struct Command {
  const char* name;
  std::vector<std::string> arguments;
  std::vector<double> samples{};
};

void run_once(const Command& command) {
  Process vlmctl(command.arguments);
  const std::string output = vlmctl.read_all();
  if (vlmctl.wait() == 0 && !output.empty()) return;
  std::fprintf(stderr, "%s: %s\n", command.name, vlmctl.errors().c_str());
  std::exit(1);
}

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  start_simulated_camera();
  await_subscriber(kRequestChannel);
  const std::string vlmctl = program("vlmctl");
  std::vector<Command> commands = {
      {"vlmctl_version", {vlmctl, "--version"}},
      {"vlmctl_get", {vlmctl, "get", "lens.zoom"}},
      {"vlmctl_get_all", {vlmctl, "get", "--all"}},
  };
  for (const Command& command : commands) run_once(command);
  take_turns(commands, rounds, [](Command& command, int part) {
    measure(part, command.samples, [&] { run_once(command); });
  });
  std::vector<Result> results;
  for (Command& command : commands) {
    results.push_back({command.name, "us", std::move(command.samples)});
  }
  print_rows(stdout, std::move(results));
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(argc, argv,
                      {"vlmctl_bench", "Measures commands of vlmctl, start and end included.",
                       "runs of each, 1 to 10000000 (default 200)", 200},
                      run);
}
