#include "conversation.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace vlm::monitor {

namespace {

constexpr std::int64_t kMs = 1'000'000;

// How long the request engine waits.
constexpr std::int64_t kLimit = 3000 * kMs;
constexpr std::int64_t kStatusLimit = 500 * kMs;
constexpr std::int64_t kSideLimit = 200 * kMs;

}  // namespace

std::int64_t answer_limit_ns(Kind kind, int code) {
  if (kind == Kind::kSideRequest) return kSideLimit;
  return code == UDP_CTRL_CAM_GET_CAMERA_STATUS ? kStatusLimit : kLimit;
}

const char* name_of(Mark mark) {
  switch (mark) {
    case Mark::kNoAnswer: return "no answer";
    case Mark::kUnasked: return "unasked";
    case Mark::kCrossed: return "crossed";
    case Mark::kDropped: return "dropped";
    default: return "";
  }
}

std::vector<Unanswered> Conversation::expire(std::int64_t time_ns) {
  std::vector<Unanswered> all;
  for (Way* way : {&_camera, &_side}) {
    if (time_ns > way->next_expiry_ns) expire(*way, time_ns, all);
  }
  std::stable_sort(all.begin(), all.end(), [](const Unanswered& left, const Unanswered& right) {
    return std::tie(left.time_ns, left.number) < std::tie(right.time_ns, right.number);
  });
  return all;
}

void Conversation::expire(Way& way, std::int64_t time_ns, std::vector<Unanswered>& all) {
  way.next_expiry_ns = INT64_MAX;
  for (auto it = way.pending.begin(); it != way.pending.end();) {
    auto& [code, queue] = *it;
    const std::int64_t limit_ns = answer_limit_ns(way.kind, code);
    for (; !queue.empty() && time_ns - queue.front().time_ns > limit_ns; queue.pop_front()) {
      const Pending& late = queue.front();
      all.push_back({late.number, late.time_ns + limit_ns, limit_ns, way.kind, code});
    }
    if (!queue.empty()) {
      way.next_expiry_ns = std::min(way.next_expiry_ns, queue.front().time_ns + limit_ns);
    }
    it = queue.empty() ? way.pending.erase(it) : std::next(it);
  }
}

Finding Conversation::take(std::uint64_t number, const Entry& entry, const Decoded& decoded) {
  switch (decoded.kind) {
    case Kind::kRequest: return ask(_camera, number, entry.time_ns, decoded.code);
    case Kind::kSideRequest: return ask(_side, number, entry.time_ns, decoded.code);
    case Kind::kReply: return answer(_camera, entry.time_ns, decoded.code);
    case Kind::kSideReply: return answer(_side, entry.time_ns, decoded.code - 1);
    case Kind::kNote: {
      Finding finding;
      finding.dropped = loss_in(entry.comment);
      if (finding.dropped != 0) {
        finding.mark = Mark::kDropped;
        lose(entry.time_ns);
      }
      return finding;
    }
    default: return {};
  }
}

Finding Conversation::ask(Way& way, std::uint64_t number, std::int64_t time_ns, int code) {
  Finding finding;
  if (!way.pending.empty()) finding.mark = Mark::kCrossed;
  way.pending[code].push_back({number, time_ns});
  way.next_expiry_ns = std::min(way.next_expiry_ns, time_ns + answer_limit_ns(way.kind, code));
  return finding;
}

/// An answer belongs to the oldest request of its code.
Finding Conversation::answer(Way& way, std::int64_t time_ns, int code) {
  Finding finding;
  const auto queue = way.pending.find(code);
  if (queue == way.pending.end()) {
    if (time_ns > way.in_doubt_until_ns) finding.mark = Mark::kUnasked;
    return finding;
  }
  const Pending& request = queue->second.front();
  finding.round_trip_ns = time_ns - request.time_ns;
  finding.request = request.number;
  queue->second.pop_front();
  if (queue->second.empty()) way.pending.erase(queue);
  return finding;
}

/// Answers to what waits now may be among the lost packets, and requests whose answers come later.
void Conversation::lose(std::int64_t time_ns) {
  for (Way* way : {&_camera, &_side}) {
    way->pending.clear();
    way->in_doubt_until_ns = time_ns + kLimit;
  }
}

}  // namespace vlm::monitor
