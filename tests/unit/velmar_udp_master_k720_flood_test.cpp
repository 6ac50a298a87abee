// What the service makes of a flood: right, wrong and random datagrams from two senders. Each of
// them that is not empty is owed one answer, unless the kernel dropped it or its answer.

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

#include "camctrl_app.h"
#include "camctrl_service.h"
#include "scripted_bus.h"
#include "silence.h"

namespace {

constexpr int kRounds = 100;
constexpr int kRoundSize = 1000;

/// The last field of the line of `port` in the kernel's table; -1 when it is not there.
long drops_listed_for(int port) {
  std::ifstream table("/proc/net/udp");
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string slot, local, field, last;
    fields >> slot >> local;
    while (fields >> field) last = field;
    if (std::stoi(local.substr(local.find(':') + 1), nullptr, 16) == port) return std::stol(last);
  }
  return -1;
}

/// Datagrams that the kernel has dropped because the receive buffer of `port` was full.
long dropped_at(int port) {
  // A look at the table can miss a line while other sockets come and go.
  for (int i = 0; i < 1000; ++i) {
    const long drops = drops_listed_for(port);
    if (drops >= 0) return drops;
  }
  throw std::runtime_error("no such port in /proc/net/udp");
}

long entries(const char* directory) {
  long count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++count;
  return count;
}

long resident_kib() {
  long total = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

class UdpServiceFlood : public testing::Test {
 protected:
  UdpServiceFlood()
      : _service(start_camctrl_service()),
        _port(UdpMasterK720Peer::port(_service)),
        _apps{CamctrlApp(_port), CamctrlApp(_port)} {
    ScriptedBus::instance().reset();
  }

  int below(int limit) { return std::uniform_int_distribution<>(0, limit - 1)(_random); }

  Bytes random_bytes(int size) {
    Bytes bytes(static_cast<std::size_t>(size));
    for (u8& byte : bytes) byte = static_cast<u8>(below(256));
    return bytes;
  }

  Bytes datagram() {
    switch (below(_empty_too ? 8 : 7)) {
      case 1: return random_bytes(1 + below(300));
      case 2: return random_bytes(264 + below(2000));
      case 3: return broken(camctrl_request(below(65536), random_bytes(below(253))));
      case 4: return camctrl_request(below(65536), random_bytes(below(253)));
      case 5: return camctrl_request(14, {static_cast<u8>(below(2))});  // the camera's
      case 6: return camctrl_request(4121);                             // likewise
      case 0: return camctrl_request(4096);
      default: return {};
    }
  }

  static Bytes broken(Bytes request) {
    request.back() = static_cast<u8>(request.back() ^ 0x40);
    return request;
  }

  void send(const Bytes& bytes) {
    _apps[static_cast<std::size_t>(below(2))].send(bytes);
    if (!bytes.empty()) ++_owed;
  }

  void collect() {
    Bytes reply;
    for (const CamctrlApp& app : _apps) {
      while (app.socket().poll(reply)) ++_answers;
    }
  }

  long dropped() const {
    return dropped_at(_port) + dropped_at(_apps[0].socket().port()) +
           dropped_at(_apps[1].socket().port());
  }

  /// Blocks until no more than `open` answers are outstanding; false when that takes too long.
  bool await(long open) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (collect(); _owed - _answers - dropped() > open; collect()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      pollfd ready[] = {{_apps[0].socket().fd(), POLLIN, 0}, {_apps[1].socket().fd(), POLLIN, 0}};
      ::poll(ready, 2, 10);  // at most: what a full buffer loses wakes nobody
    }
    return true;
  }

  bool answers_rightly() {
    settle(_service);
    const CamctrlApp app(_port);
    const Bytes type = app.ask(camctrl_request(4096));
    settle(_service);
    ScriptedBus::instance().answer({2});
    const Bytes mode = app.ask(camctrl_request(4121));
    settle(_service);
    ScriptedBus::instance().reset();
    return type == camctrl_reply(4096, 0, {11}) && mode == camctrl_reply(4121, 0, {2});
  }

  /// One round, with no more than `window` datagrams between looks at the answers, and the calm
  /// after it. False when answers are missing or wrong.
  bool round(int window) {
    for (int i = 1; i <= kRoundSize; ++i) {
      send(datagram());
      if (i % window == 0 && !await(window / 2)) return false;
    }
    return await(0) && answers_rightly();
  }

  std::mt19937 _random{720};
  UdpMasterK720& _service;
  int _port;
  CamctrlApp _apps[2];
  bool _empty_too = true;  // also datagrams that no answer is owed to
  long _owed = 0;
  long _answers = 0;
};

/// What the process holds.
struct Holdings {
  long descriptors = entries("/proc/self/fd");
  long threads = entries("/proc/self/task");
  long memory = resident_kib();
};

TEST_F(UdpServiceFlood, LeavesNothingBehindAndNobodyWithoutAnAnswer) {
  Holdings before;
  Holdings after;
  int rounds = 0;
  {
    const Silence silence;
    while (rounds < kRounds && round(32)) {
      if (++rounds == kRounds / 10) before = Holdings();
    }
    after = Holdings();
  }
  EXPECT_EQ(rounds, kRounds) << "all answered, and rightly";
  EXPECT_EQ(dropped(), 0) << "the windows were to fit the buffers";
  EXPECT_EQ(_answers, _owed);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(after.threads, before.threads);
#ifndef VLM_SANITIZED  // sanitizers hold on to freed memory
  EXPECT_LT(after.memory, before.memory + 1024);
#endif
}

TEST_F(UdpServiceFlood, BeyondTheBuffersLosesOnlyWhatTheKernelDropped) {
  _empty_too = false;  // the kernel does not tell which it dropped
  int rounds = 0;
  {
    const Silence silence;
    while (rounds < kRounds / 10 && round(kRoundSize)) ++rounds;
  }
  EXPECT_EQ(rounds, kRounds / 10) << "all answered, and rightly";
  EXPECT_EQ(_answers + dropped(), _owed);
  RecordProperty("owed", static_cast<int>(_owed));
  RecordProperty("dropped", static_cast<int>(dropped()));
}

}  // namespace
