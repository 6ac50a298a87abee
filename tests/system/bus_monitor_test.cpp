// The bus monitor beside the real programs, and its files in the hands of the field's tools.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <string>

#include "bus_recording_fixture.h"

using namespace vlm::monitor;

namespace {

class BusMonitorTest : public BusRecordingFixture {
 protected:
  /// Without times and without the probes of programs that come up.
  static std::string plain(const std::string& lines) {
    std::string text = std::regex_replace(lines, std::regex("[^\n]* probe   PROBE\n"), "");
    text = std::regex_replace(text, std::regex("(^|\n) *[0-9-]+ +[0-9.]+ "), "$1");
    return std::regex_replace(text, std::regex("[0-9.]+ ms"), "T ms");
  }
};

TEST_F(BusMonitorTest, ShowsTheConsolesRequestsAndTheCamerasAnswers) {
  start_monitor();
  start_camera();
  run({"vlm_test"}, "83 2.5\n82\n5\nq\n");
  EXPECT_EQ(plain(end_monitor()),
            "request SET_ZOOM lens.zoom=2.5\n"
            "reply   SET_ZOOM ok T ms\n"
            "request GET_ZOOM\n"
            "reply   GET_ZOOM ok T ms lens.zoom=2.5\n"
            "request STOP_RECORD\n"
            "reply   STOP_RECORD error 6 (VLM is not recording) T ms\n");
}

TEST_F(BusMonitorTest, ShowsTheTimeOutOfARequestAsItRunsOut) {
  start_camera({"--mute", "82"});
  start_monitor();
  const auto console = start({"vlm_test", "82"});
  EXPECT_EQ(plain(_monitor->read_until("[no answer]\n")),
            "request GET_ZOOM\ntimeout GET_ZOOM request 1 after T ms [no answer]\n");
  end_monitor();
}

TEST_F(BusMonitorTest, ChoosesByChannelAndFilter) {
  start_camera();
  start_monitor("--channel velmar_udp_repeater --filter 'err!=0 code=STOP_RECORD'");
  run({"vlm_test"}, "83 2.5\n5\nq\n");
  EXPECT_EQ(plain(end_monitor()), "reply   STOP_RECORD error 6 (VLM is not recording) T ms\n");
}

TEST_F(BusMonitorTest, IsNoCamera) {
  start_monitor();
  EXPECT_EQ(run({"vlm_bus_probe", "velmar_repeater_udp"}).status, 1);
}

TEST_F(BusMonitorTest, RecordsForItsOwnerAloneAndReadsItBack) {
  start_camera();
  start_monitor("-w recording");
  run({"vlm_test"}, "83 2.5\n82\nq\n");
  const std::string shown = end_monitor();
  EXPECT_EQ(run({"vlm_bus_monitor", "-r", _folder / "recording"}).output, shown);
  EXPECT_EQ(shell("stat -c %a recording").output, "600\n");
}

TEST_F(BusMonitorTest, BlanksPasswords) {
  start_camera();
  start_monitor("-w recording --redact");
  run({"vlm_test"}, "44 openSesame\nq\n");
  end_monitor();
  EXPECT_NE(shell("grep -c openSesame recording").status, 0);
  EXPECT_EQ(plain(run({"vlm_bus_monitor", "-r", _folder / "recording"}).output),
            "request SET_WIFI_PASSWORD wifi.password=*** (redacted)\n"
            "reply   SET_WIFI_PASSWORD ok T ms (redacted)\n");
}

TEST_F(BusMonitorTest, RecordsAFloodWithoutLossOrTellsTheLossToThePacket) {
  constexpr int kPackets = 20000;
  start_monitor("-q -w recording");
  EXPECT_EQ(run({"bus_peer", "flood", "flooded", "sender", std::to_string(kPackets)}).status, 0);
  end_monitor();
  std::uint64_t sum = 0;
  for (const Entry& entry : entries("recording")) {
    sum += entry.packet.empty() ? loss_in(entry.comment) : 1;
  }
  EXPECT_EQ(sum, static_cast<std::uint64_t>(kPackets));
}

TEST_F(BusMonitorTest, TellsWhatItLostWhileItWasStopped) {
  constexpr int kPackets = 20000;
  start_monitor("-q -w recording");
  _monitor->signal(SIGSTOP);
  EXPECT_EQ(run({"bus_peer", "flood", "flooded", "sender", std::to_string(kPackets)}).status, 0);
  _monitor->signal(SIGCONT);
  end_monitor();
  std::uint64_t packets = 0;
  std::uint64_t lost = 0;
  for (const Entry& entry : entries("recording")) {
    packets += entry.packet.empty() ? 0 : 1;
    lost += loss_in(entry.comment);
  }
  EXPECT_GT(packets, 0U);
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(packets + lost, static_cast<std::uint64_t>(kPackets));
}

TEST_F(BusMonitorTest, LeavesAWholeFileWhenItIsKilled) {
  start_camera();
  start_monitor("-w recording");
  run({"vlm_test"}, "83 2.5\nq\n");
  _monitor->read_until("SET_ZOOM ok");  // shown, so written
  _monitor->signal(SIGKILL);
  _monitor->wait();
  PcapngReader::Outcome end{};
  EXPECT_EQ(entries("recording", &end).size(), 2U);
  EXPECT_EQ(end, PcapngReader::kEnd);
  // What is left of it on the bus is no hindrance, and goes with the next publisher.
  EXPECT_NE(run({"vlm_test", "82"}).output.find("zoom"), std::string::npos);
  EXPECT_EQ(shell("ls bus | grep -c tap-").output, "0\n");
}

TEST_F(BusMonitorTest, EndsOnEachSignalWithItsRecordingWhole) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    start_monitor("-w recording");
    EXPECT_EQ(run({"bus_peer", "flood", "c", "sender", "100"}).status, 0);
    _monitor->signal(number);
    _monitor->read_all();
    EXPECT_EQ(_monitor->wait(), 0);
    EXPECT_EQ(entries("recording").size(), 100U);
    EXPECT_EQ(shell("ls bus | grep -c tap-").output, "0\n");
  }
}

