// The simulated camera as a program.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <utility>

#include "process.h"

namespace {

class CameraSimProgram : public testing::Test {
 protected:
  std::unique_ptr<Process> start(std::vector<std::string> options = {},
                                 Process::Terminal terminal = Process::kPipe) const {
    options.insert(options.begin(), program("camera_sim"));
    return std::make_unique<Process>(options, std::vector<std::string>{"VLM_BUS_DIR=" + bus},
                                     terminal);
  }
  std::unique_ptr<Process> start_ready(std::vector<std::string> options = {}) const {
    auto camera = start(std::move(options));
    camera->read_until("camera_sim: ready");
    camera->read_until("\n");
    return camera;
  }
  /// In the directory of this test, with what a shell does to its input.
  std::unique_ptr<Process> start_in_shell(const std::string& redirection,
                                          const std::string& before = "") const {
    const std::string command = "cd " + directory.path() + " && " + before + "exec " +
                                program_in_shell("camera_sim") + " --seed 1 " + redirection +
                                " 2>&1";
    return std::make_unique<Process>(std::vector<std::string>{"/bin/sh", "-c", command},
                                     std::vector<std::string>{"VLM_BUS_DIR=" + bus});
  }
  std::string refusal_because_of(const Process& camera) const {
    return "camera_sim: process " + std::to_string(camera.pid()) + " serves the bus " + bus +
           " already; --force goes on\n";
  }

