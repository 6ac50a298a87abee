#include "time_log_reader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <tuple>

#include "reason.h"

namespace vlm::time_report {

namespace {

// --- One line ---

/// Reads a text from left to right; every step says whether it fitted.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : _at(text.data()), _end(_at + text.size()) {}

  bool literal(std::string_view expected) {
    if (std::string_view(_at, left()).substr(0, expected.size()) != expected) return false;
    _at += expected.size();
    return true;
  }

  /// A number of `least` to `most` digits, at most nine.
  bool number(int least, int most, int& value) {
    int digits = 0;
    value = 0;
    while (digits < most && _at != _end && *_at >= '0' && *_at <= '9') {
      value = value * 10 + (*_at++ - '0');
      ++digits;
    }
    return digits >= least;
  }

  bool at_end() const { return _at == _end; }

 private:
  std::size_t left() const { return static_cast<std::size_t>(_end - _at); }

  const char* _at;
  const char* _end;
};

bool is_leap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int days_in(int month, int year) {
  constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && is_leap(year) ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

/// Days from the Unix epoch to a date of the Gregorian calendar. The year is taken to begin in
/// March, so that the leap day is its last.
std::int64_t days_since_epoch(int year, int month, int day) {
  const int y = month <= 2 ? year - 1 : year;
  const int days_before_month = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
  const int days = 365 * y + y / 4 - y / 100 + y / 400 + days_before_month + day - 1;
  return days - 719'468;  // 1 March of the year 0 to 1 January 1970
}

struct Fields {
  int number, year, month, day, hour, minute, second, micros;
};

bool scan(std::string_view text, Fields& f) {
  Scanner in(text);
  return in.number(4, 4, f.number) && in.literal("-") && in.number(4, 4, f.year) &&
         in.literal("-") && in.number(1, 2, f.month) && in.literal("-") && in.number(2, 2, f.day) &&
         in.literal("-") && in.number(2, 2, f.hour) && in.literal(":") &&
         in.number(2, 2, f.minute) && in.literal(":") && in.number(2, 2, f.second) &&
         in.literal("-") && in.number(6, 6, f.micros) && in.at_end();
}

bool valid(const Fields& f) {
  return f.number >= 1 && f.year >= 1 && f.month >= 1 && f.month <= 12 && f.day >= 1 &&
         f.day <= days_in(f.month, f.year) && f.hour <= 23 && f.minute <= 59 && f.second <= 60;
}

// --- The directory ---

/// The serial in a log file's name, nothing for any other name.
std::optional<int> serial_of(std::string_view name) {
  Scanner in(name);
  int serial = 0;
  if (in.literal("log_time_file_") && in.number(1, 9, serial) && in.literal(".log") &&
      in.at_end()) {
    return serial;
  }
  return std::nullopt;
}

TimeLogFile inspect(int dir_fd, int serial, const char* name, std::uint64_t& bytes) {
  struct stat status {};
  if (fstatat(dir_fd, name, &status, 0) != 0) return {serial, name, host::reason()};
  if (!S_ISREG(status.st_mode)) return {serial, name, "Not a regular file"};
  bytes += static_cast<std::uint64_t>(status.st_size);
  return {serial, name, ""};
}

bool comes_before(const TimeLogFile& a, const TimeLogFile& b) {
  return std::tie(a.serial, a.name) < std::tie(b.serial, b.name);
}

// --- One file ---

class FileReader {
 public:
  FileReader(TimeLogSink& sink, const ReadProgress& progress) : _sink(sink), _progress(progress) {}

  void read_file(const std::string& directory, const TimeLogFile& file) {
    const int fd = open((directory + "/" + file.name).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1) return _sink.unreadable(file, host::reason());
    _position = 0;
    _held = 0;
    _overlong = false;
    _sink.begin_file(file);
    const int error = read_lines(fd);
    if (error != 0) _sink.unreadable(file, host::reason(error));
    close(fd);
  }

 private:
  static constexpr std::size_t kLongestLine = 64;  // the buffer that the writer has for a line

  /// 0, or the error that ended the reading.
  int read_lines(int fd) {
    ssize_t count = 0;
    while ((count = read(fd, _buffer.data() + _held, _buffer.size() - _held)) > 0) {
      split(_held + static_cast<std::size_t>(count));
      _bytes += static_cast<std::uint64_t>(count);
      _progress(_bytes);
    }
    const int error = count == 0 ? 0 : errno;
    take_rest();
    return error;
  }

  /// Takes the whole lines of the first `size` bytes and keeps the rest for later.
  void split(std::size_t size) {
    const char* begin = _buffer.data();
    const char* const end = begin + size;
    while (const auto* const line_end = static_cast<const char*>(
               std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)))) {
      take({begin, static_cast<std::size_t>(line_end - begin)});
      begin = line_end + 1;
    }
    _held = static_cast<std::size_t>(end - begin);
    if (_held > kLongestLine) {
      _overlong = true;
      _held = 0;
    }
    std::memmove(_buffer.data(), begin, _held);
  }

  std::optional<TimeLine> parse(std::string_view text) const {
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    return _overlong ? std::nullopt : parse_time_line(text);
  }

  void take(std::string_view text) {
    ++_position;
    const auto line = parse(text);
    _overlong = false;
    if (line) {
      _sink.line(_position, *line);
    } else {
      _sink.garbage_line();
    }
  }

  void take_rest() {
    if (_held == 0 && !_overlong) return;
    ++_position;
    if (const auto line = parse({_buffer.data(), _held})) {
      _sink.line(_position, *line);
    } else {
      _sink.torn_line();
    }
  }

  TimeLogSink& _sink;
  const ReadProgress& _progress;
  std::uint64_t _bytes = 0;
  std::uint64_t _position = 0;
  std::size_t _held = 0;   // bytes of a line whose end has not been read
  bool _overlong = false;  // the line under way is too long to be one; its beginning is gone
  std::array<char, 65'536> _buffer;
};

}  // namespace

std::optional<TimeLine> parse_time_line(std::string_view text) {
  Fields f{};
  if (!scan(text, f) || !valid(f)) return std::nullopt;
  const std::int64_t hours = days_since_epoch(f.year, f.month, f.day) * 24 + f.hour;
  const std::int64_t seconds = (hours * 60 + f.minute) * 60 + f.second;
  return TimeLine{f.number, seconds * 1'000'000 + f.micros};
}

bool list_time_log(const std::string& directory, TimeLogListing& listing, std::string& error) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory.c_str()), closedir);
  if (entries == nullptr) {
    error = host::reason();
    return false;
  }
  while (const dirent* entry = readdir(entries.get())) {
    if (const auto serial = serial_of(entry->d_name)) {
      listing.files.push_back(inspect(dirfd(entries.get()), *serial, entry->d_name, listing.bytes));
    }
  }
  std::sort(listing.files.begin(), listing.files.end(), comes_before);
  return true;
}

void read_time_log(const std::string& directory, const TimeLogListing& listing, TimeLogSink& sink,
                   const ReadProgress& progress) {
  const auto reader = std::make_unique<FileReader>(sink, progress);
  for (const auto& file : listing.files) {
    if (file.fault.empty()) {
      reader->read_file(directory, file);
    } else {
      sink.unreadable(file, file.fault);
    }
  }
}

}  // namespace vlm::time_report
