// Tells when a subscription really serves: packets to its own channel come back.
#ifndef CAMERA_SIM_BUS_READINESS_H
#define CAMERA_SIM_BUS_READINESS_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "vlm_userlcm_control_camera.h"

class BusReadiness {
 public:
  /// Waits for the subscriptions of `channels`.
  explicit BusReadiness(std::vector<std::string> channels);

  /// To be called with each received packet. True: it is one of our probes, and not for anyone
  /// else. Bus threads.
  bool is_probe(const void* packet, unsigned int length, const char* channel);
  /// To be called when a subscription has ended: it never will serve.
  void give_up();

  /// Publishes probes until each channel has brought one back. False when a subscription has ended
  /// or `limit` has passed.
  bool wait(std::chrono::milliseconds limit);

 private:
  void publish_probe(const std::string& channel) const;

  const std::string _sender;  // names this process in the probes
  std::mutex _mutex;          // guards all members below
  std::condition_variable _changed;
  std::set<std::string> _silent;
  bool _failed = false;
};

#endif  // CAMERA_SIM_BUS_READINESS_H
