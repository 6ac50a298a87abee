// What a replay compares, and how it tells what it found.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bus_packets.h"
#include "monitor_options.h"
#include "replay_compare.h"
#include "replay_options.h"
#include "replay_result.h"
#include "temporary_directory.h"

using namespace vlm::monitor;

namespace {

TEST(ReplayCompare, FindsOneChangedByte) {
  const Entry recorded = reply(0, 82, {0, 0, 32, 64});
  EXPECT_EQ(difference(recorded, reply(5, 82, {0, 0, 32, 64}), {}), "");
  EXPECT_EQ(difference(recorded, reply(5, 82, {0, 0, 64, 64}), {}),
            "lens.zoom is 3, recorded 2.5 (byte 69 is 0x40, recorded 0x20)");
  for (std::size_t i = 0; i < recorded.packet.size(); ++i) {
    Entry changed = recorded;
    changed.packet[i] ^= 0x55;
    EXPECT_NE(difference(recorded, changed, {}), "") << i;
  }
  Entry cut = recorded;
  cut.packet.pop_back();
  EXPECT_EQ(difference(recorded, cut, {}), "320 bytes, recorded 321");
}

TEST(ReplayCompare, NamesCodeAndResult) {
  EXPECT_EQ(difference(reply(0, 82), reply(0, 83), {}), "SET_ZOOM came, recorded GET_ZOOM");
  EXPECT_EQ(difference(reply(0, 5), reply(0, 5, {}, 6), {}),
            "error 6 (VLM is not recording), recorded ok");
  EXPECT_EQ(difference(reply(0, 5, {}, 6), reply(0, 5), {}),
            "ok, recorded error 6 (VLM is not recording)");
}

TEST(ReplayCompare, LeavesOutWhatChangesByItselfAndWhatIsMasked) {
  // The recording time runs.
  EXPECT_EQ(difference(reply(0, 29, {1}), reply(0, 29, {9}), {}), "");
  const Entry zoom = reply(0, 82, {0, 0, 32, 64});
  const Entry other = reply(0, 82, {0, 0, 64, 64});
  EXPECT_EQ(difference(zoom, other, {"lens.zoom"}), "");
  EXPECT_NE(difference(zoom, other, {"lens.focus"}), "");
  // Width, height, rate: the rate is byte 4 of the reply.
  EXPECT_EQ(
      difference(reply(0, 15, {1, 1, 1, 1, 30}), reply(0, 15, {1, 1, 1, 1, 60}), {"video.fps"}),
      "");
  EXPECT_NE(
      difference(reply(0, 15, {1, 1, 1, 1, 30}), reply(0, 15, {2, 1, 1, 1, 60}), {"video.fps"}),
      "");
}

class ReplayResultTest : public testing::Test {
 protected:
  ReplayResultTest() {
    _result.equal(2, "GET_ZOOM");
    _result.differs(4, "GET_\"IRIS\"", "iris is <5>, recorded 6");
    _result.left_out(5, "FORMAT_SDCARD", "destructive");
    _result.left_out(7, "SET_WIFI_PASSWORD", "redacted");
    _result.differs(0, "SET_ISO", "an answer too many");
  }

