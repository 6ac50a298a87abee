// --help and --version of the programs around the console.

#include <gtest/gtest.h>

#include "process.h"

namespace {

constexpr const char* kTools[] = {"camera_sim",     "vlm_bus_monitor", "vlm_bus_probe",
                                  "vlm_bus_replay", "vlm_time_report", "vlm_udp_service"};

/// Runs a line of shell, so that it can redirect the output.
Process shell(const std::string& line) { return Process({"/bin/sh", "-c", line}); }

TEST(Help, IsShownWithStatus0) {
  for (const std::string tool : kTools) {
    Process help({program(tool), "--help"});
    EXPECT_NE(help.read_all().find("sage: " + tool + " "), std::string::npos) << tool;
    EXPECT_EQ(help.wait(), 0) << tool;
    Process version({program(tool), "--version"});
    EXPECT_EQ(version.read_all().rfind(tool + " ", 0), 0U);
    EXPECT_EQ(version.wait(), 0) << tool;
  }
}

TEST(Help, ThatCannotBeWrittenFailsWithStatus1AndSaysWhy) {
  for (const std::string tool : kTools) {
    for (const std::string option : {" --help", " --version"}) {
      Process full = shell(program_in_shell(tool) + option + " >/dev/full");
      EXPECT_EQ(full.wait(), 1) << tool << option;
      EXPECT_EQ(full.errors(), tool + ": standard output: No space left on device\n");
      Process closed = shell(program_in_shell(tool) + option + " >&-");
      EXPECT_EQ(closed.wait(), 1) << tool << option;
      EXPECT_EQ(closed.errors(), tool + ": standard output: Bad file descriptor\n");
    }
  }
}

}  // namespace
