#include "site_run.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

#include "json_writer.h"
#include "site_presence.h"
#include "site_task.h"

namespace vlm::fleet {

namespace {

// As vlmctl ends.
constexpr int kDone = 0;
constexpr int kUsage = 2;
constexpr int kNoCamera = 7;
constexpr int kPartly = 9;

constexpr std::size_t kAtOnce = 32;  // processes, each with a connection
constexpr std::chrono::seconds kPresenceLimit{5};
constexpr char kOwnName[] = "vlmctl: ";

int fail(const SiteOrder& order, int status, const std::string& message) {
  if (order.json) {
    const auto error = host::json_object().number("status", status).text("message", message);
    std::puts(host::json_object().member("error", error.str()).str().c_str());
  } else {
    std::fprintf(stderr, "%s%s\n", kOwnName, message.c_str());
  }
  return status;
}

/// The site of an address, or of that name beside the one of VLM_BUS.
std::optional<bus::BrokerAddress> address_of(const std::string& site, std::string& error) {
  if (site.find("://") != std::string::npos) return bus::parse_site_address(site, error);
  const char* const environment = std::getenv("VLM_BUS");
  const auto bus = bus::parse_bus_address(environment != nullptr ? environment : "", error);
  if (!bus || !bus->broker || !bus::is_topic_name(site)) {
    error = "--site takes mqtts://HOST/SITE, or SITE where VLM_BUS names the broker, not '" + site +
            "'";
    return std::nullopt;
  }
  bus::BrokerAddress address = *bus->broker;
  address.site = site;
  address.camera.clear();
  return address;
}

/// text_of() leaves the user out, who has to ask.
std::string with_user(const bus::BrokerAddress& address) {
  std::string text = text_of(address);
  if (!address.user.empty()) text.insert(text.find("://") + 3, address.user + '@');
  return text;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t place = 0; place < text.size();) {
    const std::size_t end = std::min(text.find('\n', place), text.size());
    lines.push_back(text.substr(place, end - place));
    place = end + 1;
  }
  return lines;
}

int list_cameras(const SiteOrder& order, const SiteCameras& cameras) {
  for (const auto& [name, presence] : cameras) {
    if (order.json) {
      std::puts(host::json_object().text("camera", name).text("presence", presence).str().c_str());
    } else {
      std::printf("%-34s  %s\n", name.c_str(), presence.c_str());
    }
  }
  return kDone;
}

/// What a command that changes something does to a whole site, is asked at a terminal.
bool may_go_on(const SiteOrder& order, std::size_t cameras) {
  constexpr const char* kHarmless[] = {"get", "list", "describe", "ping", "wait", "diff"};
  const bool harmless = std::any_of(std::begin(kHarmless), std::end(kHarmless),
                                    [&](const char* name) { return order.command == name; });
  if (harmless || isatty(STDIN_FILENO) == 0) return true;
  std::fprintf(stderr, "%s on %zu cameras. Go on? [y/N] ", order.command.c_str(), cameras);
  const int answer = std::getchar();
  return answer == 'y' || answer == 'Y';
}

/// All cameras of a site, some of them at a time; what they answer is shown in their order.
class SiteRun {
 public:
  SiteRun(const SiteOrder& order, bus::BrokerAddress site, const SiteCameras& cameras)
      : _order(order), _live(isatty(STDERR_FILENO) == 1) {
    for (const auto& [name, presence] : cameras) {
      site.camera = name;
      _cameras.push_back({name, with_user(site), std::nullopt, 0, false});
    }
  }

  int run() {
    while (_shown < _cameras.size()) {
      start_some();
      read_some();
      reap();
      show_next();
    }
    hide_progress();
    std::fprintf(stderr, "%s%zu cameras: %zu done, %zu failed\n", kOwnName, _cameras.size(),
                 _cameras.size() - _failed, _failed);
    return _failed == 0 ? kDone : kPartly;
  }

 private:
  struct Camera {
    std::string name;
    std::string address;
    std::optional<SiteTask> task;
    int status;
    bool done;
  };

  bool is_running(const Camera& camera) const { return camera.task && !camera.done; }

  void start_some() {
    while (_running < kAtOnce && _started < _cameras.size()) {
      Camera& camera = _cameras[_started++];
      std::vector<std::string> arguments{"vlmctl", "--camera", camera.address};
      arguments.insert(arguments.end(), _order.words.begin(), _order.words.end());
      camera.task.emplace(arguments);
      ++_running;
    }
  }

