// vlmctl as a program, with a simulated camera on a bus of its own: each exit status by its cause.

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <memory>

#include "process.h"
#include "udp_service_program.h"

namespace {

class VlmctlProgram : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  void start_camera(Words options = {}) {
    options.insert(options.begin(), program("camera_sim"));
    camera = std::make_unique<Process>(options, environment);
    camera->read_until("camera_sim: ready");
  }
  std::unique_ptr<Process> start(Words arguments, Process::Terminal terminal = Process::kPipe) {
    arguments.insert(arguments.begin(), program("vlmctl"));
    return std::make_unique<Process>(arguments, environment, terminal);
  }
  /// Its exit status; what it wrote is in `out` and `err`.
  int run(const Words& arguments) {
    const auto process = start(arguments);
    process->close_input();
    out = process->read_all();
    const int status = process->wait();
    err = process->errors();
    return status;
  }

  TemporaryDirectory directory;
  std::vector<std::string> environment{"VLM_BUS_DIR=" + (directory / "bus")};
  std::unique_ptr<Process> camera;
  std::string out;
  std::string err;
};

TEST_F(VlmctlProgram, Status0WhenDone) {
  start_camera();
  EXPECT_EQ(run({"get", "camera.mode"}), 0);
  EXPECT_EQ(out, "camera.mode = video\n");
  EXPECT_EQ(run({"set", "video=1280x720@25", "exposure.shutter=1/250", "--verify"}), 0) << err;
  EXPECT_EQ(run({"get", "video", "exposure"}), 0);
  EXPECT_EQ(out, "video = 1280x720@25\nexposure = shutter=1/250,iso=100\n");
  EXPECT_EQ(err, "");
}

TEST_F(VlmctlProgram, Status1WhenTheCameraRefused) {
  start_camera();
  EXPECT_EQ(run({"set", "white_balance.custom=50"}), 1);
  EXPECT_EQ(err,
            "vlmctl: white_balance.custom: the camera refused (needs white_balance.mode=custom): "
            "VLM err is not manual wb (69)\n");
}

TEST_F(VlmctlProgram, Status2WhenTheCommandLineIsWrong) {
  EXPECT_EQ(run({"nonsense"}), 2);
  EXPECT_EQ(run({"--camera", "nonsense", "get", "camera.mode"}), 2);
}

TEST_F(VlmctlProgram, Status3WithoutAnAnswer) {
  start_camera({"--mute", "1"});
  EXPECT_EQ(run({"--timeout", "30ms", "get", "camera.mode"}), 3);
  EXPECT_EQ(err, "vlmctl: camera.mode: no answer\n");
}

TEST_F(VlmctlProgram, Status4WhenTheCameraIsBusyToTheEnd) {
  start_camera({"--fail", "1=2"});
  EXPECT_EQ(run({"--retries", "2", "get", "camera.mode"}), 4);
  EXPECT_EQ(err, "vlmctl: camera.mode: the camera is busy: VLM busy (2)\n");
}

TEST_F(VlmctlProgram, Status5WhenNameOrValueAreNotAllowed) {
  EXPECT_EQ(run({"get", "camera.mod"}), 5);
  EXPECT_EQ(run({"set", "camera.mode=radio"}), 5);
  EXPECT_EQ(err, "vlmctl: camera.mode: \"radio\" is not allowed: video or photo\n");
}

TEST_F(VlmctlProgram, Status6WhenItCannotBeReadOrWritten) {
  start_camera();
  EXPECT_EQ(run({"get", "wifi.name"}), 6);
  EXPECT_EQ(run({"set", "camera.status=idle"}), 6);
}

TEST_F(VlmctlProgram, Status7WithoutABusOrACamera) {
  EXPECT_EQ(run({"get", "camera.mode"}), 7);
  EXPECT_EQ(err, "vlmctl: no camera on the bus\n");
  directory.write("file");
  EXPECT_EQ(run({"--camera", directory / "file", "get", "camera.mode"}), 7);
}

TEST_F(VlmctlProgram, Status7WhereAThreadCannotBeMade) {
  start_camera();
  for (int made = 0; made < 2; ++made) {
    Process vlmctl(
        {program("vlmctl"), "get", "camera.mode"},
        {environment[0], "LD_PRELOAD=" NO_THREADS, "NO_THREADS_AFTER=" + std::to_string(made)});
    EXPECT_EQ(vlmctl.wait(), 7);
    EXPECT_EQ(vlmctl.errors(),
              "vlmctl: a thread cannot be made: Resource temporarily unavailable\n");
  }
}

