#include "session.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "interruption.h"

namespace vlm::ctl {

using catalogue::Row;
using client::Answer;
using client::Outcome;

namespace {

constexpr std::chrono::milliseconds kFirstPause{20};
constexpr std::chrono::milliseconds kLongestPause{500};

std::string milliseconds_text(std::chrono::nanoseconds time) {
  char text[32] = {};
  std::snprintf(text, sizeof text, "%.3f ms", static_cast<double>(time.count()) / 1e6);
  return text;
}

/// A setting rather than the field of one.
std::string nearest_item(std::string_view name) {
  std::vector<std::string> rows;
  for (const Row& row : catalogue::rows()) rows.emplace_back(row.name());
  const std::string like = catalogue::nearest(name, rows);
  return like.empty() ? catalogue::nearest_name(name) : like;
}

}  // namespace

Session::Session(Console& console, Settings settings, Open open, Search search)
    : _console(console),
      _settings(std::move(settings)),
      _open(std::move(open)),
      _search(std::move(search)) {}

CameraLink& Session::camera() {
  if (_camera == nullptr) _camera = _open(_settings);
  return *_camera;
}

Answer Session::ask(const std::string& what, const std::function<Answer()>& once) {
  std::chrono::milliseconds pause = kFirstPause;
  for (unsigned left = _settings.retries;; --left) {
    Answer answer = once();
    if (_settings.verbose) {
      _console.remark(what + ": " + text(answer.outcome) +
                      (answer.done() ? ", " + milliseconds_text(answer.round_trip) : ""));
    }
    if (answer.outcome == Outcome::kCancelled) {
      fail(kNoAnswer, what, "stopped before the answer came");
    }
    const bool busy = answer.outcome == Outcome::kBusy;
    const bool again = busy || answer.outcome == Outcome::kNoAnswer;
    if (!again || left == 0 || interrupted()) return answer;
    // Who is busy needs time; who was silent has had it.
    if (busy) pause_until(std::chrono::steady_clock::now() + pause);
    if (busy) pause = std::min(2 * pause, kLongestPause);
  }
}

Answer Session::get(const Row& row, const catalogue::Members& parameters) {
  CameraLink& link = camera();
  return ask(std::string("get ") + row.name(), [&] { return link.get(row, parameters); });
}

Answer Session::set(const Row& row, const catalogue::Value& value) {
  CameraLink& link = camera();
  return ask(std::string("set ") + row.name(), [&] { return link.set(row, value); });
}

Answer Session::run(const Row& row, const catalogue::Members& parameters) {
  CameraLink& link = camera();
  return ask(std::string("run ") + row.name(), [&] { return link.run(row, parameters); });
}

Answer Session::send(u16 code, const catalogue::Payload& payload) {
  CameraLink& link = camera();
  return ask("send " + std::to_string(code), [&] { return link.send(code, payload); });
}

std::optional<Failure> failure_of(const Answer& answer, const std::string& subject) {
  switch (answer.outcome) {
    case Outcome::kDone: return std::nullopt;
    case Outcome::kRefused: return Failure{kRefused, subject, "the camera refused", answer.error};
    case Outcome::kBusy: return Failure{kBusy, subject, "the camera is busy", answer.error};
    case Outcome::kNoAnswer: return Failure{kNoAnswer, subject, "no answer"};
    case Outcome::kNotSent: return Failure{kNoCamera, subject, "the request could not be sent"};
    case Outcome::kInvalid: return Failure{kNotAllowed, subject, answer.reason};
    case Outcome::kGarbled:
      return Failure{kNoAnswer, subject, "the answer does not hold the value"};
    case Outcome::kCancelled: return Failure{kNoAnswer, subject, "cancelled"};
  }
  return std::nullopt;
}

std::optional<Failure> failure_of(const Answer& answer, const std::string& subject,
                                  const Row& row) {
  auto failure = failure_of(answer, subject);
  if (!failure || failure->status != kRefused || row.needs.empty()) return failure;
  failure->message += " (needs";
  for (const auto& need : row.needs) {
    failure->message += std::string(" ") + need.setting + "=" + need.choice;
  }
  failure->message += ")";
  return failure;
}

catalogue::Item find_item(std::string_view name) {
  if (const auto item = catalogue::find(name)) return *item;
  const std::string like = nearest_item(name);
  fail(kNotAllowed, name, "no such name" + (like.empty() ? "" : ", did you mean " + like + "?"));
}

}  // namespace vlm::ctl
