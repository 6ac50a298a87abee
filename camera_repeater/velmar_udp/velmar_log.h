// The trace log of field tests, and the time log that shows clock jumps and stalls.
//
// Trace messages go to a file on the SD card, to the console, to both or to neither, as two marker
// files on the card say. Any thread may log: each message is one write to an O_APPEND descriptor,
// and the switches and counters are atomic.
#ifndef VELMAR_LOG_H
#define VELMAR_LOG_H

#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

extern const char* F_PATH;            // the log file
extern const char* F_TRIG;            // its presence enables the log file
extern const char* F_LOG_TO_CONSOLE;  // its presence enables console output

/// Running numbers of the messages of levels 0 to 3.
struct cmd_num_t {
  std::atomic<std::int32_t> total_num;
  std::atomic<std::int32_t> ok_num;
  std::atomic<std::int32_t> fail_num;
  std::atomic<std::int32_t> mavlink_num;
};
static_assert(sizeof(cmd_num_t) == 16);

extern std::atomic<int> g_log_fd;           // the open log file, -1 when closed; owned by this unit
extern std::atomic<bool> g_log_to_console;  // console output on
extern cmd_num_t g_cmd_num;

/// Opens a fresh log file, never through a link, when its marker exists, and reads the console marker. Prints the outcome
/// of the open; without markers it prints nothing. Not to be called while other threads log.
void vlm_camera_log_init();

/// Closes the log file and turns console output off. Harmless when nothing is open;
/// not to be called while other threads log.
void vlm_camera_log_destroy();

/// Formats a message, at most 127 characters of it, and writes it where the switches say. Levels
/// 0 to 3 count and append ":[%03d], %06lld\n" (counter, tick), level 4 appends ", %06lld\n", other
/// levels append nothing. Returns 0 in every case; with both switches off it does nothing else.
int vlm_log_print(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Writes the counted suffix to `dst`, which has `free_len` bytes left; more than 19 are needed,
/// else an error line goes to the console and nothing is written.
void append_num_timestamp(char* dst, int free_len, int num);

/// Writes the plain suffix to `dst`; more than 11 bytes are needed, likewise.
void append_timestamp(char* dst, int free_len);

// The time log.

/// Where and how often the time log is written. The board uses it as it stands; whoever changes it
/// does so before the thread starts.
struct TimeLogSettings {
  const char* marker = "/sdcard/log_time";   // its presence enables the time log
  const char* dir = "/sdcard/log_time_dir";  // made when it is missing
  const char* file_stem = "/sdcard/log_time_dir/log_time_file";  // "_%04d.log" follows
  std::chrono::milliseconds card_poll{10'000};                   // between questions for the card
  std::chrono::milliseconds line_interval{10};
  int lines_per_file = 9999;
};
extern TimeLogSettings g_time_log_settings;

/// Thread body: waits without limit for the SD card, then, when the marker exists, writes lines for
/// ever. Ends when there is no marker or when the directory or a file cannot be made; says so on
/// the console. Lines that the card does not take are lost; one line says when that begins (standard
/// error, with the reason) and one when the card takes lines again. A directory or a link that bears
/// a file's name is passed over. `arg` is not used; returns null.
void* log_time_thread(void* arg);

/// The next free serial in `dir`: one more than the largest of its log files, 1 when there is none
/// or when `dir` is null or cannot be read.
int get_max_file_sn(const char* dir);

constexpr std::size_t kTimeLineSize = 64;

/// Makes the line `number` of a time-log file from a reading of the wall clock:
/// "NNNN-YEAR-MM-DD-hh:mm:ss-uuuuuu\r\n", in UTC. Leaves `text` as it is when the reading has no
/// date.
void format_time_line(int number, const timeval& now, char (&text)[kTimeLineSize]);

#endif  // VELMAR_LOG_H
