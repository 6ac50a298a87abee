// Measures the time report on a log of a million lines: seconds and memory of the real program,
// beside the bare reading of the same files.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "contest.h"
#include "temporary_directory.h"
#include "time_log_writer.h"

namespace {

constexpr int kLines = 1'000'000;
constexpr int kRuns = 5;
constexpr long kMostKib = 20 * 1024;

struct Options {
  int runs = kRuns;
  bool check_memory = false;
};

struct Measurement {
  double seconds;
  long max_rss_kib;
};

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One fault of each kind, so that no part of the report is left out.
void write_log(const std::string& directory) {
  TimeLogWriter log(directory);
  log.intervals(card_intervals())
      .lines(kLines / 2)
      .clock_moves(2'300'000)
      .lines(kLines / 4)
      .clock_moves(-3'600'000'000)
      .lines(kLines / 4);
}

Measurement run_report(const std::string& directory, const std::string& picture) {
  const std::array<const char*, 6> arguments = {VLM_TIME_REPORT, "--json",          "--svg",
                                                picture.c_str(), directory.c_str(), nullptr};
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = -1;
  const int error = posix_spawn(&pid, VLM_TIME_REPORT, &actions, nullptr,
                                const_cast<char* const*>(arguments.data()), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error(std::strerror(error));
  int status = 0;
  rusage usage{};
  wait4(pid, &status, 0, &usage);
  const double seconds = seconds_since(start);
  constexpr int kFaultsFound = 3;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != kFaultsFound) {
    throw std::runtime_error("the report did not find the faults");
  }
  return {seconds, usage.ru_maxrss};
}

/// Seconds to read all files and look for line ends: what any report must do.
double read_bare(const std::string& directory) {
  std::vector<char> buffer(65'536);
  long lines = 0;
  const auto start = std::chrono::steady_clock::now();
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    const int fd = open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
    ssize_t size = 0;
    while ((size = read(fd, buffer.data(), buffer.size())) > 0) {
      lines += std::count(buffer.begin(), buffer.begin() + size, '\n');
    }
    close(fd);
  }
  if (lines != kLines) throw std::runtime_error("the log is not whole");
  return seconds_since(start);
}

/// In a row, of nanoseconds a line.
void add(vlm::bench::Result& row, double seconds) { row.samples.push_back(seconds * 1e9 / kLines); }

int run(const Options& options) {
  const TemporaryDirectory dir;
  dir.make_dir("log_time_dir");
  const std::string log_dir = dir / "log_time_dir";
  write_log(log_dir);
  std::vector<vlm::bench::Result> rows{{"time_read_a_line", "ns", {}},
                                       {"time_report_a_line", "ns", {}}};
  long max_rss_kib = 0;
  for (int i = 0; i < options.runs; ++i) {
    add(rows[0], read_bare(log_dir));
    const auto measured = run_report(log_dir, dir / "picture.svg");
    add(rows[1], measured.seconds);
    max_rss_kib = std::max(max_rss_kib, measured.max_rss_kib);
  }
  vlm::bench::print_rows(stdout, std::move(rows));
  const bool small = max_rss_kib < kMostKib;
  std::printf("max RSS %ld KiB (limit %ld KiB: %s)\n", max_rss_kib, kMostKib,
              small ? "kept" : "BROKEN");
  return options.check_memory && !small ? EXIT_FAILURE : EXIT_SUCCESS;
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--check-memory") {
      options.check_memory = true;
    } else if (argument == "--runs" && i + 1 < argc) {
      const std::string_view value = argv[++i];
      const auto* const end = value.data() + value.size();
      const auto [rest, fault] = std::from_chars(value.data(), end, options.runs);
      if (fault != std::errc{} || rest != end || options.runs < 1) return false;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) try {
  const std::string_view first = argc == 2 ? argv[1] : "";
  constexpr const char* kUsage =
      "usage: time_report_bench [--runs N] [--check-memory]\n"
      "  --runs N        reports on the log N times (5)\n"
      "  --check-memory  fails when the report took more memory than it may\n"
      "  --help          prints this help and ends\n"
      "  --version       prints the version and ends\n";
  if (first == "--help" || first == "--version") {
    std::fputs(first == "--help" ? kUsage : "time_report_bench " VLM_VERSION "\n", stdout);
    return EXIT_SUCCESS;
  }
  Options options;
  if (parse(argc, argv, options)) return run(options);
  std::fputs(kUsage, stderr);
  return 2;
} catch (const std::exception& error) {
  std::fprintf(stderr, "time_report_bench: %s\n", error.what());
  return EXIT_FAILURE;
}
