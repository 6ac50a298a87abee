// What the tests of the bus share: a bus of its own for each test, other processes on it, and
// subscribers in the test process.
#ifndef BUS_FIXTURE_H
#define BUS_FIXTURE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bus_directory.h"
#include "numbered_packet.h"
#include "process.h"
#include "runnable.h"

inline Receive_msg_t subscription_of(const std::string& channel, ReceiveBufCallBack f, void* user) {
  Receive_msg_t subscription{};
  std::memcpy(subscription.channel, channel.data(), channel.size());
  subscription.f = f;
  subscription.func = user;
  return subscription;
}

/// A subscriber in this process. The bus never gives its thread back, so it lives as long.
class Inbox {
 public:
  struct Delivery {
    userlcm_packet_t packet;  // all of the memory that the callback got
    unsigned int size;
    std::string channel;
  };

  explicit Inbox(const std::string& channel) : _subscription(subscription_of(channel, take, this)) {
    std::thread([this] { register_lcm_message(&_subscription); }).detach();
  }

  /// Takes the next delivery once it is there; none when it does not come.
  std::optional<Delivery> next() {
    std::unique_lock<std::mutex> lock(_mutex);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPlentyMs);
    if (!_changed.wait_until(lock, deadline, [this] { return !_deliveries.empty(); })) {
      return std::nullopt;
    }
    Delivery first = std::move(_deliveries.front());
    _deliveries.pop_front();
    return first;
  }
  std::string next_line() {
    const auto delivery = next();
    return delivery ? description_of(delivery->packet, delivery->size) : "nothing";
  }

  /// From now on callbacks do not return, until unblock().
  void block() { set_blocked(true); }
  void unblock() { set_blocked(false); }

 private:
  static void take(void* buf, unsigned int size, char* channel, void* user) {
    static_cast<Inbox*>(user)->put(buf, size, channel);
  }

  void put(void* buf, unsigned int size, char* channel) {
    std::unique_lock<std::mutex> lock(_mutex);
    _deliveries.push_back({{}, size, channel});
    std::memcpy(&_deliveries.back().packet, buf, sizeof(userlcm_packet_t));
    // Both are the callback's to change: nothing of it may show in the next delivery.
    std::memset(buf, 0xEE, sizeof(userlcm_packet_t));
    std::memset(channel, 'x', std::strlen(channel));
    _changed.notify_all();
    _changed.wait(lock, [this] { return !_blocked; });
  }

  void set_blocked(bool blocked) {
    const std::lock_guard<std::mutex> guard(_mutex);
    _blocked = blocked;
    _changed.notify_all();
  }

  Receive_msg_t _subscription;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::deque<Delivery> _deliveries;
  bool _blocked = false;
};

/// Directories that go when the process exits: until then the subscribers in it stay where they are.
class TemporaryDirectories {
 public:
  static std::filesystem::path make() {
    static TemporaryDirectories all;
    std::string path = ::testing::TempDir() + "vlm_bus_test.XXXXXX";
    if (!mkdtemp(path.data())) std::abort();
    return all._paths.emplace_back(path);
  }
  ~TemporaryDirectories() {
    std::error_code ignored;
    for (const auto& path : _paths) std::filesystem::remove_all(path, ignored);
  }

 private:
  std::vector<std::filesystem::path> _paths;
};

/// Each test has a bus directory and a channel of its own.
class BusFixture : public ::testing::Test {
 protected:
  BusFixture() { use_bus(_root / "bus"); }

  void use_bus(const std::filesystem::path& path) {
    _bus = path;
    setenv("VLM_BUS_DIR", path.c_str(), 1);
  }

  /// The sockets whose names begin so.
  std::vector<std::string> sockets(const std::string& beginning) const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(_bus, ignored)) {
      std::string name = entry.path().filename();
      if (entry.is_socket(ignored) && name.rfind(beginning, 0) == 0) names.push_back(name);
    }
    return names;
  }

  std::string only_socket(const std::string& beginning) const {
    const auto names = sockets(beginning);
    return names.size() == 1 ? names.front() : "not one socket";
  }

  /// Waits for `event`, which shows in the bus directory.
  template <typename Event>
  static ::testing::AssertionResult comes_true(Event event) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPlentyMs);
    vlm::bus::DirectoryWatch watch;
    while (std::chrono::steady_clock::now() < deadline) {
      std::string error;
      if (const auto directory = vlm::bus::BusDirectory::open(error)) watch.watch(*directory);
      if (event()) return ::testing::AssertionSuccess();
      watch.wait(kPlentyMs);
    }
    return ::testing::AssertionFailure() << "it did not happen";
  }

  /// A subscriber in this process, once it is on the bus and the directory is quiet.
  Inbox& subscribe(const std::string& channel) {
    const auto before = sockets(channel + '.').size();
    const std::string hidden = '.' + std::to_string(getpid()) + '.';
    static std::list<Inbox>& inboxes = *new std::list<Inbox>;
    Inbox& inbox = inboxes.emplace_back(channel);
    EXPECT_TRUE(comes_true(
        [&] { return sockets(channel + '.').size() > before && sockets(hidden).empty(); }));
    return inbox;
  }

  /// Another process that subscribes `channel`, likewise.
  Process& listener(const std::string& channel) {
    Process& child = start({BUS_PEER, "listen", channel});
    const std::string hidden = '.' + std::to_string(child.pid()) + '.';
    EXPECT_TRUE(
        comes_true([&] { return !sockets(channel + hidden).empty() && sockets(hidden).empty(); }));
    return child;
  }

  Process& start(const std::vector<std::string>& command) {
    return _children.emplace_back(command);
  }

  /// Another process that may have no more than `files` descriptors, none of them handed down but the
  /// standard ones. Not for a build that runs under an emulator, which has some of its own.
  Process& start_short_of_files(int files, const std::vector<std::string>& command) {
    std::string line = "exec";
    for (int fd = STDERR_FILENO + 1; fd < 10; ++fd) line += " " + std::to_string(fd) + ">&-";
    line += "; ulimit -n " + std::to_string(files) + "; exec";
    for (const std::string& word : command) line += " '" + word + "'";
    return start({"/bin/sh", "-c", line});
  }
  static bool emulated() { return runnable({BUS_PEER}).size() > 1; }

  static void make_file(const std::filesystem::path& path) { const std::ofstream file(path); }

  std::string fresh_channel() const {
    static int serial = 0;
    return "channel" + std::to_string(serial++);
  }

  const std::filesystem::path _root = TemporaryDirectories::make();
  std::filesystem::path _bus;
  const std::string _channel = fresh_channel();
  std::list<Process> _children;
};

#endif  // BUS_FIXTURE_H
