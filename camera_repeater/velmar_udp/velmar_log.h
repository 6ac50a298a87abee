// The trace log of field tests, and the time log that shows clock jumps and stalls.
//
// Trace messages go to a file on the SD card, to the console, to both or to neither, as two marker
// files on the card say. Any thread may log: each message is one write to an O_APPEND descriptor,
// and the switches and counters are atomic.
#ifndef VELMAR_LOG_H
#define VELMAR_LOG_H

#include <atomic>
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

/// Opens a fresh log file when its marker exists, and reads the console marker. Prints the outcome
/// of the open; without markers it prints nothing. Not to be run by two threads at once.
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

#endif  // VELMAR_LOG_H
