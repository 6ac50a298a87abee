// Owner of one file descriptor.
#ifndef UNIQUE_FD_H
#define UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace vlm::bus {

/// Closes its descriptor when it goes; converts to true while it holds one.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : _fd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(_fd, other._fd);
    return *this;
  }
  ~UniqueFd() {
    if (_fd >= 0) close(_fd);
  }

  explicit operator bool() const { return _fd >= 0; }
  int get() const { return _fd; }

  /// Gives the descriptor up to the caller.
  int release() { return std::exchange(_fd, -1); }

 private:
  int _fd = -1;
};

}  // namespace vlm::bus

#endif  // UNIQUE_FD_H
