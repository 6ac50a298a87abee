// The sending side of the bus: who listens on each channel, and delivery to them.
#ifndef PUBLISHER_H
#define PUBLISHER_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bus_directory.h"
#include "report.h"
#include "tap_sender.h"
#include "unique_fd.h"

namespace vlm::bus {

/// Sends packets to the subscribers of a channel, over sockets that stay connected. Any thread may
/// publish; the threads take turns. The directory is read only when it has changed, or when nobody
/// is known to listen.
///
/// A subscriber that takes no packet for 50 ms is stalled until it takes one again: its copies are
/// dropped at once. A line says when it stalls, another when it takes packets again or is given up;
/// taps get these lines as notes.
///
/// The subscribers of the kMostChannels channels used last are remembered. What else is published
/// on costs a look at the directory each time it comes back.
class Publisher {
 public:
  /// The publisher of this process.
  static Publisher& instance();

  static constexpr std::size_t kMostChannels = 64;

  /// Sends the packet of `size` bytes to every subscriber of `channel`, and returns how many there
  /// are; those that are stalled count. No value when the bus cannot be used.
  std::optional<std::size_t> publish(std::string_view channel, const void* bytes, std::size_t size);

 private:
  struct Packet {
    const void* bytes;
    std::size_t size;
  };
  struct Subscriber {
    std::string name;         // of its socket
    UniqueFd connection;      // none when the subscriber has gone
    bool waiting = false;     // has not taken the packet under way
    bool stalled = false;     // has not taken the one before
    unsigned long drops = 0;  // copies it never got
  };
  struct Channel {
    unsigned long seen = 0;  // the state of the directory that `subscribers` shows, 0 for none
    unsigned long used = 0;  // the number of the publish that used it last
    std::vector<Subscriber> subscribers;
  };
  using Clock = std::chrono::steady_clock;

  Channel& channel_named(std::string_view name);
  void forget_oldest_channel();
  bool refresh(std::string_view name, Channel& channel);
  void connect_new(const BusDirectory& directory, const std::vector<std::string>& names,
                   Channel& channel);

  static int try_send(const Subscriber& subscriber, Packet packet);
  void offer(Subscriber& subscriber, Packet packet);
  void offer_again(Channel& channel, Packet packet);
  static bool wait_for_room(const Channel& channel, Clock::time_point deadline);
  void drop(Subscriber& subscriber);
  template <typename Predicate>
  bool give_up(Channel& channel, Predicate predicate);
  void forget_gone(Channel& channel);
  void tell(const Subscriber& subscriber, const char* what);

  std::mutex _mutex;  // guards all members below
  DirectoryWatch _watch;
  unsigned long _state = 1;      // numbers the states of the directory
  unsigned long _publishes = 0;  // so far
  std::map<std::string, Channel, std::less<>> _channels;
  vlm::bus::TapSender _taps;
  Complaint _complaint;
};

}  // namespace vlm::bus

#endif  // PUBLISHER_H
