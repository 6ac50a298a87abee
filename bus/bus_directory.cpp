#include "bus_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "format.h"
#include "reason.h"

namespace vlm::bus {

namespace {

constexpr std::size_t kMaxChannelLength = 63;

// A directory that is removed while something holds it open says nothing, and neither does any
// directory where there is no inotify: who waits looks again from time to time.
constexpr int kLookAgainMs = 1000;
constexpr int kLookAgainBlindMs = 10;

// The path in the address of a bus; an address without a scheme is a path itself.
const char* path_in(const char* address) {
  constexpr char kScheme[] = "unix:";
  constexpr std::size_t kLength = sizeof kScheme - 1;
  return std::strncmp(address, kScheme, kLength) == 0 ? address + kLength : address;
}

// With a slash at its end a path leads through a symbolic link even where links are refused.
std::string without_trailing_slashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

DirectoryStream open_existing(const std::string& path) {
  UniqueFd fd(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  DirectoryStream stream(fd ? fdopendir(fd.get()) : nullptr, closedir);
  if (stream) fd.release();
  return stream;
}

DirectoryStream open_or_create(const std::string& path) {
  DirectoryStream stream = open_existing(path);
  if (!stream && errno == ENOENT && (mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST)) {
    stream = open_existing(path);
  }
  return stream;
}

// Why the directory must not be used; empty when it may. `stream` has just been opened.
std::string objection_to(const DirectoryStream& stream) {
  struct stat status {};
  if (!stream || fstat(dirfd(stream.get()), &status) != 0) {
    return host::reason();
  }
  if (status.st_uid != geteuid()) return "it belongs to another user";
  if (status.st_mode & (S_IWGRP | S_IWOTH)) return "others may write to it";
  return {};
}

// What stands before .PID.SERIAL; empty for hidden names and those of another form.
std::string_view channel_of(std::string_view name) {
  const auto serial = name.rfind('.');
  if (serial == name.npos || serial == 0) return {};
  const auto pid = name.rfind('.', serial - 1);
  return pid == name.npos ? std::string_view{} : name.substr(0, pid);
}

// No channel's socket has such a name: theirs hold two dots.
constexpr char kTapBeginning[] = "tap";
constexpr char kTapSeparator = '-';

bool is_tap(std::string_view name) {
  constexpr std::size_t kPlace = sizeof kTapBeginning - 1;  // of the separator
  return name.size() > kPlace && name[kPlace] == kTapSeparator &&
         name.compare(0, kPlace, kTapBeginning) == 0 && name.find('.') == name.npos;
}

// Another name at each call: BEGINNING, separator, the process, separator, a serial number.
std::string next_name(const std::string& beginning, char separator) {
  static std::atomic<unsigned> serial{0};
  return host::format("%s%c%d%c%u", beginning.c_str(), separator, getpid(), separator, serial++);
}

// Lets `take` try names of this process until one is free: another process of this number may have
// left some. Empty when it fails for another reason.
template <typename Take>
std::string take_name(const std::string& beginning, char separator, Take take) {
  for (;;) {
    std::string name = next_name(beginning, separator);
    if (take(name) == 0) return name;
    if (errno != EADDRINUSE && errno != EEXIST) return {};
  }
}

}  // namespace

bool is_channel_name(std::string_view channel) {
  return !channel.empty() && channel.size() <= kMaxChannelLength &&
         channel.find('/') == channel.npos;
}

std::string BusDirectory::configured_path() {
  const char* bus = std::getenv("VLM_BUS");
  if (!bus || !*bus) bus = std::getenv("VLM_BUS_DIR");
  if (bus && *bus) return without_trailing_slashes(path_in(bus));
  if (const char* run = std::getenv("XDG_RUNTIME_DIR"); run && *run) {
    return host::format("%s/vlm_bus", run);
  }
  return host::format("/tmp/vlm_bus-%u", geteuid());
}

std::optional<BusDirectory> BusDirectory::open(std::string& error) {
  const std::string path = configured_path();
  DirectoryStream stream = open_or_create(path);
  const std::string objection = objection_to(stream);
  if (objection.empty()) return BusDirectory(std::move(stream));
  error = host::format("cannot use the bus directory %s: %s", path.c_str(), objection.c_str());
  return std::nullopt;
}

std::vector<std::string> BusDirectory::sockets_of(std::string_view channel) const {
  std::vector<std::string> names;
  rewinddir(_stream.get());
  while (const dirent* entry = readdir(_stream.get())) {
    if (channel_of(entry->d_name) == channel && holds(entry->d_name)) {
      names.emplace_back(entry->d_name);
    }
  }
  return names;
}

std::vector<std::string> BusDirectory::taps() const {
  std::vector<std::string> names;
  rewinddir(_stream.get());
  while (const dirent* entry = readdir(_stream.get())) {
    if (is_tap(entry->d_name) && holds(entry->d_name)) names.emplace_back(entry->d_name);
  }
  return names;
}

std::string BusDirectory::bind(const UniqueFd& socket, const std::string& channel) const {
  std::string hidden = bind_hidden(socket);
  return hidden.empty() ? hidden : rename_hidden(hidden, channel, '.');
}

std::string BusDirectory::bind_tap(const UniqueFd& listener) const {
  std::string hidden = bind_hidden(listener);
  if (hidden.empty()) return hidden;
  listen(listener.get(), SOMAXCONN);
  return rename_hidden(hidden, kTapBeginning, kTapSeparator);
}

std::string BusDirectory::bind_hidden(const UniqueFd& socket) const {
  fchmod(socket.get(), S_IRUSR | S_IWUSR);  // a wide umask lets nobody else send
  return take_name("", '.', [&](const std::string& name) {
    const sockaddr_un address = address_of(name);
    return ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  });
}

std::string BusDirectory::rename_hidden(const std::string& hidden, const std::string& beginning,
                                        char separator) const {
  std::string name = take_name(beginning, separator, [&](const std::string& free_name) {
    return linkat(fd(), hidden.c_str(), fd(), free_name.c_str(), 0);
  });
  const int error = errno;
  remove(hidden);
  errno = error;
  return name;
}

UniqueFd BusDirectory::connect(const std::string& name, int type) const {
  UniqueFd socket(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  if (!socket) return socket;
  const sockaddr_un address = address_of(name);
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return socket;
  }
  const int error = errno;
  if (error == ECONNREFUSED) remove(name);
  socket = UniqueFd();
  errno = error;
  return socket;
}

bool BusDirectory::holds(const std::string& name) const {
  struct stat status {};
  return fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISSOCK(status.st_mode);
}

bool BusDirectory::is_current() const {
  struct stat ours {};
  struct stat named {};
  return fstat(fd(), &ours) == 0 && stat(configured_path().c_str(), &named) == 0 &&
         ours.st_dev == named.st_dev && ours.st_ino == named.st_ino;
}

void BusDirectory::remove(const std::string& name) const { unlinkat(fd(), name.c_str(), 0); }

std::string BusDirectory::path() const { return host::format("/proc/self/fd/%d", fd()); }

sockaddr_un BusDirectory::address_of(const std::string& name) const {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s/%s", path().c_str(), name.c_str());
  return address;
}

DirectoryWatch::DirectoryWatch() : _inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

void DirectoryWatch::watch(const BusDirectory& directory) {
  const int watched = inotify_add_watch(
      _inotify.get(), directory.path().c_str(),
      IN_CREATE | IN_DELETE | IN_MOVE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF);
  if (_watched >= 0 && watched != _watched) inotify_rm_watch(_inotify.get(), _watched);
  _watched = watched;
}

bool DirectoryWatch::changed() {
  if (_watched < 0) return true;
  if (_signal.is_silent()) return false;
  _signal.listen_to(_inotify.get());  // before it is read: no later change is missed
  return drain();
}

/// True when there was anything to read.
bool DirectoryWatch::drain() {
  char events[4096];
  bool any = false;
  while (read(_inotify.get(), events, sizeof events) > 0) any = true;
  return any;
}

void DirectoryWatch::wait(int timeout_ms) {
  const int longest = _watched < 0 ? kLookAgainBlindMs : kLookAgainMs;
  pollfd inotify{_inotify.get(), POLLIN, 0};  // poll passes over a descriptor of -1
  poll(&inotify, 1, std::min(timeout_ms, longest));
  drain();
}

}  // namespace vlm::bus
