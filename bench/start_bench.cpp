// What the console's start costs, and how much memory it takes, beside a trivial C++ program that
// starts one thread and prints a line:
//
//   start_trivial, memory_trivial   that program
//   start_shared, memory_shared     vlm_test -h with the C++ library of the system
//   start_linked, memory_linked     vlm_test -h with the C++ library linked in
//
// A start is the time from the spawn to the end, on one core; memory is the most that was resident.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"

namespace {

using namespace vlm::bench;

struct Contender {
  const char* name;
  const char* program;
  std::vector<double> microseconds{};
  std::vector<double> kib{};
};

/// Runs the program once and waits for its end; returns the most KiB that it had.
double run_once(const char* program) {
  const std::array<const char*, 3> arguments = {program, "-h", nullptr};
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  errno = posix_spawn(&pid, program, &actions, nullptr, const_cast<char* const*>(arguments.data()),
                      environ);
  posix_spawn_file_actions_destroy(&actions);
  if (errno != 0) give_up(program);
  int status = 0;
  rusage usage{};
  wait4(pid, &status, 0, &usage);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) give_up(program);
  return static_cast<double>(usage.ru_maxrss);
}

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  Contender contenders[] = {
      {"trivial", TRIVIAL_PROGRAM}, {"shared", CONSOLE_SHARED}, {"linked", CONSOLE_LINKED}};
  for (const Contender& contender : contenders) run_once(contender.program);
  take_turns(contenders, rounds, [](Contender& contender, int part) {
    measure(part, contender.microseconds,
            [&] { contender.kib.push_back(run_once(contender.program)); });
  });
  std::vector<Result> starts;
  std::vector<Result> memory;
  for (Contender& contender : contenders) {
    starts.push_back(
        {std::string("start_") + contender.name, "us", std::move(contender.microseconds)});
    memory.push_back({std::string("memory_") + contender.name, "KiB", std::move(contender.kib)});
  }
  print_rows(stdout, std::move(starts));
  print_rows(stdout, std::move(memory));
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(argc, argv,
                      {"start_bench", "Measures the console's start and memory.",
                       "starts of each kind, 1 to 10000000 (default 500)", 500},
                      run);
}
