#include "velmar_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "time_helper.h"

const char* F_PATH = "/sdcard/test.log";
const char* F_TRIG = "/sdcard/trigger";
const char* F_LOG_TO_CONSOLE = "/sdcard/log_to_console";

std::atomic<int> g_log_fd{-1};
std::atomic<bool> g_log_to_console{false};
cmd_num_t g_cmd_num{};

namespace {

constexpr int kMessageSize = 128;
constexpr char kBanner[] = "\n=========================\n";

bool exists(const char* path) { return access(path, F_OK) == 0; }

void open_log_file() {
  unlink(F_PATH);  // a link too, also one that leads nowhere: the log is never written through one
  // Synchronous, and a sync after every message: the last lines before a power loss must survive.
  const int fd = open(F_PATH, O_RDWR | O_CREAT | O_APPEND | O_SYNC | O_NOFOLLOW | O_CLOEXEC, 0644);
  const int previous = g_log_fd.exchange(fd);
  if (previous != -1) close(previous);
  if (fd == -1) {
    std::puts("open logfile fail");
    return;
  }
  for (auto* count :
       {&g_cmd_num.total_num, &g_cmd_num.ok_num, &g_cmd_num.fail_num, &g_cmd_num.mavlink_num}) {
    *count = 0;
  }
  std::puts("open logfile OK");
  if (write(fd, kBanner, sizeof kBanner - 1) == -1) std::puts("init logfile fail");
}

std::atomic<std::int32_t>* counter_of(int level) {
  switch (level) {
    case 0: return &g_cmd_num.total_num;
    case 1: return &g_cmd_num.ok_num;
    case 2: return &g_cmd_num.fail_num;
    case 3: return &g_cmd_num.mavlink_num;
    default: return nullptr;
  }
}

void append_suffix(int level, char* dst, int free_len) {
  if (auto* const counter = counter_of(level)) {
    append_num_timestamp(dst, free_len, ++*counter);
  } else if (level == 4) {
    append_timestamp(dst, free_len);
  }
}

void report_no_room(const char* dst, int free_len) {
  std::printf("Error: buf is %p, free length is %d\n", static_cast<const void*>(dst), free_len);
}

long long tick() { return static_cast<long long>(time_ms()); }

}  // namespace

void vlm_camera_log_init() {
  if (exists(F_TRIG)) open_log_file();
  if (exists(F_LOG_TO_CONSOLE)) g_log_to_console = true;
}

void vlm_camera_log_destroy() {
  const int fd = g_log_fd.exchange(-1);
  if (fd != -1) close(fd);
  g_log_to_console = false;
}

int vlm_log_print(int level, const char* format, ...) {
  const int fd = g_log_fd;
  const bool to_console = g_log_to_console;
  if (fd == -1 && !to_console) return 0;

  char message[kMessageSize] = {};
  va_list args;
  va_start(args, format);
  const int length = std::max(0, std::vsnprintf(message, sizeof message, format, args));
  va_end(args);
  append_suffix(level, message + std::min(length, kMessageSize), kMessageSize - length);

  if (fd != -1) {
    // A full or failing card must not stop the camera: what cannot be written is lost.
    [[maybe_unused]] const ssize_t written = write(fd, message, std::strlen(message));
    fsync(fd);
  }
  if (to_console) std::printf("%s", message);
  return 0;
}

void append_num_timestamp(char* dst, int free_len, int num) {
  if (dst == nullptr || free_len <= 19) return report_no_room(dst, free_len);
  std::snprintf(dst, static_cast<std::size_t>(free_len), ":[%03d], %06lld\n", num, tick());
}

void append_timestamp(char* dst, int free_len) {
  if (dst == nullptr || free_len <= 11) return report_no_room(dst, free_len);
  std::snprintf(dst, static_cast<std::size_t>(free_len), ", %06lld\n", tick());
}