  TemporaryDirectory directory;
  const std::string bus = directory / "bus";
};

TEST_F(CameraSimProgram, RefusesABusThatAnotherOneServes) {
  const auto first = start_ready();
  const auto second = start();
  EXPECT_EQ(second->wait(), 1);
  EXPECT_EQ(second->read_all(), "");
  EXPECT_EQ(second->errors(), refusal_because_of(*first));
}

TEST_F(CameraSimProgram, GoesOnBesideAnotherOneByForce) {
  const auto first = start_ready();
  const auto second = start_ready({"--force"});
  EXPECT_EQ(second->errors(), "");
}

TEST_F(CameraSimProgram, RefusesABusWhoseCameraIsStopped) {
  const auto first = start_ready();
  first->signal(SIGSTOP);
  const auto second = start();
  EXPECT_EQ(second->wait(), 1);
  EXPECT_EQ(second->errors(), refusal_because_of(*first));
}

TEST_F(CameraSimProgram, TakesOverFromOneThatWasKilled) {
  const auto first = start_ready();
  first->signal(SIGKILL);
  first->wait();
  const auto second = start_ready();
  EXPECT_EQ(second->errors(), "");
}

TEST_F(CameraSimProgram, OfManyThatStartAtOnceOneServes) {
  std::vector<std::unique_ptr<Process>> all;
  for (int i = 0; i < 8; ++i) all.push_back(start());
  int serving = 0;
  for (const auto& camera : all) {
    // Each says that it is ready, or ends: its output then.
    camera->close_input();
    try {
      camera->read_until("camera_sim: ready");
      ++serving;
    } catch (const std::runtime_error&) {
      EXPECT_EQ(camera->wait(), 1);
      EXPECT_NE(camera->errors().find(" already; --force goes on\n"), std::string::npos);
    }
  }
  EXPECT_EQ(serving, 1);
}

TEST_F(CameraSimProgram, CannotLockWhatIsNoFile) {
  std::filesystem::create_directories(bus);
  std::filesystem::permissions(bus, std::filesystem::perms::owner_all);
  std::filesystem::create_symlink(directory / "elsewhere", bus + "/camera_sim.lock");
  const auto camera = start();
  EXPECT_EQ(camera->wait(), 1);
  EXPECT_EQ(camera->errors(), "camera_sim: cannot lock " + bus +
                                  "/camera_sim.lock: Too many levels of symbolic links\n");
  EXPECT_FALSE(std::filesystem::exists(directory / "elsewhere"));
}

#ifdef NO_THREADS
TEST_F(CameraSimProgram, EndsWithStatus1WhereAThreadCannotBeMade) {
  for (int made = 0; made < 3; ++made) {
    Process camera({program("camera_sim")}, {"VLM_BUS_DIR=" + bus, "LD_PRELOAD=" NO_THREADS,
                                             "NO_THREADS_AFTER=" + std::to_string(made)});
    EXPECT_EQ(camera.wait(), 1);
    EXPECT_EQ(camera.errors(),
              "camera_sim: a thread cannot be made: Resource temporarily unavailable\n");
  }
}
#endif

TEST_F(CameraSimProgram, PromptsAtATerminalAlone) {
  const auto camera = start({"--seed", "1"}, Process::kPty);
  EXPECT_EQ(camera->read_until("camera_sim> "), "camera_sim: ready, seed 1\ncamera_sim> ");
  camera->write("card remove\n");
  EXPECT_EQ(camera->read_until("camera_sim> "), "card removed\ncamera_sim> ");
  camera->write("quit\n");
  EXPECT_EQ(camera->wait(), 0);

  const auto piped = start({"--seed", "1"});
  piped->write("card remove\nquit\n");
  EXPECT_EQ(piped->read_all(), "camera_sim: ready, seed 1\ncard removed\n");
}

TEST_F(CameraSimProgram, GivesUpALineWithoutAnEndAndServesOn) {
  const auto camera = start_in_shell("</dev/zero");
  EXPECT_EQ(camera->read_until("any more\n"),
            "camera_sim: ready, seed 1\n"
            "camera_sim: standard input is a line without an end, and is not read any more\n");
  Process console({program("vlm_test"), "1"}, {"VLM_BUS_DIR=" + bus});
  console.read_until("Recv GET_CAMERA_MODE Ack OK");
  camera->signal(SIGTERM);
  EXPECT_EQ(camera->wait(), 0);
}

TEST_F(CameraSimProgram, EndsOnASignalAlsoWhereItsInputNeverPauses) {
  const auto camera = start_in_shell("<input", "mkfifo input; yes state >input & ");
  camera->read_until("streaming");
  camera->signal(SIGTERM);
  camera->read_all();
  EXPECT_EQ(camera->wait(), 0);
}

TEST_F(CameraSimProgram, EndsOnASignalAlsoWhereNobodyTakesItsOutput) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer holds signals back while a thread waits in the C library";
#endif
  constexpr int kRoom = 4096;
  ASSERT_EQ(mkfifo((directory / "output").c_str(), 0600), 0);
  const int output = open((directory / "output").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(fcntl(output, F_SETPIPE_SZ, kRoom), kRoom);
  const auto camera = start_in_shell("--verbose >output");
  char ready[64];
  ASSERT_GT(read(output, ready, sizeof ready), 0);
  Process console({program("vlm_test")}, {"VLM_BUS_DIR=" + bus});
  for (int i = 0; i < 200; ++i) console.write("1\n");  // 200 lines and more, of some 30 bytes
  int waiting = 0;
  for (int ms = 0; waiting < kRoom - 256 && ms < kPlentyMs; ++ms) {
    usleep(1000);
    ASSERT_EQ(ioctl(output, FIONREAD, &waiting), 0);
  }
  EXPECT_GE(waiting, kRoom - 256);
  camera->signal(SIGTERM);
  EXPECT_EQ(camera->wait(), 0);
  close(output);
}

TEST_F(CameraSimProgram, KeepsPicturesInAFolder) {
  const auto camera = start_ready({"--media", directory / ""});
  Process console({program("vlm_test")}, {"VLM_BUS_DIR=" + bus});
  console.write("2 2\n3\n");
  console.read_until("received imageCaptured ack");
  console.read_until("IMG_0001.JPG");
  EXPECT_TRUE(std::filesystem::exists(directory / "DCIM/100MEDIA/IMG_0001.JPG"));
}

TEST_F(CameraSimProgram, RunsAScript) {
  const std::string script = directory / "script";
  std::ofstream(script) << "# a scenario\n\nset fan full\ncard free 10M\nafter 1ms card remove\n";
  const auto camera = start({"--script", script});
  EXPECT_EQ(camera->read_until("free\n"), "fan = full\n10240 KiB of the card are free\n");
  camera->read_until("card removed\n");
}

TEST_F(CameraSimProgram, RefusesAScriptThatIsWrong) {
  const std::string script = directory / "script";
  std::ofstream(script) << "state\neject\n";
  const auto camera = start({"--script", script});
  EXPECT_EQ(camera->wait(), 2);
  EXPECT_EQ(camera->errors(),
            "camera_sim: " + script + ":2: unknown command \"eject\"; \"help\" lists them\n");
  std::ofstream(script) << "state\n# " << std::string(500, 'x') << "\n" << std::string(500, 'x');
  const auto long_line = start({"--script", script});
  EXPECT_EQ(long_line->wait(), 2);
  EXPECT_EQ(long_line->errors(), "camera_sim: " + script + ":3: the line is too long\n");
  const auto endless = start({"--script", "/dev/zero"});
  EXPECT_EQ(endless->wait(), 2);
  EXPECT_EQ(endless->errors(), "camera_sim: /dev/zero: a line without an end\n");
  const auto without = start({"--script", script + "x"});
  EXPECT_EQ(without->wait(), 1);
  EXPECT_EQ(without->errors(), "camera_sim: " + script + "x: No such file or directory\n");
}

}  // namespace
