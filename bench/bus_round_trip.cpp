// What a camera request costs, and what the embedded bus has in it, beside a bare exchange over the
// same kind of socket. Both sides of every contender run on one core, in two processes:
//
//   bare      the caller sends and waits; its listener thread receives the answer and wakes it; the
//             peer is a loop of receive and send
//   bus       the caller publishes and waits; the peer's callback publishes back; the caller's
//             callback wakes it
//   tapped    the same, while a tap on another core takes copies of all packets
//   stopped   the same, while a tap takes none
//   request   the caller runs a camera operation, its transcript going line by line to a file; the
//             peer is the simulated camera
//
// The messages have the size of a camera request. The contenders take turns, block by block, so
// that what else the machine does meets all of them alike.
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "contest.h"
#include "lcm_request.h"
#include "tap.h"
#include "vlm_bus.h"
#include "vlm_test_listener.h"
#include "vlm_userlcm_control_camera.h"

namespace {

using namespace vlm::bench;

constexpr unsigned int kMessageSize = sizeof(msg_from_rep_t);
constexpr std::size_t kPacketSize = offsetof(userlcm_packet_t, msg_buf) + kMessageSize;
constexpr int kWarmUpRounds = 200;
constexpr int kReadyMs = 10000;

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
  /// Around each block.
  virtual void begin() {}
  virtual void end() {}
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

/// A process with a tap, which takes what comes as the monitor does, or never.
class TapProcess {
 public:
  enum Order : char { kTake = 't', kIgnore = 'i', kClose = 'c' };

  TapProcess() {
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, _ends) != 0) give_up("socketpair");
    start_peer([this] {
      leave_the_core();
      for (char order = kClose; read(_ends[1], &order, 1) == 1;) obey(order);
    });
  }

  /// Returns once it has been obeyed.
  void tell(Order order) const {
    char done = 0;
    if (write(_ends[0], &order, 1) != 1 || read(_ends[0], &done, 1) != 1) give_up("tap");
  }

 private:
  static void leave_the_core() {
    cpu_set_t used;
    cpu_set_t others;
    CPU_ZERO(&others);
    sched_getaffinity(0, sizeof used, &used);
    for (int core = 0; core < sysconf(_SC_NPROCESSORS_ONLN); ++core) {
      if (!CPU_ISSET(core, &used)) CPU_SET(core, &others);
    }
    sched_setaffinity(0, sizeof others, &others);  // fails where there is but one core
  }

  void obey(char order) {
    std::optional<vlm::bus::Tap> tap;
    if (order != kClose) tap.emplace(open_tap());
    acknowledge();
    std::vector<vlm::bus::TapCopy> copies;
    pollfd next{_ends[1], POLLIN, 0};
    while (tap && poll(&next, 1, kTakeEveryMs) == 0) {
      copies.clear();
      if (order == kTake) tap->take(copies);
    }
  }

  static vlm::bus::Tap open_tap() {
    std::string error;
    auto tap = vlm::bus::Tap::open(error);
    if (!tap) give_up(error.c_str());
    return std::move(*tap);
  }

  void acknowledge() const {
    const char done = 1;
    if (write(_ends[1], &done, 1) != 1) _exit(1);
  }

  static constexpr int kTakeEveryMs = 5;

  int _ends[2];
};

/// The exchange over the bus, tapped.
class TappedExchange : public Contender {
 public:
  TappedExchange(const char* name, Contender& bus, const TapProcess& tap, TapProcess::Order order)
      : _name(name), _bus(bus), _tap(tap), _order(order) {}

  const char* name() const override { return _name; }
  void start() override {}
  void round_trip() override { _bus.round_trip(); }
  /// A tap that takes nothing is full before it is measured.
  void begin() override {
    constexpr int kMoreThanItHolds = 3500;
    _tap.tell(_order);
    for (int i = 0; _order == TapProcess::kIgnore && i < kMoreThanItHolds; ++i) _bus.round_trip();
  }
  void end() override { _tap.tell(TapProcess::kClose); }

 private:
  const char* _name;
  Contender& _bus;
  const TapProcess& _tap;
  TapProcess::Order _order;
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

/// A contender and the microseconds of its round trips.
struct Entrant {
  Contender* contender;
  std::vector<double> samples;
};

/// Runs `rounds` of the entrant's and adds their times to `samples`.
void run_entrant(const Entrant& entrant, int rounds, std::vector<double>& samples) {
  constexpr int kUnmeasured = 20;  // in which publishers find what has changed on the bus
  Contender& contender = *entrant.contender;
  contender.begin();
  for (int i = 0; i < kUnmeasured; ++i) contender.round_trip();
  measure(rounds, samples, [&] { contender.round_trip(); });
  contender.end();
}

/// Prints one row for each entrant; the first is what the others are compared with.
void report(std::FILE* out, std::vector<Entrant>& entrants) {
  std::fprintf(out, "%-8s %8s %8s %8s %8s\n", "", "min", "median", "p99", "ratio");
  double baseline = 0;
  for (Entrant& entrant : entrants) {
    std::sort(entrant.samples.begin(), entrant.samples.end());
    const double median = quantile(entrant.samples, 0.5);
    if (baseline == 0) baseline = median;
    std::fprintf(out, "%-8s %8.2f %8.2f %8.2f %8.2f\n", entrant.contender->name(),
                 entrant.samples.front(), median, quantile(entrant.samples, 0.99),
                 median / baseline);
  }
}

/// How much later the named contender's answers come than those of the bus without a tap.
double added_by(const char* name, const std::vector<Entrant>& entrants) {
  const auto median_of = [&](const std::string& wanted) {
    for (const Entrant& entrant : entrants) {
      if (wanted == entrant.contender->name()) return quantile(entrant.samples, 0.5);
    }
    return 0.0;
  };
  return median_of(name) - median_of("bus");
}

/// What a tap may cost, and what it does; a stopped one costs what is noise.
void report_taps(std::FILE* out, const std::vector<Entrant>& entrants) {
  constexpr double kMostUs = 3.0;
  const double tapped = added_by("tapped", entrants);
  std::fprintf(out, "a tap adds %.2f us (limit %.1f us: %s), a stopped one %.2f us\n", tapped,
               kMostUs, tapped <= kMostUs ? "kept" : "BROKEN", added_by("stopped", entrants));
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
  static const auto& tap = *new TapProcess;
  static auto& bus = *new BusExchange;
  static auto& entrants = *new std::vector<Entrant>{
      {new BareExchange, {}},
      {&bus, {}},
      {new TappedExchange("tapped", bus, tap, TapProcess::kTake), {}},
      {new TappedExchange("stopped", bus, tap, TapProcess::kIgnore), {}},
      {new CameraRequest, {}},
  };
  std::vector<double> warm_up;
  for (const Entrant& entrant : entrants) {
    entrant.contender->start();
    run_entrant(entrant, kWarmUpRounds, warm_up);
  }
  take_turns(entrants, rounds,
             [](Entrant& entrant, int part) { run_entrant(entrant, part, entrant.samples); });
  std::fprintf(results,
               "%d round trips of %zu bytes each, on one core; microseconds, ratio of medians\n",
               rounds, kPacketSize);
  report(results, entrants);
  report_taps(results, entrants);
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"bus_round_trip",
       "Measures camera requests and round trips over the embedded bus and over bare sockets.",
       "round trips of each kind, 1 to 10000000 (default 20000)", VLM_VERSION},
      run);
}
