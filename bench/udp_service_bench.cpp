// What a request to the camera-control service costs when the camera is not asked, beside a bare
// exchange that has the same threads in it:
//
//   bare      one thread receives a datagram and hands it over, another sends the answer
//   service   the service answers for the camera type, its messages going line by line to /dev/null
//
// One application asks, waits for the answer, and asks again, over the loopback. The contenders take
// turns, block by block, so that what else the machine does meets both alike; first with the cores
// that the scheduler chooses, then with one core for everything.
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "contest.h"
#include "velmar_udp_master_k720.h"

namespace {

using namespace vlm::bench;

constexpr int kWarmUpRounds = 500;
constexpr std::size_t kRequestSize = 10;
constexpr std::size_t kReplySize = 11;

sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

/// A datagram socket on 127.0.0.1.
class Socket {
 public:
  Socket() : _fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    if (_fd < 0 || bind(_fd, generic(address), sizeof address) != 0) give_up("socket");
  }
  ~Socket() { close(_fd); }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  static sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<u16>(port));
    return address;
  }

  int port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (getsockname(_fd, generic(address), &size) != 0) give_up("getsockname");
    return ntohs(address.sin_port);
  }

  void send(const void* bytes, std::size_t size, sockaddr_in to) const {
    if (sendto(_fd, bytes, size, 0, generic(to), sizeof to) < 0) give_up("sendto");
  }

  std::size_t receive(void* bytes, std::size_t size, sockaddr_in& from) const {
    socklen_t address_size = sizeof from;
    const ssize_t count = recvfrom(_fd, bytes, size, 0, generic(from), &address_size);
    if (count < 0) give_up("recvfrom");
    return static_cast<std::size_t>(count);
  }

 private:
  const int _fd;
};

/// Answers each datagram: received by one thread, sent by another. Lives as long as the process.
class BareServer {
 public:
  BareServer() {
    std::thread([this] { receive(); }).detach();
    std::thread([this] { reply(); }).detach();
  }
  int port() const { return _socket.port(); }

 private:
  void receive() {
    for (;;) {
      u8 bytes[sizeof(camctrl_msg_t)];
      sockaddr_in client{};
      _socket.receive(bytes, sizeof bytes, client);
      const std::lock_guard<std::mutex> guard(_mutex);
      std::memcpy(_slot.data(), bytes, kReplySize);
      _client = client;
      _full = true;
      _filled.notify_one();
    }
  }

  void reply() {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
      _filled.wait(lock, [this] { return _full; });
      _full = false;
      _socket.send(_slot.data(), kReplySize, _client);
    }
  }

  Socket _socket;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _filled;
  std::array<u8, sizeof(camctrl_msg_t)> _slot{};
  sockaddr_in _client{};
  bool _full = false;
};

struct Contender {
  const char* name;
  int port;
  std::vector<double> microseconds;
};

class Application {
 public:
  Application() {
    _request.header.len = 2;
    _request.payload.cmd = camctrl_be16(VELMAR_CAMERACTRL_GET_CAMERA_TYPE);
    vlm_udp_fill_crc(_request, 2);
  }

  void ask(Contender& contender, int rounds) const {
    measure(rounds, contender.microseconds, [&] {
      u8 reply[sizeof(camctrl_msg_t)];
      sockaddr_in server{};
      _socket.send(&_request, kRequestSize, Socket::loopback(contender.port));
      if (_socket.receive(reply, sizeof reply, server) != kReplySize) give_up("a wrong answer");
    });
  }

 private:
  Socket _socket;
  camctrl_msg_t _request{};
};

double median(std::vector<double>& values) {
  std::sort(values.begin(), values.end());
  return quantile(values, 0.5);
}

/// Prints the rates of both and their ratio.
void compare(std::FILE* results, const Application& application, Contender& bare,
             Contender& service, int rounds, const char* where) {
  Contender* const contenders[] = {&bare, &service};
  for (Contender* contender : contenders) {
    application.ask(*contender, kWarmUpRounds);
    contender->microseconds.clear();
  }
  take_turns(contenders, rounds,
             [&](Contender* contender, int part) { application.ask(*contender, part); });
  std::fprintf(results, "%s\n", where);
  for (Contender* contender : contenders) {
    const double time = median(contender->microseconds);
    std::fprintf(results, "  %-8s %8.1f us %9.0f requests/s\n", contender->name, time, 1e6 / time);
  }
  const double ratio = median(bare.microseconds) / median(service.microseconds);
  std::fprintf(results, "  ratio of the rates %.2f\n", ratio);
}

void pin_all_threads_to_one_core() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    const pid_t thread = std::stoi(task.path().filename());
    if (sched_setaffinity(thread, sizeof one, &one) != 0) give_up("sched_setaffinity");
  }
}

void run(int rounds) {
  std::FILE* const results = divert_output("/dev/null");
  static const auto& bare_server = *new BareServer;
  if (vlm_udp_master_k720_init(0) != 0) give_up("the service");
  Contender bare{"bare", bare_server.port(), {}};
  Contender service{"service", vlm_udp_master_k720_port(), {}};
  const Application application;

  std::fprintf(results, "%d requests of each kind, one at a time; medians\n", rounds);
  compare(results, application, bare, service, rounds, "on any core");
  pin_all_threads_to_one_core();
  compare(results, application, bare, service, rounds, "on one core");
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(
      argc, argv,
      {"udp_service_bench",
       "Measures requests to the camera-control service beside a bare exchange of datagrams.",
       "requests of each kind, 1 to 10000000 (default 20000)", VLM_VERSION},
      run);
}
