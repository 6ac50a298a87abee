#include "replay_console.h"

#include <algorithm>
#include <string>
#include <utility>

#include "payload_values.h"
#include "replay_compare.h"

namespace vlm::monitor {

namespace {

bool is_request(const Observation& packet) {
  return packet.decoded.kind == Kind::kRequest || packet.decoded.kind == Kind::kSideRequest;
}

/// How long the request engine waits for an answer.
std::chrono::nanoseconds limit_of(Kind kind, int code) {
  return std::chrono::nanoseconds(answer_limit_ns(kind, code));
}

/// Kind and code of the answer.
std::pair<Kind, int> answer_to(const Decoded& request) {
  return request.kind == Kind::kRequest ? std::pair(Kind::kReply, request.code)
                                        : std::pair(Kind::kSideReply, request.code + 1);
}

bool is_answer(Kind kind) { return kind == Kind::kReply || kind == Kind::kSideReply; }

}  // namespace

/// A request is sent once what the recording has before it has come, so that requests cross only
/// where they did.
void ReplayConsole::play(const std::vector<Observation>& packets) {
  note_unanswered(packets);
  const auto start = Clock::now();
  const std::int64_t first_ns = packets.empty() ? 0 : packets.front().since_ns;
  for (const Observation& packet : packets) {
    if (_inbox.has_ended()) break;
    const std::int64_t behind_ns = packet.since_ns - first_ns;
    if (is_request(packet)) {
      send(packet, start + _options.paced(behind_ns));
    } else if (is_answer(packet.decoded.kind) && packet.finding.request != 0) {
      await(packet);
    } else if (packet.decoded.kind == Kind::kNotification) {
      await_notification(packet);
    }
    _recorded_s = static_cast<double>(behind_ns) / 1e9;
  }
  _played_s = std::chrono::duration<double>(Clock::now() - start).count();
  take_rest();
  if (_inbox.has_ended()) _result.differs(0, "the replay", "told to end before its end");
}

const char* ReplayConsole::reason_to_leave_out(const Observation& request) const {
  if (request.entry.comment == kRedacted) return "redacted";
  if (request.decoded.kind == Kind::kRequest && !_options.destructive &&
      is_destructive(record_of(request.entry))) {
    return "destructive";
  }
  return nullptr;
}

void ReplayConsole::send(const Observation& request, Clock::time_point due) {
  if (const char* const reason = reason_to_leave_out(request)) {
    _result.left_out(request.number, request.decoded.name, reason);
    return;
  }
  while (Clock::now() < due && !_inbox.has_ended()) {
    if (const auto stray = _inbox.next(due)) take_stray(*stray);
  }
  if (_inbox.has_ended()) return;
  _sent[request.number] = Clock::now();
  _last_sent_ns = request.since_ns;
  if (_unanswered.count(request.number) != 0) {
    const auto limit = limit_of(request.decoded.kind, request.decoded.code);
    _last_limit = std::max(_last_limit, Clock::now() + limit);
  }
  publish(request.entry);
}

/// Waits for the answer as long as the request engine does.
void ReplayConsole::await(const Observation& answer) {
  const auto sent = _sent.find(answer.finding.request);
  if (sent == _sent.end()) return;  // left out, or outside the section
  const Kind asked = answer.decoded.kind == Kind::kReply ? Kind::kRequest : Kind::kSideRequest;
  const auto deadline = sent->second + limit_of(asked, answer.decoded.code);
  while (const auto packet = _inbox.next(deadline)) {
    const Decoded decoded = decode(*packet);
    if (decoded.kind != answer.decoded.kind || decoded.code != answer.decoded.code) {
      take_stray(*packet);
      continue;
    }
    const std::string what = difference(answer.entry, *packet, _options.masked);
    if (what.empty()) {
      _result.equal(answer.number, answer.decoded.name);
    } else {
      _result.differs(answer.number, answer.decoded.name, what);
    }
    return;
  }
  if (!_inbox.has_ended()) _result.differs(answer.number, answer.decoded.name, "no answer came");
}

/// What follows may depend on the notification, the end of a capture say; but it is no answer, and
/// nothing is wrong when it does not come.
void ReplayConsole::await_notification(const Observation& notification) {
  constexpr std::chrono::seconds kGrace{1};
  constexpr std::int64_t kLongestNs = 3'000'000'000;
  const std::int64_t recorded_ns = notification.since_ns - _last_sent_ns;
  const auto deadline =
      Clock::now() + kGrace + std::chrono::nanoseconds(std::min(recorded_ns, kLongestNs));
  int& come = _notifications[notification.decoded.code];
  while (come == 0) {
    const auto packet = _inbox.next(deadline);
    if (!packet) return;
    take_stray(*packet);
  }
  --come;
}

/// A notification, or an answer that the recording does not have here.
void ReplayConsole::take_stray(const Entry& packet) {
  const Decoded decoded = decode(packet);
  if (decoded.kind == Kind::kNotification) ++_notifications[decoded.code];
  if (!is_answer(decoded.kind)) return;
  if (auto open = _open.find({decoded.kind, decoded.code});
      open != _open.end() && open->second > 0) {
    --open->second;
    return;
  }
  _result.differs(0, decoded.name, "an answer came that the recording does not have there");
}

/// Finds the requests without an answer; where the recording ends before their time has run out, it
/// does not say whether there was one.
void ReplayConsole::note_unanswered(const std::vector<Observation>& packets) {
  std::set<std::uint64_t> answered;
  for (const Observation& packet : packets) answered.insert(packet.finding.request);
  for (const Observation& packet : packets) {
    if (!is_request(packet) || answered.count(packet.number) != 0) continue;
    const std::int64_t left_ns = packets.back().since_ns - packet.since_ns;
    if (left_ns > answer_limit_ns(packet.decoded.kind, packet.decoded.code)) {
      _unanswered.insert(packet.number);
    } else {
      ++_open[answer_to(packet.decoded)];
    }
  }
}

/// Takes what is left: an answer too many shows here. One to a request that had none in the
/// recording is given the time that the request engine would give it.
void ReplayConsole::take_rest() {
  const auto deadline = std::max(_last_limit, Clock::now());
  while (const auto packet = _inbox.next(deadline)) take_stray(*packet);
}

}  // namespace vlm::monitor
