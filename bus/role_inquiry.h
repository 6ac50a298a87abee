// Settles by asking which process serves a channel, on a bus that offers nothing but its channels.
//
// Each process subscribes the channel before it asks, so of two that start at the same moment at
// least one hears the other's question: it answers when it serves already or has the smaller number,
// and gives way otherwise. A process that is stopped cannot answer.
#ifndef ROLE_INQUIRY_H
#define ROLE_INQUIRY_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

class RoleInquiry {
 public:
  /// Publishes as send_msg_to_lcm does; called from any thread.
  using Publish = std::function<int(const userlcm_packet_t*, unsigned int, const char*)>;

  /// For the process numbered `id`, which subscribes `channel` for `role`.
  RoleInquiry(const std::string& role, std::string channel, long id, Publish publish);

  /// To be called with each packet of the channel. True: it is part of an inquiry, or comes before
  /// this process serves, and is not for anyone else. Any thread.
  bool receive(const void* packet, unsigned int length);

  /// Asks who serves, and waits up to `limit` for an answer. Returns the number of the process that
  /// does, 0 for none.
  long ask(std::chrono::milliseconds limit);

  /// From now on this process serves, and answers whoever asks.
  void serve();

 private:
  enum class State { kSubscribing, kAsking, kServing };

  void publish(const std::string& text) const;

  const std::string _question;  // the number of the asking process follows
  const std::string _answer;    // that of the serving one follows
  const std::string _sender;
  const std::string _channel;
  const long _id;
  const Publish _publish;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  State _state = State::kSubscribing;
  long _other = 0;  // the process to which this one gives way
};

}  // namespace vlm::bus

#endif  // ROLE_INQUIRY_H