TEST_F(VlmctlProgram, Status8WhenItReadsBackDifferently) {
  // The lens of a live camera takes its time.
  start_camera({"--live"});
  EXPECT_EQ(run({"set", "lens.zoom=30", "--verify"}), 8);
  EXPECT_EQ(err.rfind("vlmctl: lens.zoom: set to 30 x, but reads ", 0), 0U) << err;
}

TEST_F(VlmctlProgram, Status9WhenPartOfSeveralFailed) {
  start_camera();
  EXPECT_EQ(run({"get", "camera.mode", "thermal.palette"}), 9);
  EXPECT_EQ(out, "camera.mode = video\n");
}

TEST_F(VlmctlProgram, Status9WhenTheOutputCannotBeWritten) {
  Process full({"/bin/sh", "-c", program_in_shell("vlmctl") + "list >/dev/full"});
  EXPECT_EQ(full.wait(), 9);
  EXPECT_EQ(full.errors(), "vlmctl: standard output: No space left on device\n");
  Process help({"/bin/sh", "-c", program_in_shell("vlmctl") + "--help >/dev/full"});
  EXPECT_EQ(help.wait(), 9);
  EXPECT_EQ(help.errors(), "vlmctl: standard output: No space left on device\n");
}

TEST_F(VlmctlProgram, Status9WhenTheOutputIsClosed) {
  start_camera();
  Process closed({"/bin/sh", "-c", program_in_shell("vlmctl") + "get camera.mode >&-"},
                 environment);
  EXPECT_EQ(closed.wait(), 9);
  EXPECT_EQ(closed.errors(), "vlmctl: standard output: Bad file descriptor\n");
}

TEST_F(VlmctlProgram, Status10WhenSettingsDiffer) {
  start_camera();
  EXPECT_EQ(run({"save", directory / "all"}), 0);
  EXPECT_EQ(run({"diff", directory / "all"}), 0);
  EXPECT_EQ(run({"set", "image.osd=on"}), 0);
  EXPECT_EQ(run({"diff", directory / "all"}), 10);
  EXPECT_EQ(out, "image.osd: off | on\n");
  EXPECT_EQ(run({"restore", directory / "all"}), 0);
  EXPECT_EQ(run({"diff", directory / "all"}), 0);
}

TEST_F(VlmctlProgram, Status11WhenWhatIsWaitedForDoesNotCome) {
  start_camera();
  EXPECT_EQ(run({"wait", "camera.mode=photo", "--for", "20ms"}), 11);
}

TEST_F(VlmctlProgram, HearsEvents) {
  start_camera();
  const auto events = start({"events", "--count", "1", "--for", "20s"});
  // When it begins to listen cannot be seen: the mode goes back and forth until it has heard.
  siginfo_t ended{};
  for (int i = 0; ended.si_pid == 0 && i < 1000; ++i) {
    EXPECT_EQ(run({"set", i % 2 == 0 ? "camera.mode=photo" : "camera.mode=video"}), 0);
    waitid(P_PID, static_cast<id_t>(events->pid()), &ended, WEXITED | WNOHANG | WNOWAIT);
  }
  EXPECT_NE(events->read_all().find("Z mode-changed\n"), std::string::npos);
  EXPECT_EQ(events->wait(), 0);
}

TEST_F(VlmctlProgram, EventsWhoseTimeIsOverEndWithStatus0) {
  start_camera();
  EXPECT_EQ(run({"events", "--for", "10ms"}), 0);
  EXPECT_EQ(out, "");
}

TEST_F(VlmctlProgram, AsksOnATerminalBeforeWhatInterruptsTheCamera) {
  start_camera();
  const auto refused = start({"run", "camera.reboot"}, Process::kPty);
  refused->write("n\n");
  EXPECT_EQ(refused->wait(), 2);
  EXPECT_NE(refused->errors().find("Go on? [y/N]"), std::string::npos);
  EXPECT_EQ(run({"get", "camera.mode"}), 0);
  const auto done = start({"run", "camera.reboot"}, Process::kPty);
  done->write("y\n");
  EXPECT_EQ(done->wait(), 0);
  EXPECT_EQ(run({"wait", "camera.mode=video", "--for", "20s"}), 0);
  EXPECT_EQ(run({"run", "camera.reboot"}), 0);  // a script is taken at its word
}

