// What the bus monitor records of 20,000 packets a second, on one core that it shares with who
// publishes them, and what processor time each packet takes it:
//
//   copied       no monitor: the same packets through a pipe to a process that writes them to a file,
//                every 5 ms, as the monitor does
//   recorded     requests and their answers, by turns, into a file alone
//   shown        the same, and a line for each to /dev/null
//   unanswered   requests alone, whose time runs out later, likewise
//
// Each packet carries its number: those that are missing in the recording must be those that it says
// were lost, to the packet.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"
#include "pcapng_reader.h"
#include "temporary_directory.h"
#include "vlm_userlcm_control_camera.h"

namespace {

using namespace vlm::bench;
using namespace vlm::monitor;

constexpr int kRate = 20'000;  // packets a second
constexpr int kGetZoom = UDP_CTRL_CAM_GET_ZOOM;
constexpr std::size_t kNumberAt = offsetof(userlcm_packet_t, msg_buf) +
                                  offsetof(msg_from_rep_t, msg_data) +
                                  offsetof(udp_ctrl_cam_t, cmd_params);

/// Waits for the end of a process, which has to be a good one; the seconds of processor time it took.
double seconds_taken(pid_t pid) {
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid || status != 0) give_up("the recording process failed");
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The monitor, recording to a file. On the cores of this process.
class Monitor {
 public:
  Monitor(const std::string& file, bool shows) {
    int ends[2];
    if (pipe(ends) != 0) give_up("pipe");
    std::fflush(stdout);
    _pid = fork();
    if (_pid < 0) give_up("fork");
    if (_pid == 0) {
      const auto program =
          std::filesystem::read_symlink("/proc/self/exe").replace_filename("vlm_bus_monitor");
      const std::string write = "--write=" + file;
      if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(126);
      dup2(ends[1], STDERR_FILENO);
      execl(program.c_str(), program.c_str(), write.c_str(), shows ? nullptr : "--quiet", nullptr);
      _exit(127);
    }
    close(ends[1]);
    char told = 0;  // the line that says that it captures
    if (read(ends[0], &told, 1) != 1) give_up("vlm_bus_monitor");
  }

  /// Ends it; returns the seconds of processor time that it took.
  double end() const {
    kill(_pid, SIGINT);
    return seconds_taken(_pid);
  }

 private:
  pid_t _pid = -1;
};

/// A process that copies what comes through a pipe to a file, at the monitor's pace.
class Copier {
 public:
  explicit Copier(const std::string& file) {
    constexpr int kPipeSize = 1 << 20;
    int ends[2];
    if (pipe(ends) != 0 || fcntl(ends[0], F_SETPIPE_SZ, kPipeSize) < 0) give_up("pipe");
    _pid = fork();
    if (_pid < 0) give_up("fork");
    if (_pid == 0) {
      close(ends[1]);
      copy(ends[0], open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
      _exit(0);
    }
    close(ends[0]);
    _pipe = ends[1];
  }

  void take(const userlcm_packet_t& packet) const {
    if (write(_pipe, &packet, kPacketSize) != kPacketSize) give_up("write");
  }

  /// Ends it; returns the seconds of processor time that it took.
  double end() const {
    close(_pipe);
    return seconds_taken(_pid);
  }

 private:
  static void copy(int input, int output) {
    static char bytes[1 << 16];
    fcntl(input, F_SETFL, O_NONBLOCK);
    for (ssize_t size = -1; size != 0;) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      while ((size = read(input, bytes, sizeof bytes)) > 0) {
        if (write(output, bytes, static_cast<std::size_t>(size)) != size) _exit(1);
      }
    }
  }

