// Counts intervals so that percentiles of any number of them take bounded memory.
#ifndef INTERVAL_HISTOGRAM_H
#define INTERVAL_HISTOGRAM_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vlm::time_report {

/// Below 16384 every value has a bucket of its own; above, each power of two is cut into 8192
/// buckets, so that a percentile is at most 0.02 % above the exact one.
class IntervalHistogram {
 public:
  IntervalHistogram();

  /// `value` is not negative.
  void add(std::int64_t value);

  std::uint64_t count() const { return _count; }
  // Of an empty histogram these are 0.
  std::int64_t min() const { return _min; }
  std::int64_t max() const { return _max; }
  /// The smallest value that `percent` (1 to 100) of all values do not exceed.
  std::int64_t percentile(unsigned percent) const;

 private:
  std::vector<std::uint64_t> _buckets;
  std::uint64_t _count = 0;
  std::int64_t _min = 0;
  std::int64_t _max = 0;
};

}  // namespace vlm::time_report

#endif  // INTERVAL_HISTOGRAM_H
