// Writes time logs as the logging thread would, on a clock of the test's own.
#ifndef TIME_LOG_WRITER_H
#define TIME_LOG_WRITER_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

/// Files of 9999 lines, one after the other, from `first_serial` on. The clock begins at 07:08:09
/// UTC on 5 March 2024 and moves on by one interval after each line: 10.1 ms unless told otherwise.
class TimeLogWriter {
 public:
  explicit TimeLogWriter(std::string directory, int first_serial = 1);
  ~TimeLogWriter();
  TimeLogWriter(const TimeLogWriter&) = delete;
  TimeLogWriter& operator=(const TimeLogWriter&) = delete;

  /// Writes `count` lines.
  TimeLogWriter& lines(int count);
  /// The same without the writing: their numbers and their time pass.
  TimeLogWriter& lose(int count);
  /// Writes the line `number`, at the clock, and goes on from it.
  TimeLogWriter& line(int number);
  /// Puts text between the lines.
  TimeLogWriter& raw(const std::string& text);
  /// The clock moves by so much more, or back.
  TimeLogWriter& clock_moves(std::int64_t us);
  /// Ends the file; the next line is the first of the next file, `skipped` serials on.
  TimeLogWriter& next_file(int skipped = 0);
  TimeLogWriter& intervals(std::function<std::int64_t()> interval_us);

 private:
  void pass_line();
  void close_file();

  std::string _directory;
  int _serial;
  int _number = 1;
  std::int64_t _clock_us = 1'709'622'489'000'000;
  std::function<std::int64_t()> _interval_us = [] { return 10'100; };
  std::FILE* _file = nullptr;  // null until something is written
};

/// Intervals as an SD card gives them: mostly a little above 10 ms, now and then some 10 ms longer.
/// The same in every run.
std::function<std::int64_t()> card_intervals();

#endif  // TIME_LOG_WRITER_H
