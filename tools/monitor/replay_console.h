// The console's role in a replay: sends the recorded requests and compares the answers.
#ifndef MONITOR_REPLAY_CONSOLE_H
#define MONITOR_REPLAY_CONSOLE_H

#include <chrono>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "bus_inbox.h"
#include "observation.h"
#include "replay_options.h"
#include "replay_result.h"

namespace vlm::monitor {

class ReplayConsole {
 public:
  ReplayConsole(const ReplayOptions& options, BusInbox& inbox) : _options(options), _inbox(inbox) {}

  /// Plays the packets, until the inbox has been ended.
  void play(const std::vector<Observation>& packets);

  const ReplayResult& result() const { return _result; }
  /// How long the recording and the playing of its requests took.
  double recorded_s() const { return _recorded_s; }
  double played_s() const { return _played_s; }

 private:
  using Clock = BusInbox::Clock;

  void send(const Observation& request, Clock::time_point due);
  void await(const Observation& answer);
  void await_notification(const Observation& notification);
  void take_stray(const Entry& packet);
  void take_rest();
  void note_unanswered(const std::vector<Observation>& packets);
  const char* reason_to_leave_out(const Observation& request) const;

  const ReplayOptions& _options;
  BusInbox& _inbox;
  ReplayResult _result;
  std::map<std::uint64_t, Clock::time_point> _sent;  // requests, by number
  std::set<std::uint64_t> _unanswered;               // requests that had no answer in the recording
  // By kind and code: answers that may have come behind the recording's end.
  std::map<std::pair<Kind, int>, int> _open;
  Clock::time_point _last_limit{};    // when the time of the last unanswered request runs out
  std::map<int, int> _notifications;  // by type: how many have come and are not waited for yet
  std::int64_t _last_sent_ns = 0;     // when the request before was, in the recording
  double _recorded_s = 0;
  double _played_s = 0;
};

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_CONSOLE_H
