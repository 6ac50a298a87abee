// Recordings of real programs, played back in both roles.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "bus_packets.h"
#include "bus_recording_fixture.h"
#include "pattern.h"

using namespace vlm::monitor;

namespace {

/// How often every command is played in each role; `./dev replays` plays more.
int rounds() {
  const char* const text = std::getenv("VLM_REPLAY_ROUNDS");
  return text == nullptr ? 5 : std::atoi(text);
}

class BusReplayTest : public BusRecordingFixture {
 protected:
  Outcome play(const std::string& role, std::vector<std::string> options = {}) const {
    std::vector<std::string> arguments{"vlm_bus_replay", _folder / "recording", "--as", role};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run(arguments);
  }

  std::unique_ptr<Process> start_replayed_camera(const std::string& options) const {
    auto camera = std::make_unique<Process>(
        std::vector<std::string>{"/bin/sh", "-c",
                                 "cd " + _folder.path() + " && exec " +
                                     program_in_shell("vlm_bus_replay") +
                                     " recording --as camera " + options + " 2>&1"},
        environment());
    camera->read_until("vlm_bus_replay: ready\n");
    return camera;
  }

  void record_everything(const std::vector<std::string>& camera_options) {
    start_camera(camera_options);
    start_monitor("-q -w recording");
    ASSERT_EQ(run({"every_command"}).output, "all answered\n");
    end_monitor();
    _camera.reset();
  }

