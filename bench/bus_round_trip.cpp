// What a camera request costs, and what the embedded bus has in it, beside a bare exchange over the
// same kind of socket. Both sides of every contender run on one core, in two processes:
//
//   bare            B of bare.h
//   bus             the caller publishes and waits; the peer's callback publishes back; the caller's
//                   callback wakes it
//   bus_tapped      the same, while a tap on another core takes copies of all packets
//   bus_stopped     the same, while a tap takes none
//   request_silent  the caller runs a camera operation, whose lines are made and thrown away; the
//                   peer is the simulated camera
//   request_null    the same, with standard output to /dev/null
//   request_file    the same, with standard output to a regular file
//
// The messages have the size of a camera request.
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bare.h"
#include "contender.h"
#include "contest.h"
#include "tap.h"
#include "vlm_test_listener.h"
#include "vlm_userlcm_control_camera.h"

namespace {

using namespace vlm::bench;

constexpr char kBenchRequest[] = "bench_request";
constexpr char kBenchReply[] = "bench_reply";

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

std::FILE* nowhere() {
  cookie_io_functions_t functions{};
  functions.write = [](void*, const char*, std::size_t size) { return static_cast<ssize_t>(size); };
  return collecting(fopencookie(nullptr, "w", functions));
}

/// How much later the named contender's answers come than those of the bus without a tap.
double added_by(const char* name, const std::vector<Result>& results) {
  const auto median_of = [&](const std::string& wanted) {
    for (Result result : results) {
      if (wanted != result.name) continue;
      std::sort(result.samples.begin(), result.samples.end());
      return quantile(result.samples, 0.5);
    }
    return 0.0;
  };
  return median_of(name) - median_of("bus");
}

/// What a tap may cost, and what it does; a stopped one costs what is noise.
void print_taps(const std::vector<Result>& results) {
  constexpr double kMostUs = 3.0;
  const double tapped = added_by("bus_tapped", results);
  std::printf("a tap adds %.2f us (limit %.1f us: %s), a stopped one %.2f us\n", tapped, kMostUs,
              tapped <= kMostUs ? "kept" : "BROKEN", added_by("bus_stopped", results));
}

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  std::FILE* const file =
      collecting(std::fopen((bus_directory.path() + "/transcript").c_str(), "w"));
  // Never destroyed: their listener threads run to the end.
  static const auto& tap = *new TapProcess;
  static auto& bus = *new BusExchange;
  static auto& bare = *new BareContender("bare");
  start_simulated_camera();
  static auto& entrants = *new std::vector<Entrant>{
      {&bare},
      {&bus},
      {new TappedExchange("bus_tapped", bus, tap, TapProcess::kTake)},
      {new TappedExchange("bus_stopped", bus, tap, TapProcess::kIgnore)},
      {new CameraRequest("request_silent", nowhere())},
      {new CameraRequest("request_null", collecting(std::fopen("/dev/null", "w")))},
      {new CameraRequest("request_file", file)},
  };
  udp_start_receiving_messages();
  await_subscriber(kRequestChannel);
  await_subscriber(kReplyChannel);
  const std::vector<Result> results = round_trips(entrants, rounds);
  print_rows(stdout, results);
  print_taps(results);
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"bus_round_trip",
       "Measures camera requests and round trips over the embedded bus and over bare sockets.",
       "round trips of each kind, 1 to 10000000 (default 20000)", 20000},
      run);
}
