#include "time_report.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace vlm::time_report {

namespace {

constexpr double kNominalIntervalUs = 10'000;
constexpr std::int64_t kLongestElapsedUs = std::int64_t{1} << 60;  // beyond it the sum stands still

bool larger(const TimeEvent& a, const TimeEvent& b) {
  return std::abs(a.size_us) > std::abs(b.size_us);
}

}  // namespace

bool LargestEvents::count(std::int64_t size_us) {
  ++_counted;
  return _kept.size() < kKept || std::abs(size_us) > std::abs(_kept.front().size_us);
}

void LargestEvents::keep(TimeEvent event) {
  if (_kept.size() == kKept) {
    std::pop_heap(_kept.begin(), _kept.end(), larger);
    _kept.pop_back();
  }
  _kept.push_back(std::move(event));
  std::push_heap(_kept.begin(), _kept.end(), larger);
}

void TimeReport::begin_file(const TimeLogFile& file) {
  const auto between = static_cast<std::uint64_t>(std::max(0, file.serial - _serial - 1));
  if (_serial != -1 && between > _unreadable_since_file) {
    _summary.missing_files += between - _unreadable_since_file;
  }
  begin_run(file.serial == _serial + 1);
  ++_summary.files;
  _file = file.name;
  _serial = file.serial;
  _unreadable_since_file = 0;
}

void TimeReport::unreadable(const TimeLogFile& file, const std::string& reason) {
  _summary.unreadable_files.push_back({file.serial, file.name, reason});
  ++_unreadable_since_file;
}

void TimeReport::begin_run(bool continues) {
  end_run();
  ++_run;
  _continues = continues;
}

/// The numbers up to the last that were not seen are lost.
void TimeReport::end_run() {
  if (_has_last && _last.run == _run) {
    for (int number = 1; number < _last.number; ++number) {
      if (!_seen[static_cast<std::size_t>(number)]) ++_summary.lost_lines;
    }
  }
  _seen.reset();
}

void TimeReport::line(std::uint64_t position, const TimeLine& line) {
  if (_summary.lines++ == 0) _summary.first_us = line.time_us;
  _summary.last_us = line.time_us;
  const bool starts_again = line.number == 1 && _has_last && _last.run == _run && _last.number > 1;
  if (starts_again) begin_run(false);
  take(position, {_run, line.number, line.time_us});
}

void TimeReport::take(std::uint64_t position, const Stamp& stamp) {
  const auto number = static_cast<std::size_t>(stamp.number);
  if (_seen[number]) {
    ++_summary.doubled_lines;
    return;
  }
  _seen.set(number);
  if (_has_last && _last.run == _run && stamp.number < _last.number) {
    ++_summary.out_of_order_lines;
    if (!resumes(stamp)) return;
  }
  if (_has_last) judge(position, stamp);
  _last = stamp;
  _has_last = true;
  _stray.run = -1;
}

/// A line out of order that follows another one: the number of the last line was the wrong one.
bool TimeReport::resumes(const Stamp& stamp) {
  const bool follows = _stray.run == stamp.run && _stray.number + 1 == stamp.number;
  if (follows) _last = _stray;
  _stray = stamp;
  return follows;
}

/// Lines from the last one to `stamp`, 1 for neighbours; 0 across an interruption.
int TimeReport::steps_to(const Stamp& stamp) const {
  if (_last.run == stamp.run) return stamp.number - _last.number;
  const bool continues = _continues && _last.run + 1 == stamp.run && _last.number == kLinesPerFile;
  return continues ? stamp.number : 0;
}

void TimeReport::judge(std::uint64_t position, const Stamp& stamp) {
  const int steps = steps_to(stamp);
  if (stamp.time_us < _last.time_us) {
    add_event(TimeEventKind::kJumpBack, position, stamp);
  } else if (steps == 0) {
    add_event(TimeEventKind::kInterruption, position, stamp);
  } else {
    judge_gap(position, stamp, steps);
  }
}

void TimeReport::judge_gap(std::uint64_t position, const Stamp& stamp, int steps) {
  const std::int64_t gap = stamp.time_us - _last.time_us;
  const double usual =
      _usual_count == 0 ? kNominalIntervalUs : _usual_sum_us / static_cast<double>(_usual_count);
  const std::int64_t excess = gap - std::llround((steps - 1) * usual);
  if (excess > _thresholds.jump_us) return add_event(TimeEventKind::kJumpForward, position, stamp);
  _summary.elapsed_us = std::min(_summary.elapsed_us + gap, kLongestElapsedUs);
  if (steps == 1) measure(gap);
  if (excess > _thresholds.stall_us) add_event(TimeEventKind::kStall, position, stamp);
}

void TimeReport::measure(std::int64_t interval_us) {
  _intervals.add(interval_us);
  _columns.add(_summary.elapsed_us, interval_us);
  if (interval_us < kShortIntervalUs) ++_summary.short_intervals;
  if (interval_us <= _thresholds.stall_us) {
    _usual_sum_us += static_cast<double>(interval_us);
    ++_usual_count;
  }
}

void TimeReport::add_event(TimeEventKind kind, std::uint64_t position, const Stamp& stamp) {
  auto& events = _events[static_cast<std::size_t>(kind)];
  const std::int64_t size = stamp.time_us - _last.time_us;
  if (!events.count(size)) return;
  events.keep({kind, _file, position, stamp.time_us, size, _summary.elapsed_us, _summary.lines});
}

std::vector<TimeEvent> TimeReport::events() const {
  std::vector<TimeEvent> all;
  for (const auto& events : _events) {
    all.insert(all.end(), events.kept().begin(), events.kept().end());
  }
  std::sort(all.begin(), all.end(),
            [](const TimeEvent& a, const TimeEvent& b) { return a.order < b.order; });
  return all;
}

bool TimeReport::clean() const {
  return count(TimeEventKind::kJumpBack) == 0 && count(TimeEventKind::kJumpForward) == 0 &&
         count(TimeEventKind::kStall) == 0;
}

}  // namespace vlm::time_report
