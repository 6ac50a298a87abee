// What a camera request costs, and what the embedded bus has in it, beside a bare exchange over the
// same kind of socket. Both sides of every contender run on one core, in two processes:
//
//   bare      the caller sends and waits; its listener thread receives the answer and wakes it; the
//             peer is a loop of receive and send
//   bus       the caller publishes and waits; the peer's callback publishes back; the caller's
//             callback wakes it
//   request   the caller runs a camera operation, its transcript going line by line to a file; the
//             peer is the simulated camera
//
// The messages have the size of a camera request. The contenders take turns, block by block, so
// that what else the machine does meets all of them alike.
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

#include "lcm_request.h"
#include "vlm_bus.h"
#include "vlm_test.h"
#include "vlm_userlcm_control_camera.h"

namespace {

constexpr unsigned int kMessageSize = sizeof(msg_from_rep_t);
constexpr std::size_t kPacketSize = offsetof(userlcm_packet_t, msg_buf) + kMessageSize;
constexpr int kBlocks = 20;
constexpr int kWarmUpRounds = 200;
constexpr int kReadyMs = 10000;

[[noreturn]] void give_up(const char* what) {
  std::fprintf(stderr, "bus_round_trip: %s: %s\n", what,
               std::system_category().message(errno).c_str());
  std::exit(1);
}

/// Where a caller waits until its listener thread rings.
class Doorbell {
 public:
  void ring() {
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      _rung = true;
    }
    _cond.notify_one();
  }

  void wait() {
    std::unique_lock<std::mutex> lock(_mutex);
    _cond.wait(lock, [this] { return _rung; });
    _rung = false;
  }

 private:
  std::mutex _mutex;
  std::condition_variable _cond;
  bool _rung = false;
};

/// Runs `body` in a process that dies with this one. To be called before there are threads.
template <typename Body>
void start_peer(Body body) {
  const pid_t pid = fork();
  if (pid < 0) give_up("fork");
  if (pid > 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  body();
  _exit(1);
}

void await_subscriber(const char* channel) {
  if (!vlm::bus::bus_has_subscriber(channel, kReadyMs)) give_up("no subscriber on the bus");
}

/// One way to make a round trip. The constructor starts its peer, start() its listener thread; both
/// live as long as the process, and so does the contender.
class Contender {
 public:
  virtual ~Contender() = default;
  virtual const char* name() const = 0;
  virtual void start() = 0;
  virtual void round_trip() = 0;
};

constexpr char kBenchRequest[] = "bench_request";
constexpr char kBenchReply[] = "bench_reply";

class BareExchange : public Contender {
 public:
  BareExchange() {
    start_peer([this] { echo(_ends.peer); });
  }

  const char* name() const override { return "bare"; }

  void start() override {
    std::thread([this] {
      userlcm_packet_t answer{};
      while (recv(_ends.caller, &answer, sizeof answer, 0) > 0) _answered.ring();
    }).detach();
  }

  void round_trip() override {
    if (send(_ends.caller, &_request, kPacketSize, 0) < 0) give_up("send");
    _answered.wait();
  }

 private:
  struct Ends {
    int caller;
    int peer;
  };

  static Ends connected_ends() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends) != 0) give_up("socketpair");
    return {ends[0], ends[1]};
  }

  static void echo(int end) {
    userlcm_packet_t packet{};
    for (;;) {
      const ssize_t size = recv(end, &packet, sizeof packet, 0);
      if (size <= 0 || send(end, &packet, static_cast<std::size_t>(size), 0) < 0) return;
    }
  }

  const Ends _ends = connected_ends();
  const userlcm_packet_t _request{};
  Doorbell _answered;
};

class BusExchange : public Contender {
 public:
  BusExchange() { start_peer(publish_back); }

  const char* name() const override { return "bus"; }

  void start() override {
    std::thread([this] { register_lcm_message(&_subscription); }).detach();
    await_subscriber(kBenchRequest);
    await_subscriber(kBenchReply);
  }

  void round_trip() override {
    if (send_msg_to_lcm(&_request, kMessageSize, kBenchRequest) != 0) give_up("publish");
    _answered.wait();
  }

 private:
  static Receive_msg_t subscription_of(const char* channel, ReceiveBufCallBack f, void* user) {
    Receive_msg_t subscription{};
    std::snprintf(subscription.channel, sizeof subscription.channel, "%s", channel);
    subscription.f = f;
    subscription.func = user;
    return subscription;
  }

  static void publish_back() {
    auto subscription = subscription_of(
        kBenchRequest,
        [](void* buf, unsigned int, char*, void*) {
          send_msg_to_lcm(static_cast<userlcm_packet_t*>(buf), kMessageSize, kBenchReply);
        },
        nullptr);
    register_lcm_message(&subscription);
  }

  const userlcm_packet_t _request{};
  Doorbell _answered;
  Receive_msg_t _subscription = subscription_of(
      kBenchReply,
      [](void*, unsigned int, char*, void* user) { static_cast<Doorbell*>(user)->ring(); },
      &_answered);
};

