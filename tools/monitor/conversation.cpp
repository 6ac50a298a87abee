#include "conversation.h"

#include <algorithm>

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
    const auto is_late = [&](const Pending& pending) {
      return time_ns - pending.time_ns > pending.limit_ns;
    };
    for (const Pending& late : way->pending) {
      if (!is_late(late)) continue;
      all.push_back({late.number, late.time_ns + late.limit_ns, late.limit_ns, way->kind, late.code,
                     late.name});
    }
    way->pending.erase(std::remove_if(way->pending.begin(), way->pending.end(), is_late),
                       way->pending.end());
  }
  std::stable_sort(all.begin(), all.end(), [](const Unanswered& left, const Unanswered& right) {
    return left.time_ns < right.time_ns;
  });
  return all;
}

Finding Conversation::take(std::uint64_t number, const Entry& entry, const Decoded& decoded) {
  switch (decoded.kind) {
    case Kind::kRequest: return ask(_camera, number, entry.time_ns, decoded);
    case Kind::kSideRequest: return ask(_side, number, entry.time_ns, decoded);
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

Finding Conversation::ask(Way& way, std::uint64_t number, std::int64_t time_ns,
                          const Decoded& decoded) {
  Finding finding;
  if (!way.pending.empty()) finding.mark = Mark::kCrossed;
  way.pending.push_back(
      {number, time_ns, answer_limit_ns(way.kind, decoded.code), decoded.code, decoded.name});
  return finding;
}

/// An answer belongs to the oldest request of its code.
Finding Conversation::answer(Way& way, std::int64_t time_ns, int code) {
  Finding finding;
  const auto request = std::find_if(way.pending.begin(), way.pending.end(),
                                    [&](const Pending& pending) { return pending.code == code; });
  if (request == way.pending.end()) {
    if (time_ns > way.in_doubt_until_ns) finding.mark = Mark::kUnasked;
    return finding;
  }
  finding.round_trip_ns = time_ns - request->time_ns;
  finding.request = request->number;
  way.pending.erase(request);
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
