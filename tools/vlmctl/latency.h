// Times of answers, and what is told of them.
#ifndef VLMCTL_LATENCY_H
#define VLMCTL_LATENCY_H

#include <chrono>
#include <string>
#include <vector>

namespace vlm::ctl {

class Latency {
 public:
  using Time = std::chrono::nanoseconds;

  struct Bin {
    Time above;  // the times in it are longer than this,
    Time up_to;  // and this long at most
    unsigned count;
  };

  void add(Time time);
  std::size_t count() const { return _times.size(); }

  /// The time that `part` of all do not exceed, 0 the shortest, 1 the longest; there is one.
  Time quantile(double part) const;
  /// From the shortest to the longest, each bin twice as wide as the one before.
  std::vector<Bin> histogram() const;

 private:
  std::vector<Time> _times;  // ascending
};

/// "1.234", of milliseconds.
std::string milliseconds(Latency::Time time);

}  // namespace vlm::ctl

#endif  // VLMCTL_LATENCY_H
