#include <condition_variable>
#include <mutex>

#include "commands.h"
#include "event.h"
#include "interruption.h"

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

namespace {

/// Hears the camera for as long as it lives.
class Events {
 public:
  explicit Events(CameraLink& camera) : _camera(camera) {
    _camera.on_notification([this](const msg_from_rep_t& message) {
      const std::lock_guard<std::mutex> guard(_mutex);
      _queue.push_back(event_of(message));
      _changed.notify_all();
    });
  }
  ~Events() { _camera.on_notification(nullptr); }
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  /// The next one; none: `deadline` has passed, or there was an interruption.
  std::optional<Event> next(std::optional<Clock::time_point> deadline) {
    std::unique_lock<std::mutex> lock(_mutex);
    while (_queue.empty()) {
      const auto now = Clock::now();
      if (interrupted() || (deadline && now >= *deadline)) return std::nullopt;
      _changed.wait_until(lock, deadline
                                    ? std::min<Clock::time_point>(*deadline, now + kLookInterval)
                                    : now + kLookInterval);
    }
    Event event = std::move(_queue.front());
    _queue.erase(_queue.begin());
    return event;
  }

 private:
  CameraLink& _camera;
  std::mutex _mutex;  // guards the queue
  std::condition_variable _changed;
  std::vector<Event> _queue;
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
  Events events(camera);
  std::optional<Clock::time_point> deadline;
  if (limit) deadline = Clock::now() + *limit;
  for (unsigned shown = 0; !count || shown < *count; ++shown) {
    const auto event = events.next(deadline);
    if (!event) break;
    show(session.console(), *event);
  }
  return kDone;
}

}  // namespace vlm::ctl
