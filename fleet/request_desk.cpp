#include "request_desk.h"

#include <algorithm>
#include <utility>

namespace vlm::fleet {

namespace {

constexpr std::size_t kMostForeign = 64;
constexpr std::size_t kMostUnasked = 4096;

template <typename Map>
void erase_past(Map& map, RequestDesk::TimePoint now) {
  for (auto entry = map.begin(); entry != map.end();) {
    entry = entry->second <= now ? map.erase(entry) : std::next(entry);
  }
}

}  // namespace

RequestDesk::Steps RequestDesk::submit(Request request, TimePoint now) {
  Steps steps;
  if (_waiting == kMostWaiting) {
    steps.push_back({Step::kRefuse, std::move(request), Refusal::kFull});
    return steps;
  }
  auto& queue = _queues[request.client];
  if (queue.empty()) _turns.push_back(request.client);
  queue.push_back(std::move(request));
  ++_waiting;
  send_next(now, steps);
  return steps;
}

RequestDesk::Steps RequestDesk::answered(u16 answer, TimePoint now, bool& asked) {
  Steps steps;
  asked = _in_flight && _in_flight->answer == answer;
  if (asked) {
    steps.push_back({Step::kAnswer, *std::exchange(_in_flight, std::nullopt)});
  } else if (_owed.erase(answer) == 0) {
    const auto other = std::find_if(_foreign.begin(), _foreign.end(),
                                    [&](const Foreign& each) { return each.answer == answer; });
    if (other != _foreign.end()) {
      _foreign.erase(other);
    } else {
      if (_unasked.size() == kMostUnasked) _unasked.pop_front();
      _unasked.push_back({answer, now});
    }
  }
  send_next(now, steps);
  return steps;
}

void RequestDesk::overheard(u16 answer, Milliseconds patience, const Published& published,
                            TimePoint now) {
  forget_unasked(now);
  const auto answered = std::find_if(_unasked.begin(), _unasked.end(), [&](const Unasked& each) {
    return each.answer == answer && each.came >= published.earliest;
  });
  if (answered != _unasked.end()) {
    _unasked.erase(answered);
    return;
  }
  if (_foreign.size() == kMostForeign) _foreign.erase(_foreign.begin());
  _foreign.push_back({answer, published.earliest, published.latest + std::min(patience, kListen)});
}

RequestDesk::Steps RequestDesk::pass(TimePoint now) {
  Steps steps;
  if (_in_flight && _in_flight_until <= now) {
    _owed[_in_flight->answer] = now + kOwed;
    steps.push_back({Step::kGiveUp, *std::exchange(_in_flight, std::nullopt)});
  }
  send_next(now, steps);
  return steps;
}

std::optional<RequestDesk::TimePoint> RequestDesk::due(TimePoint now) const {
  std::vector<TimePoint> times;
  if (_in_flight) times.push_back(_in_flight_until);
  if (_waiting > 0) {
    for (const auto& [client, queue] : _queues) {
      for (const Request& request : queue) times.push_back(request.expires);
    }
    for (const Foreign& foreign : _foreign) times.push_back(foreign.until);
    for (const auto& [answer, until] : _owed) {
      if (until > now) times.push_back(until);
    }
  }
  const auto first = std::min_element(times.begin(), times.end());
  return first == times.end() ? std::nullopt : std::optional(*first);
}

void RequestDesk::send_next(TimePoint now, Steps& steps) {
  drop_expired(now, steps);
  erase_past(_owed, now);
  forget_unasked(now);
  _foreign.erase(std::remove_if(_foreign.begin(), _foreign.end(),
                                [&](const Foreign& each) { return each.until <= now; }),
                 _foreign.end());
  if (is_held_back(now)) return;
  auto next = take_next(now);
  if (!next) return;
  _in_flight_until = now + next->patience;
  _in_flight = next;
  steps.push_back({Step::kAsk, std::move(*next)});
}

bool RequestDesk::is_held_back(TimePoint now) {
  if (_in_flight || _waiting == 0) {
    _turn.reset();
    return true;
  }
  if (!_turn) _turn = now;
  return std::any_of(_foreign.begin(), _foreign.end(),
                     [&](const Foreign& each) { return each.published <= *_turn; });
}

void RequestDesk::forget_unasked(TimePoint now) {
  while (!_unasked.empty() && _unasked.front().came + kListen <= now) _unasked.pop_front();
}

void RequestDesk::drop_expired(TimePoint now, Steps& steps) {
  for (auto entry = _queues.begin(); entry != _queues.end();) {
    auto& queue = entry->second;
    for (auto request = queue.begin(); request != queue.end();) {
      if (request->expires > now) {
        ++request;
        continue;
      }
      steps.push_back({Step::kRefuse, std::move(*request), Refusal::kWaitedTooLong});
      request = queue.erase(request);
      --_waiting;
    }
    if (!queue.empty()) {
      ++entry;
      continue;
    }
    _turns.erase(std::remove(_turns.begin(), _turns.end(), entry->first), _turns.end());
    entry = _queues.erase(entry);
  }
}

/// Whether an answer to somebody else may come, which nothing would tell from one's own.
bool RequestDesk::is_expected(u16 answer, TimePoint now) const {
  const auto owed = _owed.find(answer);
  if (owed != _owed.end() && owed->second > now) return true;
  return std::any_of(_foreign.begin(), _foreign.end(),
                     [&](const Foreign& each) { return each.answer == answer; });
}

/// The oldest request of the client whose turn it is, which goes to the end of the turns then.
std::optional<RequestDesk::Request> RequestDesk::take_next(TimePoint now) {
  for (auto turn = _turns.begin(); turn != _turns.end(); ++turn) {
    const auto queue = _queues.find(*turn);
    if (is_expected(queue->second.front().answer, now)) continue;
    Request request = std::move(queue->second.front());
    queue->second.pop_front();
    --_waiting;
    _turns.erase(turn);
    if (queue->second.empty()) {
      _queues.erase(queue);
    } else {
      _turns.push_back(request.client);
    }
    return request;
  }
  return std::nullopt;
}

}  // namespace vlm::fleet
