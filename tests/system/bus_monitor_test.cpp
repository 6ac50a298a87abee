// The bus monitor beside the real programs, and its files in the hands of the field's tools.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <string>

#include "bus_packets.h"
#include "bus_recording_fixture.h"
#include "numbered_packet.h"
#include "pattern.h"
#include "tap.h"

using namespace vlm::monitor;

namespace {

class BusMonitorTest : public BusRecordingFixture {
 protected:
  /// Without times and without the probes of programs that come up.
  static std::string plain(const std::string& lines) {
    std::string text = replaced(lines, "[^\n]* probe   PROBE\n", "");
    text = replaced(text, "(^|\n) *[0-9-]+ +[0-9.]+ ", "$1");
    return replaced(text, "[0-9.]+ ms", "T ms");
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
  start_monitor("-w recording");
  _monitor->stop();
  EXPECT_EQ(run({"bus_peer", "flood", "flooded", "sender", std::to_string(kPackets)}).status, 0);
  _monitor->resume();
  const std::string shown = end_monitor();
  std::uint64_t marked = 0;
  for (const Match& mark : matches_in(shown, " \\[dropped ([0-9]+)\\]\n")) {
    marked += std::stoull(mark[1]);
  }
  std::uint64_t packets = 0;
  std::uint64_t lost = 0;
  for (const Entry& entry : entries("recording")) {
    packets += entry.packet.empty() ? 0 : 1;
    lost += loss_in(entry.comment);
  }
  EXPECT_GT(packets, 0U);
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(packets + lost, static_cast<std::uint64_t>(kPackets));
  EXPECT_EQ(marked, lost);
  // Other tools show it as the comment of a packet.
  EXPECT_EQ(shell("tshark -r recording -Y frame.comment -T fields -e frame.comment 2>tshark.log | "
                  "awk '{ sum += $1 } / packets lost$/ { n += $1 } END { print n - sum, n }'")
                .output,
            "0 " + std::to_string(lost) + '\n');
}

TEST_F(BusMonitorTest, TellsWhatASubscriberDidNotTake) {
  start_monitor("--channel elsewhere -w recording");
  const auto subscriber = start({"bus_peer", "listen", "subscribed"});
  ASSERT_EQ(run({"vlm_bus_probe", "subscribed", "--wait", "20000"}).status, 0);
  subscriber->stop();
  // More than a socket holds, less than the tap does.
  EXPECT_EQ(run({"bus_peer", "flood", "subscribed", "sender", "700"}).status, 0);
  const std::string shown = plain(end_monitor());
  const std::string name = "subscribed." + std::to_string(subscriber->pid()) + ".1";
  EXPECT_EQ(shown, "note    " + name + " does not take its packets; dropped so far: 1\n");
  const auto all = entries("recording");
  EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const Entry& e) { return !e.packet.empty(); }),
            700);
}

TEST_F(BusMonitorTest, KeepsItsTimesWhenTheWallClockIsSet) {
  _folder.write("step", "0");
  start_monitor("-w recording", "LD_PRELOAD=" STEPPED_CLOCK " STEPPED_CLOCK=step");
  const auto publish_one = [&] {
    EXPECT_EQ(run({"bus_peer", "flood", "c", "sender", "1"}).status, 0);
    _monitor->read_until("other   c ");
  };
  publish_one();
  _folder.write("step", "3600");
  _monitor->read_until(" note    the wall clock was set by +3");
  publish_one();
  _folder.write("step", "0");
  _monitor->read_until(" note    the wall clock was set by -3");
  end_monitor();
  const auto all = entries("recording");
  ASSERT_EQ(all.size(), 4U);
  constexpr char kComment[] = "the wall clock was set by [+-]3(600\\.0|599\\.9)[0-9]{5} s";
  EXPECT_TRUE(is_like(all[1].comment, kComment)) << all[1].comment;
  EXPECT_TRUE(is_like(all[3].comment, kComment)) << all[3].comment;
  for (std::size_t i = 1; i < all.size(); ++i) {
    EXPECT_GE(all[i].time_ns, all[i - 1].time_ns);
    EXPECT_LT(all[i].time_ns, all[i - 1].time_ns + 1000 * kMsNs * 600);
  }
}

/// Nanoseconds that the process could have run and did not get a processor.
std::uint64_t starved_ns(pid_t pid) {
  std::uint64_t ran = 0;
  std::uint64_t waited = 0;
  std::ifstream("/proc/" + std::to_string(pid) + "/schedstat") >> ran >> waited;
  return waited;
}

std::uint64_t steady_ns() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

std::uint32_t number_in(const std::vector<unsigned char>& bytes) {
  userlcm_packet_t packet{};
  std::memcpy(&packet, bytes.data(), bytes.size());
  const auto words = description_of(packet, static_cast<unsigned int>(bytes.size()));
  return static_cast<std::uint32_t>(std::stoul(words.substr(words.find(' '))));
}