TEST_F(VlmctlProgram, TellsTheStatesOfAnUpgrade) {
  start_camera();
  EXPECT_EQ(run({"run", "camera.upgrade", "--wait"}), 0);
  EXPECT_EQ(out, "camera.upgrade: done\n");
  EXPECT_NE(err.find("camera.upgrade: VLM err is upgrading quorin camera\n"), std::string::npos);
  EXPECT_EQ(run({"get", "camera.version.patch"}), 0);
  EXPECT_EQ(out, "camera.version.patch = 1\n");
}

TEST_F(VlmctlProgram, TakesNoAnswerToAnotherCommandForItsOwn) {
  start_camera({"--mute", "1"});
  directory.write("others", "repeat 1000000\nget lens.zoom\nend\n");
  const auto others = start({"batch", directory / "others"});
  others->read_until("lens.zoom = 1 x\n");  // whose answers go to everybody on the bus
  EXPECT_EQ(run({"--timeout", "300ms", "get", "camera.mode"}), 3);
  EXPECT_EQ(out, "");
  EXPECT_EQ(run({"get", "image.osd"}), 0);
  EXPECT_EQ(out, "image.osd = off\n");
}

TEST_F(VlmctlProgram, TwoAtOnceEachGetTheirOwn) {
  start_camera();
  directory.write("zoom", "repeat 100\nset lens.zoom=2 --verify\nset lens.zoom=3 --verify\nend\n");
  directory.write("osd",
                  "repeat 100\nset image.osd=on --verify\nset image.osd=off --verify\nend\n");
  const auto zoom = start({"batch", directory / "zoom"});
  const auto osd = start({"batch", directory / "osd"});
  zoom->read_all();
  osd->read_all();
  EXPECT_EQ(zoom->wait(), 0) << zoom->errors();
  EXPECT_EQ(osd->wait(), 0) << osd->errors();
}

// The camera dies in the middle of something. What is said of it comes with the output.

class VlmctlAndADyingCamera : public VlmctlProgram {
 protected:
  /// Starts what would go on for long, and kills the camera once it has printed `sign`.
  std::unique_ptr<Process> start_and_kill(const std::string& words, const std::string& sign) {
    auto process = std::make_unique<Process>(
        Words{"/bin/sh", "-c", "exec " + program_in_shell("vlmctl") + words + " 2>&1"},
        environment);
    process->read_until(sign);
    camera->kill_and_wait();
    return process;
  }
};

TEST_F(VlmctlAndADyingCamera, ARestoreStopsAtItsLineAndIsFinishedLater) {
  start_camera();
  ASSERT_EQ(run({"save", directory / "all"}), 0);
  camera->write("latency 150ms\n");
  const auto restore = start_and_kill("restore " + (directory / "all"), "(unchanged)\n");
  const std::string said = restore->read_all();
  EXPECT_EQ(said.substr(said.size() - std::min<std::size_t>(said.size(), 12)), ": no answer\n");
  EXPECT_EQ(restore->wait(), 9);  // some are restored
  start_camera();
  EXPECT_EQ(run({"set", "image.osd=on"}), 0);
  EXPECT_EQ(run({"restore", directory / "all"}), 0) << err;
  EXPECT_EQ(run({"diff", directory / "all"}), 0);
}

TEST_F(VlmctlAndADyingCamera, ABatchEndsWithTheFailedStep) {
  start_camera();
  directory.write("script", "repeat 1000000\nget lens.zoom\nend\n");
  const auto batch =
      start_and_kill("--timeout 1s batch " + (directory / "script"), "lens.zoom = 1 x\n");
  batch->read_until("vlmctl: lens.zoom: no answer\nvlmctl: line 2 ended with 3: get lens.zoom\n");
  EXPECT_EQ(batch->wait(), 3);
}

TEST_F(VlmctlAndADyingCamera, AWatchSaysSoAndGoesOnWithTheNextCamera) {
  start_camera();
  const auto watch =
      start_and_kill("--timeout 1s watch lens.zoom --every 1ms", "lens.zoom = 1 x\n");
  watch->read_until("vlmctl: lens.zoom: no answer\n");
  start_camera();
  watch->read_until("lens.zoom = 1 x\n");
}

