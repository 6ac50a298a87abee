// Tells when a subscription really serves: packets to its own channel come back.
#ifndef BUS_READINESS_H
#define BUS_READINESS_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

class BusReadiness {
 public:
  /// Waits for the subscriptions of `channels`. Probes name `sender` as their sender's channel, so
  /// that other subscribers of the channels can take them as they would any other unknown message.
  BusReadiness(std::string sender, std::vector<std::string> channels);

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

  const std::string _sender;
  const std::string _text;  // of our probes; names this process
  std::mutex _mutex;        // guards all members below
  std::condition_variable _changed;
  std::set<std::string> _silent;
  bool _failed = false;
};

}  // namespace vlm::bus

#endif  // BUS_READINESS_H