// The test has a tap of its own, which tells what was published and when.
TEST_F(BusMonitorTest, ThatIsKilledUnderLoadHasWrittenAllButTheLast100Ms) {
  constexpr std::size_t kPackets = 10000;
  constexpr std::uint64_t kMostNs = 100'000'000;
  start_monitor("-q -w recording");
  setenv("VLM_BUS_DIR", (_folder / "bus").c_str(), 1);
  std::string error;
  auto tap = vlm::bus::Tap::open(error);
  ASSERT_TRUE(tap) << error;
  const std::uint64_t starved_before = starved_ns(_monitor->pid());
  const auto publisher = start({"bus_peer", "pace", "paced", "sender", "20000"});
  std::vector<vlm::bus::TapCopy> copies;
  const std::uint64_t deadline = steady_ns() + 30'000'000'000;
  while (copies.size() < kPackets && steady_ns() < deadline) {
    tap->take(copies);
    std::this_thread::yield();
  }
  const std::uint64_t starved = starved_ns(_monitor->pid()) - starved_before;
  const std::uint64_t killed_ns = steady_ns();
  _monitor->signal(SIGKILL);
  _monitor->wait();
  publisher->signal(SIGKILL);
  tap->take(copies);
  ASSERT_GE(copies.size(), kPackets);
  const auto recorded = entries("recording");
  ASSERT_FALSE(recorded.empty());
  const std::uint32_t last = number_in(recorded.back().packet);
  EXPECT_GT(last, 0U);
  for (const vlm::bus::TapCopy& copy : copies) {
    if (copy.lost != 0 || number_in(copy.packet) <= last) continue;
    EXPECT_LE(killed_ns - std::min(killed_ns, copy.time_ns), kMostNs + starved)
        << "packet " << number_in(copy.packet) << " is not in the file, which ends with " << last;
    break;
  }
}

