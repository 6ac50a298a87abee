// What the limits are made of: bare threads and sockets, put together as a careful hand would.
#ifndef BENCH_BARE_H
#define BENCH_BARE_H

#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "contest.h"
#include "vlm_bus.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::bench {

/// Length and size of a camera request on the bus.
constexpr unsigned int kMessageSize = sizeof(msg_from_rep_t);
constexpr std::size_t kPacketSize = offsetof(userlcm_packet_t, msg_buf) + kMessageSize;

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

  /// False when nobody has rung for so long.
  bool wait_for(std::chrono::milliseconds time) {
    std::unique_lock<std::mutex> lock(_mutex);
    return _cond.wait_for(lock, time, [this] { return _rung; }) && std::exchange(_rung, false);
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

/// B: two processes over AF_UNIX datagrams. The caller sends and waits; its listener thread receives
/// the answer and wakes it; the peer is a loop of receive and send.
class BareExchange {
 public:
  /// Starts the peer.
  BareExchange() {
    start_peer([this] { echo(_ends.peer); });
  }

  /// Starts the listener thread, which lives as long as the process.
  void start() {
    std::thread([this] {
      userlcm_packet_t answer{};
      while (recv(_ends.caller, &answer, sizeof answer, 0) > 0) _answered.ring();
    }).detach();
  }

  void round_trip() {
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

/// A datagram socket on 127.0.0.1.
class UdpSocket {
 public:
  UdpSocket() : _fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    if (_fd < 0 || bind(_fd, generic(address), sizeof address) != 0) give_up("socket");
  }
  ~UdpSocket() { close(_fd); }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  static sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
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
  static sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

  const int _fd;
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
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  const std::string& path() const { return _path; }

 private:
  std::string _path = (std::filesystem::temp_directory_path() / "vlm_bench.XXXXXX").string();
};

/// Returns once somebody subscribes `channel`.
inline void await_subscriber(const char* channel) {
  constexpr int kReadyMs = 10000;
  if (!vlm::bus::bus_has_subscriber(channel, kReadyMs)) give_up("no subscriber on the bus");
}

/// Starts the simulated camera that was built beside this program.
inline void start_simulated_camera() {
  start_peer([] {
    const auto camera =
        std::filesystem::read_symlink("/proc/self/exe").replace_filename("camera_sim");
    if (std::freopen("/dev/null", "r", stdin) == nullptr) give_up("/dev/null");
    if (std::freopen("/dev/null", "w", stdout) == nullptr) give_up("/dev/null");
    execl(camera.c_str(), camera.c_str(), nullptr);
  });
}

}  // namespace vlm::bench

#endif  // BENCH_BARE_H
