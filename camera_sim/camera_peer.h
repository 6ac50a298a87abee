// The simulated camera as a peer on the bus: takes requests, lets the faults have their way, and
// publishes replies and notifications when they are due.
//
// Replies that are due at once are published on the thread that brought the request; all else by
// one sender thread. The two publish outside the lock, so a slow subscriber delays only them.
#ifndef CAMERA_SIM_CAMERA_PEER_H
#define CAMERA_SIM_CAMERA_PEER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "camera_model.h"
#include "packet_schedule.h"
#include "rtsp_model.h"
#include "sim_console.h"
#include "sim_faults.h"

namespace vlm::sim {

class CameraPeer {
 public:
  /// Publishes as send_msg_to_lcm does; called from any thread.
  using Publish = std::function<int(const userlcm_packet_t*, unsigned int, const char*)>;
  /// Takes one line of text, without its end; called from any thread.
  using TakeLine = std::function<void(const std::string&)>;
  /// Takes the data of a picture, before its notification goes out; called on the sender thread.
  using KeepPicture = std::function<void(const udp_ctrl_cam_misc_image_info_t&)>;

  /// Where the peer's doings go. All but the first may be empty.
  struct Outlets {
    Publish publish;
    TakeLine trace;     // what passes
    TakeLine complain;  // what goes wrong
    TakeLine tell;      // answers to commands that the operator let wait
    KeepPicture keep_picture;
  };

  CameraPeer(const CameraTraits& traits, FaultPlan faults, Outlets outlets);
  /// No other call may be under way.
  ~CameraPeer() { stop(); }
  CameraPeer(const CameraPeer&) = delete;
  CameraPeer& operator=(const CameraPeer&) = delete;

  /// A packet that came on the request channel: the first `length` bytes of a `userlcm_packet_t`.
  /// What is no camera request of the console's program is ignored. Any thread.
  void receive(const void* packet, unsigned int length);
  /// A packet that came on the streaming process' channel; answered on the channel that it names.
  void receive_rtsp(const void* packet, unsigned int length);

  /// One line of the operator. Any thread.
  OperatorAnswer operate(const std::string& line);

  /// Ends the sender thread: what it has not published yet never will be. One thread at a time.
  void stop();

 private:
  using Clock = std::chrono::steady_clock;
  /// No time is as late.
  static constexpr u64 kNever = ~u64{0};

  void answer(const udp_ctrl_cam_t& request);
  udp_ctrl_cam_t reply_to(const udp_ctrl_cam_t& request, const Fate& fate);
  OutgoingPacket outgoing(const udp_ctrl_cam_t& reply) const;
  OutgoingPacket outgoing(const udp_ctrl_cam_t& reply, const Fate& fate) const;
  template <typename Send>
  void send_all(const udp_ctrl_cam_t& reply, const Fate& fate, Send send) const;
  void schedule(const udp_ctrl_cam_t& reply, const Fate& fate);
  bool may_answer_at_once(const Fate& fate) const;
  void account_for(bool scheduled);
  void publish(const OutgoingPacket& outgoing) const;
  void serve();
  void collect_notifications();
  void carry_out_agenda();
  SimulatedBoard board() { return {_camera, _rtsp, _faults.plan(), _agenda, now_ms()}; }
  void wake_sender();
  u64 next_due_us() const;
  u64 now_us() const;
  u64 now_ms() const { return now_us() / 1000; }
  void ignore(const char* why) const;

  const Outlets _outlets;
  const Clock::time_point _start = Clock::now();

  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  CameraModel _camera;
  RtspModel _rtsp;
  Faults _faults;
  OperatorAgenda _agenda;
  PacketSchedule _schedule;
  u64 _sender_wakes_us = kNever;  // what the sender thread waits for
  bool _sender_publishes = false;
  bool _dropping = false;  // the last packet found no room
  u64 _drops = 0;          // packets that found none
  bool _stopping = false;
  std::thread _sender;  // last: runs serve() as long as the object lives
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_PEER_H
