// A contest: contenders that take turns, block by block, so that what else the machine does meets all
// of them alike; what it prints; and the program around it.
//
// A program prints a row for each contender. Figures are times, or amounts, of which less is better:
//
//   name    unit    min  median  p99  limit  ratio
//
// where `limit` names the row that it is compared with, the first of its block, and `ratio` is its
// median beside that one's. bench/report.py reads these rows.
#ifndef BENCH_CONTEST_H
#define BENCH_CONTEST_H

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

/// Leaves this process, and all that it starts from now on, one core.
inline void pin_to_one_core() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) give_up("sched_getaffinity");
  int core = CPU_SETSIZE - 1;  // the last: interrupts prefer the first
  while (!CPU_ISSET(core, &allowed)) --core;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(core, &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) give_up("sched_setaffinity");
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

/// What a contender has shown.
struct Result {
  std::string name;
  const char* unit;
  std::vector<double> samples;
};

/// Prints a block of rows: the first is what the others are compared with.
inline void print_rows(std::FILE* out, std::vector<Result> results) {
  std::fprintf(out, "%-24s %-4s %10s %10s %10s  %-18s %6s\n", "", "", "min", "median", "p99",
               "limit", "ratio");
  double limit = 0;
  for (Result& result : results) {
    std::sort(result.samples.begin(), result.samples.end());
    const double median = quantile(result.samples, 0.5);
    if (limit == 0) limit = median;
    std::fprintf(out, "%-24s %-4s %10.3f %10.3f %10.3f  %-18s %6.3f\n", result.name.c_str(),
                 result.unit, result.samples.front(), median, quantile(result.samples, 0.99),
                 results.front().name.c_str(), median / limit);
  }
  std::fflush(out);
}

/// Sends standard output to the file `path`, as the programs write it, and returns where it went
/// before.
inline std::FILE* divert_output(const std::string& path) {
  std::FILE* const results = fdopen(dup(STDOUT_FILENO), "w");
  if (results == nullptr || std::freopen(path.c_str(), "w", stdout) == nullptr) give_up("output");
  static char buffer[16384];
  std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
  return results;
}

/// What the help of a contest says.
struct Program {
  std::string name;
  std::string purpose;
  const char* rounds;  // what --rounds gives
  int default_rounds;
};

/// Reads the options and runs the contest with their number of rounds. Returns the exit status.
inline int contest_main(int argc, char** argv, const Program& program, void (*run)(int rounds)) {
  int rounds = program.default_rounds;
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
  if (version) return std::puts((program.name + " " VLM_VERSION).c_str()) < 0;
  run(rounds);
  return 0;
}

}  // namespace vlm::bench

#endif  // BENCH_CONTEST_H
