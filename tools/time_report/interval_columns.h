// The shortest and longest interval along the time of a log, in a bounded number of columns.
#ifndef INTERVAL_COLUMNS_H
#define INTERVAL_COLUMNS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vlm::time_report {

/// Columns of equal width from time 0 on. When a time lies beyond the last column that there may
/// be, columns are joined in pairs, as often as it takes.
class IntervalColumns {
 public:
  static constexpr std::size_t kMost = 1024;

  struct Column {
    std::int64_t shortest = -1;  // -1: no interval ends in this column
    std::int64_t longest = -1;
  };

  /// Adds an interval to the column in which it ends, before `time`; neither is negative.
  void add(std::int64_t time, std::int64_t interval);

  const std::vector<Column>& columns() const { return _columns; }
  std::int64_t width_us() const { return _width_us; }

 private:
  void join_pairs();

  std::vector<Column> _columns;
  std::int64_t _width_us = 10'000;
};

}  // namespace vlm::time_report

#endif  // INTERVAL_COLUMNS_H
