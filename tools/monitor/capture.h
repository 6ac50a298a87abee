// The bus as it happens: entries from a tap.
#ifndef MONITOR_CAPTURE_H
#define MONITOR_CAPTURE_H

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "entry.h"
#include "tap.h"

namespace vlm::monitor {

/// Times of entries are the wall clock's at the start and go on by the steady clock: this system
/// sets the wall clock itself. A step of it is an entry, a comment.
class Capture {
 public:
  /// No value when the bus cannot be tapped: `error` says why.
  static std::optional<Capture> open(std::string& error);

  /// Appends what has happened on the bus. False when the tap has gone for good.
  bool take(std::vector<Entry>& entries, std::string& error);

  /// Returns when there may be more to take, or a signal has come that `mask` lets through. While
  /// packets come, it waits for some to gather: a publisher need not wake the monitor for each.
  void wait(bool is_busy, const sigset_t& mask) const;

  /// What happened before this time has been taken.
  std::int64_t taken_until_ns() const { return _taken_until_ns; }

 private:
  explicit Capture(bus::Tap tap);
  void note_clock_step(std::vector<Entry>& entries);
  bool inspect(std::string& error);

  bus::Tap _tap;
  std::int64_t _offset_ns;        // of the times of entries, to the steady clock
  std::int64_t _clock_offset_ns;  // of the wall clock now, to the steady clock
  std::int64_t _taken_until_ns = 0;
  std::int64_t _inspected_ns = 0;  // on the steady clock
  bool _more = false;              // to take, at once
  std::vector<bus::TapCopy> _copies;
};

}  // namespace vlm::monitor

#endif  // MONITOR_CAPTURE_H
