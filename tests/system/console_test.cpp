// The console against the simulated camera: real processes, exact transcripts.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "pattern.h"
#include "process.h"
#include "transcript.h"

namespace {

const std::string kPrompt = "Please input cmd below:[cmd_type] [param0] [param1] ...\n";

/// What a successful request prints before the command's own line.
std::string exchange(const std::string& operation, const std::string& command,
                     const std::string& trace = "") {
  return operation + "() is ready.\n" + trace + "Send " + command + "\nLCM request " + command +
         " took: N ms, error 0\nfinish waiting for cmd " + command +
         " response. error code: 0\nRecv " + command + " Ack OK\n";
}

std::string timeout(const std::string& operation, const std::string& command,
                    const std::string& failed = "") {
  return operation + "() is ready.\nSend " + command + "\nerror: LCM request " + command +
         " timeout waiting for answer\nLCM request " + command + " failed with: VLM is timeout\n" +
         failed;
}

const std::string kModeTranscript =
    exchange("get_camera_mode", "GET_CAMERA_MODE") + "camera_mode = 1(1:video,2:photo)\n\n";

int occurrences(const std::string& text, const std::string& part) {
  int found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

class ConsoleTest : public testing::Test {
 protected:
  struct Outcome {
    std::string output;
    std::string errors;
    int status;
  };

  void start_camera(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments{program("camera_sim")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    camera = std::make_unique<Process>(arguments, environment());
    camera->read_until("camera_sim: ready");
    camera->read_until("\n");
  }

  std::unique_ptr<Process> start_console(const std::vector<std::string>& options = {},
                                         Process::Terminal terminal = Process::kPipe) {
    std::vector<std::string> arguments{program("vlm_test")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return std::make_unique<Process>(arguments, environment(), terminal);
  }

  /// Has a console at its prompt ask for the camera's mode until an answer comes: from then on its
  /// listener serves. Returns how often it has asked.
  static int ask_until_answered(Process& console) {
    for (int asked = 1;; ++asked) {
      console.write("1\n");
      if (console.read_until(kPrompt).find("timeout") == std::string::npos) return asked;
    }
  }

  /// Starts the console by a line of shell, in which it is $console.
  std::unique_ptr<Process> start_in_shell(const std::string& line) {
    auto variables = environment();
    variables.push_back("console=" + program_in_shell("vlm_test"));
    return std::make_unique<Process>(std::vector<std::string>{"/bin/sh", "-c", line}, variables);
  }

  /// Runs the console to its end on `input`.
  Outcome run(const std::vector<std::string>& options, const std::string& input = "") {
    const auto console = start_console(options);
    console->write(input);
    console->close_input();
    std::string output = without_durations(console->read_all());
    return {output, console->errors(), console->wait()};
  }

  std::vector<std::string> environment() const { return {"VLM_BUS_DIR=" + bus}; }

  TemporaryDirectory directory;
  std::string bus = directory / "bus";
  std::unique_ptr<Process> camera;
};

TEST_F(ConsoleTest, RunsOneCommandFromItsArguments) {
  start_camera();
  const Outcome outcome = run({"1"});
  EXPECT_EQ(outcome.output, kModeTranscript);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.status, 0);
}

TEST_F(ConsoleTest, TakesSixteenBitsOfACommandsNumber) {
  start_camera();
  EXPECT_EQ(run({"65537"}).output, kModeTranscript);
}

TEST_F(ConsoleTest, JoinsItsArgumentsToOneLine) {
  start_camera({"--fail", "37=75"});
  EXPECT_EQ(run({"37", "3", "4"}).output,
            "set_spot_metering_coords() is ready.\nset x_ratio  = 3,y_ratio = 4\nSend "
            "SET_SPOT_METERING_COORDS\nLCM request SET_SPOT_METERING_COORDS took: N ms, error "
            "75\nfinish waiting for cmd SET_SPOT_METERING_COORDS response. error code: 75\nLCM "
            "request SET_SPOT_METERING_COORDS failed with: VLM err invalid param\nset spot "
            "metering coords failed\n\n");
}

TEST_F(ConsoleTest, RunsTheLinesOfAPipeInOrder) {
  start_camera();
  const Outcome outcome = run({}, "2 2\n1\n3\nq\n");
  EXPECT_EQ(outcome.status, 0);
  // Notifications arrive when they like; the answers do not.
  const std::string answers = replaced(outcome.output, "received setCamMode ack\n", "");
  EXPECT_NE(
      answers.find(exchange("set_camera_mode", "SET_CAMERA_MODE", "Set LCM camera mode: 2\n")),
      std::string::npos)
      << outcome.output << outcome.errors;
  const auto mode = outcome.output.find("camera_mode = 2(1:video,2:photo)\n");
  const auto photo = outcome.output.find("succeeded in taking a photo!\n");
  EXPECT_LT(mode, photo);
  EXPECT_NE(photo, std::string::npos);
}

TEST_F(ConsoleTest, ShowsEachLineAtOnceInAPipe) {
  start_camera();
  const auto console = start_console();
  EXPECT_EQ(console->read_until("\n"), kPrompt);
  console->write("1\n");
  EXPECT_EQ(without_durations(console->read_until(kPrompt)), kModeTranscript + kPrompt);
  console->write("x\n");
  EXPECT_EQ(console->read_until(kPrompt), "invalid command input\n" + kPrompt);
  console->write("Q\n");
  EXPECT_EQ(console->wait(), 0);
}

TEST_F(ConsoleTest, ShowsARequestBeforeItWaitsForTheAnswer) {
  const auto console = start_console({"6"});
  EXPECT_EQ(console->read_until("Send GET_CAMERA_STATUS\n"),
            "get_camera_status() is ready.\nSend GET_CAMERA_STATUS\n");
  console->signal(SIGKILL);
  EXPECT_EQ(console->read_all(), "") << "what belongs to the time-out did not come with it";
}

TEST_F(ConsoleTest, PrintsErrorsBetweenItsLinesWhereTheyBelong) {
  const auto console = start_in_shell("$console 6 2>&1");
  const std::string told =
      "vlm_bus: no camera on bus " + bus + ": nobody subscribes velmar_repeater_udp\n";
  std::string expected = timeout("get_camera_status", "GET_CAMERA_STATUS") + "\n";
  expected.insert(expected.find("Send"), told);
  EXPECT_EQ(console->read_all(), expected);
}

TEST_F(ConsoleTest, WorksAtATerminal) {
  start_camera();
  const auto console = start_console({}, Process::kPty);
  EXPECT_EQ(console->read_until("\n"), kPrompt);
  console->write("1\n");
  EXPECT_EQ(without_durations(console->read_until(kPrompt)), kModeTranscript + kPrompt);
  console->write("\x04");  // end of input
  EXPECT_EQ(console->wait(), 0);
}

TEST_F(ConsoleTest, EndsOnTheInterruptKey) {
  const auto console = start_console({}, Process::kPty);
  console->read_until(kPrompt);
  console->write("\x03");
  EXPECT_EQ(console->wait(), 128 + SIGINT);
}

TEST_F(ConsoleTest, EndsOnQInEitherCaseAndAtTheEndOfInput) {
  for (const char* input : {"q\n", "Quit\n", ""}) {
    const Outcome outcome = run({}, input);
    EXPECT_EQ(outcome.output, kPrompt) << input;
    EXPECT_EQ(outcome.status, 0) << input;
  }
}

TEST_F(ConsoleTest, ShowsItsUsage) {
  const std::string usage = run({"-h"}).output;
  EXPECT_EQ(usage.rfind("soft version:  \n0:", 0), 0U);
  const std::string list = usage.substr(usage.find('\n') + 1);
  EXPECT_EQ(run({}, "h\nHELP\n").output, kPrompt + list + kPrompt + list + kPrompt);
}

TEST_F(ConsoleTest, RefusesWhatIsNoCommand) {
  for (const char* word : {"x", "-1", "--help", "", "UDP"}) {
    const Outcome outcome = run({word});
    EXPECT_EQ(outcome.output, "invalid command input\n") << word;
    EXPECT_EQ(outcome.status, 0) << word;
  }
  for (const std::string& line : {std::string("\n"), std::string(" 1\n"), std::string("\0\n", 2)}) {
    EXPECT_EQ(run({}, line).output, kPrompt + "invalid command input\n" + kPrompt);
  }
}

TEST_F(ConsoleTest, RefusesALongLineWhole) {
  start_camera();
  const std::string refused = "invalid command input\n";
  EXPECT_EQ(run({}, "1" + std::string(99, ' ') + "\n1\n").output,
            kPrompt + refused + kPrompt + kModeTranscript + kPrompt);
  EXPECT_EQ(run({}, std::string(98, 'x') + " 1 1 1 1\n").output, kPrompt + refused + kPrompt);
  EXPECT_EQ(run({}, std::string(1'000'000, '1')).output, kPrompt + refused + kPrompt);
}

TEST_F(ConsoleTest, TakesALineOf99Characters) {
  start_camera();
  EXPECT_EQ(run({}, "1" + std::string(98, ' ') + "\n1\n").output,
            kPrompt + kModeTranscript + kPrompt + kModeTranscript + kPrompt);
}

TEST_F(ConsoleTest, RefusesArgumentsThatDoNotFit) {
  start_camera();
  EXPECT_EQ(run({"1", std::string(96, 'x')}).output, kModeTranscript);
  EXPECT_EQ(run({"1", std::string(97, 'x')}).output, "invalid command input\n");
  EXPECT_EQ(run({"1", std::string(100'000, 'x')}).output, "invalid command input\n");
}

TEST_F(ConsoleTest, SurvivesGarbage) {
  std::string garbage;
  for (int i = 0; i < 20'000; ++i) garbage += static_cast<char>((i * 7919 + i / 256) % 251 + 10);
  for (char& c : garbage) {
    if (c >= '0' && c <= '9') c = '#';  // no camera commands, which would wait
    if (c == 'q' || c == 'Q') c = '#';
  }
  const Outcome outcome = run({}, garbage + "\nq\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output.substr(outcome.output.size() - kPrompt.size()), kPrompt);
}

TEST_F(ConsoleTest, TimesOutWithoutACameraAndIsUsableAgain) {
  const auto console = start_console();
  console->read_until(kPrompt);
  console->write("1\n");
  EXPECT_EQ(
      console->read_until(kPrompt),
      timeout("get_camera_mode", "GET_CAMERA_MODE", "error: not successful\n") + "\n" + kPrompt);
  console->write("6\n");
  EXPECT_EQ(console->read_until(kPrompt),
            timeout("get_camera_status", "GET_CAMERA_STATUS") + "\n" + kPrompt);
  EXPECT_EQ(console->errors(),
            "vlm_bus: no camera on bus " + bus + ": nobody subscribes velmar_repeater_udp\n");
  start_camera();
  console->write("1\n");
  EXPECT_EQ(without_durations(console->read_until(kPrompt)), kModeTranscript + kPrompt);
}

TEST_F(ConsoleTest, WorksOnWithACameraThatDiedAndCameBack) {
  start_camera();
  const auto console = start_console();
  console->read_until(kPrompt);
  console->write("1\n");
  console->read_until(kPrompt);
  camera->signal(SIGKILL);
  camera->wait();
  console->write("6\n");
  EXPECT_EQ(console->read_until(kPrompt),
            timeout("get_camera_status", "GET_CAMERA_STATUS") + "\n" + kPrompt);
  start_camera();
  console->write("1\n");
  EXPECT_EQ(without_durations(console->read_until(kPrompt)), kModeTranscript + kPrompt);
}

TEST_F(ConsoleTest, SharesTheBusWithAnotherConsole) {
  start_camera();
  const auto second = start_console();
  second->read_until(kPrompt);
  ask_until_answered(*second);
  const auto first = start_console();
  first->read_until(kPrompt);
  // The second sees every reply to the first, and asks nothing before it has seen them all: then its
  // own transcript stands by itself, and so does what the first sees of it.
  for (int replies = ask_until_answered(*first); replies > 0; --replies) {
    EXPECT_EQ(second->read_until("\n"), "not waiting on answer\n");
  }
  second->write("1\n");
  EXPECT_EQ(without_durations(second->read_until(kPrompt)), kModeTranscript + kPrompt);
  EXPECT_EQ(first->read_until("\n"), "not waiting on answer\n");
}

TEST_F(ConsoleTest, PrintsStorageNotifications) {
  start_camera();
  const auto console = start_console();
  console->write("6\n");
  console->read_until("video_status");  // its listener serves
  console->read_until(kPrompt);
  camera->write("card remove\n");
  EXPECT_EQ(console->read_until("sdcard is removed\n"),
            "storage notification: status 0, storage id 0, count 2\nsdcard is removed\n");
  camera->write("card insert\n");
  EXPECT_EQ(console->read_until("sdcard is inserted\n"),
            "storage notification: status 2, storage id 0, count 2\nsdcard is inserted\n");
}

TEST_F(ConsoleTest, RunsToItsEndWithoutAPlaceToPrint) {
  start_camera({"--verbose"});
  for (const std::string streams : {">/dev/full", ">&-", ">&- 2>&-"}) {
    const auto one = start_in_shell("exec $console 1 " + streams);
    const auto prompt = start_in_shell("exec $console " + streams);
    prompt->write("6\nh\nx\nq\n");
    EXPECT_EQ(one->wait(), 0) << streams;
    EXPECT_EQ(prompt->wait(), 0) << streams;
  }
  EXPECT_EQ(start_in_shell("exec $console <&- >&- 2>&-")->wait(), 0);
  camera->signal(SIGTERM);
  const std::string seen = camera->read_all();
  EXPECT_EQ(occurrences(seen, "-> 1 GET_CAMERA_MODE\n"), 3) << seen;
  EXPECT_EQ(occurrences(seen, "-> 6 GET_CAMERA_STATUS\n"), 3) << seen;
}

TEST_F(ConsoleTest, OpensNothingInPlaceOfItsClosedStreams) {
  start_camera({"--verbose"});
  const auto console = start_in_shell("exec $console 2>&- >&-");
  console->write("1\n");
  camera->read_until("GET_CAMERA_MODE");  // the bus is open
  const std::string streams = "/proc/" + std::to_string(console->pid()) + "/fd/";
  EXPECT_EQ(std::filesystem::read_symlink(streams + "1"), "/dev/null");
  EXPECT_EQ(std::filesystem::read_symlink(streams + "2"), "/dev/null");
}

TEST_F(ConsoleTest, ReportsACameraError) {
  start_camera({"--fail", "3=21"});
  EXPECT_EQ(run({"3"}).output,
            "send_capture_cmd() is ready.\nSend TAKE_PHOTO\nLCM request TAKE_PHOTO took: N ms, "
            "error 21\nfinish waiting for cmd TAKE_PHOTO response. error code: 21\nLCM request "
            "TAKE_PHOTO failed with: VLM is invalid EV\nError: Capture image failed\nfailed to "
            "take a photo, erorr=0x15 (21).\n\n");
}

TEST_F(ConsoleTest, WaitsForASlowCamera) {
  start_camera({"--latency", "300ms"});
  EXPECT_EQ(run({"1"}).output, kModeTranscript);
}

TEST_F(ConsoleTest, TimesOutOnAMutedCommand) {
  start_camera({"--mute", "6"});
  EXPECT_EQ(run({"6"}).output, timeout("get_camera_status", "GET_CAMERA_STATUS") + "\n");
  EXPECT_EQ(run({"1"}).output, kModeTranscript);
}

}  // namespace