  pid_t _pid = -1;
  int _pipe = -1;
};

userlcm_packet_t packet_of(std::uint32_t number, bool is_reply) {
  userlcm_packet_t packet{};
  std::strcpy(packet.channel, is_reply ? kRequestChannel : kReplyChannel);
  udp_ctrl_cam_t record{};
  record.cmd_type = kGetZoom;
  std::memcpy(record.cmd_params, &number, sizeof number);
  packet.msg_buf[0] = LCM_CONTROL_CAMERA;
  std::memcpy(packet.msg_buf + offsetof(msg_from_rep_t, msg_data), &record, sizeof record);
  return packet;
}

void publish(std::uint32_t number, bool is_reply) {
  const userlcm_packet_t packet = packet_of(number, is_reply);
  const char* const channel = is_reply ? kReplyChannel : kRequestChannel;
  if (send_msg_to_lcm(&packet, sizeof(msg_from_rep_t), channel) != 0) give_up("publish");
}

/// Has `publish(number)` called at the rate; packets that are late follow at once. Returns the seconds
/// it took.
template <typename Publish>
double publish_all(std::uint32_t packets, Publish publish) {
  const auto start = std::chrono::steady_clock::now();
  for (std::uint32_t number = 0; number < packets; ++number) {
    const auto due = std::chrono::nanoseconds(1'000'000'000ULL * number / kRate);
    std::this_thread::sleep_until(start + due);
    publish(number);
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Recorded {
  std::uint32_t packets = 0;
  std::uint64_t lost = 0;  // as the recording says
};

/// Reads the recording; ends the program when it is not what was published.
Recorded read_back(const std::string& path, std::uint32_t published) {
  std::ifstream file(path, std::ios::binary);
  PcapngReader reader(file);
  Recorded recorded;
  std::uint64_t next = 0;
  Entry entry;
  PcapngReader::Outcome outcome;
  while ((outcome = reader.next(entry)) == PcapngReader::kEntry) {
    const std::uint64_t lost = loss_in(entry.comment);
    recorded.lost += lost;
    next += lost;
    if (entry.packet.empty()) continue;
    std::uint32_t number = 0;
    if (entry.packet.size() >= kNumberAt + sizeof number) {
      std::memcpy(&number, entry.packet.data() + kNumberAt, sizeof number);
    }
    errno = 0;
    if (number != next) give_up("the recording has not what was published");
    ++recorded.packets;
    ++next;
  }
  if (outcome != PcapngReader::kEnd || next != published) give_up("packets are missing untold");
  return recorded;
}

struct Load {
  const char* name;
  bool shown;
  bool answered;
};

constexpr Load kLoads[] = {
    {"recorded", false, true}, {"shown", true, true}, {"unanswered", true, false}};

/// Microseconds of processor time that copying takes for a packet.
double copy_one(std::uint32_t packets) {
  const TemporaryDirectory folder;
  const Copier copier(folder / "copy");
  publish_all(packets, [&](std::uint32_t number) { copier.take(packet_of(number, false)); });
  return copier.end() * 1e6 / packets;
}

/// The same of the monitor, after a line of what it has recorded.
double run_one(const Load& load, std::uint32_t packets) {
  const TemporaryDirectory folder;
  setenv("VLM_BUS_DIR", (folder / "bus").c_str(), 1);
  const Monitor monitor(folder / "recording", load.shown);
  const double seconds = publish_all(packets, [&load](std::uint32_t number) {
    publish(number, load.answered && number % 2 == 1);
  });
  const double taken = monitor.end();
  const Recorded recorded = read_back(folder / "recording", packets);
  std::printf("%-11s %9u %9u %9u %9llu %8.1f %%\n", load.name,
              static_cast<unsigned>(packets / std::max(seconds, 1e-9)), packets, recorded.packets,
              static_cast<unsigned long long>(recorded.lost), 100 * taken / seconds);
  return taken * 1e6 / packets;
}

void run(int rounds) {
  constexpr int kTurns = 4;
  pin_to_one_core();
  const auto packets = static_cast<std::uint32_t>((rounds + kTurns - 1) / kTurns);
  std::printf("%-11s %9s %9s %9s %9s %10s\n", "", "a second", "published", "recorded", "told lost",
              "monitor");
  std::vector<Result> results{{"copied", "us", {}}};
  for (const Load& load : kLoads) results.push_back({load.name, "us", {}});
  for (int turn = 0; turn < kTurns; ++turn) {
    results[0].samples.push_back(copy_one(packets));
    for (std::size_t i = 0; i < std::size(kLoads); ++i) {
      results[i + 1].samples.push_back(run_one(kLoads[i], packets));
    }
  }
  print_rows(stdout, std::move(results));
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(argc, argv,
                      {"bus_capture_bench",
                       "Records 20,000 packets a second with vlm_bus_monitor on one core and "
                       "counts what is missing.",
                       "packets of each kind, 1 to 10000000 (default 100000)", 100000},
                      run);
}
