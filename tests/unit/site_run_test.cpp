// Commands on all cameras of a site, whose broker the test plays. Started as `vlmctl --camera`, this
// program plays the vlmctl of one camera.
#include "site_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "played_broker.h"
#include "process.h"
#include "runnable.h"
#include "site_order.h"
#include "site_presence.h"
#include "site_task.h"

namespace {

using namespace vlm::fleet;
using std::chrono::milliseconds;
using Words = std::vector<std::string>;

constexpr milliseconds kPlenty{30'000};
constexpr std::size_t kManyLetters = 1'500'000;

/// vlmctl --camera ADDRESS WORD...: says what it was given; the name of its camera says what else.
int play_vlmctl(const Words& words) {
  const std::string camera = words[2].substr(words[2].rfind('/') + 1);
  if (camera == "killed") std::raise(SIGKILL);
  if (camera == "endless") std::printf("%s", std::string(kManyLetters, 'x').c_str());
  std::string text = words[2];
  for (std::size_t i = 3; i < words.size(); ++i) text += ' ' + words[i];
  const bool json = text.find("--json") != text.npos;
  std::printf(json ? "{\"is\":\"%s\"}\n" : "%s\nand no more\n", text.c_str());
  if (camera != "failing") return 0;
  std::fputs("vlmctl: it fails\n", stderr);
  return 3;
}

/// For tests of processes, which an emulator starts as if they were the machine's own.
void skip_where_emulated() {
  if (runnable({program("vlmctl")}).size() > 1) {
    GTEST_SKIP() << "the emulator starts no program of another machine by itself";
  }
}

// the command line

SiteOrder order_of(const Words& line, std::size_t command) {
  return parse_site_order(line, command);
}

TEST(SiteOrderTest, KeepsForEachCameraWhatIsNotAboutTheSite) {
  const SiteOrder order =
      order_of({"--timeout", "2s", "--site", "lab", "--all-cameras", "-v", "get", "lens.zoom"}, 6);
  EXPECT_EQ(order.site, "lab");
  EXPECT_TRUE(order.all_cameras);
  EXPECT_EQ(order.command, "get");
  EXPECT_EQ(order.words, (Words{"--timeout", "2s", "-v", "get", "lens.zoom"}));
  EXPECT_FALSE(order.lists || order.json || order.names_camera);
}

TEST(SiteOrderTest, KnowsTheSiteBehindAnEqualsSign) {
  EXPECT_EQ(order_of({"--site=mqtts://a@b/lab", "ping"}, 1).site, "mqtts://a@b/lab");
  EXPECT_EQ(order_of({"--site", "first", "--site=last", "ping"}, 3).site, "last");
}

TEST(SiteOrderTest, TellsAListOfCamerasFromOtherLists) {
  EXPECT_TRUE(order_of({"--site", "lab", "list", "--cameras"}, 2).lists);
  EXPECT_TRUE(order_of({"--site", "lab", "list", "--json", "--cameras"}, 2).lists);
  EXPECT_FALSE(order_of({"--site", "lab", "list", "cameras"}, 2).lists);
  EXPECT_FALSE(order_of({"--site", "lab", "list", "--", "--cameras"}, 2).lists);
  EXPECT_FALSE(order_of({"--site", "lab", "get", "--cameras"}, 2).lists);
}

TEST(SiteOrderTest, TakesAllCamerasBehindTheCommandToo) {
  const SiteOrder order = order_of({"--site", "lab", "get", "--all-cameras", "lens.zoom"}, 2);
  EXPECT_TRUE(order.all_cameras);
  EXPECT_EQ(order.words, (Words{"get", "lens.zoom"}));
  EXPECT_FALSE(order_of({"--site", "lab", "get", "--", "--all-cameras"}, 2).all_cameras);
}

TEST(SiteOrderTest, SeesJsonAndACamera) {
  EXPECT_TRUE(order_of({"--json", "--site", "lab", "ping"}, 3).json);
  EXPECT_TRUE(order_of({"--site", "lab", "ping", "--json"}, 2).json);
  EXPECT_FALSE(order_of({"--site", "lab", "ping", "--", "--json"}, 2).json);
  EXPECT_TRUE(order_of({"--site", "lab", "--camera", "local", "ping"}, 4).names_camera);
  EXPECT_TRUE(order_of({"--camera=local", "--site", "lab", "ping"}, 3).names_camera);
}

// the order of names

TEST(ByNumberTest, CountsWhereNumbersStand) {
  const Words in_order{"a",     "a1",     "a01", "a2", "a10",   "a10b",
                       "a10b2", "a10b10", "a11", "b",  "lab-2", "lab-10"};
  for (std::size_t i = 0; i < in_order.size(); ++i) {
    for (std::size_t j = 0; j < in_order.size(); ++j) {
      if (in_order[i] == "a01" && in_order[j] == "a1") continue;
      if (in_order[i] == "a1" && in_order[j] == "a01") continue;
      EXPECT_EQ(ByNumber()(in_order[i], in_order[j]), i < j) << in_order[i] << ' ' << in_order[j];
    }
  }
  EXPECT_NE(ByNumber()("a1", "a01"), ByNumber()("a01", "a1")) << "two cameras";
}

// presence

class Site : public testing::Test {
 protected:
  void retain(const std::string& topic, const std::string& presence) {
    broker.retained.push_back({topic, presence, true, "", "", {}, {}});
  }
  void add_camera(const std::string& name, const std::string& presence = "online") {
    retain("vlm/1/lab/" + name + "/presence", presence);
  }
  /// Returns what is wrong, or nothing.
  std::string ask(milliseconds limit = kPlenty) {
    std::string error;
    const auto loop = PlayedBroker::make_loop(error);
    const bool known =
        SitePresence::ask(*loop, {false, "", "broker", 1883, "lab", ""}, limit, cameras, error);
    return known ? "" : error;
  }
  /// Runs `vlmctl --site mqtt://anna@broker/lab` and these words, of which the command is `command`.
  int run(Words words, std::size_t command) {
    words.insert(words.begin(), {"--site", "mqtt://anna@broker/lab"});
    return run_line(words, command + 2);
  }
  int run_line(const Words& line, std::size_t command) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = run_site_order(parse_site_order(line, command), PlayedBroker::make_loop);
    std::fflush(stdout);
    out = testing::internal::GetCapturedStdout();
    err = testing::internal::GetCapturedStderr();
    return status;
  }

  PlayedBroker broker;
  SiteCameras cameras;
  std::string out;
  std::string err;
};

TEST_F(Site, KnowsTheCamerasThatItsBrokerKeeps) {
  add_camera("lab-10", "silent");
  add_camera("lab-2");
  add_camera("lab-1", "offline");
  EXPECT_EQ(ask(), "");
  EXPECT_EQ(cameras,
            (SiteCameras{{"lab-1", "offline"}, {"lab-2", "online"}, {"lab-10", "silent"}}));
  EXPECT_EQ(broker.subscribed(), Words{"vlm/1/lab/+/presence"});
}

TEST_F(Site, PassesOverWhatIsNoPresence) {
  add_camera("lab-1");
  add_camera("lab-2", "");  // taken back
  add_camera("two words");
  add_camera("a/b");
  EXPECT_EQ(ask(), "");
  EXPECT_EQ(cameras, (SiteCameras{{"lab-1", "online"}}));
}

TEST_F(Site, TellsWhyItIsNotKnown) {
  broker.denied = {"vlm/1/lab/+/presence"};
  EXPECT_EQ(ask(),
            "cannot reach mqtt://broker:1883/lab: the broker does not let this user read who is "
            "present");
  broker.refusal = "not you";
  EXPECT_EQ(ask(), "cannot reach mqtt://broker:1883/lab: not you");
  broker.silent = true;
  EXPECT_EQ(ask(milliseconds(20)),
            "cannot reach mqtt://broker:1883/lab: the broker does not answer");
  broker.plan_fault = "no such file";
  EXPECT_EQ(ask(), "no such file");
}

// tasks

class SiteTaskTest : public testing::Test {
 protected:
  void SetUp() override { skip_where_emulated(); }
  /// Runs it to its end; returns its status.
  static int run(SiteTask& task) {
    while (!task.has_ended()) {
      pollfd ends[] = {{task.output_descriptor(), POLLIN, 0},
                       {task.errors_descriptor(), POLLIN, 0}};
      poll(ends, 2, -1);
      if (ends[0].revents != 0) task.take_output();
      if (ends[1].revents != 0) task.take_errors();
    }
    return task.wait();
  }
};

TEST_F(SiteTaskTest, KeepsOutputErrorsAndStatus) {
  SiteTask good({"vlmctl", "--camera", "mqtt://b/lab/good", "ping"});
  SiteTask failing({"vlmctl", "--camera", "mqtt://b/lab/failing"});
  EXPECT_EQ(run(failing), 3);
  EXPECT_EQ(failing.errors(), "vlmctl: it fails\n");
  SiteTask moved(std::move(good));
  EXPECT_EQ(run(moved), 0);
  EXPECT_EQ(moved.output(), "mqtt://b/lab/good ping\nand no more\n");
  EXPECT_EQ(moved.errors(), "");
}

TEST_F(SiteTaskTest, TellsOfOneThatASignalHasEnded) {
  SiteTask task({"vlmctl", "--camera", "mqtt://b/lab/killed"});
  EXPECT_EQ(run(task), 128 + SIGKILL);
}

TEST_F(SiteTaskTest, IsBoundedInWhatItKeeps) {
  SiteTask task({"vlmctl", "--camera", "mqtt://b/lab/endless"});
  EXPECT_EQ(run(task), 0);
  EXPECT_GE(task.output().size(), 1'000'000U);
  EXPECT_LT(task.output().size(), kManyLetters);
}

TEST_F(SiteTaskTest, GoesBeforeItsEnd) {
  const SiteTask task({"vlmctl", "--camera", "mqtt://b/lab/endless"});
}

// the run

using SiteRunTest = Site;

TEST_F(SiteRunTest, ListsTheCameras) {
  add_camera("lab-10", "silent");
  add_camera("lab-9");
  EXPECT_EQ(run({"list", "--cameras"}, 0), 0);
  EXPECT_EQ(out,
            "lab-9                               online\n"
            "lab-10                              silent\n");
  EXPECT_EQ(run({"--json", "list", "--cameras"}, 1), 0);
  EXPECT_EQ(out, R"({"camera":"lab-9","presence":"online"})"
                 "\n"
                 R"({"camera":"lab-10","presence":"silent"})"
                 "\n");
  EXPECT_EQ(broker.plan().address.user, "anna");
}

TEST_F(SiteRunTest, FindsTheSiteBesideTheOneOfTheEnvironment) {
  add_camera("lab-1");
  setenv("VLM_BUS", "mqtts://bert@elsewhere/other/cam-1", 1);
  EXPECT_EQ(run_line({"--site", "lab", "list", "--cameras"}, 2), 0);
  const auto address = broker.plan().address;
  EXPECT_EQ(text_of(address), "mqtts://elsewhere:8883/lab");
  EXPECT_EQ(address.user, "bert");
  for (const char* bus : {"unix:/run/bus", ""}) {
    setenv("VLM_BUS", bus, 1);
    EXPECT_EQ(run_line({"--site", "lab", "list", "--cameras"}, 2), 2);
    EXPECT_EQ(err,
              "vlmctl: --site takes mqtts://HOST/SITE, or SITE where VLM_BUS names the broker, not "
              "'lab'\n");
  }
  unsetenv("VLM_BUS");
}

TEST_F(SiteRunTest, TellsWhatIsWrong) {
  EXPECT_EQ(run({"get", "lens.zoom"}, 0), 2);
  EXPECT_EQ(err, "vlmctl: --site is for list --cameras, or with --all-cameras for a command\n");
  EXPECT_EQ(run({"--camera", "local", "--all-cameras", "ping"}, 3), 2);
  EXPECT_EQ(err, "vlmctl: --site and --camera exclude each other\n");
  EXPECT_EQ(run({"--all-cameras", "ping"}, 1), 7);
  EXPECT_EQ(err, "vlmctl: no camera on mqtt://broker:1883/lab\n");
  EXPECT_EQ(run({"--all-cameras", "--json", "ping"}, 2), 7);
  EXPECT_EQ(out, R"({"error":{"status":7,"message":"no camera on mqtt://broker:1883/lab"}})"
                 "\n");
  EXPECT_EQ(err, "");
  broker.loop_fault = "no thread";
  EXPECT_EQ(run({"--all-cameras", "ping"}, 1), 7);
  EXPECT_EQ(err, "vlmctl: no thread\n");
}

class SiteRunOfPrograms : public Site {
 protected:
  void SetUp() override { skip_where_emulated(); }
};

TEST_F(SiteRunOfPrograms, AsksEachCameraAndShowsTheirAnswersInOrder) {
  std::string all;
  for (int i = 1; i <= 40; ++i) {  // more than run at once
    const std::string name = "lab-" + std::to_string(i);
    add_camera(name);
    all += name + ": mqtt://anna@broker:1883/lab/" + name + " -v get lens.zoom\n";
    all += name + ": and no more\n";
  }
  EXPECT_EQ(run({"--all-cameras", "-v", "get", "lens.zoom"}, 2), 0);
  EXPECT_EQ(out, all);
  EXPECT_EQ(err, "vlmctl: 40 cameras: 40 done, 0 failed\n");
}

TEST_F(SiteRunOfPrograms, TellsWhichOfThemFailed) {
  add_camera("failing");
  add_camera("good");
  add_camera("killed");
  EXPECT_EQ(run({"--all-cameras", "ping"}, 1), 9);
  EXPECT_EQ(out,
            "failing: mqtt://anna@broker:1883/lab/failing ping\n"
            "failing: and no more\n"
            "good: mqtt://anna@broker:1883/lab/good ping\n"
            "good: and no more\n");
  EXPECT_EQ(err, "vlmctl: failing: it fails\nvlmctl: 3 cameras: 1 done, 2 failed\n");
}

TEST_F(SiteRunOfPrograms, TellsOfEachAsAnObject) {
  add_camera("failing");
  add_camera("good");
  EXPECT_EQ(run({"--all-cameras", "ping", "--json"}, 1), 9);
  EXPECT_EQ(out, R"({"camera":"failing","status":3,)"
                 R"("results":[{"is":"mqtt://anna@broker:1883/lab/failing ping --json"}],)"
                 R"("errors":"vlmctl: it fails\u000a"})"
                 "\n"
                 R"({"camera":"good","status":0,)"
                 R"("results":[{"is":"mqtt://anna@broker:1883/lab/good ping --json"}]})"
                 "\n");
}

TEST_F(SiteRunTest, TellsThatItsOutputIsLost) {
  add_camera("lab-1");
  const int kept = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  std::fflush(stdout);
  dup2(full, STDOUT_FILENO);
  testing::internal::CaptureStderr();
  const int status =
      run_site_order(parse_site_order({"--site", "mqtt://broker/lab", "list", "--cameras"}, 2),
                     PlayedBroker::make_loop);
  err = testing::internal::GetCapturedStderr();
  dup2(kept, STDOUT_FILENO);
  std::clearerr(stdout);
  close(kept);
  close(full);
  EXPECT_EQ(status, 9);
  EXPECT_EQ(err, "vlmctl: standard output cannot be written\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 2 && std::string(argv[1]) == "--camera") return play_vlmctl({argv, argv + argc});
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