TEST_F(VlmctlAndADyingCamera, AnUpgradeIsWaitedForNoLongerThanAllowed) {
  start_camera();
  const auto upgrade =
      start_and_kill("--timeout 1s run camera.upgrade --wait --for 2s", "is upgrading");
  upgrade->read_until("vlmctl: camera.upgrade: still no answer\n");
  EXPECT_EQ(upgrade->wait(), 11);
}

// What changes on a terminal; its standard error is the terminal, too.

class VlmctlProgress : public VlmctlProgram {
 protected:
  std::unique_ptr<Process> start_on_terminal(const std::string& words) {
    environment.push_back("TERM=xterm");
    return std::make_unique<Process>(
        Words{"/bin/sh", "-c", "exec " + program_in_shell("vlmctl") + words + " 2>&1"}, environment,
        Process::kPty);
  }
};

TEST_F(VlmctlProgress, OfAnUpgradeHasItsStateAndItsTime) {
  start_camera();
  const auto upgrade = start_on_terminal("run camera.upgrade --wait --yes");
  upgrade->read_until("\rcamera.upgrade, 0 s\033[K");
  upgrade->read_until("\rcamera.upgrade: VLM err is upgrading quorin camera, ");
  upgrade->read_until(" s\033[K");
  upgrade->read_until("\r\033[Kcamera.upgrade: done\n");
  EXPECT_EQ(upgrade->wait(), 0);
}

TEST_F(VlmctlProgress, OfASeriesCountsThePictures) {
  start_camera();
  EXPECT_EQ(run({"set", "camera.mode=photo", "photo.interval=200"}), 0);
  const auto series = start_on_terminal("run photo.take --wait");
  for (int pictures = 0; pictures < 2;) {
    series->read_until("\rphoto.take: capturing, pictures: ");
    pictures = std::stoi(series->read_until(", "));
  }
  EXPECT_EQ(run({"run", "photo.stop"}), 0);
  series->read_until("photo.take: done");
  EXPECT_EQ(series->wait(), 0);
}

TEST_F(VlmctlProgress, OfABatchHasStepsRateAndFailures) {
  start_camera();
  directory.write("script", "repeat 2\nget lens.zoom\nexpect lens.zoom=2\nend\n");
  const auto batch = start_on_terminal("batch " + (directory / "script") + " --keep-going");
  batch->read_until("1 steps, ");
  batch->read_until(" a second, 0 failed\033[K");
  batch->read_until("4 steps, ");
  batch->read_until(" a second, 2 failed\033[K");
  batch->read_until("\r\033[K");
}

TEST_F(VlmctlProgress, IsNotInAPipe) {
  start_camera();
  directory.write("script", "repeat 2\nget lens.zoom\nend\nrun camera.reboot\n");
  environment.push_back("TERM=xterm");
  EXPECT_EQ(run({"batch", directory / "script"}), 0);
  EXPECT_EQ(err, "");
  EXPECT_EQ(out, "lens.zoom = 1 x\nlens.zoom = 1 x\ncamera.reboot: done\n");
}

TEST_F(VlmctlProgram, FindsTheCamerasOfThisMachine) {
  start_camera();
  EXPECT_EQ(run({"list", "--cameras"}), 0) << err;
  EXPECT_NE(out.find(directory / "bus"), std::string::npos) << out;
  EXPECT_NE(out.find("  VLMSIM  1.4.0R\n"), std::string::npos) << out;
  EXPECT_EQ(run({"--json", "list", "--cameras"}), 0);
  EXPECT_NE(out.find("{\"camera\":\"" + (directory / "bus") +
                     "\",\"model\":\"VLMSIM\",\"firmware\":\"1.4.0R\",\"time\":\""),
            std::string::npos)
      << out;
}

TEST_F(VlmctlProgram, ABatchStopsARequestWhoseTimeIsOver) {
  start_camera({"--mute", "1"});
  directory.write("script", "within 1s get camera.mode\nget lens.zoom\n");
  EXPECT_EQ(run({"--timeout", "1h", "batch", directory / "script", "--keep-going"}), 9);
  EXPECT_EQ(out, "lens.zoom = 1 x\n");
  EXPECT_EQ(err,
            "vlmctl: get camera.mode: stopped before the answer came\n"
            "vlmctl: not done within 1s\n"
            "vlmctl: line 1 ended with 11: within 1s get camera.mode\n");
}

// The shell.

class VlmctlShell : public VlmctlProgram {
 protected:
  std::unique_ptr<Process> start_shell(Process::Terminal terminal, Words options = {}) {
    environment.push_back("XDG_STATE_HOME=" + (directory / "state"));
    environment.push_back("TERM=dumb");
    options.push_back("shell");
    return start(options, terminal);
  }
};

