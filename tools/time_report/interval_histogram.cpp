#include "interval_histogram.h"

#include <algorithm>

namespace vlm::time_report {

namespace {

constexpr int kBucketBits = 13;
constexpr std::size_t kBucketsPerPower = std::size_t{1} << kBucketBits;
constexpr std::size_t kPowers = 63 - kBucketBits;  // shifts that a value of 63 bits can need

int highest_bit(std::uint64_t value) { return 63 - __builtin_clzll(value); }

std::size_t bucket_of(std::uint64_t value) {
  if (value < 2 * kBucketsPerPower) return static_cast<std::size_t>(value);
  const auto shift = static_cast<std::size_t>(highest_bit(value) - kBucketBits);
  return shift * kBucketsPerPower + static_cast<std::size_t>(value >> shift);
}

/// The largest value of a bucket.
std::uint64_t value_of(std::size_t bucket) {
  if (bucket < 2 * kBucketsPerPower) return bucket;
  const std::size_t shift = bucket / kBucketsPerPower - 1;
  return (std::uint64_t{bucket - shift * kBucketsPerPower + 1} << shift) - 1;
}

}  // namespace

IntervalHistogram::IntervalHistogram() : _buckets((kPowers + 1) * kBucketsPerPower) {}

void IntervalHistogram::add(std::int64_t value) {
  _min = _count == 0 ? value : std::min(_min, value);
  _max = std::max(_max, value);
  ++_count;
  ++_buckets[bucket_of(static_cast<std::uint64_t>(value))];
}

std::int64_t IntervalHistogram::percentile(unsigned percent) const {
  const std::uint64_t rank = (_count * percent + 99) / 100;
  std::uint64_t seen = 0;
  for (std::size_t bucket = 0; bucket < _buckets.size(); ++bucket) {
    seen += _buckets[bucket];
    if (seen >= rank) {
      return std::clamp(static_cast<std::int64_t>(value_of(bucket)), _min, _max);
    }
  }
  return _max;
}

}  // namespace vlm::time_report
