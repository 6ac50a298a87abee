// The publisher's side of the taps: each gets a copy of every packet and is never waited for.
#ifndef TAP_SENDER_H
#define TAP_SENDER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bus_directory.h"
#include "tap_copy.h"
#include "unique_fd.h"

namespace vlm::bus {

/// The taps that a publisher knows. For one thread at a time.
class TapSender {
 public:
  /// Brings the taps up to date with `directory`, unless that has been done in its state `state`.
  void look(const BusDirectory& directory, unsigned long state);

  /// Gives every tap the text, a line about packets that a subscriber did not take. Where there is
  /// no room it follows later; a newer text takes its place.
  void note(const std::string& text);

  /// Gives every tap its copy of the packet, or counts it as lost. Costs nothing without a tap.
  void copy(std::string_view channel, const void* packet, std::size_t size) {
    if (!_taps.empty()) copy_to_all(channel, packet, size);
  }

 private:
  using Clock = std::chrono::steady_clock;

  struct Unmap {
    void operator()(TapTally* tally) const;
  };
  struct Tap {
    std::string name;
    UniqueFd connection;  // tells when the tap has gone
    UniqueFd reading;     // kept open, so that a write to a tap that has gone raises no signal
    UniqueFd writing;
    std::unique_ptr<TapTally, Unmap> tally;
    std::uint64_t sequence = 0;
    std::string note;                // not yet written; empty for none
    Clock::time_point full_until{};  // no copy is tried before
    bool gone = false;
  };

  static bool connect(const BusDirectory& directory, const std::string& name, Tap& tap);
  static bool greet(const Tap& tap, int tally);
  static bool write_record(Tap& tap, const TapRecord& record, std::string_view channel,
                           const void* packet, Clock::time_point now);
  static void write_note(Tap& tap, Clock::time_point now);
  static void copy_to(Tap& tap, const TapRecord& record, std::string_view channel,
                      const void* packet, Clock::time_point now);
  void copy_to_all(std::string_view channel, const void* packet, std::size_t size);

  std::vector<Tap> _taps;
  unsigned long _seen = 0;  // the state of the directory that `_taps` shows, 0 for none
};

}  // namespace vlm::bus

#endif  // TAP_SENDER_H
