// The directory that is the bus: it holds one AF_UNIX datagram socket for each subscription, named
// CHANNEL.PID.SERIAL, and one listening socket for each tap, named tap-PID-SERIAL.
//
// A socket is bound under a hidden name and linked to its own name once packets can reach it, so
// that one which is found under such a name refuses packets only when its process has gone.
//
// Sockets are addressed as /proc/self/fd/DIRECTORY/NAME: the address fits however long the bus's
// path is, and no path is walked again after the directory has been checked.
#ifndef BUS_DIRECTORY_H
#define BUS_DIRECTORY_H

#include <dirent.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "change_signal.h"
#include "unique_fd.h"

namespace vlm::bus {

/// True when `channel` can begin the name of a socket: 1 to 63 bytes and no '/'.
bool is_channel_name(std::string_view channel);

using DirectoryStream = std::unique_ptr<DIR, int (*)(DIR*)>;

/// An open bus directory; for one thread at a time.
class BusDirectory {
 public:
  /// Opens the directory that the environment names; creates it when it does not exist. No value
  /// when it cannot be used: `error` says why.
  static std::optional<BusDirectory> open(std::string& error);

  /// The path that the environment gives; where VLM_BUS names none, what it says.
  static std::string configured_path();

  /// Names of the sockets of `channel`, live and stale.
  std::vector<std::string> sockets_of(std::string_view channel) const;

  /// Binds `socket` for a subscription of `channel` and returns its name; empty with errno set when
  /// it cannot be bound.
  std::string bind(const UniqueFd& socket, const std::string& channel) const;

  /// A socket of `type` whose packets go to `name`. None with errno set on failure; after
  /// ECONNREFUSED the stale socket `name` has been removed.
  UniqueFd connect(const std::string& name, int type = SOCK_DGRAM) const;

  /// Names of the taps, live and stale.
  std::vector<std::string> taps() const;

  /// Lets `listener` be found as a tap, listening, and returns its name; empty with errno set when
  /// that fails.
  std::string bind_tap(const UniqueFd& listener) const;

  /// True while the environment's name leads to this directory.
  bool is_current() const;

  bool holds(const std::string& name) const;
  void remove(const std::string& name) const;

  /// Leads to this very directory, whatever becomes of its name.
  std::string path() const;

 private:
  explicit BusDirectory(DirectoryStream stream) : _stream(std::move(stream)) {}
  int fd() const { return dirfd(_stream.get()); }
  std::string bind_hidden(const UniqueFd& socket) const;
  std::string rename_hidden(const std::string& hidden, const std::string& beginning,
                            char separator) const;
  sockaddr_un address_of(const std::string& name) const;

  DirectoryStream _stream;
};

/// Tells when a bus directory changes. Where the system offers no inotify it always says yes.
class DirectoryWatch {
 public:
  DirectoryWatch();

  /// Watches `directory` from now on, instead of the one before.
  void watch(const BusDirectory& directory);

  /// True when the directory may have changed since the last call. Costs a thread that calls again
  /// and again no system call while it has not.
  bool changed();

  /// Returns once the directory has changed, or earlier, at the latest after `timeout_ms`.
  void wait(int timeout_ms);

 private:
  bool drain();

  UniqueFd _inotify;
  ChangeSignal _signal;
  int _watched = -1;  // inotify's number for the directory, -1 for none
};

}  // namespace vlm::bus

#endif  // BUS_DIRECTORY_H
