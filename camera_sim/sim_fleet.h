// Many simulated cameras behind one broker, for load and for demonstrations: each with its own name,
// seed and faults, its own connection and presence, as a camera with a bridge beside it has.
#ifndef CAMERA_SIM_SIM_FLEET_H
#define CAMERA_SIM_SIM_FLEET_H

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <string>

#include "bridge.h"
#include "broker.h"
#include "camera_peer.h"
#include "sim_options.h"

namespace vlm::sim {

class SimFleet {
 public:
  /// Where its doings go; called from any thread.
  struct Outlets {
    std::function<void()> ready;                            // all cameras are present. Once
    std::function<void(const std::string& line)> complain;  // what goes wrong
    std::function<void(const std::string& line)> trace;     // what passes; may be empty
  };

  /// `options.fleet` cameras, named with `options.prefix` and a number from 1 on; the first one has the
  /// seed `seed`, the next one the next.
  SimFleet(const bus::BrokerAddress& site, const SimOptions& options, u64 seed, Outlets outlets);
  ~SimFleet();
  SimFleet(const SimFleet&) = delete;
  SimFleet& operator=(const SimFleet&) = delete;

  /// Connects all of them, in the background. Empty, or what is wrong.
  std::string start();

 private:
  struct Camera {
    std::string name;
    std::unique_ptr<CameraPeer> peer;
    std::unique_ptr<fleet::Bridge> bridge;  // goes first
  };

  void add(const bus::BrokerAddress& site, const SimOptions& options, u64 number, u64 seed);
  CameraPeer::Outlets peer_outlets(Camera& camera) const;
  fleet::Bridge::Outlets bridge_outlets(Camera& camera);
  void count_present();

  const Outlets _outlets;
  const u64 _wanted;
  std::atomic<u64> _present{0};  // cameras whose presence the broker knows
  std::unique_ptr<bus::BrokerLoop> _loop;
  std::list<Camera> _cameras;  // keep their places; gone before the loop
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_SIM_FLEET_H
