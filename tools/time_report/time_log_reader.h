// Reads the files of a time-log directory in the order of their serials, in bounded memory.
//
// A log file is named log_time_file_NNNN.log and holds up to 9999 lines "NNNN-YEAR-M-D-hh:mm:ss-
// uuuuuu", each ended by CR LF: the line's number in the file and the UTC time of its writing. What
// a power loss, a full card or a worn one leaves behind is told apart and passed on, never a fault.
#ifndef TIME_LOG_READER_H
#define TIME_LOG_READER_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vlm::time_report {

constexpr int kLinesPerFile = 9999;

struct TimeLine {
  int number;            // 1 to 9999
  std::int64_t time_us;  // microseconds since the Unix epoch
};

/// The line in `text`, which comes without its line end; nothing when it is not a line of the log.
/// The month may have one digit or two.
std::optional<TimeLine> parse_time_line(std::string_view text);

struct TimeLogFile {
  int serial;
  std::string name;
  std::string fault;  // why it cannot be read; empty when that is still to be seen
};

struct TimeLogListing {
  std::vector<TimeLogFile> files;  // by serial, then by name
  std::uint64_t bytes = 0;         // of all files
};

/// Finds the log files in `directory`; entries with other names do not count. False, with the
/// reason in `error`, when the directory cannot be read.
bool list_time_log(const std::string& directory, TimeLogListing& listing, std::string& error);

/// Receives what the reader finds, in order.
class TimeLogSink {
 public:
  virtual ~TimeLogSink() = default;
  virtual void begin_file(const TimeLogFile& file) = 0;
  /// `position` counts the text lines of the file from 1.
  virtual void line(std::uint64_t position, const TimeLine& line) = 0;
  /// A whole text line that is no line of the log.
  virtual void garbage_line() = 0;
  /// The file ends in the middle of a line.
  virtual void torn_line() = 0;
  /// `file`, or its rest when it has begun.
  virtual void unreadable(const TimeLogFile& file, const std::string& reason) = 0;
};

/// Told after each piece how many bytes have been read in all.
using ReadProgress = std::function<void(std::uint64_t bytes)>;

/// Reads all files of `listing`; what cannot be read is passed on and passed over.
void read_time_log(const std::string& directory, const TimeLogListing& listing, TimeLogSink& sink,
                   const ReadProgress& progress);

}  // namespace vlm::time_report

#endif  // TIME_LOG_READER_H