TEST_F(VlmctlShell, RunsLinesOfAPipeToItsEnd) {
  start_camera();
  const auto shell = start_shell(Process::kPipe);
  shell->write("get lens.zoom\n\n--json\nget --json image.osd\nset lens.zoom=99\n");
  shell->close_input();
  const std::string printed = shell->read_all();
  EXPECT_EQ(printed.rfind("lens.zoom = 1 x\n{\"name\":\"image.osd\",\"value\":false,", 0), 0U)
      << printed;
  EXPECT_EQ(shell->wait(), 5);
}

TEST_F(VlmctlShell, CompletesAtATerminalAndKeepsTheHistory) {
  start_camera();
  const auto shell = start_shell(Process::kPty);
  shell->read_until("vlmctl> ");
  shell->write("get lens.zo\t");  // lens.zoom or lens.zoom_drive, of which one can be read
  shell->write("\n");
  shell->read_until("lens.zoom = 1 x");
  shell->write("set wifi.password=hunter22\n");
  shell->read_until("(secret)");
  shell->write("exit\n");
  EXPECT_EQ(shell->wait(), 0);
  const std::string history = directory.read("state/vlmctl/history");
  EXPECT_NE(history.find("get"), std::string::npos);
  EXPECT_EQ(history.find("hunter"), std::string::npos);
}

TEST_F(VlmctlShell, AsksTheCameraNothingForACompletion) {
  start_camera({"--verbose"});
  const auto shell = start_shell(Process::kPty);
  shell->read_until("vlmctl> ");
  shell->write("get lens.zoom\n");
  shell->read_until("lens.zoom = 1 x");
  shell->write("set exposure.mode=\t");
  shell->read_until("exposure.mode=manual");
  shell->write("\x03get image.o\t\n");
  shell->read_until("image.osd = off");
  shell->write("exit\n");
  EXPECT_EQ(shell->wait(), 0);
  camera->write("quit\n");
  int requests = 0;
  while (const auto line = camera->line()) requests += line->rfind("-> ", 0) == 0 ? 1 : 0;
  EXPECT_EQ(requests, 2);
}

