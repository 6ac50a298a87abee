// The host's threads: made without exceptions, and looked for.
#ifndef THREADS_H
#define THREADS_H

#include <functional>

namespace vlm::service {

/// Starts a detached thread named `name` (at most 15 characters). False, with the reason in errno,
/// when it cannot be made.
bool start_thread(const char* name, std::function<void()> body);

/// Whether this process has a thread named `name`. False with errno 0: it has none; with another
/// errno: that cannot be told.
bool thread_lives(const char* name);

}  // namespace vlm::service

#endif  // THREADS_H
