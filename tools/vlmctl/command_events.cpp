#include <condition_variable>
#include <mutex>
#include <utility>

#include "commands.h"
#include "event.h"
#include "interruption.h"

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t kMostHeard = 10'000;  // that nobody has read yet

/// Hears the camera for as long as it lives, and up to a deadline.
class Events {
 public:
  Events(CameraLink& camera, std::optional<Clock::time_point> deadline)
      : _camera(camera), _deadline(deadline) {
    _camera.on_notification([this](const msg_from_rep_t& message) {
      const std::lock_guard<std::mutex> guard(_mutex);
      if (is_over()) return;
      if (_queue.size() == kMostHeard) {
        ++_lost;
      } else {
        _queue.push_back(event_of(message));
      }
      _changed.notify_all();
    });
  }
  ~Events() { _camera.on_notification(nullptr); }
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  /// The next one; none: the deadline has passed, or there was an interruption.
  std::optional<Event> next() {
    std::unique_lock<std::mutex> lock(_mutex);
    while (_queue.empty() && !is_over() && !interrupted()) {
      const Clock::time_point look = Clock::now() + kLookInterval;
      _changed.wait_until(lock, _deadline ? std::min(*_deadline, look) : look);
    }
    if (_queue.empty() || interrupted()) return std::nullopt;
    Event event = std::move(_queue.front());
    _queue.erase(_queue.begin());
    return event;
  }

  /// How many found no room since it was last asked.
  unsigned take_lost() {
    const std::lock_guard<std::mutex> guard(_mutex);
    return std::exchange(_lost, 0U);
  }

 private:
  bool is_over() const { return _deadline && Clock::now() >= *_deadline; }

  CameraLink& _camera;
  const std::optional<Clock::time_point> _deadline;
  std::mutex _mutex;  // guards the queue and what it lost
  std::condition_variable _changed;
  std::vector<Event> _queue;
  unsigned _lost = 0;
};

void show(const Console& console, const Event& event) {
  if (console.json) {
    host::JsonBlock json = host::json_object();
    json.text("event", event.name);
    for (const auto& [name, value] : event.details) json.member(name, value);
    return console.object(json.text("time", console.time()));
  }
  std::string line = console.time() + " " + event.name;
  for (const auto& [name, value] : event.details)
    line.append(" ").append(name).append("=").append(value);
  console.line(line);
}

}  // namespace

int run_events(Session& session, const Arguments& arguments) {
  const auto count = arguments.number("--count", 1);
  const auto limit = arguments.duration("--for");
  if (!arguments.words.empty()) fail(kUsage, "", "events takes no words");
  CameraLink& camera = session.camera();
  if (!camera.is_bus()) {
    fail(kNotOffered, "", "events cannot be heard over " + camera.name());
  }
  std::optional<Clock::time_point> deadline;
  if (limit) deadline = Clock::now() + *limit;
  Events events(camera, deadline);
  for (unsigned shown = 0; !count || shown < *count; ++shown) {
    const auto event = events.next();
    if (!event) break;
    show(session.console(), *event);
    const unsigned lost = events.take_lost();
    if (lost > 0)
      session.console().remark("nobody read in time, events lost: " + std::to_string(lost));
  }
  return kDone;
}

}  // namespace vlm::ctl
