#include "sync_watch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

namespace {

thread_local SyncWatch* t_watch = nullptr;

std::string path_of(int descriptor) {
  char path[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), path, sizeof path);
  return size > 0 ? std::string(path, static_cast<std::size_t>(size)) : "";
}

}  // namespace

extern "C" int fsync(int descriptor) {
  if (t_watch != nullptr) t_watch->note(descriptor);
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

SyncWatch::SyncWatch() { t_watch = this; }
SyncWatch::~SyncWatch() { t_watch = nullptr; }

void SyncWatch::note(int descriptor) {
  struct stat status {};
  fstat(descriptor, &status);
  _syncs.push_back(
      {path_of(descriptor), status.st_size, (fcntl(descriptor, F_GETFL) & O_SYNC) == O_SYNC});
}
