// What the idle prompt takes of the board's memory, beside a program that does nothing, and what the
// console does when there is too little.
//
// Resident memory (VmRSS) is compared: it does not depend on what else runs. A share of pages that
// other processes map too (Pss) or pages of its own alone would.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "process.h"
#include "temporary_directory.h"

namespace {

long resident_kib(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  const std::string label = "VmRSS:";
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, label.size(), label) == 0) return std::stol(line.substr(label.size()));
  }
  return 0;
}

constexpr int kStarts = 5;

/// How many pages of a file come at once depends on what the kernel has at hand.
long median(std::vector<long> sizes) {
  std::nth_element(sizes.begin(), sizes.begin() + kStarts / 2, sizes.end());
  return sizes[kStarts / 2];
}

long idle_program_kib() {
  Process idle({program("idle_program")});
  idle.read_until("ready\n");
  return resident_kib(idle.pid());
}

/// Taken when the listener has subscribed as well.
long prompt_kib() {
  const TemporaryDirectory directory;
  const std::vector<std::string> environment{"VLM_BUS_DIR=" + (directory / "bus")};
  Process console({program("vlm_test")}, environment);
  console.read_until("Please input cmd below:");
  Process probe({program("vlm_bus_probe"), "velmar_udp_repeater", "--wait", "20000"}, environment);
  EXPECT_EQ(probe.wait(), 0);
  return resident_kib(console.pid());
}

TEST(Memory, OfTheIdlePromptIsAtMostHalfAsMuchAgainAsThatOfAProgramThatDoesNothing) {
  std::vector<long> idle(kStarts);
  std::vector<long> prompt(kStarts);
  std::generate(idle.begin(), idle.end(), idle_program_kib);
  std::generate(prompt.begin(), prompt.end(), prompt_kib);
  std::printf("resident: the prompt %ld KiB, an idle program %ld KiB\n", median(prompt),
              median(idle));
  EXPECT_GT(median(idle), 0);
  EXPECT_LE(median(prompt) * 2, median(idle) * 3);
}

TEST(Memory, TooShortForAListenerLeavesTheConsoleRunning) {
  const TemporaryDirectory directory;
  // No stack of this size fits into memory: no thread can be made.
  const std::string line = "ulimit -s 100000000000 && exec " + program_in_shell("vlm_test") + "6";
  Process console({"/bin/sh", "-c", line}, {"VLM_BUS_DIR=" + (directory / "bus")});
  EXPECT_EQ(console.read_all(),
            "get_camera_status() is ready.\n"
            "Send GET_CAMERA_STATUS\n"
            "error: LCM request GET_CAMERA_STATUS timeout waiting for answer\n"
            "LCM request GET_CAMERA_STATUS failed with: VLM is timeout\n\n");
  EXPECT_EQ(console.errors(),
            "vlm_test: cannot start the bus listener: Resource temporarily unavailable\n"
            "vlm_bus: no camera on bus " +
                (directory / "bus") + ": nobody subscribes velmar_repeater_udp\n");
  EXPECT_EQ(console.wait(), 0);
}

}  // namespace
