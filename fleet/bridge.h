// The network's one requester at a camera, and the camera's one voice in the network.
//
//   broker ──request──► gate ──► desk ──one at a time──► the camera's bus
//   broker ◄──answer to the asker, or stray, or event──  the camera's bus
//
// Its presence begins with a judgement: when the broker keeps that another bridge is there, that one
// may have died a moment ago, and its will is waited for. A bridge that then still finds another one
// ends, as two would fight.
//
//   away ──connected──► asking ──nobody there──► claiming ──own presence seen──► serving
//                         └──another there──► waiting ──its will──► claiming
//                                                └──time over──► over
#ifndef FLEET_BRIDGE_H
#define FLEET_BRIDGE_H

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "broker.h"
#include "request_desk.h"
#include "request_gate.h"
#include "topics.h"

namespace vlm::fleet {

/// What a bridge has done; each packet counts once.
struct BridgeCounts {
  unsigned long long asked = 0;     // requests sent to the camera
  unsigned long long answered = 0;  // answers sent to their askers
  unsigned long long silent = 0;    // requests that were not answered in time
  unsigned long long refused = 0;   // requests, with an error
  unsigned long long dropped = 0;   // messages that nobody could be answered for
  unsigned long long stray = 0;     // answers that nobody here asked for
  unsigned long long events = 0;
};

class Bridge : private bus::BrokerListener {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  struct Plan {
    bus::BrokerAddress address;
    bus::BrokerFiles files;
    BridgeRules rules;
    std::string version;
  };
  /// Takes a packet that some program has published on kRequestChannel.
  using Heard = std::function<void(const void* packet, std::size_t length,
                                   const RequestDesk::Published& published)>;
  /// Where its doings go; called on any thread, never under a lock.
  struct Outlets {
    /// Publishes on the camera's bus as send_msg_to_lcm does.
    std::function<int(const userlcm_packet_t*, unsigned int length, const char* channel)> publish;
    /// Another bridge serves the camera: this one has nothing to do any more. Once.
    std::function<void(const std::string& why)> over;
    /// It serves, and its presence tells whether the camera answers. Once; may be empty.
    std::function<void()> settled;
    /// A line for the operator.
    std::function<void(const std::string& line)> tell;
    std::function<TimePoint()> now = std::chrono::steady_clock::now;
    /// Hands what has been published on kRequestChannel until now, the bridge's own requests included,
    /// to `heard`, once each; empty where no other program asks the camera.
    std::function<void(const Heard& heard)> take_requests = nullptr;
  };

  Bridge(Plan plan, Outlets outlets);
  /// Says goodbye to the broker.
  ~Bridge() override;
  Bridge(const Bridge&) = delete;
  Bridge& operator=(const Bridge&) = delete;

  /// Connects, in the background. False when the plan cannot be followed: `error` says why.
  bool start(bus::BrokerLoop& loop, std::string& error);

  // From the camera's bus, any thread: the first `length` bytes of a packet. Before start() nothing is
  // done with it.

  /// What came on kReplyChannel.
  void from_camera(const void* packet, std::size_t length);
  /// What came on kRtspReplyChannel.
  void from_rtsp(const void* packet, std::size_t length);
  /// Something may have been published on kRequestChannel.
  void listen();

  BridgeCounts counts() const;
  bool serving() const;

 private:
  enum class Stage { kAway, kAsking, kWaiting, kClaiming, kServing, kOver };
  /// The bridge's own questions, by which it knows the camera.
  enum class Question { kVersion, kThermal, kNone };

  /// A request of ours that has not been overheard yet.
  struct Echo {
    std::size_t hash;  // of the packet
    TimePoint sent;
  };

  /// What is collected under the lock and carried out without it, as it may call back. What goes to the
  /// broker does not, and goes under the lock: in the order in which it was decided.
  struct Doings;

  void on_connected() override;
  void on_lost(const std::string& why) override;
  void on_message(const bus::BrokerMessage& message) override;
  void on_acknowledged(int ticket, bool granted) override;
  void on_due() override;
  void on_stall(std::chrono::milliseconds gap) override;

  void overheard(const void* packet, std::size_t length, const RequestDesk::Published& published);
  bool has_waiting() const;
  void see_presence(const bus::BrokerMessage& message, Doings& doings);
  void take_request(const bus::BrokerMessage& message, RequestGate::Kind kind, Doings& doings);
  void claim();
  void begin_to_serve(Doings& doings);
  void end(const std::string& why, Doings& doings);
  void complain(const std::string& trouble, Doings& doings);
  void become(const char* presence);
  void settle(Doings& doings);
  void ask_next_question(Doings& doings);
  void learn(const std::string& packet);
  void carry_out(RequestDesk::Steps steps, bool rtsp, Doings& doings);
  void refuse(const RequestDesk::Request& request, vlm_err_t result, const char* reason);
  void answer(const RequestDesk::Request& request, const std::string& packet, const char* channel);
  void note_echo(const std::string& packet);
  bool is_echo(const std::string& packet, const RequestDesk::Published& published);
  void stray(const std::string& packet);
  void do_all(Doings& doings);
  void set_timer();
  bus::BrokerMessage presence_message(const char* presence) const;
  bus::BrokerMessage info_message() const;
  std::string reply_packet(const RequestDesk::Request& request, vlm_err_t result) const;

  const Plan _plan;
  const Outlets _outlets;
  const CameraTopics _topics;
  const std::string _id = fresh_id();

  mutable std::mutex _mutex;  // guards all members below up to the connection
  Stage _stage = Stage::kAway;
  int _ticket = -1;  // of the mark behind which nothing old comes
  bool _stalled = false;
  TimePoint _judged_at{};  // when the wait of this stage is over
  std::string _other;      // the bridge that the broker keeps as present
  const char* _presence = kSilent;
  bool _settled = false;
  RequestGate _gate;
  RequestDesk _desk;
  RequestDesk _rtsp_desk;
  std::deque<Echo> _echoes;
  Question _question = Question::kVersion;
  std::optional<TimePoint> _ask_at;  // the next question
  std::string _camera_version;
  bool _thermal = false;
  unsigned long long _sequence = 0;  // of events
  BridgeCounts _counts;
  std::string _told;                // what the operator knows already
  std::optional<TimePoint> _timer;  // that the loop knows

  std::unique_ptr<bus::BrokerConnection> _connection;  // goes first, and ends all callbacks
};

}  // namespace vlm::fleet

#endif  // FLEET_BRIDGE_H