TEST_F(BusMonitorTest, RotatesItsFiles) {
  start_monitor("-q -w recording --rotate 1K --keep 3");
  std::size_t published = 0;
  for (; published < 10000 && !_folder.has("recording.2"); published += 10) {
    EXPECT_EQ(run({"bus_peer", "flood", "c", "sender", "10"}).status, 0);
  }
  end_monitor();
  std::size_t kept = 0;
  for (const char* const name : {"recording", "recording.1", "recording.2"}) {
    PcapngReader::Outcome outcome{};
    kept += entries(name, &outcome).size();
    EXPECT_EQ(outcome, PcapngReader::kEnd) << name;
  }
  EXPECT_GT(kept, 0U);
  EXPECT_LE(kept, published);
  EXPECT_FALSE(_folder.has("recording.3"));
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

TEST_F(BusMonitorTest, EndsOnASignalWhileNobodyReadsThePipeItIsToRecordTo) {
  Process monitor({"/bin/sh", "-c",
                   "cd " + _folder.path() + " && mkfifo pipe && echo waits && exec " +
                       program_in_shell("vlm_bus_monitor") + " -w pipe"},
                  environment());
  monitor.read_until("waits");
  monitor.signal(SIGTERM);
  EXPECT_EQ(monitor.wait(), 128 + SIGTERM);
}

TEST_F(BusMonitorTest, LeavesARecordingThatIsThereWhereThereIsNoBus) {
  _folder.write("bus");
  _folder.write("recording", "an older one");
  EXPECT_EQ(run({"vlm_bus_monitor", "-w", _folder / "recording"}).status, 4);
  EXPECT_EQ(_folder.read("recording"), "an older one");
}

TEST_F(BusMonitorTest, SaysThatItCannotRecordAnyMore) {
  start_monitor("-q -w recording", "sh -c 'trap \"\" XFSZ; ulimit -f 16; exec \"$0\" \"$@\"'");
  // Many blocks of 512 bytes more than it may write.
  EXPECT_EQ(run({"bus_peer", "flood", "c", "sender", "1000"}).status, 0);
  EXPECT_EQ(_monitor->read_all(), "vlm_bus_monitor: cannot write recording: File too large\n");
  EXPECT_EQ(_monitor->wait(), 1);
  EXPECT_FALSE(entries("recording").empty());
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

TEST_F(BusMonitorTest, SaysOfFilesOfOtherToolsWhatTheyAre) {
  ASSERT_EQ(shell("printf '0000 01 02 03 04\n' | text2pcap -q - text2pcap.pcapng && "
                  "printf '0000 01 02 03 04\n' | text2pcap -q -F pcap - text2pcap.pcap && "
                  "editcap -F pcap text2pcap.pcapng editcap.pcap && "
                  "editcap -r text2pcap.pcapng no_packet.pcapng 9")
                .status,
            0);
  const std::string pcapng = "a pcapng file without a packet of the bus";
  const std::string pcap = "a pcap file; recordings of the bus are pcapng";
  const std::map<std::string, std::string> files{{"text2pcap.pcapng", pcapng},
                                                 {"no_packet.pcapng", pcapng},
                                                 {"text2pcap.pcap", pcap},
                                                 {"editcap.pcap", pcap}};
  for (const auto& [name, why] : files) {
    const Outcome shown = run({"vlm_bus_monitor", "-r", _folder / name});
    EXPECT_EQ(shown.status, 1) << name;
    EXPECT_EQ(shown.errors, "vlm_bus_monitor: " + (_folder / name) + ": " + why + "\n");
    EXPECT_EQ(shown.output, "");
    const Outcome played = run({"vlm_bus_replay", _folder / name, "--as", "console"});
    EXPECT_EQ(played.status, 3) << name;
    EXPECT_EQ(played.errors, "vlm_bus_replay: " + (_folder / name) + ": " + why + "\n");
  }
}

TEST_F(BusMonitorTest, ColoursLinesOnATerminalAlone) {
  write_recording("recording", {request(0, 83, {0, 0, 32, 64}), reply(2, 83, {}, 75), reply(3, 5)});
  const std::string command =
      "cd " + _folder.path() + " && exec " + program_in_shell("vlm_bus_monitor") + " -r recording";
  Process terminal({"/bin/sh", "-c", command}, environment(), Process::kPty);
  EXPECT_EQ(
      terminal.read_all(),
      "     1     0.000000 request \033[36mSET_ZOOM\033[0m lens.zoom=2.5\n"
      "     2     0.002000 reply   \033[36mSET_ZOOM\033[0m "
      "\033[31merror 75 (VLM err invalid param)\033[0m 2.000 ms\n"
      "     3     0.003000 reply   \033[36mSTOP_RECORD\033[0m ok \033[1;33m[unasked]\033[0m\n");
  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_EQ(shell(command).output,
            "     1     0.000000 request SET_ZOOM lens.zoom=2.5\n"
            "     2     0.002000 reply   SET_ZOOM error 75 (VLM err invalid param) 2.000 ms\n"
            "     3     0.003000 reply   STOP_RECORD ok [unasked]\n");
}

/// What stands on a terminal after `output`, which moves the cursor up and erases what is below it.
std::vector<std::string> screen_after(const std::string& output) {
  std::vector<std::string> screen;
  std::size_t row = 0;
  for (const Match& part : matches_in(output, "\033\\[([0-9]+)A|\033\\[J|([^\033\n]*)\n")) {
    if (part[0] == "\033[J") {
      screen.resize(row);
    } else if (!part[1].empty()) {
      row -= std::min(row, static_cast<std::size_t>(std::stoul(part[1])));
    } else {
      screen.resize(std::max(screen.size(), row + 1));
      screen[row++] = part[2];
    }
  }
  return screen;
}

TEST_F(BusMonitorTest, RefreshesItsStatisticsInPlaceOnATerminal) {
  Process terminal({program("vlm_bus_monitor"), "--stats"}, environment(), Process::kPty);
  std::string output = terminal.read_until("0 packets in");
  start_camera();
  run({"vlm_test"}, "83 2.5\n82\nq\n");
  output += terminal.read_until("\nGET_ZOOM  ");
  output += terminal.read_until("\nSET_ZOOM  ");
  run({"vlm_test"}, "5\nq\n");
  terminal.signal(SIGINT);
  output += terminal.read_all();
  EXPECT_EQ(terminal.wait(), 0);
  const auto screen = screen_after(output);
  ASSERT_EQ(screen.size(), 5U) << output;
  EXPECT_EQ(screen[0].rfind("command  ", 0), 0U);
  const auto row = [](const std::string& name, int errors) {
    return name + " +1 +" + std::to_string(errors) + " +0( +[0-9.]+){4}";
  };
  EXPECT_TRUE(is_like(screen[1], row("GET_ZOOM", 0))) << screen[1];
  EXPECT_TRUE(is_like(screen[2], row("SET_ZOOM", 0))) << screen[2];
  EXPECT_TRUE(is_like(screen[3], row("STOP_RECORD", 1))) << screen[3];
  EXPECT_NE(screen[4].find("; no answer 0, unasked 0, crossed 0, dropped 0"), std::string::npos);
  // Elsewhere there is one table, at the end.
  write_recording("recording", {request(0, 5), reply(1, 5, {}, 6)});
  const std::string piped = run({"vlm_bus_monitor", "--stats", "-r", _folder / "recording"}).output;
  EXPECT_EQ(piped.find('\033'), std::string::npos);
  EXPECT_EQ(std::count(piped.begin(), piped.end(), '\n'), 3);
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
}

}  // namespace
