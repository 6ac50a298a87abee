// A camera behind a broker, as a program that asks it sees it: over the channels of the bus.
#ifndef FLEET_REMOTE_CAMERA_H
#define FLEET_REMOTE_CAMERA_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "broker.h"
#include "topics.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::fleet {

/// Requests whose answers are worth handing on. A second request of a code takes the place of the
/// first: whoever asks again has given the first answer up, and could not tell it from the second.
class ExpectedAnswers {
 public:
  static constexpr std::size_t kMost = 64;

  /// Returns the correlation data of the new request.
  std::string expect(const std::string& channel, unsigned code);
  /// Whether this is an answer to one of them.
  bool holds(const std::string& correlation) const;

 private:
  struct Expected {
    std::string correlation;
    std::string channel;
    unsigned code;
  };

  const std::string _id = fresh_id();
  unsigned long long _count = 0;
  std::deque<Expected> _expected;
};

class BrokerCamera : private bus::BrokerListener {
 public:
  /// Takes the first `length` bytes of a packet, on the loop's thread.
  using Receiver = std::function<void(const void* packet, std::size_t length)>;

  /// Connects in the background. Null when the camera cannot be reached that way: `error` says why.
  static std::unique_ptr<BrokerCamera> reach(const bus::BrokerAddress& address,
                                             const bus::BrokerFiles& files,
                                             bus::LoopMaker make_loop, std::string& error);

  /// Waits until requests can be sent and answers come. False when that is not so within `limit`:
  /// `error` says why.
  bool wait_until_serving(std::chrono::milliseconds limit, std::string& error);
  /// As send_msg_to_lcm; the first call waits until the connection stands, for up to 5 s. What is
  /// published on the channels of answers comes back to this program's own receivers.
  bool publish(const userlcm_packet_t& packet, unsigned int length, const std::string& channel);
  /// Hands what comes on `channel` to `receiver` from now on, to others beside it.
  void listen(const std::string& channel, Receiver receiver);
  /// What the broker keeps about the camera: "online", "silent", "offline"; empty: nothing.
  std::string presence();
  /// Waits until the camera is online; false when it is not within `limit`.
  bool wait_until_online(std::chrono::milliseconds limit);

 private:
  enum class State { kNew, kServing, kLost };

  explicit BrokerCamera(const bus::BrokerAddress& address);

  void on_connected() override;
  void on_lost(const std::string& why) override;
  void on_message(const bus::BrokerMessage& message) override;
  void on_acknowledged(int ticket, bool granted) override;
  void on_due() override {}
  void on_stall(std::chrono::milliseconds) override {}

  bool wait_until_connected();
  bool give_back(const bus::BrokerMessage& message, const std::string& channel);
  bool send(const bus::BrokerMessage& message);
  void tell_missing_camera(const std::string& channel);
  void complain(const std::string& trouble);
  void deliver(const std::string& channel, const std::string& packet);

  const bus::BrokerAddress _address;
  const CameraTopics _topics;
  const std::string _id = fresh_id();
  const std::string _reply_topic;
  const std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();

  std::mutex _mutex;  // guards all members below up to the loop
  std::condition_variable _changed;
  State _state = State::kNew;
  int _last_ticket = -1;  // of the subscription that comes last
  std::vector<int> _tickets;
  std::string _trouble;  // why it does not serve
  std::string _told;     // the trouble that the operator knows
  std::string _presence;
  bool _told_missing = false;
  ExpectedAnswers _expected;
  std::vector<std::pair<std::string, Receiver>> _receivers;

  std::unique_ptr<bus::BrokerLoop> _loop;
  std::unique_ptr<bus::BrokerConnection> _connection;  // goes before its loop
};

}  // namespace vlm::fleet

#endif  // FLEET_REMOTE_CAMERA_H
