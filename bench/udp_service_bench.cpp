// What a request to the camera-control service costs when the camera is not asked, beside an echo
// that has the same threads in it:
//
//   echo_W_S      one thread receives a datagram, checks its CRC and hands it over, another makes the
//                 answer with its CRC and sends it; signals and sends without holding the lock
//   dumps_W_S     the same echo, which prints both datagrams to /dev/null as the service does, and no
//                 more: the rest of what the service takes longer is its lines and its rules
//   service_W_S   the service answers for the camera type, its messages going to /dev/null
//
// for W requests under way at a time, of S bytes each. An application sends W requests over the
// loopback and takes as many answers; figures are for one request. Everything runs on one core. The
// lines "executed" say how many of a hundred were executed, the others being refused as busy: with
// more than one under way both servers have places for eight.
#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"
#include "velmar_udp_master_k720.h"

namespace {

using namespace vlm::bench;

constexpr int kWarmUpRounds = 500;
constexpr std::size_t kReplySize = 11;
constexpr std::size_t kHeaderSize = 8;
constexpr u8 kCameraType = 11;

/// Checks and answers each datagram: received by one thread, answered by another. Lives as long as
/// the process.
class EchoServer {
 public:
  /// Prints the datagrams, or nothing.
  explicit EchoServer(bool dumps) : _dumps(dumps) {
    std::thread([this] { receive(); }).detach();
    std::thread([this] { reply(); }).detach();
  }
  int port() const { return _socket.port(); }

 private:
  static constexpr std::size_t kPlaces = 8;

  struct Waiting {
    camctrl_msg_t msg;
    sockaddr_in client;
  };

  static bool is_right(const camctrl_msg_t& msg) {
    const auto* const bytes = reinterpret_cast<const u8*>(&msg);
    const u16 crc = vlm_udp_getcrc16(bytes + 1, msg.header.len + 5);
    return bytes[msg.header.len + 6] == crc >> 8 && bytes[msg.header.len + 7] == (crc & 0xFF);
  }

  void dump(const char* title, const camctrl_msg_t& msg, std::size_t size) const {
    if (_dumps) udp_print_bytes(title, reinterpret_cast<const u8*>(&msg), size);
  }

  bool take_over(const Waiting& waiting) {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_count == kPlaces) return false;
    _waiting.at((_first + _count++) % kPlaces) = waiting;
    return true;
  }

  void receive() {
    Waiting waiting{};
    for (;;) {
      const auto size = _socket.receive(&waiting.msg, sizeof waiting.msg, waiting.client);
      dump("", waiting.msg, size);
      if (!is_right(waiting.msg)) give_up("a wrong request");
      if (take_over(waiting)) {
        _filled.notify_one();
      } else {
        _socket.send(&waiting.msg, sizeof waiting.msg, waiting.client);
      }
    }
  }

  Waiting next() {
    std::unique_lock<std::mutex> lock(_mutex);
    if (_count == 0) std::fflush(stdout);  // as the service does
    _filled.wait(lock, [this] { return _count > 0; });
    const Waiting waiting = _waiting.at(_first);
    _first = (_first + 1) % kPlaces;
    --_count;
    return waiting;
  }

  void reply() {
    for (;;) {
      const Waiting waiting = next();
      camctrl_msg_t reply{};
      reply.header.len = 3;
      reply.payload.cmd = waiting.msg.payload.cmd;
      reply.payload.params[0] = kCameraType;
      vlm_udp_fill_crc(reply, 3);
      dump("To send msg:\n", reply, kReplySize);
      _socket.send(&reply, kReplySize, waiting.client);
    }
  }

  const bool _dumps;
  UdpSocket _socket;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _filled;
  std::array<Waiting, kPlaces> _waiting{};
  std::size_t _first = 0;
  std::size_t _count = 0;
};

/// How an application asks.
struct Load {
  int window;
  std::size_t size;  // of a request
};

struct Contender {
  const char* name;
  int port;
  std::vector<double> samples;
  long executed = 0;
};

class Application {
 public:
  explicit Application(Load load) : _load(load) {
    const std::size_t len = std::min<std::size_t>(load.size - kHeaderSize, 255);
    _request.header.len = static_cast<u8>(len);
    _request.payload.cmd = camctrl_be16(VELMAR_CAMERACTRL_GET_CAMERA_TYPE);
    vlm_udp_fill_crc(_request, static_cast<u16>(len));
  }

  /// At least `rounds` requests, in windows; a sample is the time of a window for each request.
  void ask(Contender& contender, int rounds) const {
    const sockaddr_in server = UdpSocket::loopback(contender.port);
    std::vector<double> windows;
    measure((rounds + _load.window - 1) / _load.window, windows, [&] {
      for (int i = 0; i < _load.window; ++i) _socket.send(&_request, _load.size, server);
      for (int i = 0; i < _load.window; ++i) contender.executed += takes_result();
    });
    for (const double window : windows) contender.samples.push_back(window / _load.window);
  }

  /// What the request asks for, rather than a refusal.
  bool takes_result() const {
    u8 reply[sizeof(camctrl_msg_t)];
    sockaddr_in server{};
    return _socket.receive(reply, sizeof reply, server) == kReplySize;
  }

 private:
  const Load _load;
  UdpSocket _socket;
  camctrl_msg_t _request{};
};

/// Each server's name and port.
using Servers = std::vector<std::pair<const char*, int>>;

void compare(std::FILE* out, Load load, const Servers& servers, int rounds) {
  const Application application(load);
  std::vector<Contender> contenders;
  for (const auto& [name, port] : servers) contenders.push_back({name, port, {}});
  for (Contender& contender : contenders) {
    application.ask(contender, kWarmUpRounds);
    contender.samples.clear();
    contender.executed = 0;
  }
  take_turns(contenders, rounds,
             [&](Contender& contender, int part) { application.ask(contender, part); });
  const std::string suffix = '_' + std::to_string(load.window) + '_' + std::to_string(load.size);
  std::vector<Result> results;
  std::string shares = "executed of a hundred:";
  for (Contender& contender : contenders) {
    const long asked = static_cast<long>(contender.samples.size()) * load.window;
    shares +=
        std::string(" ") + contender.name + ' ' + std::to_string(contender.executed * 100 / asked);
    results.push_back({contender.name + suffix, "us", std::move(contender.samples)});
  }
  print_rows(out, std::move(results));
  std::fprintf(out, "%s\n", shares.c_str());
}

void run(int rounds) {
  pin_to_one_core();
  std::FILE* const out = divert_output("/dev/null");
  static const auto& echo = *new EchoServer(false);
  static const auto& dumps = *new EchoServer(true);
  if (vlm_udp_master_k720_init(0) != 0) give_up("the service");
  for (const Load load : {Load{1, 10}, Load{1, 264}, Load{32, 10}, Load{32, 264}}) {
    compare(
        out, load,
        {{"echo", echo.port()}, {"dumps", dumps.port()}, {"service", vlm_udp_master_k720_port()}},
        rounds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"udp_service_bench",
       "Measures requests to the camera-control service beside a bare echo of two threads.",
       "requests of each kind, 1 to 10000000 (default 20000)", 20000},
      run);
}