  void read_some() {
    std::vector<pollfd> ready;
    std::vector<std::pair<SiteTask*, void (SiteTask::*)()>> takers;
    for (Camera& camera : _cameras) {
      if (!is_running(camera)) continue;
      ready.push_back({camera.task->output_descriptor(), POLLIN, 0});
      takers.emplace_back(&*camera.task, &SiteTask::take_output);
      ready.push_back({camera.task->errors_descriptor(), POLLIN, 0});
      takers.emplace_back(&*camera.task, &SiteTask::take_errors);
    }
    poll(ready.data(), ready.size(), -1);  // passes over descriptors of -1
    for (std::size_t i = 0; i < ready.size(); ++i) {
      if (ready[i].fd >= 0 && ready[i].revents != 0) (takers[i].first->*takers[i].second)();
    }
  }

  void reap() {
    for (Camera& camera : _cameras) {
      if (!is_running(camera) || !camera.task->has_ended()) continue;
      camera.status = camera.task->wait();
      camera.done = true;
      --_running;
      ++_ended;
      if (camera.status != kDone) ++_failed;
    }
  }

  void show_next() {
    hide_progress();
    for (; _shown < _cameras.size() && _cameras[_shown].done; ++_shown) {
      Camera& camera = _cameras[_shown];
      _order.json ? show_json(camera) : show_text(camera);
      camera.task.reset();
    }
    std::fflush(stdout);
    if (_live && _shown < _cameras.size()) {
      std::fprintf(stderr, "%zu of %zu cameras, %zu failed", _ended, _cameras.size(), _failed);
      std::fflush(stderr);
    }
  }

  void hide_progress() const {
    if (_live) std::fputs("\r\033[K", stderr);
  }

  static void show_text(const Camera& camera) {
    for (const std::string& line : lines_of(camera.task->output())) {
      std::printf("%s: %s\n", camera.name.c_str(), line.c_str());
    }
    for (const std::string& line : lines_of(camera.task->errors())) {
      const std::size_t name = line.rfind(kOwnName, 0) == 0 ? sizeof kOwnName - 1 : 0;
      std::fprintf(stderr, "%s%s: %s\n", kOwnName, camera.name.c_str(), line.c_str() + name);
    }
  }

  static void show_json(const Camera& camera) {
    host::JsonBlock results = host::json_array();
    for (const std::string& line : lines_of(camera.task->output())) {
      results.element(line.rfind('{', 0) == 0 ? line : host::json_string(line));
    }
    host::JsonBlock object = host::json_object();
    object.text("camera", camera.name).number("status", camera.status);
    object.member("results", results.str());
    if (!camera.task->errors().empty()) object.text("errors", camera.task->errors());
    std::puts(object.str().c_str());
  }

  const SiteOrder& _order;
  const bool _live;  // shows what it is at
  std::vector<Camera> _cameras;
  std::size_t _started = 0;
  std::size_t _running = 0;
  std::size_t _ended = 0;
  std::size_t _failed = 0;
  std::size_t _shown = 0;
};

/// `status`, unless the results did not reach their reader.
int with_output(int status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
  std::fprintf(stderr, "%sstandard output cannot be written\n", kOwnName);
  return status == kDone ? kPartly : status;
}

}  // namespace

int run_site_order(const SiteOrder& order, bus::LoopMaker make_loop) {
  std::string error;
  const auto site = address_of(order.site, error);
  if (!site) return fail(order, kUsage, error);
  if (order.names_camera) return fail(order, kUsage, "--site and --camera exclude each other");
  if (!order.lists && !order.all_cameras) {
    return fail(order, kUsage, "--site is for list --cameras, or with --all-cameras for a command");
  }
  SiteCameras cameras;
  const auto loop = make_loop(error);
  if (!loop || !SitePresence::ask(*loop, *site, kPresenceLimit, cameras, error)) {
    return fail(order, kNoCamera, error);
  }
  if (cameras.empty()) return fail(order, kNoCamera, "no camera on " + text_of(*site));
  if (order.lists) return with_output(list_cameras(order, cameras));
  if (!may_go_on(order, cameras.size())) return fail(order, kUsage, "nothing was done");
  return with_output(SiteRun(order, *site, cameras).run());
}

}  // namespace vlm::fleet
