// Recordings of real programs, played back in both roles.
#include <gtest/gtest.h>

#include <string>

#include "bus_packets.h"
#include "bus_recording_fixture.h"
#include "pcapng_writer.h"

using namespace vlm::monitor;

namespace {

constexpr int kRounds = 200;

class BusReplayTest : public BusRecordingFixture {
 protected:
  void write_recording(const std::string& name, const std::vector<Entry>& entries) const {
    std::string bytes;
    PcapngWriter writer;
    writer.begin("test", bytes);
    for (const Entry& entry : entries) writer.add(entry, bytes);
    _folder.write(name, bytes);
  }

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
    for (int round = 0; round < kRounds; ++round) {
      start_camera(camera_options);
      const Outcome outcome = play("console", options);
      _camera.reset();
      ASSERT_EQ(outcome.status, 0) << round << outcome.output << outcome.errors;
    }
    const auto camera = start_replayed_camera("--loop --speed max --expect");
    for (int round = 0; round < kRounds; ++round) {
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