TEST_F(BusMonitorTest, SaysWhatItCannotRead) {
  const auto fails = [&](const std::string& name, int status, const std::string& why) {
    const Outcome outcome = run({"vlm_bus_monitor", "-r", _folder / name});
    EXPECT_EQ(outcome.status, status) << name;
    EXPECT_EQ(outcome.errors, "vlm_bus_monitor: " + (_folder / name) + ": " + why + "\n");
  };
  _folder.write("empty");
  _folder.write("text", "no recording at all");
  _folder.make_dir("folder");
  fails("empty", 1, "the file is empty");
  fails("text", 1, "not a pcapng file");
  fails("folder", 1, "a directory, not a file");
  fails("missing", 1, "No such file or directory");
  start_monitor("-q -w recording");
  EXPECT_EQ(run({"bus_peer", "flood", "c", "sender", "3"}).status, 0);
  end_monitor();
  const std::string whole = _folder.read("recording");
  _folder.write("cut", whole.substr(0, whole.size() - 1));
  const Outcome cut = run({"vlm_bus_monitor", "-r", _folder / "cut"});
  EXPECT_EQ(cut.status, 3);
  EXPECT_EQ(std::count(cut.output.begin(), cut.output.end(), '\n'), 2);
}

TEST_F(BusMonitorTest, SaysThatThereIsNoBus) {
  _folder.write("bus");
  const Outcome outcome = run({"vlm_bus_monitor"});
  EXPECT_EQ(outcome.status, 4);
  EXPECT_EQ(outcome.errors, "vlm_bus_monitor: cannot use the bus directory " + (_folder / "bus") +
                                ": Not a directory\n");
}

TEST_F(BusMonitorTest, WritesFilesThatTheFieldsToolsRead) {
  start_camera();
  start_monitor("-q -w recording");
  run({"vlm_test"}, "1\n83 2.5\n82\n5\nq\n");
  end_monitor();
  EXPECT_EQ(shell("capinfos -Tmc recording | tail -n 1 | cut -d, -f2").output, "8\n");
  // Other tools' writings of it are read as well.
  ASSERT_EQ(shell("editcap -r recording part 3-6").status, 0);
  EXPECT_EQ(plain(run({"vlm_bus_monitor", "-r", _folder / "part"}).output),
            "request SET_ZOOM lens.zoom=2.5\n"
            "reply   SET_ZOOM ok T ms\n"
            "request GET_ZOOM\n"
            "reply   GET_ZOOM ok T ms lens.zoom=2.5\n");
  ASSERT_EQ(shell("editcap -r recording rest 1-2 7-8 && mergecap -w merged rest part").status, 0);
  EXPECT_EQ(run({"vlm_bus_monitor", "-r", _folder / "merged"}).output,
            run({"vlm_bus_monitor", "-r", _folder / "recording"}).output);
  ASSERT_EQ(shell("editcap -F pcap -T ether recording foreign.pcap").status, 0);
  EXPECT_EQ(run({"vlm_bus_monitor", "-r", _folder / "foreign.pcap"}).status, 1);
}

}  // namespace
