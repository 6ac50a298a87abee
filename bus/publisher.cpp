#include "publisher.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>

#include "format.h"
#include "reason.h"

namespace vlm::bus {

namespace {

constexpr std::chrono::milliseconds kPatience{50};

// A connection to the subscriber that owns the socket `name` now.
UniqueFd connect_again(const std::string& name) {
  std::string error;
  const auto directory = BusDirectory::open(error);
  return directory ? directory->connect(name) : UniqueFd();
}

}  // namespace

Publisher& Publisher::instance() {
  // Never destroyed: threads may still publish while the process exits.
  static Publisher& publisher = *new Publisher;
  return publisher;
}

std::optional<std::size_t> Publisher::publish(std::string_view name, const void* bytes,
                                              std::size_t size) {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (_watch.changed()) ++_state;
  Channel& channel = channel_named(name);
  const bool current = channel.seen == _state && !channel.subscribers.empty();
  if (!current && !refresh(name, channel)) return std::nullopt;

  const Packet packet{bytes, size};
  _taps.copy(name, bytes, size);  // first: no tap sees an answer before its request
  bool all_served = true;
  for (Subscriber& subscriber : channel.subscribers) {
    offer(subscriber, packet);
    if (subscriber.waiting) all_served = false;
  }
  if (!all_served) offer_again(channel, packet);
  forget_gone(channel);
  return channel.subscribers.size();
}

Publisher::Channel& Publisher::channel_named(std::string_view name) {
  auto channel = _channels.find(name);
  if (channel == _channels.end()) {
    if (_channels.size() == kMostChannels) forget_oldest_channel();
    channel = _channels.emplace(name, Channel{}).first;
  }
  channel->second.used = ++_publishes;
  return channel->second;
}

/// Whoever publishes on ever new channels must not fill the memory, nor use up the descriptors.
void Publisher::forget_oldest_channel() {
  const auto used_before = [](const auto& a, const auto& b) {
    return a.second.used < b.second.used;
  };
  const auto oldest = std::min_element(_channels.begin(), _channels.end(), used_before);
  give_up(oldest->second, [](const Subscriber&) { return true; });
  _channels.erase(oldest);
}

/// Brings the subscribers of the channel `name` up to date. False when the bus cannot be used.
bool Publisher::refresh(std::string_view name, Channel& channel) {
  std::string error;
  const auto directory = BusDirectory::open(error);
  if (!directory) {
    _complaint.about(error);
    return false;
  }
  _watch.watch(*directory);  // before it is read: no later change is missed
  _taps.look(*directory, _state);
  const std::vector<std::string> names = directory->sockets_of(name);
  give_up(channel, [&](const Subscriber& known) {
    return std::count(names.begin(), names.end(), known.name) == 0;
  });
  channel.seen = _state;
  connect_new(*directory, names, channel);
  return true;
}

void Publisher::connect_new(const BusDirectory& directory, const std::vector<std::string>& names,
                            Channel& channel) {
  for (const std::string& name : names) {
    const auto is_it = [&](const Subscriber& known) { return known.name == name; };
    if (std::any_of(channel.subscribers.begin(), channel.subscribers.end(), is_it)) continue;
    UniqueFd connection = directory.connect(name);
    const int error = errno;
    if (connection) {
      channel.subscribers.push_back({name, std::move(connection)});
    } else if (error != ECONNREFUSED && error != ENOENT) {
      _complaint.about(
          host::format("cannot reach %s: %s", name.c_str(), host::reason(error).c_str()));
      channel.seen = 0;  // to be tried again
    }
  }
  if (channel.seen != 0) _complaint.settled();
}

/// Returns 0 or the error code.
int Publisher::try_send(const Subscriber& subscriber, Packet packet) {
  for (;;) {
    const ssize_t sent =
        send(subscriber.connection.get(), packet.bytes, packet.size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent >= 0) return 0;
    if (errno != EINTR) return errno;
  }
}

/// Sends without waiting; afterwards the subscriber has the packet, waits for it, or has gone.
void Publisher::offer(Subscriber& subscriber, Packet packet) {
  int error = try_send(subscriber, packet);
  if (error == ECONNREFUSED) {
    // Its process has died, but another one may have taken the name over.
    subscriber.connection = connect_again(subscriber.name);
    if (subscriber.connection) error = try_send(subscriber, packet);
  }
  subscriber.waiting = error != 0 && subscriber.connection;
  if (error == 0 && subscriber.stalled) {
    subscriber.stalled = false;
    tell(subscriber, "takes its packets again; dropped in all");
  }
}

/// Gives those that had no room for the packet some time, all of them together.
void Publisher::offer_again(Channel& channel, Packet packet) {
  const auto deadline = Clock::now() + kPatience;
  while (wait_for_room(channel, deadline)) {
    for (Subscriber& subscriber : channel.subscribers) {
      if (subscriber.waiting) offer(subscriber, packet);
    }
  }
  for (Subscriber& subscriber : channel.subscribers) {
    if (subscriber.waiting) drop(subscriber);
  }
}

/// False when the time is up or nobody is worth waiting for.
bool Publisher::wait_for_room(const Channel& channel, Clock::time_point deadline) {
  std::vector<pollfd> full;
  for (const Subscriber& subscriber : channel.subscribers) {
    if (subscriber.waiting && !subscriber.stalled) {
      full.push_back({subscriber.connection.get(), POLLOUT, 0});
    }
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  if (full.empty() || left <= 0) return false;
  std::fflush(stdout);  // the lines that a program has collected do not wait
  poll(full.data(), static_cast<nfds_t>(full.size()), static_cast<int>(left));
  return true;
}

void Publisher::drop(Subscriber& subscriber) {
  ++subscriber.drops;
  subscriber.waiting = false;
  if (!subscriber.stalled) {
    tell(subscriber, "does not take its packets; dropped so far");
  }
  subscriber.stalled = true;
}

/// Forgets the subscribers that `predicate` holds for, with the total of one that was stalled to the
/// end. True when there were any.
template <typename Predicate>
bool Publisher::give_up(Channel& channel, Predicate predicate) {
  auto& all = channel.subscribers;
  for (const Subscriber& known : all) {
    if (!known.stalled || !predicate(known)) continue;
    tell(known, "took no packets to the end; dropped in all");
  }
  const auto gone = std::remove_if(all.begin(), all.end(), predicate);
  const bool any = gone != all.end();
  all.erase(gone, all.end());
  return any;
}

void Publisher::forget_gone(Channel& channel) {
  if (give_up(channel, [](const Subscriber& known) { return !known.connection; })) channel.seen = 0;
}

void Publisher::tell(const Subscriber& subscriber, const char* what) {
  const std::string text =
      host::format("%s %s: %lu", subscriber.name.c_str(), what, subscriber.drops);
  report(text);
  _taps.note(text);
}

}  // namespace vlm::bus