  ReplayResult _result;
};

TEST_F(ReplayResultTest, IsTold) {
  EXPECT_TRUE(_result.has_difference());
  EXPECT_EQ(_result.text(),
            "packet 4 GET_\"IRIS\": iris is <5>, recorded 6\n"
            "SET_ISO: an answer too many\n"
            "left out 2 requests: 1 destructive, 1 redacted\n"
            "differs: 1 equal, 2 different\n");
}

TEST_F(ReplayResultTest, IsToldAsTap) {
  EXPECT_EQ(_result.tap(),
            "TAP version 13\n"
            "1..5\n"
            "ok 1 - packet 2 GET_ZOOM\n"
            "not ok 2 - packet 4 GET_\"IRIS\"\n"
            "# iris is <5>, recorded 6\n"
            "ok 3 - packet 5 FORMAT_SDCARD # SKIP destructive\n"
            "ok 4 - packet 7 SET_WIFI_PASSWORD # SKIP redacted\n"
            "not ok 5 - SET_ISO\n"
            "# an answer too many\n");
}

TEST_F(ReplayResultTest, IsToldAsJunit) {
  EXPECT_EQ(_result.junit("a & b"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<testsuite name=\"a &amp; b\" tests=\"5\" failures=\"2\" skipped=\"2\">\n"
            "  <testcase classname=\"vlm_bus_replay\" name=\"packet 2 GET_ZOOM\"/>\n"
            "  <testcase classname=\"vlm_bus_replay\" name=\"packet 4 GET_&quot;IRIS&quot;\">"
            "<failure message=\"iris is &lt;5&gt;, recorded 6\"/></testcase>\n"
            "  <testcase classname=\"vlm_bus_replay\" name=\"packet 5 FORMAT_SDCARD\">"
            "<skipped message=\"destructive\"/></testcase>\n"
            "  <testcase classname=\"vlm_bus_replay\" name=\"packet 7 SET_WIFI_PASSWORD\">"
            "<skipped message=\"redacted\"/></testcase>\n"
            "  <testcase classname=\"vlm_bus_replay\" name=\"SET_ISO\">"
            "<failure message=\"an answer too many\"/></testcase>\n"
            "</testsuite>\n");
}

std::string replay_fault(const std::vector<std::string>& arguments) {
  ReplayOptions options;
  std::string error;
  const bool valid = parse_replay_options(arguments, options, error);
  EXPECT_EQ(valid, error.empty());
  return error;
}

TEST(ReplayOptionsTest, AreChecked) {
  EXPECT_EQ(replay_fault({"f", "--as", "console", "--speed", "max", "--from", "1", "--to=2"}), "");
  EXPECT_EQ(replay_fault({"f", "--as", "camera", "--expect", "--mask", "video.fps", "--tap"}), "");
  EXPECT_EQ(replay_fault({"--as", "camera"}), "no recording given");
  EXPECT_EQ(replay_fault({"f"}), "--as console or --as camera is missing");
  EXPECT_EQ(replay_fault({"f", "g", "--as", "camera"}), "unexpected argument g");
  EXPECT_EQ(replay_fault({"f", "--as", "phone"}), "bad value for --as: phone");
  EXPECT_EQ(replay_fault({"f", "--as", "camera", "--speed", "0"}), "bad value for --speed: 0");
  EXPECT_EQ(replay_fault({"f", "--as", "camera", "--speed", "nan"}), "bad value for --speed: nan");
  EXPECT_EQ(replay_fault({"f", "--as", "camera", "--speed"}), "--speed needs a value");
  EXPECT_EQ(replay_fault({"f", "--as", "console", "--expect", "--mask", "lens"}),
            "bad value for --mask: lens");
  EXPECT_EQ(replay_fault({"f", "--as", "console", "--tap"}),
            "--mask, --tap and --junit need --expect");
  EXPECT_EQ(replay_fault({"f", "--as", "console", "--from", "3", "--to", "2"}),
            "--from lies behind --to");
  EXPECT_EQ(replay_fault({"f", "--as", "console", "--loop"}), "--loop is the camera's");
  EXPECT_EQ(replay_fault({"f", "--as", "camera", "--destructive"}),
            "--destructive is the console's");
  EXPECT_EQ(replay_fault({"f", "--as", "console", "--expect", "--junit", "f"}),
            "the recording cannot be written");
  EXPECT_EQ(replay_fault({"f", "--nonsense"}), "unknown option --nonsense");
}

TEST(ReplayOptionsTest, PaceWhatWasRecorded) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  ReplayOptions options;
  EXPECT_EQ(options.paced(5 * kSecond).count(), 5 * kSecond);
  options.speed = 2.5;
  EXPECT_EQ(options.paced(5 * kSecond).count(), 2 * kSecond);
  options.speed = 0;
  EXPECT_EQ(options.paced(5 * kSecond).count(), 0);
  options.speed = 0.001;
  EXPECT_EQ(options.paced(std::int64_t{1} << 61).count(), kSecond * kSecond);
  EXPECT_EQ(options.paced(-(std::int64_t{1} << 61)).count(), 0);
}

std::string monitor_fault(const std::vector<std::string>& arguments) {
  MonitorOptions options;
  std::string error;
  const bool valid = parse_monitor_options(arguments, options, error);
  EXPECT_EQ(valid, error.empty());
  return error;
}

TEST(MonitorOptionsTest, AreChecked) {
  EXPECT_EQ(monitor_fault({}), "");
  EXPECT_EQ(monitor_fault({"-w", "f", "--rotate", "64M", "--keep", "10", "--redact"}), "");
  EXPECT_EQ(monitor_fault({"-r", "f", "--svg", "a", "--csv=b", "--filter", "code=1 err=0"}), "");
  EXPECT_EQ(monitor_fault({"--rotate", "64M"}), "--rotate needs -w");
  EXPECT_EQ(monitor_fault({"-w", "f", "--keep", "3"}), "--keep needs --rotate");
  EXPECT_EQ(monitor_fault({"--svg", "f"}), "--svg and --csv need -r");
  EXPECT_EQ(monitor_fault({"-r", "f", "-w", "f"}), "the file that is read cannot be written");
  TemporaryDirectory folder;
  folder.write("f");
  std::filesystem::create_symlink("f", folder / "link");
  for (const char* const option : {"-w", "--svg", "--csv"}) {
    EXPECT_EQ(monitor_fault({"-r", folder / "f", option, folder / "link"}),
              "the file that is read cannot be written");
  }
  EXPECT_EQ(monitor_fault({"--filter", "colour=red"}), "no filter: colour=red");
  EXPECT_EQ(monitor_fault({"-w", "f", "--rotate", "0"}), "bad value for --rotate: 0");
  EXPECT_EQ(monitor_fault({"-w", "f", "--rotate", "5T"}), "bad value for --rotate: 5T");
  EXPECT_EQ(monitor_fault({"--json=yes"}), "--json takes no value");
  EXPECT_EQ(monitor_fault({"file"}), "unexpected argument file");
}

TEST(MonitorOptionsTest, ReadSizesWithTheirUnits) {
  MonitorOptions options;
  std::string error;
  ASSERT_TRUE(parse_monitor_options({"-w", "f", "--rotate", "64M"}, options, error)) << error;
  EXPECT_EQ(options.rotation.size, 64U << 20);
  EXPECT_EQ(options.rotation.keep, 10U);
}

}  // namespace
