// What the console's start costs, and how much memory it takes, beside a trivial C++ program that
// starts one thread and prints a line:
//
//   start_trivial, memory_trivial   that program
//   start_shared, memory_shared     vlm_test -h with the C++ library of the system
//   start_linked, memory_linked     vlm_test -h with the C++ library linked in
//
// A start is the time from the spawn to the end, on one core; memory is the most that was resident when
// the program, started without arguments, has printed and waits for input.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
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

/// Starts the program, with its standard output to the descriptor `output` and its input from `input`.
pid_t start(const char* program, const char* argument, int input, int output) {
  const std::array<const char*, 3> arguments = {program, argument, nullptr};
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  pid_t pid = -1;
  errno = posix_spawn(&pid, program, &actions, nullptr, const_cast<char* const*>(arguments.data()),
                      environ);
  posix_spawn_file_actions_destroy(&actions);
  if (errno != 0) give_up(program);
  return pid;
}

void await_end(const char* program, pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) give_up(program);
}

void run_once(const char* program) {
  static const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  await_end(program, start(program, "-h", null, null));
}

/// The most KiB that the program had when it waits for input. The system's own figure for a process
/// that has ended would count what it had before it became this program.
double kib_of(const char* program) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) give_up("pipe");
  const pid_t pid = start(program, nullptr, input[0], output[1]);
  char first = 0;
  if (read(output[0], &first, 1) != 1) give_up(program);
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  double kib = 0;
  for (std::string word; status >> word && kib == 0;) {
    if (word == "VmHWM:") status >> kib;
  }
  for (const int end : {input[0], input[1], output[1]}) close(end);
  await_end(program, pid);
  close(output[0]);
  return kib;
}

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  Contender contenders[] = {
      {"trivial", TRIVIAL_PROGRAM}, {"shared", CONSOLE_SHARED}, {"linked", CONSOLE_LINKED}};
  for (const Contender& contender : contenders) run_once(contender.program);
  take_turns(contenders, rounds, [](Contender& contender, int part) {
    measure(part, contender.microseconds, [&] { run_once(contender.program); });
    contender.kib.push_back(kib_of(contender.program));
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
