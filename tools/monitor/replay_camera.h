// The camera's role in a replay: answers requests as the recording has it.
#ifndef MONITOR_REPLAY_CAMERA_H
#define MONITOR_REPLAY_CAMERA_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "bus_inbox.h"
#include "observation.h"
#include "replay_options.h"
#include "replay_result.h"

namespace vlm::monitor {

class ReplayCamera {
 public:
  ReplayCamera(const ReplayOptions& options, const std::vector<Observation>& packets);

  /// Answers until the inbox has been ended.
  void serve(BusInbox& inbox);

  /// With what was never asked, when that is expected.
  ReplayResult result() const;

 private:
  using Clock = BusInbox::Clock;

  /// One that was recorded, and what the camera published then.
  struct Exchange {
    std::uint64_t number = 0;  // of the request
    std::string name;
    struct Output {
      std::int64_t after_ns;  // behind the request
      Entry packet;
    };
    std::vector<Output> outputs;
  };
  struct Exchanges {
    std::vector<Exchange> all;
    std::size_t next = 0;
    bool all_came = false;  // before it began again with the first
  };

  static std::string key_of(const Entry& request, bool by_code_alone);
  void learn_outputs(const std::vector<Observation>& packets);
  Exchanges* exchanges_for(const Entry& request);
  void answer(const Entry& request);
  void refuse(const Entry& request, const Decoded& decoded);
  void publish_due();

  const ReplayOptions& _options;
  std::map<std::string, Exchanges> _exchanges;  // by request
  std::multimap<Clock::time_point, Entry> _due;
  ReplayResult _result;
};

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_CAMERA_H
