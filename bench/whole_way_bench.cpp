// What an application's request costs on its whole way, to the camera and back, beside a bare chain
// of the same threads and sockets. Everything runs on one core, in two processes:
//
//   chain   an application sends a datagram over the loopback; one thread receives it and wakes a
//           second, which sends 321 bytes to another process and waits; a third receives the answer
//           and wakes it again; it answers the application
//   way     the same through the camera-control service, the request engine and the bus, to the
//           simulated camera; what the service prints goes to /dev/null
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"
#include "velmar_udp_master_k720.h"
#include "vlm_test_listener.h"

namespace {

using namespace vlm::bench;

constexpr int kWarmUpRounds = 500;
constexpr std::size_t kRequestSize = 10;
constexpr std::size_t kReplySize = 11;

/// The bare chain. The constructor starts the other process, start() the threads; it lives as long as
/// the process.
class Chain {
 public:
  void start() {
    _exchange.start();
    std::thread([this] { receive(); }).detach();
    std::thread([this] { process(); }).detach();
  }
  int port() const { return _socket->port(); }

 private:
  void receive() {
    u8 bytes[sizeof(camctrl_msg_t)];
    for (;;) {
      _socket->receive(bytes, sizeof bytes, _client);
      _asked.ring();
    }
  }

  void process() {
    u8 reply[kReplySize] = {};
    for (;;) {
      _asked.wait();
      _exchange.round_trip();
      _socket->send(reply, sizeof reply, _client);
    }
  }

  BareExchange _exchange;
  UdpSocket* const _socket = new UdpSocket;
  sockaddr_in _client{};  // there is one request at a time
  Doorbell _asked;
};

struct Contender {
  const char* name;
  int port;
  std::vector<double> samples;
};

class Application {
 public:
  Application() {
    _request.header.len = 2;
    _request.payload.cmd = camctrl_be16(VELMAR_CAMERACTRL_GET_CAMERA_MODE);
    vlm_udp_fill_crc(_request, 2);
  }

  void ask(Contender& contender, int rounds) const {
    measure(rounds, contender.samples, [&] {
      u8 reply[sizeof(camctrl_msg_t)];
      sockaddr_in server{};
      _socket.send(&_request, kRequestSize, UdpSocket::loopback(contender.port));
      if (_socket.receive(reply, sizeof reply, server) != kReplySize) give_up("a wrong answer");
    });
  }

 private:
  UdpSocket _socket;
  camctrl_msg_t _request{};
};

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  std::FILE* const out = divert_output("/dev/null");
  static auto& chain = *new Chain;
  start_simulated_camera();
  chain.start();
  udp_start_receiving_messages();
  await_subscriber(kRequestChannel);
  await_subscriber(kReplyChannel);
  if (vlm_udp_master_k720_init(0) != 0) give_up("the service");

  const Application application;
  Contender contenders[] = {{"chain", chain.port(), {}}, {"way", vlm_udp_master_k720_port(), {}}};
  for (Contender& contender : contenders) {
    application.ask(contender, kWarmUpRounds);
    contender.samples.clear();
  }
  take_turns(contenders, rounds,
             [&](Contender& contender, int part) { application.ask(contender, part); });
  std::vector<Result> results;
  for (Contender& contender : contenders) {
    results.push_back({contender.name, "us", std::move(contender.samples)});
  }
  print_rows(out, std::move(results));
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"whole_way_bench",
       "Measures an application's request on its way to the camera and back, beside a bare chain.",
       "requests of each kind, 1 to 10000000 (default 20000)", 20000},
      run);
}
