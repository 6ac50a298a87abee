// Which files a process has brought to the card with fsync(), and when. Programs that watch link
// `vlm_sync_watch`, whose fsync() stands before the system's.
#ifndef SYNC_WATCH_H
#define SYNC_WATCH_H

#include <sys/types.h>

#include <string>
#include <vector>

/// What one call found.
struct Sync {
  std::string path;
  off_t size;          // of the file, at the call
  bool writes_synced;  // the file is open with O_SYNC
};

/// Notes the calls of its thread while it lives. One at a time.
class SyncWatch {
 public:
  SyncWatch();
  ~SyncWatch();
  SyncWatch(const SyncWatch&) = delete;
  SyncWatch& operator=(const SyncWatch&) = delete;

  /// The calls so far, in order.
  const std::vector<Sync>& syncs() const { return _syncs; }

  /// Notes a call for `descriptor`.
  void note(int descriptor);

 private:
  std::vector<Sync> _syncs;
};

#endif  // SYNC_WATCH_H
