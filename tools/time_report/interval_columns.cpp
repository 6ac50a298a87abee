#include "interval_columns.h"

#include <algorithm>

namespace vlm::time_report {

namespace {

void widen(IntervalColumns::Column& column, const IntervalColumns::Column& other) {
  if (other.shortest < 0) return;
  column.shortest =
      column.shortest < 0 ? other.shortest : std::min(column.shortest, other.shortest);
  column.longest = std::max(column.longest, other.longest);
}

}  // namespace

void IntervalColumns::add(std::int64_t time, std::int64_t interval) {
  const std::int64_t last_us = std::max<std::int64_t>(time - 1, 0);
  while (static_cast<std::uint64_t>(last_us / _width_us) >= kMost) join_pairs();
  const auto index = static_cast<std::size_t>(last_us / _width_us);
  if (index >= _columns.size()) _columns.resize(index + 1);
  widen(_columns[index], {interval, interval});
}

void IntervalColumns::join_pairs() {
  const std::size_t joined = (_columns.size() + 1) / 2;
  for (std::size_t i = 0; i < joined; ++i) {
    Column column = _columns[2 * i];
    if (2 * i + 1 < _columns.size()) widen(column, _columns[2 * i + 1]);
    _columns[i] = column;
  }
  _columns.resize(joined);
  _width_us *= 2;
}

}  // namespace vlm::time_report
