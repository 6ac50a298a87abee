// The bus of the fuzzers. It provides the two bus functions: a camera request is answered by what
// the fuzzer says, on a thread of its own, since the sender holds the engine until it waits.
#ifndef FUZZ_BUS_H
#define FUZZ_BUS_H

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vlm_userlcm_control_camera.h"

class FuzzBus {
 public:
  using Answer = std::function<void(const udp_ctrl_cam_t& request)>;

  static FuzzBus& instance();

  /// Runs for each camera request, on the bus' thread; must bring the request its reply.
  void answer(Answer answer);
  /// Blocks until no request is being answered.
  void settle();
  /// The subscription of `channel`; null when there is none.
  Receive_msg_t* subscription(const std::string& channel);

  // The bus functions come here.
  void publish(const userlcm_packet_t& packet, unsigned int length, const std::string& channel);
  void subscribe(Receive_msg_t* subscription);

 private:
  FuzzBus();
  void serve();

  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  Answer _answer;
  std::optional<udp_ctrl_cam_t> _request;
  std::map<std::string, Receive_msg_t*> _subscriptions;
};

/// Answers every request with success or `err`, and with `payload` as far as it fits.
FuzzBus::Answer answer_with(std::vector<u8> payload, u16 err = 0);

#endif  // FUZZ_BUS_H
