#include "subscription.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "format.h"
#include "reason.h"

namespace vlm::bus {

namespace {

constexpr std::size_t kHeaderSize = offsetof(userlcm_packet_t, msg_buf);

// An idle subscription sees to it that often that its socket is still in the directory.
constexpr timeval kInspection{1, 0};

/// The subscriptions of this process whose sockets its exit must remove.
struct Announced {
  std::mutex mutex;  // guards the set, and the place of each of them on the bus
  std::set<Subscription*> subscriptions;
};

void withdraw_all();

Announced& announced() {
  // Never destroyed: threads still serve while the process exits.
  static Announced& all = *[] {
    std::atexit(withdraw_all);
    return new Announced;
  }();
  return all;
}

void withdraw_all() {
  announced().mutex.lock();  // for good: nothing is announced any more
  for (Subscription* subscription : announced().subscriptions) subscription->withdraw();
}

/// None with errno set when the process can open no more.
UniqueFd open_socket() {
  UniqueFd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (socket) setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kInspection, sizeof kInspection);
  return socket;
}

}  // namespace

Subscription::Subscription(const Receive_msg_t& client)
    : _client(client), _channel(client.channel) {}

Subscription::~Subscription() {
  const std::lock_guard<std::mutex> guard(announced().mutex);
  if (announced().subscriptions.erase(this) != 0) withdraw();
}

bool Subscription::announce() {
  // Told without the lock: an exit that has ended the output waits for the lock.
  std::string error;
  if (!take_place(error)) {
    _complaint.about(error);
    return false;
  }
  _complaint.settled();
  return true;
}

bool Subscription::take_place(std::string& error) {
  const std::lock_guard<std::mutex> guard(announced().mutex);
  auto directory = BusDirectory::open(error);
  if (!directory) return false;
  UniqueFd socket = open_socket();
  std::string name = socket ? directory->bind(socket, _channel) : "";
  if (name.empty()) {
    error = host::format("cannot subscribe %s: %s", _channel.c_str(), host::reason().c_str());
    return false;
  }
  _directory = std::move(directory);
  _name = std::move(name);
  _socket = std::move(socket);
  announced().subscriptions.insert(this);
  return true;
}

void Subscription::serve() {
  for (;;) {
    userlcm_packet_t packet;
    const ssize_t size = recv(_socket.get(), &packet, sizeof packet, MSG_TRUNC);
    if (size < 0 && errno != EAGAIN) {
      if (errno != EINTR) recover();
      continue;
    }
    _failed = false;
    if (size >= 0) {
      deliver(packet, static_cast<std::size_t>(size));
    } else if (!is_announced()) {
      announce();
    }
  }
}

/// The call may be made again, with what waits in the socket; if it fails again, after a while and on
/// another socket.
void Subscription::recover() {
  _receiving.about(
      host::format("cannot receive on %s: %s", _channel.c_str(), host::reason().c_str()));
  if (!std::exchange(_failed, true)) return;
  std::this_thread::sleep_for(std::chrono::seconds(kInspection.tv_sec));
  {
    const std::lock_guard<std::mutex> guard(announced().mutex);
    withdraw();
  }
  announce();
}

void Subscription::withdraw() { _directory->remove(_name); }

bool Subscription::is_announced() const { return _directory->holds(_name); }

/// Clears what the packet does not fill and runs the callback, unless the `size` bytes cannot have come from a publisher.
void Subscription::deliver(userlcm_packet_t& packet, std::size_t size) {
  if (size < kHeaderSize || size > sizeof packet) return;
  std::memset(reinterpret_cast<char*>(&packet) + size, 0, sizeof packet - size);
  char channel[sizeof _client.channel];  // the callback's own, whatever it does to it
  std::memcpy(channel, _client.channel, sizeof channel);
  _client.f(&packet, static_cast<unsigned int>(size), channel, _client.func);
}

}  // namespace vlm::bus
