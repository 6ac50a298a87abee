// A record lock: unlike that of flock it tells who holds it.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "bus_directory.h"
#include "bus_role.h"
#include "reason.h"

namespace vlm::bus {

namespace {

struct flock whole_file() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

/// Locks `file` until the process ends; returns 0, the process that holds it, or -1 with errno set.
pid_t lock_or_holder(const UniqueFd& file) {
  for (;;) {
    struct flock lock = whole_file();
    if (fcntl(file.get(), F_SETLK, &lock) == 0) return 0;
    if (errno != EAGAIN && errno != EACCES) return -1;
    lock = whole_file();
    if (fcntl(file.get(), F_GETLK, &lock) != 0) return -1;
    if (lock.l_type != F_UNLCK) return lock.l_pid;  // else it has just ended
  }
}

/// Why this process cannot have `role`; empty once it has it.
std::string objection_to(const std::string& role) {
  std::string error;
  const auto directory = BusDirectory::open(error);
  if (!directory) return error;
  const std::string path = directory->path() + '/' + role + ".lock";
  // Never closed: closing it would give the lock back.
  static UniqueFd& file = *new UniqueFd;
  file = UniqueFd(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  const pid_t holder = file ? lock_or_holder(file) : -1;
  if (holder == 0) return {};
  const std::string bus = BusDirectory::configured_path();
  if (holder < 0) {
    return "cannot lock " + bus + '/' + role + ".lock: " + host::reason();
  }
  return "process " + std::to_string(holder) + " serves the bus " + bus +
         " already; --force goes on";
}

}  // namespace

/// The lock comes first: whoever is refused never subscribes, and so never answers.
std::string serve_in_role(const std::string& role, const std::string&, bool force,
                          const std::function<bool()>& subscribe) {
  std::string objection = objection_to(role);
  if (!objection.empty() && !force) return objection;
  return subscribe() ? "" : "the bus does not deliver";
}

bool is_role_packet(const void*, unsigned int) { return false; }

}  // namespace vlm::bus
