// Rates and latencies by command.
#ifndef MONITOR_STATISTICS_H
#define MONITOR_STATISTICS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "observation.h"

namespace vlm::monitor {

/// Durations in buckets whose bounds are 1/16 apart, from 1 ns up: quantiles are true to 7 %.
class DurationHistogram {
 public:
  void add(std::int64_t ns);
  std::uint64_t count() const { return _count; }
  std::int64_t min() const { return _min; }
  std::int64_t max() const { return _max; }
  /// The duration that `share` of all do not exceed; 0 without any.
  std::int64_t quantile(double share) const;

 private:
  std::map<std::size_t, std::uint64_t> _buckets;  // those that are not empty, at most 16 an octave
  std::uint64_t _count = 0;
  std::int64_t _min = 0;
  std::int64_t _max = 0;
};

class Statistics {
 public:
  void add(const Observation& observation);

  /// A table of all commands seen, and the totals.
  std::string text() const;
  /// The same as one JSON object, with its line end.
  std::string json() const;

 private:
  struct Command {
    std::uint64_t requests = 0;
    std::uint64_t errors = 0;
    std::uint64_t unanswered = 0;
    DurationHistogram round_trips;
  };

  double duration_s() const;
  double rate() const;

  std::map<std::string, Command> _commands;
  std::uint64_t _packets = 0;
  std::uint64_t _dropped = 0;
  std::uint64_t _unasked = 0;
  std::uint64_t _crossed = 0;
  std::uint64_t _unanswered = 0;
  std::int64_t _last_ns = 0;  // since the first entry
};

}  // namespace vlm::monitor

#endif  // MONITOR_STATISTICS_H
