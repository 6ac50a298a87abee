// What the sub-commands of vlmctl send, say and end with.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "command_contract.h"
#include "commands.h"
#include "completion.h"
#include "script.h"
#include "vlmctl_fixture.h"

namespace {

using vlm::client::Outcome;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// get

TEST_F(Vlmctl, GetsAValueWithItsUnit) {
  EXPECT_EQ(run("get lens.zoom"), 0);
  EXPECT_EQ(out, "lens.zoom = 1 x\n");
  EXPECT_EQ(camera.requests, (Requests{"get 82"}));
}

TEST_F(Vlmctl, GetsValuesAsObjects) {
  EXPECT_EQ(run("--json get camera.mode lens.zoom image.osd exposure"), 0);
  const std::string time = R"("time":"1970-01-01T00:00:00.000Z"})";
  EXPECT_EQ(out, R"({"name":"camera.mode","value":"video","raw":1,)" + time + "\n" +
                     R"({"name":"lens.zoom","value":1,"raw":1065353216,"unit":"x",)" + time + "\n" +
                     R"({"name":"image.osd","value":false,"raw":0,)" + time + "\n" +
                     R"({"name":"exposure","value":{"shutter":"1/100","iso":100},)" +
                     R"("raw":{"shutter":6553601,"iso":100},)" + time + "\n");
}

TEST_F(Vlmctl, TakesJsonBehindTheCommand) {
  EXPECT_EQ(run("get image.osd --json"), 0);
  EXPECT_EQ(out.rfind("{\"name\":\"image.osd\",\"value\":false", 0), 0U) << out;
}

TEST_F(Vlmctl, AsksOnceForFieldsOfOneGroup) {
  EXPECT_EQ(run("get video.width video.height"), 0);
  EXPECT_EQ(out, "video.width = 1920 px\nvideo.height = 1080 px\n");
  EXPECT_EQ(camera.requests.size(), 1U);
}

TEST_F(Vlmctl, ShowsANumberWithoutAMeaningAsItIs) {
  camera.payloads[1][0] = 9;
  EXPECT_EQ(run("get camera.mode"), 0);
  EXPECT_EQ(out, "camera.mode = raw:9\n");
}

TEST_F(Vlmctl, RefusesAnUnknownNameBeforeAnythingIsSent) {
  EXPECT_EQ(run("get lens.zoom exposre"), 5);
  EXPECT_EQ(err, "vlmctl: exposre: no such name, did you mean exposure?\n");
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, RefusesToGetWhatCannotBeRead) {
  EXPECT_EQ(run("get wifi.name"), 6);
  EXPECT_EQ(run("get photo.take"), 6);
  EXPECT_EQ(err, "vlmctl: photo.take: an action cannot be read, vlmctl run runs it\n");
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, TellsARefusalWithItsCode) {
  camera.fails(1, Outcome::kRefused, VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(run("get camera.mode"), 1);
  EXPECT_EQ(err, "vlmctl: camera.mode: the camera refused: VLM err invalid param (75)\n");
  camera.fails(1, Outcome::kRefused, VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(run("--json get camera.mode"), 1);
  EXPECT_EQ(out, R"({"error":{"code":75,"name":"VLM err invalid param","setting":"camera.mode",)"
                 R"("status":1,"message":"the camera refused"}})"
                 "\n");
  EXPECT_EQ(err, "");
}

TEST_F(Vlmctl, EndsWith9WhenPartOfSeveralFailed) {
  camera.fails(1, Outcome::kNoAnswer);
  EXPECT_EQ(run("get camera.mode lens.zoom"), 9);
  EXPECT_EQ(out, "lens.zoom = 1 x\n");
  EXPECT_EQ(err, "vlmctl: camera.mode: no answer\n");
}

TEST_F(Vlmctl, EndsWithTheirStatusWhenAllFailedAlike) {
  camera.fails(1, Outcome::kNoAnswer);
  camera.fails(82, Outcome::kNoAnswer);
  EXPECT_EQ(run("get camera.mode lens.zoom"), 3);
  camera.fails(1, Outcome::kBusy, VLM_ERR_BUSY);
  EXPECT_EQ(run("get camera.mode"), 4);
}

TEST_F(Vlmctl, GetsAllButWhatTheCameraHasNoSensorFor) {
  for (const auto& row : vlm::catalogue::rows()) {
    if (row.is(vlm::catalogue::kThermal) && row.readable()) {
      camera.fails(row.codes.get, Outcome::kRefused, VLM_ERR_UNSUPPORTED_COMMAND);
    }
  }
  EXPECT_EQ(run("get --all"), 0);
  EXPECT_EQ(err, "");
  EXPECT_NE(out.find("white_balance.mode = auto\n"), std::string::npos);
  EXPECT_EQ(out.find("thermal."), std::string::npos);
}

TEST_F(Vlmctl, DoesNotHideTheRefusalOfOneThermalSetting) {
  camera.fails(100, Outcome::kRefused, VLM_ERR_UNSUPPORTED_COMMAND);
  EXPECT_EQ(run("get thermal.palette"), 1);
}

// retries

TEST_F(Vlmctl, SendsNothingTwiceUnlessTold) {
  camera.fails(1, Outcome::kNoAnswer);
  EXPECT_EQ(run("get camera.mode"), 3);
  EXPECT_EQ(camera.requests.size(), 1U);
  camera.fails(1, Outcome::kNoAnswer);
  camera.fails(1, Outcome::kBusy, VLM_ERR_BUSY);
  EXPECT_EQ(run("--retries 2 get camera.mode"), 0);
  EXPECT_EQ(camera.requests.size(), 3U);
}

TEST_F(Vlmctl, NeverSendsAgainWhatWasRefused) {
  camera.fails(1, Outcome::kRefused, VLM_ERR_FAILED);
  EXPECT_EQ(run("--retries 5 get camera.mode"), 1);
  EXPECT_EQ(camera.requests.size(), 1U);
}

TEST_F(Vlmctl, GivesABusyCameraMoreAndMoreTime) {
  for (int i = 0; i < 4; ++i) camera.fails(1, Outcome::kBusy, VLM_ERR_BUSY);
  std::vector<Clock::time_point> times;
  camera.on_request = [&](const std::string&) { times.push_back(Clock::now()); };
  EXPECT_EQ(run("--retries 4 get camera.mode"), 0);
  ASSERT_EQ(times.size(), 5U);
  EXPECT_GE(times[1] - times[0], 20ms);
  EXPECT_GE(times[2] - times[1], 40ms);
  EXPECT_GE(times[3] - times[2], 80ms);
  EXPECT_GE(times[4] - times[3], 160ms);
}

TEST_F(Vlmctl, TellsEachRequestWhenAskedTo) {
  camera.fails(1, Outcome::kNoAnswer);
  EXPECT_EQ(run("-v --retries 1 get camera.mode"), 0);
  EXPECT_EQ(out, "camera.mode = video\n");
  EXPECT_EQ(err, "vlmctl: get camera.mode: no answer\nvlmctl: get camera.mode: done, 0.000 ms\n");
}

// set

TEST_F(Vlmctl, SetsByNameAndTellsWhatItSet) {
  EXPECT_EQ(run("set camera.mode=photo exposure.iso_code=400"), 0);
  EXPECT_EQ(out, "camera.mode = photo\nexposure.iso_code = 400\n");
  EXPECT_EQ(camera.requests, (Requests{"set 2 02", "set 60 9001"}));
}

TEST_F(Vlmctl, SetsTheNumberOnTheWire) {
  EXPECT_EQ(run("set camera.mode=raw:9"), 0);
  EXPECT_EQ(camera.requests, (Requests{"set 2 09"}));
}

TEST_F(Vlmctl, RefusesAValueWithTheAllowedOnesBeforeAnythingIsSent) {
  EXPECT_EQ(run("set lens.zoom=2 exposure.mode=manul"), 5);
  EXPECT_EQ(err,
            "vlmctl: exposure.mode: \"manul\" is not allowed: auto or manual, did you mean "
            "manual?\n");
  EXPECT_EQ(run("set lens.zoom=31"), 5);
  EXPECT_EQ(err, "vlmctl: lens.zoom: 31 is not allowed: 1 to 30 x\n");
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, RefusesToSetReadingsAndActions) {
  EXPECT_EQ(run("set camera.status=idle"), 6);
  EXPECT_EQ(run("set lens.zoom=2 storage.free=1"), 6);
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, WritesOneFieldOfAGroupThatItReadFirst) {
  EXPECT_EQ(run("set exposure.shutter=1/200"), 0);
  EXPECT_EQ(camera.requests, (Requests{"get 11", "set 12 000100c80064"}));
}

TEST_F(Vlmctl, WritesFieldsOfOneGroupTogether) {
  EXPECT_EQ(run("set video.width=1280 video.height=720"), 0);
  EXPECT_EQ(camera.requests.size(), 2U);  // one reads, one writes
  EXPECT_EQ(run("set video.width=1280 video.height=720 video.fps=50"), 0);
  EXPECT_EQ(camera.requests.size(), 1U);  // nothing is left to be read
}

TEST_F(Vlmctl, ReadsBackWhatItSet) {
  EXPECT_EQ(run("set camera.mode=photo --verify"), 0);
  EXPECT_EQ(camera.requests, (Requests{"set 2 02", "get 1"}));
  // The apps' word for custom reads back as custom: the same number.
  EXPECT_EQ(run("set white_balance.mode=manual --verify"), 0);
}

TEST_F(Vlmctl, EndsWith8WhenItReadsBackDifferently) {
  camera.forgets = true;
  EXPECT_EQ(run("set camera.mode=photo --verify"), 8);
  EXPECT_EQ(err, "vlmctl: camera.mode: set to photo, but reads video\n");
  EXPECT_EQ(run("set camera.mode=photo"), 0);
}

TEST_F(Vlmctl, ChecksWithoutSendingInADryRun) {
  EXPECT_EQ(run("set camera.mode=photo --dry-run"), 0);
  EXPECT_EQ(out, "camera.mode = photo\n");
  EXPECT_TRUE(camera.requests.empty());
  EXPECT_EQ(run("set camera.mode=foto --dry-run"), 5);
}

TEST_F(Vlmctl, StopsAtTheFirstThatFails) {
  camera.fails(2, Outcome::kRefused, VLM_ERR_FAILED);
  EXPECT_EQ(run("set lens.zoom=2 camera.mode=photo exposure.iso_code=100"), 9);
  EXPECT_EQ(camera.requests.size(), 2U);
  camera.fails(2, Outcome::kRefused, VLM_ERR_FAILED);
  EXPECT_EQ(run("set camera.mode=photo lens.zoom=2"), 1);
}

TEST_F(Vlmctl, SaysWhatARefusedSettingNeeds) {
  camera.fails(58, Outcome::kRefused, VLM_ERR_IS_NOT_MANUAL_WB);
  EXPECT_EQ(run("set white_balance.custom=50"), 1);
  EXPECT_NE(err.find("(needs white_balance.mode=custom)"), std::string::npos) << err;
}

TEST_F(Vlmctl, NeverShowsASecret) {
  EXPECT_EQ(run("set wifi.password=hunter22"), 0);
  EXPECT_EQ(out, "wifi.password = (secret)\n");
  EXPECT_EQ(run("--json set wifi.password=hunter22"), 0);
  EXPECT_EQ(out.find("hunter"), std::string::npos);
}

// run

TEST_F(Vlmctl, RunsAnActionWithItsParameters) {
  EXPECT_EQ(run("run lens.zoom_drive direction=wide"), 0);
  EXPECT_EQ(out, "lens.zoom_drive: done\n");
  EXPECT_EQ(camera.requests, (Requests{"run 200 02"}));
}

TEST_F(Vlmctl, RefusesWrongParametersBeforeAnythingIsSent) {
  EXPECT_EQ(run("run lens.zoom_drive"), 5);
  EXPECT_EQ(run("run lens.zoom_drive direction=up"), 5);
  EXPECT_EQ(run("run lens.zoom_drive directon=wide"), 5);
  EXPECT_NE(err.find("did you mean direction?"), std::string::npos) << err;
  EXPECT_EQ(run("run photo.take x=1"), 5);
  EXPECT_EQ(run("run lens.zoom"), 6);
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, AsksBeforeADestructiveAction) {
  consents = false;
  EXPECT_EQ(run("run camera.reboot"), 2);
  EXPECT_TRUE(camera.requests.empty());
  EXPECT_EQ(questions, (std::vector<std::string>{"camera.reboot: Restarts the camera. Go on?"}));
  EXPECT_EQ(run("run camera.reboot --yes"), 0);
  EXPECT_EQ(questions.size(), 1U);
  EXPECT_EQ(run("run photo.take"), 0);
  EXPECT_EQ(questions.size(), 1U);
}

// send

TEST_F(Vlmctl, SendsAnyCodeOfTheTable) {
  EXPECT_EQ(run("send 33"), 0);
  EXPECT_EQ(camera.requests, (Requests{"send 33"}));
  EXPECT_EQ(run("send 2 0a0b"), 0);
  EXPECT_EQ(camera.requests, (Requests{"send 2 0a0b"}));
  EXPECT_EQ(run("send 2 camera.mode=photo"), 0);
  EXPECT_EQ(camera.requests, (Requests{"send 2 02"}));
  EXPECT_EQ(run("send 74"), 0);
  EXPECT_EQ(run("send 400"), 5);
  EXPECT_EQ(run("send 2 0"), 2);
  EXPECT_EQ(run("send 2 0g"), 2);
  EXPECT_EQ(run("send two"), 2);
}

TEST_F(Vlmctl, SendsEveryCodeOfTheTableAndNoOther) {
  for (int code = 0; code <= 1000; ++code) {
    const auto& table = command_contract();
    const bool listed = std::any_of(table.begin(), table.end(),
                                    [code](const auto& row) { return row.code == code; });
    const std::string number = std::to_string(code);
    EXPECT_EQ(run("send " + number), listed ? 0 : 5) << code;
    EXPECT_EQ(camera.requests, listed ? Requests{"send " + number} : Requests{});
    EXPECT_EQ(out.empty(), !listed) << code;
  }
}

// wait, watch, ping, events

TEST_F(Vlmctl, WaitsUntilAValueIsThere) {
  camera.fails(1, Outcome::kNoAnswer);
  EXPECT_EQ(run("wait camera.mode=video --for 1m"), 0);
  EXPECT_EQ(out, "camera.mode = video\n");
  EXPECT_EQ(camera.requests.size(), 2U);
}

TEST_F(Vlmctl, EndsWith11WhenItDoesNotCome) {
  EXPECT_EQ(run("wait camera.mode=photo --for 1ms"), 11);
  EXPECT_EQ(err, "vlmctl: camera.mode: the time is over, it is video\n");
}

TEST_F(Vlmctl, DoesNotCallAnInterruptionTheEndOfTheTime) {
  const vlm::ctl::InterruptionHandler handler;
  camera.on_request = [](const std::string&) { std::raise(SIGINT); };
  EXPECT_EQ(run("wait camera.mode=photo --for 1h"), 11);
  EXPECT_EQ(err, "vlmctl: camera.mode: interrupted, it is video\n");
}

TEST_F(Vlmctl, KeepsEventsThatNobodyReadsWithinBounds) {
  msg_from_rep_t message{};
  message.msg_type = LCM_UPDATE_CAMERA_MODE;
  camera.on_request = [&](const std::string&) {
    for (int i = 0; i < 10'003; ++i) camera.notified(message);
  };
  EXPECT_EQ(run("events --count 10000"), 0);
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 10'000);
  EXPECT_EQ(out.rfind("1970-01-01T00:00:00.000Z mode-changed\n", 0), 0U);
  EXPECT_EQ(err, "vlmctl: nobody read in time, events lost: 3\n");
}

TEST_F(Vlmctl, EndsInTimeAlsoWhenEventsNeverEnd) {
  msg_from_rep_t message{};
  message.msg_type = LCM_UPDATE_CAMERA_MODE;
  std::atomic<bool> ended{false};
  std::thread flood;
  camera.on_request = [&](const std::string&) {
    flood = std::thread([&, notify = camera.notified] {
      while (!ended) notify(message);
    });
  };
  camera.on_deaf = [&] {
    ended = true;
    flood.join();
  };
  EXPECT_EQ(run("events --for 50ms"), 0);
}

TEST_F(Vlmctl, WatchesWithTimeStamps) {
  EXPECT_EQ(run("watch lens.zoom --count 2 --every 1ms"), 0);
  const std::string line = "1970-01-01T00:00:00.000Z lens.zoom = 1 x\n";
  EXPECT_EQ(out, line + line);
  EXPECT_EQ(run("watch lens.zoom --count 2 --every 1ms --changes"), 0);
  EXPECT_EQ(out, line);
}

TEST_F(Vlmctl, PingCountsAnswers) {
  EXPECT_EQ(run("ping --count 3 --interval 1ms"), 0);
  EXPECT_EQ(out.rfind("3 of 3 answered\nmin 0.000 ms, median 0.000 ms", 0), 0U) << out;
  camera.fails(6, Outcome::kNoAnswer);
  EXPECT_EQ(run("ping --count 3 --interval 1ms"), 9);
  camera.fails(6, Outcome::kNoAnswer);
  EXPECT_EQ(run("ping --count 1"), 3);
}

// usage

TEST_F(Vlmctl, EndsWith2WhenTheCommandLineIsWrong) {
  for (const char* const line : {"",
                                 "gte lens.zoom",
                                 "get",
                                 "get --al",
                                 "set",
                                 "set lens.zoom",
                                 "set =1",
                                 "wait",
                                 "watch",
                                 "watch lens.zoom --every 1",
                                 "watch lens.zoom --count 0",
                                 "ping --count x",
                                 "ping word",
                                 "events word",
                                 "restore",
                                 "diff",
                                 "save a b",
                                 "run",
                                 "send",
                                 "list a b",
                                 "--timeout 3",
                                 "--timeout 0s get lens.zoom",
                                 "--retries -1 get lens.zoom",
                                 "--retries",
                                 "--json=1 list",
                                 "get --all lens.zoom"}) {
    EXPECT_EQ(run(line), 2) << line;
    EXPECT_EQ(err.rfind("vlmctl: ", 0), 0U) << line << err;
    EXPECT_TRUE(camera.requests.empty()) << line;
  }
  EXPECT_EQ(run("gte lens.zoom"), 2);
  EXPECT_EQ(err, "vlmctl: unknown command gte, did you mean get?\n");
}

TEST_F(Vlmctl, TellsWithJsonAlsoAsAnObjectWhatIsWrongWithTheCommandLine) {
  for (const char* const line :
       {"--json", "--json gte", "gte --json", "get --json", "get --al --json", "--jsom --json get",
        "--timeout 3 --json get lens.zoom", "batch --every --json",
        "--retries 1 --json --retries"}) {
    EXPECT_EQ(run(line), 2) << line;
    EXPECT_EQ(out.rfind(R"({"error":{"status":2,"message":")", 0), 0U) << line << out;
    EXPECT_EQ(err, "") << line;
  }
  EXPECT_EQ(run("get -- --json"), 5);
  EXPECT_EQ(err, "vlmctl: --json: no such name\n");
}

TEST_F(Vlmctl, HelpListsEveryCommandAndEachHasItsOwn) {
  EXPECT_EQ(run("--help"), 0);
  const std::string help = out;
  std::string exits = help.substr(help.find("Exit status:"));
  std::replace(exits.begin(), exits.end(), '\n', ' ');
  for (int status = 0; status <= 11; ++status) {
    EXPECT_NE(exits.find(" " + std::to_string(status) + " "), std::string::npos) << status;
  }
  for (const auto& command : vlm::ctl::commands()) {
    EXPECT_NE(help.find("\n  " + std::string(command.name) + " "), std::string::npos);
    EXPECT_EQ(run(std::string(command.name) + " --help"), 0);
    EXPECT_EQ(out.rfind("Usage: vlmctl [OPTION]... " + std::string(command.name), 0), 0U) << out;
    for (const auto& option : command.options) {
      EXPECT_NE(out.find(std::string("\n  ") + option.name), std::string::npos) << out;
    }
  }
  EXPECT_EQ(run("--version"), 0);
  EXPECT_EQ(out, "vlmctl 9.9\n");
}

// sites and brokers

TEST_F(Vlmctl, HandsOnALineAboutASite) {
  EXPECT_EQ(run("--json --site lab --all-cameras get lens.zoom --json"), 0);
  EXPECT_EQ(site_line, (vlm::ctl::Words{"--json", "--site", "lab", "--all-cameras", "get",
                                        "lens.zoom", "--json"}));
  EXPECT_EQ(site_command, 4U);
  EXPECT_EQ(run("--site=lab list --cameras"), 0);
  EXPECT_EQ(site_command, 1U);
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, RefusesALineThatIsAboutASiteByHalves) {
  const std::pair<const char*, const char*> kCases[] = {
      {"--all-cameras get lens.zoom", "vlmctl: --all-cameras needs --site\n"},
      {"--site", "vlmctl: --site needs a value, SITE\n"},
      {"--site lab", "vlmctl: no command given, vlmctl --help lists them\n"},
      {"--site lab --timeout 0ms get lens.zoom", "vlmctl: --timeout must not be 0\n"},
      {"--site lab --all-camera get lens.zoom",
       "vlmctl: unknown option --all-camera, did you mean --all-cameras?\n"},
  };
  for (const auto& [line, told] : kCases) {
    EXPECT_EQ(run(line), 2) << line;
    EXPECT_EQ(err, told);
  }
  EXPECT_TRUE(site_line.empty());
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, NamesABrokersFilesByItsVariables) {
  const std::pair<const char*, const char*> kFiles[] = {
      {"VLM_MQTT_CA_FILE", "--mqtt-ca-file"},
      {"VLM_MQTT_CERT_FILE", "--mqtt-cert-file"},
      {"VLM_MQTT_KEY_FILE", "--mqtt-key-file"},
      {"VLM_MQTT_PASSWORD_FILE", "--mqtt-password-file"},
  };
  for (const auto& [variable, option] : kFiles) {
    setenv(variable, "before", 1);
    EXPECT_EQ(run("get lens.zoom"), 0);
    EXPECT_STREQ(std::getenv(variable), "before");
    EXPECT_EQ(run(std::string(option) + " first " + option + "=given get lens.zoom"), 0);
    EXPECT_STREQ(std::getenv(variable), "given");
    EXPECT_EQ(run_words({option, "", "get", "lens.zoom"}), 2);
    EXPECT_EQ(err, std::string("vlmctl: ") + option + " needs a value, FILE\n");
    EXPECT_STREQ(std::getenv(variable), "given");
    unsetenv(variable);
  }
}

// completion

TEST_F(Vlmctl, CompletesWithoutACamera) {
  const auto offered = [this](const std::string& line, const std::string& last) {
    vlm::ctl::Words words{"__complete"};
    for (const auto& word : vlm::ctl::split_words(line)) words.push_back(word);
    words.push_back(last);
    EXPECT_EQ(run_words(words), 0);
    return out;
  };
  EXPECT_EQ(offered("", "desc"), "describe\n");
  EXPECT_EQ(offered("--timeout 2s -v", "re"), "restore\n");
  EXPECT_EQ(offered("--timeout", ""), "");
  EXPECT_EQ(offered("", "--ret"), "--retries\n");
  EXPECT_EQ(offered("get", "video.w"), "video.width\n");
  EXPECT_EQ(offered("get", "--a"), "--all\n");
  EXPECT_EQ(offered("set", "exposure.m"), "exposure.mode=\n");
  EXPECT_EQ(offered("set lens.zoom=1", "exposure.mode="),
            "exposure.mode=auto\nexposure.mode=manual\n");
  EXPECT_EQ(offered("set", "image.osd=o"), "image.osd=on\nimage.osd=off\n");
  EXPECT_EQ(offered("set", "camera.stat"), "");
  EXPECT_EQ(offered("wait", "camera.status=i"), "camera.status=idle\n");
  EXPECT_EQ(offered("run", "photo.ta"), "photo.take\n");
  EXPECT_EQ(offered("run storage.format", ""), "slot=\n");
  EXPECT_EQ(offered("run --yes storage.format", "slot=i"), "slot=internal\n");
  EXPECT_EQ(offered("save", ""), "");
  EXPECT_EQ(offered("nonsense", ""), "");
  EXPECT_EQ(offered("", "--s"), "--site\n");
  EXPECT_EQ(offered("", "--a"), "--all-cameras\n");
  EXPECT_EQ(offered("--site", ""), "");
  EXPECT_EQ(offered("--site mqtt://127.0.0.1:1/lab", "--a"), "--all-cameras\n");
  EXPECT_EQ(offered("--site mqtt://127.0.0.1:1/lab list", "--cam"), "--cameras\n");
  EXPECT_EQ(offered("--site=lab --all-cameras", "desc"), "describe\n");
  EXPECT_EQ(offered("--site lab --all-cameras get", "video.w"), "video.width\n");
  EXPECT_EQ(offered("--camera mqtts://lab.example/lab/cam-1", "--mqtt-p"),
            "--mqtt-password-file\n");
  EXPECT_EQ(offered("", "--mqtt-c"), "--mqtt-ca-file\n--mqtt-cert-file\n");
  EXPECT_EQ(offered("--mqtt-key-file", ""), "");  // a file
  EXPECT_EQ(offered("--mqtt-ca-file ca.crt", "re"), "restore\n");
  EXPECT_TRUE(site_line.empty());
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, CompletesCommandsAloneInItsShell) {
  EXPECT_EQ(vlm::ctl::completions({"list", "--cam"}, {}), vlm::ctl::Words{"--cameras"});
  EXPECT_EQ(vlm::ctl::completions({"--s"}, {}), vlm::ctl::Words{});
  EXPECT_EQ(vlm::ctl::completions({"--site", "lab", "desc"}, {}), vlm::ctl::Words{});
}

// list, describe

TEST_F(Vlmctl, ListsByPartOfANameOrOfAHelp) {
  EXPECT_EQ(run("list iris"), 0);
  EXPECT_EQ(out.rfind("lens.iris ", 0), 0U) << out;
  EXPECT_EQ(run("list aperture"), 0);
  EXPECT_EQ(out.rfind("lens.iris ", 0), 0U) << out;
  EXPECT_EQ(run("list lens.z*"), 0);
  EXPECT_EQ(out,
            "lens.zoom                           float   1 to 30 x\n"
            "lens.zoom_drive                     action  direction=tele, wide or stop\n");
  EXPECT_EQ(run("list nonsense"), 5);
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, ListsTheCamerasThatAreFound) {
  EXPECT_EQ(run("list --cameras"), 7);
  EXPECT_EQ(err, "vlmctl: no camera answers on the buses of this machine\n");
  EXPECT_EQ(run("list --cameras lens"), 2);
  std::string error;
  const auto version = parse(*vlm::ctl::find_item("camera.version").field,
                             "module=VLMSIM,major=1,minor=4,patch=0,branch=R", error);
  ASSERT_TRUE(version) << error;
  found.push_back({"/run/vlm_bus", *version});
  EXPECT_EQ(run("list --cameras"), 0);
  EXPECT_EQ(out, "/run/vlm_bus                        VLMSIM  1.4.0R\n");
  EXPECT_EQ(run("list --cameras --json"), 0);
  EXPECT_EQ(out, R"({"camera":"/run/vlm_bus","model":"VLMSIM","firmware":"1.4.0R",)"
                 R"("time":"1970-01-01T00:00:00.000Z"})"
                 "\n");
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(Vlmctl, DescribesARowAsAnObject) {
  EXPECT_EQ(run("describe white_balance.custom --json"), 0);
  EXPECT_EQ(out,
            R"({"name":"white_balance.custom","kind":"setting","type":"u8","unit":"hundred K",)"
            R"("range":{"min":30,"max":80},"flags":["open"],"offset":0,"width":1,)"
            R"("needs":["white_balance.mode=custom"],"codes":{"get":57,"set":58},)"
            R"("remote":{"set":37},"help":"Colour temperature; the console sends the low byte of )"
            R"(one in kelvins"})"
            "\n");
  EXPECT_EQ(run("describe thermal.environment --json"), 0);
  EXPECT_NE(out.find(R"("scale":10,"range":{"min":-3276.8,"max":3276.7})"), std::string::npos)
      << out;
}

}  // namespace
