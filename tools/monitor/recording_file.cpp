#include "recording_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace vlm::monitor {

namespace {

constexpr char kProgram[] = "vlm_bus_monitor " VLM_VERSION;

}  // namespace

bool RecordingFile::open(const std::string& path, const Rotation& rotation, std::string& error) {
  _path = path;
  _rotation = rotation;
  return create(error);
}

bool RecordingFile::fail(const std::string& what, std::string& error) const {
  error = "cannot " + what + ' ' + _path + ": " + std::system_category().message(errno);
  return false;
}

bool RecordingFile::create(std::string& error) {
  _file = bus::UniqueFd();  // and with it the lock on a file of the same name
  _file = bus::UniqueFd(
      ::open(_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY, S_IRUSR | S_IWUSR));
  if (!_file) return fail("write", error);
  if (!claim(error)) return false;
  _size = 0;
  _unwritten.clear();
  _writer.begin(kProgram, _unwritten);
  return flush(error);
}

/// Makes the file ours alone, and empty. A pipe or a device stays as it is.
bool RecordingFile::claim(std::string& error) {
  struct stat status {};
  if (fstat(_file.get(), &status) != 0) return fail("write", error);
  if (!S_ISREG(status.st_mode)) {
    if (_rotation.size != 0) error = "cannot rotate " + _path + ": it is no file";
    return _rotation.size == 0;
  }
  // Some file systems have neither locks nor modes.
  if (flock(_file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    error = "cannot write " + _path + ": another monitor records to it";
    return false;
  }
  if (fchmod(_file.get(), S_IRUSR | S_IWUSR) != 0 && status.st_uid != geteuid()) {
    return fail("write", error);
  }
  return ftruncate(_file.get(), 0) == 0 || fail("write", error);
}

void RecordingFile::add(const Entry& entry) { _writer.add(entry, _unwritten); }

bool RecordingFile::flush(std::string& error) {
  std::size_t done = 0;
  while (done < _unwritten.size()) {
    const ssize_t written = write(_file.get(), _unwritten.data() + done, _unwritten.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return fail("write", error);
    done += static_cast<std::size_t>(written);
  }
  _size += done;
  _unwritten.clear();
  return _rotation.size == 0 || _size < _rotation.size || rotate(error);
}

/// The oldest file goes, each other one becomes one older.
bool RecordingFile::rotate(std::string& error) {
  const auto name = [&](unsigned age) {
    return age == 0 ? _path : _path + '.' + std::to_string(age);
  };
  if (_rotation.keep <= 1) return create(error);
  for (unsigned age = _rotation.keep - 1; age > 0; --age) {
    if (std::rename(name(age - 1).c_str(), name(age).c_str()) != 0 && errno != ENOENT) {
      return fail("rotate", error);
    }
  }
  return create(error);
}

}  // namespace vlm::monitor
