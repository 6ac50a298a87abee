// How the cost of the bus grows, on one core:
//
//   more_N     a round trip as in bus_round_trip, while N more processes subscribe the channel of the
//              request; `more_0` is what the others are compared with
//   stale_N    the first publish into a directory where N processes have left their sockets, and what
//              it costs when there is none
//   rate_bare  a packet of many, sent one way over a bare socket, and rate_bus over the bus
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"
#include "publisher.h"
#include "vlm_userlcm_control_camera.h"

namespace {

using namespace vlm::bench;

const userlcm_packet_t g_packet{};

Receive_msg_t subscription_of(const std::string& channel, ReceiveBufCallBack f, void* user) {
  Receive_msg_t subscription{};
  std::snprintf(subscription.channel, sizeof subscription.channel, "%s", channel.c_str());
  subscription.f = f;
  subscription.func = user;
  return subscription;
}

/// Subscribes `channel` in a process of its own; `user` is handed to the callback.
void subscribe_elsewhere(const std::string& channel, ReceiveBufCallBack f, void* user = nullptr) {
  start_peer([&] {
    auto subscription = subscription_of(channel, f, user);
    register_lcm_message(&subscription);
  });
}

void ignore(void*, unsigned int, char*, void*) {}

/// Round trips with `more` further subscribers of the request.
class Crowd {
 public:
  explicit Crowd(int more)
      : _request("growth_" + std::to_string(more)), _reply("growth_back_" + std::to_string(more)) {
    subscribe_elsewhere(
        _request,
        [](void* buf, unsigned int, char*, void* reply) {
          send_msg_to_lcm(static_cast<userlcm_packet_t*>(buf), kMessageSize,
                          static_cast<const char*>(reply));
        },
        const_cast<char*>(_reply.c_str()));
    for (int i = 0; i < more; ++i) subscribe_elsewhere(_request, ignore);
  }

  const std::string& channel() const { return _request; }

  void start() {
    _subscription = subscription_of(
        _reply,
        [](void*, unsigned int, char*, void* user) { static_cast<Doorbell*>(user)->ring(); },
        &_answered);
    std::thread([this] { register_lcm_message(&_subscription); }).detach();
    await_subscriber(_request.c_str());
    await_subscriber(_reply.c_str());
  }

  void round_trip() {
    if (send_msg_to_lcm(&g_packet, kMessageSize, _request.c_str()) != 0) give_up("publish");
    _answered.wait();
  }

 private:
  const std::string _request;
  const std::string _reply;
  Doorbell _answered;
  Receive_msg_t _subscription{};
};

/// Waits until the directory holds `count` sockets of `channel`.
void await_sockets(const std::string& directory, const std::string& channel, int count) {
  for (int found = 0; found < count;) {
    found = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
      found += entry.path().filename().string().rfind(channel + '.', 0) == 0;
    }
    if (found < count) usleep(1000);
  }
}

/// The first publish of a publisher, with `count` sockets that nobody holds any more.
void publish_among_stale(const std::string& directory, int count, std::vector<double>& samples) {
  for (int i = 0; i < count; ++i) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s/stale.1.%d", directory.c_str(), i);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) give_up("bind");
    close(fd);
  }
  vlm::bus::Publisher publisher;
  measure(1, samples, [&] { publisher.publish("stale", &g_packet, kPacketSize); });
}

/// `rounds` packets, one way, as fast as the other side takes them.
template <typename Send>
void send_many(int rounds, std::vector<double>& samples, Send send) {
  constexpr int kTogether = 100;
  std::vector<double> hundreds;
  measure((rounds + kTogether - 1) / kTogether, hundreds, [&] {
    for (int i = 0; i < kTogether; ++i) send();
  });
  for (const double hundred : hundreds) samples.push_back(hundred / kTogether);
}

struct Entrant {
  Crowd* crowd;
  std::vector<double> samples;
};

void compare_crowds(std::deque<Crowd>& crowds, const std::vector<int>& sizes, int rounds) {
  std::vector<Entrant> entrants;
  for (Crowd& crowd : crowds) entrants.push_back({&crowd, {}});
  take_turns(entrants, rounds, [](Entrant& entrant, int part) {
    constexpr int kUnmeasured = 20;
    for (int i = 0; i < kUnmeasured; ++i) entrant.crowd->round_trip();
    measure(part, entrant.samples, [&] { entrant.crowd->round_trip(); });
  });
  std::vector<Result> results;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    results.push_back({"more_" + std::to_string(sizes[i]), "us", std::move(entrants[i].samples)});
  }
  print_rows(stdout, std::move(results));
}

void compare_stale(int rounds) {
  const PrivateBus directory;
  std::vector<Result> results{{"stale_0", "us", {}}, {"stale_64", "us", {}}};
  for (int i = 0; i < rounds / 500 + 1; ++i) {
    publish_among_stale(directory.path(), 0, results[0].samples);
    publish_among_stale(directory.path(), 64, results[1].samples);
  }
  print_rows(stdout, std::move(results));
}

void compare_rates(int bare, int rounds) {
  std::vector<Result> results{{"rate_bare", "us", {}}, {"rate_bus", "us", {}}};
  take_turns(results, rounds, [&](Result& result, int part) {
    if (&result == results.data()) {
      send_many(part, result.samples, [&] {
        if (send(bare, &g_packet, kPacketSize, 0) < 0) give_up("send");
      });
    } else {
      send_many(part, result.samples, [] { send_msg_to_lcm(&g_packet, kMessageSize, "rate"); });
    }
  });
  print_rows(stdout, std::move(results));
}

/// A process that takes what is sent to the descriptor returned.
int start_taker() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, ends) != 0) give_up("socketpair");
  start_peer([&] {
    userlcm_packet_t packet{};
    while (recv(ends[1], &packet, sizeof packet, 0) > 0) continue;
  });
  return ends[0];
}

void run(int rounds) {
  pin_to_one_core();
  const std::vector<int> sizes = {0, 1, 2, 4, 8};
  static auto& crowds = *new std::deque<Crowd>;  // their listener threads run to the end
  const PrivateBus directory;
  for (const int more : sizes) crowds.emplace_back(more);
  subscribe_elsewhere("rate", ignore);
  const int bare = start_taker();
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    crowds[i].start();
    await_sockets(directory.path(), crowds[i].channel(), sizes[i] + 1);
  }
  await_subscriber("rate");
  compare_crowds(crowds, sizes, rounds);
  compare_rates(bare, rounds);
  compare_stale(rounds);
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"bus_growth_bench", "Measures how the cost of the embedded bus grows with what is on it.",
       "round trips of each kind, 1 to 10000000 (default 5000)", 5000},
      run);
}