class CameraRequest : public Contender {
 public:
  CameraRequest() {
    start_peer([] {
      const auto camera =
          std::filesystem::read_symlink("/proc/self/exe").replace_filename("camera_sim");
      std::freopen("/dev/null", "r", stdin);
      std::freopen("/dev/null", "w", stdout);
      execl(camera.c_str(), camera.c_str(), nullptr);
    });
  }

  const char* name() const override { return "request"; }

  void start() override {
    udp_start_receiving_messages();
    await_subscriber(kRequestChannel);
    await_subscriber(kReplyChannel);
  }

  void round_trip() override {
    u8 mode = 0;
    if (!lcm_request.get_camera_mode(mode)) give_up("camera request");
  }
};

/// A bus directory of this benchmark's own.
class PrivateBus {
 public:
  PrivateBus() {
    if (!mkdtemp(_path.data())) give_up("mkdtemp");
    setenv("VLM_BUS_DIR", _path.c_str(), 1);
  }
  ~PrivateBus() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  const std::string& path() const { return _path; }

 private:
  std::string _path = (std::filesystem::temp_directory_path() / "bus_round_trip.XXXXXX").string();
};

using Microseconds = std::chrono::duration<double, std::micro>;

void measure(Contender& contender, int rounds, std::vector<double>& samples) {
  using Clock = std::chrono::steady_clock;
  for (int i = 0; i < rounds; ++i) {
    const auto start = Clock::now();
    contender.round_trip();
    samples.push_back(Microseconds(Clock::now() - start).count());
  }
}

double quantile(const std::vector<double>& sorted, double share) {
  return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

/// Sends standard output to the file `path`, line by line as the console writes it, and returns
/// where it went before.
std::FILE* divert_output(const std::string& path) {
  std::FILE* const results = fdopen(dup(STDOUT_FILENO), "w");
  if (results == nullptr || std::freopen(path.c_str(), "w", stdout) == nullptr) give_up("output");
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  return results;
}

/// Prints one row for each contender; the first is what the others are compared with.
void report(std::FILE* out, const std::vector<Contender*>& contenders,
            std::vector<std::vector<double>>& samples) {
  std::fprintf(out, "%-8s %8s %8s %8s %8s\n", "", "min", "median", "p99", "ratio");
  double baseline = 0;
  for (std::size_t i = 0; i < contenders.size(); ++i) {
    std::sort(samples[i].begin(), samples[i].end());
    const double median = quantile(samples[i], 0.5);
    if (i == 0) baseline = median;
    std::fprintf(out, "%-8s %8.2f %8.2f %8.2f %8.2f\n", contenders[i]->name(), samples[i].front(),
                 median, quantile(samples[i], 0.99), median / baseline);
  }
}

void pin_to_one_core() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) give_up("sched_getaffinity");
  int core = 0;
  while (!CPU_ISSET(core, &allowed)) ++core;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(core, &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) give_up("sched_setaffinity");
}

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  std::FILE* const results = divert_output(bus_directory.path() + "/transcript");
  // Never destroyed: their listener threads run to the end.
  static const auto& contenders =
      *new std::vector<Contender*>{new BareExchange, new BusExchange, new CameraRequest};
  std::vector<std::vector<double>> samples(contenders.size());

  std::vector<double> warm_up;
  for (Contender* contender : contenders) {
    contender->start();
    measure(*contender, kWarmUpRounds, warm_up);
  }
  for (int done = 0, block = 1; block <= kBlocks; ++block) {
    const int until = static_cast<int>(static_cast<long>(rounds) * block / kBlocks);
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      measure(*contenders[i], until - done, samples[i]);
    }
    done = until;
  }
  std::fprintf(results,
               "%d round trips of %zu bytes each, on one core; microseconds, ratio of medians\n",
               rounds, kPacketSize);
  report(results, contenders, samples);
}

int usage(std::FILE* out, int status) {
  std::fputs(
      "Usage: bus_round_trip [--rounds N]\n"
      "Measures camera requests and round trips over the embedded bus and over bare sockets.\n"
      "\n"
      "  --rounds N   round trips of each kind, 1 to 10000000 (default 20000)\n"
      "  --help       show this text\n"
      "  --version    show the version\n",
      out);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view option = argc > 1 ? argv[1] : "";
  if (argc == 2 && option == "--help") return usage(stdout, 0);
  if (argc == 2 && option == "--version") return std::puts("bus_round_trip " VLM_VERSION) < 0;
  int rounds = 20000;
  if (argc > 1) {
    char* end = nullptr;
    const long value = argc == 3 && option == "--rounds" ? std::strtol(argv[2], &end, 10) : 0;
    if (value < 1 || value > 10000000 || *end != '\0') {
      std::fputs("bus_round_trip: wrong usage\n", stderr);
      return usage(stderr, 2);
    }
    rounds = static_cast<int>(value);
  }
  run(rounds);
  return 0;
}