  void expect_green_again_and_again(const std::vector<std::string>& camera_options) {
    record_everything(camera_options);
    const std::vector<std::string> options{"--expect", "--speed", "max", "--destructive"};
    for (int round = 0; round < rounds(); ++round) {
      start_camera(camera_options);
      const Outcome outcome = play("console", options);
      _camera.reset();
      ASSERT_EQ(outcome.status, 0) << round << outcome.output << outcome.errors;
    }
    const auto camera = start_replayed_camera("--loop --speed max --expect");
    for (int round = 0; round < rounds(); ++round) {
      const Outcome outcome = play("console", {"--expect", "--speed", "max", "--destructive"});
      ASSERT_EQ(outcome.status, 0) << round << outcome.output << outcome.errors;
    }
    camera->signal(SIGTERM);
    const std::string told = camera->read_all();
    EXPECT_EQ(camera->wait(), 0) << told;
  }
};

TEST_F(BusReplayTest, OfEveryCommandIsGreenAgainAndAgain) { expect_green_again_and_again({}); }

TEST_F(BusReplayTest, OfEveryCommandOfAThermalCameraIsGreenAgainAndAgain) {
  expect_green_again_and_again({"--thermal"});
}

TEST_F(BusReplayTest, FindsOneChangedByteInAReply) {
  const auto camera = [&] { start_camera(); };
  camera();
  start_monitor("-q -w whole");
  run({"vlm_test"}, "83 2.5\n82\nq\n");
  end_monitor();
  auto all = entries("whole");
  ASSERT_EQ(all.size(), 4U);
  all[3].packet[69] ^= 1;
  write_recording("recording", all);
  const Outcome outcome =
      play("console", {"--expect", "--speed", "max", "--junit", _folder / "junit.xml"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output.substr(0, outcome.output.find(':')), "packet 4 GET_ZOOM");
  EXPECT_NE(_folder.read("junit.xml").find("name=\"packet 4 GET_ZOOM\"><failure"),
            std::string::npos);
  const Outcome masked =
      play("console", {"--expect", "--speed", "max", "--mask", "lens.zoom", "--tap"});
  EXPECT_EQ(masked.status, 0);
  EXPECT_EQ(masked.output,
            "TAP version 13\n1..2\nok 1 - packet 2 SET_ZOOM\nok 2 - packet 4 GET_ZOOM\n");
}

TEST_F(BusReplayTest, SendsNothingDestructiveAndNothingRedactedUnasked) {
  Entry password = request(2, 44, Bytes(8, 0));
  password.comment = kRedacted;
  write_recording("recording", {request(0, 28), reply(1, 28), password, reply(3, 44),
                                request(4, 82), reply(5, 82, {0, 0, 128, 63})});
  start_camera();
  start_monitor();
  const Outcome outcome = play("console", {"--expect", "--speed", "max"});
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(outcome.output,
            "left out 2 requests: 1 destructive, 1 redacted\nequal: 1 equal, 0 different\n");
  const std::string seen = end_monitor();
  EXPECT_EQ(seen.find("RESET"), std::string::npos) << seen;
  EXPECT_EQ(seen.find("PASSWORD"), std::string::npos) << seen;
  EXPECT_EQ(play("console", {"--expect", "--speed", "max", "--destructive"}).output,
            "left out 1 requests: 1 redacted\nequal: 2 equal, 0 different\n");
}

TEST_F(BusReplayTest, TellsWhatItLeftOutAlsoWhereNothingIsCompared) {
  write_recording("recording", {request(0, 28), reply(1, 28)});
  start_camera();
  const Outcome outcome = play("console", {"--speed", "max"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors.substr(outcome.errors.find('\n') + 1),
            "left out 1 requests: 1 destructive\n");
}

TEST_F(BusReplayTest, IsNotEqualWhenItIsEndedBeforeItsEnd) {
  write_recording("recording", {request(0, 82), reply(1, 82, {0, 0, 128, 63}), request(60000, 82),
                                reply(60001, 82, {0, 0, 128, 63})});
  start_camera();
  start_monitor();
  const auto replay =
      start({"vlm_bus_replay", _folder / "recording", "--as", "console", "--expect"});
  _monitor->read_until("GET_ZOOM ok");
  replay->signal(SIGTERM);
  const std::string told = replay->read_all();
  EXPECT_EQ(replay->wait(), 1);
  EXPECT_NE(told.find("the replay: told to end before its end\ndiffers: "), std::string::npos)
      << told;
  const std::string seen = end_monitor();
  EXPECT_EQ(seen.find("GET_ZOOM"), std::string::npos) << seen;
}

TEST_F(BusReplayTest, AnswersTheNthTimeWithTheNthAnswer) {
  write_recording("recording",
                  {request(0, 82), reply(1, 82, {0, 0, 128, 63}), request(2, 82),
                   reply(3, 82, {0, 0, 0, 64}), request(4, 83, {0, 0, 0, 64}), reply(5, 83)});
  const auto camera = start_replayed_camera("--speed max");
  const std::string shown = run({"vlm_test"}, "82\n82\n83 2\n82\n83 3\nq\n").output;
  EXPECT_NE(shown.find("zoom"), std::string::npos);
  camera->signal(SIGTERM);
  EXPECT_EQ(camera->read_all(),
            "vlm_bus_replay: not recorded: GET_ZOOM\n"
            "vlm_bus_replay: not recorded: SET_ZOOM lens.zoom=3\n"
            "GET_ZOOM: a request came that was not recorded, or not that often\n"
            "SET_ZOOM: a request came that was not recorded, or not that often\n"
            "differs: 3 equal, 2 different\n");
  EXPECT_EQ(camera->wait(), 0);
  EXPECT_NE(shown.find("VLM unsupported command"), std::string::npos);
}

TEST_F(BusReplayTest, BeginsWithTheFirstAnswerAgainWhenItIsToLoop) {
  write_recording("recording", {request(0, 82), reply(1, 82, {0, 0, 128, 63}), request(2, 82),
                                reply(3, 82, {0, 0, 0, 64})});
  const auto camera = start_replayed_camera("--speed max --loop --expect");
  const std::string shown = run({"vlm_test"}, "82\n82\n82\nq\n").output;
  std::string zooms;
  for (const Match& zoom : matches_in(shown, "\nzoom = ([0-9.]+)")) zooms += zoom[1] + ' ';
  EXPECT_EQ(zooms, "1.0 2.0 1.0 ") << shown;
  camera->signal(SIGTERM);
  EXPECT_EQ(camera->read_all(), "equal: 3 equal, 0 different\n");
  EXPECT_EQ(camera->wait(), 0);
}

/// Milliseconds from request to reply, as the monitor saw it.
double round_trip_in(const std::string& lines) {
  const auto trips = matches_in(lines, "\"kind\":\"reply\".*\"round_trip_ms\":([0-9.]+)");
  return trips.empty() ? -1 : std::stod(trips[0][1]);
}

TEST_F(BusReplayTest, AnswersAsCameraAfterTheRecordedTimeOrAtOnce) {
  const auto round_trip = [&](const std::string& speed, std::int64_t recorded_ms) {
    write_recording("recording", {request(0, 82), reply(recorded_ms, 82, {0, 0, 128, 63})});
    const auto camera = start_replayed_camera("--speed " + speed);
    start_monitor("--json");
    run({"vlm_test"}, "82\nq\n");
    camera->signal(SIGTERM);
    EXPECT_EQ(camera->wait(), 0);
    return round_trip_in(end_monitor());
  };
  EXPECT_GE(round_trip("1", 300), 300);
  EXPECT_GE(round_trip("2.5", 500), 200);
  const double at_once = round_trip("max", 2900);
  EXPECT_GE(at_once, 0);
  EXPECT_LT(at_once, 2900);
}

TEST_F(BusReplayTest, SendsAsConsoleAtTheRecordedTimeOrAtOnceAndTellsTheSpeed) {
  write_recording("recording", {request(0, 82), reply(1, 82, {0, 0, 128, 63}), request(500, 82),
                                reply(501, 82, {0, 0, 128, 63})});
  start_camera();
  constexpr char kLine[] =
      "^vlm_bus_replay: 0\\.501 s of the recording played in ([0-9.]+) s, speed ([0-9.]+)\n$";
  for (const auto& [speed, least_s] : {std::pair("1", 0.5), {"2.5", 0.2}, {"max", 0.0}}) {
    const Outcome outcome = play("console", {"--expect", "--speed", speed});
    EXPECT_EQ(outcome.status, 0) << speed << outcome.output;
    const auto told = matches_in(outcome.errors, kLine);
    ASSERT_EQ(told.size(), 1U) << outcome.errors;
    ASSERT_EQ(told[0][0], outcome.errors);
    const double played_s = std::stod(told[0][1]);
    EXPECT_GE(played_s, least_s) << speed;
    if (played_s >= 0.1) {
      EXPECT_NEAR(std::stod(told[0][2]), 0.501 / played_s, 0.03) << outcome.errors;
    }
  }
}

TEST_F(BusReplayTest, PlaysASectionAtItsOwnSpeed) {
  write_recording("recording", {request(0, 1), reply(1, 1, {1}), request(1000, 82),
                                reply(1001, 82, {0, 0, 128, 63}), request(1400, 82),
                                reply(1401, 82, {0, 0, 128, 63}), request(9000, 3)});
  start_camera();
  const Outcome outcome =
      play("console", {"--expect", "--speed", "2", "--from", "0.9", "--to", "2"});
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(outcome.output, "equal: 2 equal, 0 different\n");
  EXPECT_EQ(outcome.errors.rfind("vlm_bus_replay: 0.401 s of the recording played in ", 0), 0U)
      << outcome.errors;
}

TEST_F(BusReplayTest, HasAStatusForEachEnd) {
  write_recording("recording", {request(0, 82), reply(1, 82, {0, 0, 128, 63})});
  EXPECT_EQ(play("console").status, 4) << "no camera";
  EXPECT_EQ(play("phone").status, 2);
  start_camera();
  EXPECT_EQ(play("console").status, 0);
  const std::string whole = _folder.read("recording");
  _folder.write("recording", whole.substr(0, whole.size() - 1));
  EXPECT_EQ(play("console", {"--expect"}).status, 3) << "cut off";
  _folder.write("recording");
  EXPECT_EQ(play("console").status, 3) << "empty";
  EXPECT_EQ(run({"vlm_bus_replay", _folder / "missing", "--as", "console"}).status, 3);
  EXPECT_EQ(run({"vlm_bus_replay", _folder.path(), "--as", "console"}).status, 3) << "a directory";
}

TEST_F(BusReplayTest, PlaysAsCameraWhatIsWholeOfAFileThatIsCutOff) {
  write_recording("recording", {request(0, 82), reply(1, 82, {0, 0, 128, 63}), request(2, 83)});
  const std::string whole = _folder.read("recording");
  _folder.write("recording", whole.substr(0, whole.size() - 1));
  const auto camera = start_replayed_camera("--speed max --expect");
  run({"vlm_test"}, "82\nq\n");
  camera->signal(SIGTERM);
  EXPECT_EQ(camera->read_all(), "equal: 1 equal, 0 different\n");
  EXPECT_EQ(camera->wait(), 3);
}

TEST_F(BusReplayTest, SaysThatThereIsNoBus) {
  write_recording("recording", {request(0, 82)});
  _folder.write("bus");
  for (const char* const role : {"console", "camera"}) EXPECT_EQ(play(role).status, 4) << role;
}

TEST_F(BusReplayTest, FindsMissingAndSuperfluousAnswers) {
  write_recording("recording", {request(0, 6), reply(1, 6, {0}), request(600, 82), request(4000, 5),
                                reply(4001, 5, {}, 6)});
  start_camera({"--mute", "6"});
  const Outcome outcome = play("console", {"--expect", "--speed", "max"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output,
            "packet 2 GET_CAMERA_STATUS: no answer came\n"
            "GET_ZOOM: an answer came that the recording does not have there\n"
            "differs: 1 equal, 2 different\n");
}

}  // namespace
