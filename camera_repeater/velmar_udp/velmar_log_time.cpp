// The time-logging thread: the wall clock every 10 ms, in numbered files on the SD card.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

#include "lcm_request.h"
#include "velmar_log.h"
#include "velmar_output.h"

TimeLogSettings g_time_log_settings;

namespace {

constexpr int kReportedLine = 190;  // the start message names this line, wherever the code moves
constexpr std::size_t kPathSize = 64;

bool exists(const char* path) { return access(path, F_OK) == 0; }

bool is_regular_file(int dir_fd, const char* name) {
  struct stat status {};
  return fstatat(dir_fd, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
}

/// The serial in a log file's name; 0 for any other name, and for one that leaves no next serial.
int serial_of(const char* name) {
  long long serial = 0;
  char extension[20] = {};
  // 18 digits: a longer number does not convert, rather than to overflow.
  const int fields = std::sscanf(name, "log_time_file_%18lld.%19s", &serial, extension);
  const bool counts = fields == 2 && std::strcmp(extension, "log") == 0;
  return counts && serial > 0 && serial < INT_MAX ? static_cast<int>(serial) : 0;
}

/// This thread rests most of the time: each of its lines is shown at once.
void tell(const char* line) {
  std::puts(line);
  show_output();
}

void wait_for_card() {
  udp_ctrl_cam_sdcard_storage_t storage{};
  do {
    show_output();
    std::this_thread::sleep_for(g_time_log_settings.card_poll);
  } while (!lcm_request.get_sdcard_storage(0, storage) || storage.status != VLM_STORAGE_OK);
  tell("SD card is OK");
}

/// What stands under a name, a link itself rather than what it leads to; 0: nothing.
mode_t type_of(const char* path) {
  struct stat status {};
  return lstat(path, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

/// Writes all of `text`, or says why not in errno.
bool write_all(int fd, const char* text) {
  for (std::size_t left = std::strlen(text); left > 0;) {
    const ssize_t written = write(fd, text, left);
    if (written <= 0) return false;
    text += written;
    left -= static_cast<std::size_t>(written);
  }
  return true;
}

/// The log from file to file.
class TimeLog {
 public:
  /// Writes one file of lines, or nothing where a directory or a link bears the file's name. False
  /// when the file cannot be opened.
  bool write_file(long long serial);

 private:
  void write_line(int fd);

  char _text[kTimeLineSize] = {};  // the last line
  bool _failing = false;           // it could not be written
};

bool TimeLog::write_file(long long serial) {
  char path[kPathSize];
  const int length =
      std::snprintf(path, sizeof path, "%s_%04lld.log", g_time_log_settings.file_stem, serial);
  const bool fits = length >= 0 && length < static_cast<int>(sizeof path);
  const mode_t existing = fits ? type_of(path) : 0;
  if (existing != 0) tell("Amazing, it should not happen!");
  if (existing == S_IFDIR || existing == S_IFLNK) return true;
  constexpr int kFlags = O_RDWR | O_CREAT | O_APPEND | O_SYNC | O_NOFOLLOW | O_CLOEXEC;
  const int fd = fits ? open(path, kFlags, 0644) : -1;
  if (fd < 0) {
    tell("Open logfile fail");
    return false;
  }
  for (int number = 1; number <= g_time_log_settings.lines_per_file; ++number) {
    timeval now{};
    gettimeofday(&now, nullptr);
    format_time_line(number, now, _text);
    write_line(fd);
    std::this_thread::sleep_for(g_time_log_settings.line_interval);
  }
  close(fd);
  return true;
}

// A full or failing card must not end the log: the lines that it cannot take are lost, and a line on
// the console says when that begins and when it ends.
void TimeLog::write_line(int fd) {
  const bool failed = !write_all(fd, _text);
  if (failed && !_failing) std::perror("write logfile fail");
  if (!failed && _failing) tell("write logfile OK");
  _failing = failed;
  fsync(fd);
}

}  // namespace

void format_time_line(int number, const timeval& now, char (&text)[kTimeLineSize]) {
  tm utc{};
  if (gmtime_r(&now.tv_sec, &utc) == nullptr) return;
  std::snprintf(text, sizeof text, "%04d-%lld-%02d-%02d-%02d:%02d:%02d-%06lu\r\n", number,
                utc.tm_year + 1900LL, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                utc.tm_sec, static_cast<unsigned long>(now.tv_usec));
}

int get_max_file_sn(const char* dir) {
  if (dir == nullptr) return 1;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(dir), closedir);
  if (entries == nullptr) {
    std::perror("opendir fail");
    return 1;
  }
  int largest = 0;
  while (const dirent* entry = readdir(entries.get())) {
    if (is_regular_file(dirfd(entries.get()), entry->d_name)) {
      largest = std::max(largest, serial_of(entry->d_name));
    }
  }
  return largest + 1;
}

void* log_time_thread(void* /*arg*/) {
  std::printf("[%s:%d]\n", "log_time_thread", kReportedLine);
  show_output();
  wait_for_card();
  if (!exists(g_time_log_settings.marker)) {
    tell("No need to log time, exit...");
    return nullptr;
  }
  if (!exists(g_time_log_settings.dir) && mkdir(g_time_log_settings.dir, 0777) != 0) {
    std::perror("mkdir log dir error");
    return nullptr;
  }
  const int first = get_max_file_sn(g_time_log_settings.dir);
  std::printf("max_sn is %d\n", first);
  show_output();
  TimeLog log;
  for (long long serial = first; log.write_file(serial); ++serial) {
  }
  return nullptr;
}
