// To be preloaded: a machine on which a call fails.
//
//   FAILING_CALL   CALL:N  the Nth call of it in the process fails, or CALL:N+, from the Nth on.
//                  Calls: socket bind sendto recv open write fsync pthread_create; those of one kind
//                  count together (send and sendto, recv and recvfrom, ...).
//   FAILING_ERROR  the error number that it fails with
//   FAILING_PATH   write and fsync: of files whose path begins like this alone
//   FAILING_SIGN   a file that is made when a call has failed
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

struct Plan {
  std::string_view call;
  long number = 0;
  bool and_all_behind = false;
  int error = 0;
};

const char* setting(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

Plan read_plan() {
  Plan plan;
  const std::string_view text = setting("FAILING_CALL");
  const auto colon = text.find(':');
  if (colon == text.npos) return plan;
  plan.call = text.substr(0, colon);
  plan.number = std::atol(text.data() + colon + 1);
  plan.and_all_behind = text.back() == '+';
  plan.error = std::atoi(setting("FAILING_ERROR"));
  return plan;
}

/// Whether this call of `name` is one that fails; errno is set then.
bool fails(std::string_view name) {
  static const Plan plan = read_plan();
  static std::atomic<long> calls{0};
  if (name != plan.call) return false;
  const long number = ++calls;
  if (number < plan.number || (number > plan.number && !plan.and_all_behind)) return false;
  // Not by open(), which is one of ours.
  close(static_cast<int>(syscall(SYS_openat, AT_FDCWD, setting("FAILING_SIGN"),
                                 O_CREAT | O_WRONLY | O_CLOEXEC, 0600)));
  errno = plan.error;
  return true;
}

/// Whether the file is one of those that FAILING_PATH names.
bool is_meant(int fd) {
  const std::string_view wanted = setting("FAILING_PATH");
  if (wanted.empty()) return true;
  std::array<char, 32> link{};
  std::array<char, 4096> path{};
  std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", fd);
  const ssize_t size = readlink(link.data(), path.data(), path.size());
  return size > 0 &&
         std::string_view(path.data(), static_cast<std::size_t>(size)).substr(0, wanted.size()) ==
             wanted;
}

/// The function that would have been called without us.
template <typename Function>
Function* real(const char* name, Function* /*ours, for its type*/) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

mode_t mode_of(int flags, va_list arguments) {
  return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

}  // namespace

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
  return fails("socket") ? -1 : real("socket", &socket)(domain, type, protocol);
}

int bind(int fd, const sockaddr* address, socklen_t size) noexcept {
  return fails("bind") ? -1 : real("bind", &bind)(fd, address, size);
}

ssize_t send(int fd, const void* bytes, size_t size, int flags) {
  return fails("sendto") ? -1 : real("send", &send)(fd, bytes, size, flags);
}

ssize_t sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* address,
               socklen_t address_size) {
  return fails("sendto") ? -1
                         : real("sendto", &sendto)(fd, bytes, size, flags, address, address_size);
}

ssize_t recv(int fd, void* bytes, size_t size, int flags) {
  return fails("recv") ? -1 : real("recv", &recv)(fd, bytes, size, flags);
}

ssize_t recvfrom(int fd, void* bytes, size_t size, int flags, sockaddr* address,
                 socklen_t* address_size) {
  return fails("recv") ? -1
                       : real("recvfrom", &recvfrom)(fd, bytes, size, flags, address, address_size);
}

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_of(flags, arguments);
  va_end(arguments);
  return fails("open") ? -1 : real("open", &open)(path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_of(flags, arguments);
  va_end(arguments);
  return fails("open") ? -1 : real("openat", &openat)(directory, path, flags, mode);
}

ssize_t write(int fd, const void* bytes, size_t size) {
  return is_meant(fd) && fails("write") ? -1 : real("write", &write)(fd, bytes, size);
}

int fsync(int fd) { return is_meant(fd) && fails("fsync") ? -1 : real("fsync", &fsync)(fd); }

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
  if (fails("pthread_create")) return errno;
  return real("pthread_create", &pthread_create)(thread, attributes, body, argument);
}

}  // extern "C"
