// A tap: gets a copy of every packet that is published on the bus, on whatever channel. No
// publisher waits for it, no probe counts it as a subscriber.
#ifndef TAP_H
#define TAP_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "bus_directory.h"
#include "tap_copy.h"
#include "unique_fd.h"

namespace vlm::bus {

/// A packet that has been published, a number of packets that were published and lost, or a note.
struct TapCopy {
  std::uint64_t time_ns = 0;  // on the steady clock, before the packet was delivered to anyone
  std::uint64_t lost = 0;     // how many packets the tap has lost; 0 for a packet and a note
  std::string channel;        // where it was published
  std::vector<unsigned char> packet;  // as subscribers get it: sender's channel and message
  std::string note;  // of a publisher, on packets that a subscriber did not take; else empty
};

/// An open tap. For one thread.
class Tap {
 public:
  /// Sets up a tap on the bus that the environment names. From its return on every packet is copied
  /// whose publishing begins. No value when there can be none: `error` says why.
  static std::optional<Tap> open(std::string& error);
  ~Tap();
  Tap(Tap&&) noexcept = default;
  Tap& operator=(Tap&&) = delete;

  /// Appends what was published before the call to `copies`, by time: a packet that answers another
  /// one stands behind it. What the publishers lost is among it, to the packet. True when something
  /// later is at hand already, of which no descriptor tells any more: it is for the next call.
  bool take(std::vector<TapCopy>& copies);

  /// Descriptors that become readable when there is something new to take.
  std::vector<int> descriptors() const;

  /// Sets the tap up again when its socket, or the whole directory, has gone. False when that
  /// fails: `error` says why.
  bool renew(std::string& error);

 private:
  struct Publisher {
    UniqueFd connection;
    UniqueFd pipe;
    UniqueFd tally;
    std::vector<unsigned char> unread;  // of the pipe, from `begin` on
    std::size_t begin = 0;
    bool holds_later = false;    // than the last take
    std::uint64_t expected = 0;  // sequence of the next record
    bool ended = false;
  };

  Tap() = default;
  bool announce(std::string& error);
  void withdraw();
  void accept_publishers();
  static bool receive_greeting(Publisher& publisher);
  static void drain(Publisher& publisher, std::uint64_t now, std::vector<TapCopy>& copies);
  static bool read_more(Publisher& publisher);
  static bool take_records(Publisher& publisher, std::uint64_t now, std::vector<TapCopy>& copies);
  static void take_record(Publisher& publisher, const TapRecord& record,
                          const unsigned char* content, std::vector<TapCopy>& copies);
  static void note_loss(Publisher& publisher, std::uint64_t reached, std::uint64_t time,
                        std::vector<TapCopy>& copies);

  std::optional<BusDirectory> _directory;
  std::string _name;
  UniqueFd _listener;
  std::list<Publisher> _publishers;
};

}  // namespace vlm::bus

#endif  // TAP_H
