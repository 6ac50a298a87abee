#include "change_signal.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

namespace vlm::bus {

namespace {

constexpr int kSignal = SIGURG;

std::atomic<unsigned> g_signals{0};
static_assert(std::atomic<unsigned>::is_always_lock_free);

// Numbers the threads, a forked one anew: the system gives the numbers of threads that have ended away
// again. 0 for none yet.
thread_local unsigned t_thread = 0;

unsigned this_thread() {
  static std::atomic<unsigned> last{0};
  static const int registered = pthread_atfork(nullptr, nullptr, [] { t_thread = 0; });
  if (t_thread == 0 && registered == 0) t_thread = ++last;
  return t_thread;
}

void on_signal(int /*number*/) { g_signals.fetch_add(1, std::memory_order_relaxed); }

/// False when the program handles the signal itself.
bool handle_signal() {
  struct sigaction action {};
  if (sigaction(kSignal, nullptr, &action) != 0) return false;
  if (action.sa_handler == on_signal) return true;
  if (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN) return false;
  action.sa_handler = on_signal;
  action.sa_flags = SA_RESTART;
  return sigaction(kSignal, &action, nullptr) == 0;
}

bool is_blocked() {
  sigset_t blocked;
  return pthread_sigmask(SIG_BLOCK, nullptr, &blocked) != 0 || sigismember(&blocked, kSignal) != 0;
}

/// Lets the calling thread be signalled when `fd` has something to read.
bool signal_this_thread(int fd) {
  const f_owner_ex owner{F_OWNER_TID, static_cast<pid_t>(syscall(SYS_gettid))};
  const int flags = fcntl(fd, F_GETFL);
  return !is_blocked() && handle_signal() && fcntl(fd, F_SETOWN_EX, &owner) == 0 &&
         fcntl(fd, F_SETSIG, kSignal) == 0 && fcntl(fd, F_SETFL, flags | O_ASYNC) == 0;
}

}  // namespace

bool ChangeSignal::is_silent() const {
  return _listener != 0 && _listener == this_thread() && _heard == g_signals;
}

void ChangeSignal::listen_to(int fd) {
  const unsigned caller = this_thread();
  if (caller != _listener && caller == _caller) _listener = signal_this_thread(fd) ? caller : 0;
  _caller = caller;
  _heard = g_signals;
}

}  // namespace vlm::bus
