#include "threads.h"

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace vlm::service {

namespace {

/// What the kernel has of a thread's name, with a newline behind it.
constexpr std::size_t kNameSize = 17;

/// Whether the thread with this entry of /proc/self/task is named `name`. It may have ended.
bool is_named(const char* entry, const char* name) {
  char path[300];
  std::snprintf(path, sizeof path, "/proc/self/task/%s/comm", entry);
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  char text[kNameSize] = "";
  const ssize_t size = read(file, text, sizeof text - 1);
  close(file);
  return size > 0 && std::string_view(text, static_cast<std::size_t>(size) - 1) == name;
}

}  // namespace

bool start_thread(const char* name, std::function<void()> body) {
  try {
    std::thread thread(std::move(body));
    pthread_setname_np(thread.native_handle(), name);
    thread.detach();
    return true;
  } catch (const std::system_error& error) {
    errno = error.code().value();
    return false;
  }
}

bool thread_lives(const char* name) {
  const std::unique_ptr<DIR, int (*)(DIR*)> tasks(opendir("/proc/self/task"), closedir);
  if (tasks == nullptr) return false;
  errno = 0;
  while (const dirent* task = readdir(tasks.get())) {
    if (task->d_name[0] != '.' && is_named(task->d_name, name)) return true;
    if (errno != ENOENT && errno != 0) return false;
    errno = 0;
  }
  return false;
}

}  // namespace vlm::service
