// What a time log tells: how long its intervals are, where the clock jumped, where the system
// stalled and what the log itself has lost. Takes the lines one by one, in bounded memory.
//
// The log knows the wall clock only, so that a clock set forward and a stall of the same length
// look alike: a gap above the stall threshold counts as a stall, and from the jump threshold on as
// a jump of the clock. A line earlier than the one before it always shows a clock set back.
//
// Neighbours are lines whose numbers follow each other, also from line 9999 of a file to line 1 of
// the next one. Between lines that are no neighbours:
// - lost lines: each is allowed the usual interval, and the rest of the gap is judged;
// - an interruption (a file ends early, its successor is missing, line 1 comes again within a
//   file): the logger was not running or its files are gone, so a gap means nothing; time that runs
//   backwards is a jump all the same.
// Doubled lines and lines out of order are counted and have no part in the timing; two lines that
// follow each other end a run out of order.
#ifndef TIME_REPORT_H
#define TIME_REPORT_H

#include <array>
#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

#include "interval_columns.h"
#include "interval_histogram.h"
#include "time_log_reader.h"

namespace vlm::time_report {

struct TimeThresholds {
  std::int64_t stall_us = 100'000;    // a longer gap is a stall
  std::int64_t jump_us = 10'000'000;  // a longer gap is a jump of the clock
};

enum class TimeEventKind { kJumpBack, kJumpForward, kStall, kInterruption };
constexpr std::size_t kTimeEventKinds = 4;

/// Between two lines of the log that follow each other; the place is that of the later one.
struct TimeEvent {
  TimeEventKind kind;
  std::string file;
  std::uint64_t position;   // the text line in the file
  std::int64_t time_us;     // what the line says
  std::int64_t size_us;     // how far the clock moved since the line before
  std::int64_t elapsed_us;  // logging time at the line, see TimeSummary
  std::uint64_t order;      // lines read up to it
};

/// The largest events of one kind, and how many there were.
class LargestEvents {
 public:
  static constexpr std::size_t kKept = 100;

  /// Counts an event; true when it is among the largest so far and should be kept.
  bool count(std::int64_t size_us);
  void keep(TimeEvent event);

  std::uint64_t counted() const { return _counted; }
  const std::vector<TimeEvent>& kept() const { return _kept; }

 private:
  std::uint64_t _counted = 0;
  std::vector<TimeEvent> _kept;  // a heap, its smallest event first
};

struct TimeSummary {
  std::uint64_t files = 0;
  std::uint64_t missing_files = 0;  // serials between two files that are there
  std::vector<TimeLogFile> unreadable_files;
  std::uint64_t lines = 0;
  std::int64_t first_us = 0;  // of the first line, and below of the last, in the order of the log
  std::int64_t last_us = 0;
  /// The sum of all gaps that are not jumps and not interruptions.
  std::int64_t elapsed_us = 0;
  std::uint64_t short_intervals = 0;
  std::uint64_t lost_lines = 0;
  std::uint64_t doubled_lines = 0;
  std::uint64_t out_of_order_lines = 0;
  std::uint64_t garbage_lines = 0;
  std::uint64_t torn_lines = 0;
};

class TimeReport : public TimeLogSink {
 public:
  /// The logger sleeps 10 ms after each line. A clearly shorter interval shows a clock that was set
  /// back by less than an interval; the margin is for a clock that is being slewed.
  static constexpr std::int64_t kShortIntervalUs = 9'000;

  explicit TimeReport(const TimeThresholds& thresholds) : _thresholds(thresholds) {}

  void begin_file(const TimeLogFile& file) override;
  void line(std::uint64_t position, const TimeLine& line) override;
  void garbage_line() override { ++_summary.garbage_lines; }
  void torn_line() override { ++_summary.torn_lines; }
  void unreadable(const TimeLogFile& file, const std::string& reason) override;
  /// To be called after the last line, before anything is asked.
  void finish() { end_run(); }

  const TimeThresholds& thresholds() const { return _thresholds; }
  const TimeSummary& summary() const { return _summary; }
  /// Of neighbours, jumps left out.
  const IntervalHistogram& intervals() const { return _intervals; }
  const IntervalColumns& columns() const { return _columns; }
  std::uint64_t count(TimeEventKind kind) const { return of(kind).counted(); }
  /// The kept events of all kinds, in the order of the log.
  std::vector<TimeEvent> events() const;
  /// No jumps and no stalls.
  bool clean() const;

 private:
  /// Where a line stands: runs are counted, and the numbers within a run rise.
  struct Stamp {
    int run;
    int number;
    std::int64_t time_us;
  };

  const LargestEvents& of(TimeEventKind kind) const {
    return _events[static_cast<std::size_t>(kind)];
  }
  void begin_run(bool continues);
  void end_run();
  void take(std::uint64_t position, const Stamp& stamp);
  bool resumes(const Stamp& stamp);
  int steps_to(const Stamp& stamp) const;
  void judge(std::uint64_t position, const Stamp& stamp);
  void judge_gap(std::uint64_t position, const Stamp& stamp, int steps);
  void measure(std::int64_t interval_us);
  void add_event(TimeEventKind kind, std::uint64_t position, const Stamp& stamp);

  TimeThresholds _thresholds;
  TimeSummary _summary;
  IntervalHistogram _intervals;
  IntervalColumns _columns;
  std::array<LargestEvents, kTimeEventKinds> _events;

  std::string _file;
  int _serial = -1;                          // of the file under way, -1 before the first
  std::uint64_t _unreadable_since_file = 0;  // what lies between it and the next
  int _run = 0;
  bool _continues = false;               // the run under way continues the one before it
  std::bitset<kLinesPerFile + 1> _seen;  // numbers of the run under way
  bool _has_last = false;
  Stamp _last{};           // the last line that took part in the timing
  Stamp _stray{-1, 0, 0};  // the last line out of order, of run -1 when there is none
  double _usual_sum_us = 0;
  std::uint64_t _usual_count = 0;
};

}  // namespace vlm::time_report

#endif  // TIME_REPORT_H
