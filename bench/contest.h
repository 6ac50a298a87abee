// A contest: contenders that take turns, block by block, so that what else the machine does meets all
// of them alike; and the program around it.
#ifndef BENCH_CONTEST_H
#define BENCH_CONTEST_H

#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "options.h"
#include "reason.h"

namespace vlm::bench {

/// Ends the program, with the reason in errno.
[[noreturn]] inline void give_up(const char* what) {
  std::fprintf(stderr, "%s: %s: %s\n", program_invocation_short_name, what, host::reason().c_str());
  std::exit(1);
}

/// Runs `body` `rounds` times and adds to `samples` how many microseconds each took.
template <typename Body>
void measure(int rounds, std::vector<double>& samples, Body body) {
  using Clock = std::chrono::steady_clock;
  for (int i = 0; i < rounds; ++i) {
    const auto start = Clock::now();
    body();
    samples.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
}

/// Gives each of `contenders` its `rounds`, in 20 blocks: `run(contender, part of the rounds)`.
template <typename Contenders, typename Run>
void take_turns(Contenders& contenders, int rounds, Run run) {
  constexpr int kBlocks = 20;
  for (int done = 0, block = 1; block <= kBlocks; ++block) {
    const int until = static_cast<int>(static_cast<long>(rounds) * block / kBlocks);
    for (auto& contender : contenders) run(contender, until - done);
    done = until;
  }
}

/// The sample that `share` of all, which are sorted, do not exceed.
inline double quantile(const std::vector<double>& sorted, double share) {
  return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

/// Sends standard output to the file `path`, line by line as the programs write it, and returns where
/// it went before.
inline std::FILE* divert_output(const std::string& path) {
  std::FILE* const results = fdopen(dup(STDOUT_FILENO), "w");
  if (results == nullptr || std::freopen(path.c_str(), "w", stdout) == nullptr) give_up("output");
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  return results;
}

/// What the help of a contest says.
struct Program {
  std::string name;
  std::string purpose;
  const char* rounds;  // what --rounds gives
  std::string version;
};

/// Reads the options and runs the contest with their number of rounds. Returns the exit status.
inline int contest_main(int argc, char** argv, const Program& program, void (*run)(int rounds)) {
  int rounds = 20000;
  bool help = false;
  bool version = false;
  const auto parse_rounds = [&rounds](const std::string& text) {
    const char* const end = text.data() + text.size();
    const auto [rest, fault] = std::from_chars(text.data(), end, rounds);
    return fault == std::errc{} && rest == end && rounds >= 1 && rounds <= 10'000'000;
  };
  const std::vector<host::Option> options = {
      {"--rounds", "N", program.rounds, parse_rounds},
      {"--help", nullptr, "show this text", host::sets(help), nullptr, true},
      {"--version", nullptr, "show the version", host::sets(version), nullptr, true},
  };
  const auto fault = host::read_arguments(host::arguments_of(argc, argv), {options, nullptr});
  const std::string usage = "Usage: " + program.name + " [--rounds N]\n" + program.purpose +
                            "\n\n" + host::options_help(options, 11);
  if (fault) {
    std::fprintf(stderr, "%s: wrong usage\n%s", program.name.c_str(), usage.c_str());
    return 2;
  }
  if (help) return std::fputs(usage.c_str(), stdout) < 0;
  if (version) return std::puts((program.name + ' ' + program.version).c_str()) < 0;
  run(rounds);
  return 0;
}

}  // namespace vlm::bench

#endif  // BENCH_CONTEST_H
