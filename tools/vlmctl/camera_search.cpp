#include "camera_search.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "catalogue_text.h"
#include "open_camera.h"
#include "unique_fd.h"

namespace vlm::ctl {

namespace {

constexpr char kAsked[] = "camera.version";
constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::size_t kLongestAnswer = 4096;

/// A process is on one bus for good, so each is asked by a vlmctl of its own.
class Inquiry {
 public:
  Inquiry(const std::string& camera, std::chrono::milliseconds patience) {
    const std::string timeout = std::to_string(patience.count()) + "ms";
    const char* const words[] = {"vlmctl",        "--camera", camera.c_str(), "--timeout",
                                 timeout.c_str(), "get",      kAsked,         nullptr};
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    _answer = bus::UniqueFd(ends[0]);
    const bus::UniqueFd output(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (posix_spawn(&_process, "/proc/self/exe", &actions, nullptr, const_cast<char* const*>(words),
                    environ) != 0) {
      _process = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Inquiry() {
    if (_process > 0) waitpid(_process, nullptr, 0);
  }
  Inquiry(const Inquiry&) = delete;
  Inquiry& operator=(const Inquiry&) = delete;

  /// "camera.version = module=VLMSIM,major=1 ..."; what else comes is no answer.
  std::string read() const {
    std::string text;
    char part[256];
    while (_process > 0 && text.size() < kLongestAnswer) {
      const ssize_t size = ::read(_answer.get(), part, sizeof part);
      if (size <= 0) break;
      text.append(part, static_cast<std::size_t>(size));
    }
    return text;
  }

 private:
  bus::UniqueFd _answer;
  pid_t _process = -1;
};

std::optional<catalogue::Value> version_of(const std::string& camera,
                                           std::chrono::milliseconds patience) {
  const std::string text = Inquiry(camera, patience).read();
  const std::string head = std::string(kAsked) + " = ";
  if (text.rfind(head, 0) != 0) return std::nullopt;
  std::string error;
  const std::string value = text.substr(head.size(), text.find('\n') - head.size());
  return catalogue::parse(*find_item(kAsked).field, value, error);
}

/// Two names of one directory are one bus.
class Places {
 public:
  void add(std::string camera) {
    struct stat directory {};
    const bool is_path = camera != kLocalBus;
    if (is_path && stat(camera.c_str(), &directory) != 0) return;  // asking would make it
    if (is_path && camera.find('/') == std::string::npos) camera.insert(0, "./");
    const bool known = std::any_of(_places.begin(), _places.end(), [&](const Place& place) {
      return place.device == directory.st_dev && place.inode == directory.st_ino;
    });
    if (!known) _places.push_back({camera, directory.st_dev, directory.st_ino});
  }

  struct Place {
    std::string camera;
    dev_t device;
    ino_t inode;
  };
  const std::vector<Place>& all() const { return _places; }

 private:
  std::vector<Place> _places;
};

}  // namespace

std::vector<FoundCamera> find_cameras(const Settings& settings) {
  Places places;
  if (settings.camera.find("://") == std::string::npos && settings.camera != kLocalBus) {
    places.add(settings.camera);
  }
  for (const std::string& place : places_of_buses()) places.add(place);
  std::vector<FoundCamera> found;
  for (const auto& place : places.all()) {
    const auto version = version_of(place.camera, settings.timeout.value_or(kPatience));
    if (version) found.push_back({place.camera, *version});
  }
  return found;
}

}  // namespace vlm::ctl