TEST_F(VlmctlShell, RefusesALineWithoutAnEnd) {
  const auto shell = start_shell(Process::kPipe);
  shell->write(std::string(70'000, 'x'));
  EXPECT_EQ(shell->wait(), 2);
  EXPECT_EQ(shell->errors(), "vlmctl: a line is too long\n");
}

TEST_F(VlmctlShell, CtrlCEndsTheCommandAndNotTheShell) {
  start_camera();
  const auto shell = start_shell(Process::kPty);
  shell->read_until("vlmctl> ");
  shell->write("watch lens.zoom --every 20ms\n");
  shell->read_until("lens.zoom = 1 x");
  shell->write("\x03");
  shell->read_until("vlmctl> ");
  shell->write("half a line\x03");
  shell->read_until("vlmctl> ");
  shell->write("get image.osd\n");
  shell->read_until("image.osd = off");
  shell->write("\x04");
  EXPECT_EQ(shell->wait(), 0);
}

TEST_F(VlmctlShell, CtrlCKeepsWhatIsTypedBehindIt) {
  start_camera();
  const auto shell = start_shell(Process::kPty);
  shell->read_until("vlmctl> ");
  shell->write("watch lens.zoom --every 20ms\n");
  shell->read_until("lens.zoom = 1 x");
  shell->write("\x03get image.osd\nget camera.mode\nexit\n");
  shell->read_until("image.osd = off");
  shell->read_until("camera.mode = video");
  EXPECT_EQ(shell->wait(), 0);
}

TEST_F(VlmctlShell, CtrlCEndsAWaitForTheCamera) {
  start_camera({"--mute", "1"});
  const auto shell = start_shell(Process::kPty, {"--timeout", "1h"});
  shell->read_until("vlmctl> ");
  shell->write("get image.osd camera.mode\n");
  shell->read_until("image.osd = off");
  shell->write("\x03get lens.zoom\n");
  shell->read_until("lens.zoom = 1 x");
  shell->write("exit\n");
  EXPECT_EQ(shell->wait(), 0);
}

TEST_F(VlmctlShell, CtrlCIsNoAnswerToAQuestion) {
  start_camera();
  environment.push_back("TERM=dumb");
  Process shell({"/bin/sh", "-c", "exec " + program_in_shell("vlmctl") + "shell 2>&1"}, environment,
                Process::kPty);
  shell.read_until("vlmctl> ");
  shell.write("run camera.reboot\n");
  shell.read_until("Go on? [y/N]");
  shell.write("\x03");
  shell.read_until("not confirmed, nothing was sent");
  shell.write("get lens.zoom\n");
  shell.read_until("lens.zoom = 1 x");
  shell.write("exit\n");
  EXPECT_EQ(shell.wait(), 0);
}

// Over the UDP service, with the real one between.

class VlmctlOverUdp : public UdpServiceProgram {
 protected:
  Outcome vlmctl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--camera", url});
    return run("vlmctl", arguments);
  }
  void start_all() {
    start_camera();
    url = "udp://127.0.0.1:" + std::to_string(start_service());
  }

  std::string url;
};

TEST_F(VlmctlOverUdp, ReadsAndWritesWhatTheServiceOffers) {
  start_all();
  for (const std::string assignment :
       {"video=1280x720@25", "photo.ratio=16:9", "white_balance.mode=sunny", "metering.mode=spot",
        "image.color_mode=vivid", "video.encoding=h265", "video.standard=pal",
        "camera.mode=photo"}) {
    EXPECT_EQ(vlmctl({"set", assignment}).status, 0) << assignment;
    const std::string name = assignment.substr(0, assignment.find('='));
    const std::string value = assignment.substr(name.size() + 1);
    // The bus tells what arrived.
    EXPECT_EQ(run("vlmctl", {"get", name}).output, name + " = " + value + "\n");
  }
  EXPECT_EQ(vlmctl({"get", "video", "photo.ratio", "camera.type", "camera.version"}).output,
            "video = 1280x720@25\nphoto.ratio = 16:9\ncamera.type = 11\n"
            "camera.version = module=VLMSIM,major=1,minor=4,patch=0,branch=R\n");
  EXPECT_EQ(vlmctl({"set", "metering.spot=10,20", "--verify"}).status, 0);
}

TEST_F(VlmctlOverUdp, WritesWhatTheServiceOnlyTakes) {
  start_all();
  for (const std::string assignment :
       {"exposure=shutter=1/250,iso=400", "exposure.ev=-1/3", "exposure.shutter_code=258",
        "photo=mode=bracket,count=5,ev_step=1/3,interval=1000", "photo.format=jpg+dng",
        "photo.quality=low", "video.file_format=mov", "exposure.mode=manual",
        "image.flicker=50hz"}) {
    EXPECT_EQ(vlmctl({"set", assignment}).status, 0) << assignment;
    const std::string name = assignment.substr(0, assignment.find('='));
    EXPECT_EQ(run("vlmctl", {"get", name})
                  .output.rfind(name + " = " + assignment.substr(name.size() + 1), 0),
              0U)
        << assignment;
  }
}

TEST_F(VlmctlOverUdp, NamesWhatThisWayCannotDo) {
  start_all();
  const Outcome zoom = vlmctl({"get", "lens.zoom"});
  EXPECT_EQ(zoom.status, 6);
  EXPECT_EQ(zoom.errors, "vlmctl: lens.zoom: it cannot be read over " + url + "\n");
  EXPECT_EQ(vlmctl({"set", "exposure.shutter=1/10"}).status, 6);  // its ISO cannot be read
  EXPECT_EQ(vlmctl({"run", "lens.autofocus"}).status, 6);
  EXPECT_EQ(vlmctl({"run", "photo.take", "--wait"}).status, 6);
  EXPECT_EQ(vlmctl({"events"}).status, 6);
  EXPECT_EQ(vlmctl({"ping"}).status, 6);
  EXPECT_EQ(vlmctl({"send", "1"}).status, 6);
}

TEST_F(VlmctlOverUdp, TellsRefusalsAndTheServicesOwnTimeOut) {
  start_all();
  EXPECT_EQ(vlmctl({"run", "photo.take"}).status, 1);
  EXPECT_EQ(vlmctl({"run", "recording.start"}).status, 0);
  EXPECT_EQ(vlmctl({"run", "recording.stop"}).status, 0);
  _camera.reset();
  EXPECT_EQ(vlmctl({"get", "camera.mode"}).status, 3);
  _service.reset();
  EXPECT_EQ(vlmctl({"get", "camera.mode"}).status, 7);
}

}  // namespace
