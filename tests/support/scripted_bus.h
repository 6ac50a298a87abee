// A bus inside the test process. It provides the two bus functions: published packets are recorded,
// and camera requests are answered by a script, from a thread of its own, as a listener thread
// would deliver them.
#ifndef SCRIPTED_BUS_H
#define SCRIPTED_BUS_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "vlm_userlcm_control_camera.h"

/// One publish as the bus saw it.
struct Published {
  std::string channel;
  userlcm_packet_t packet;
  unsigned int length;

  udp_ctrl_cam_t record() const;  // the camera record inside
};

/// A record with `payload` at its start.
udp_ctrl_cam_t camera_record(int code, const std::vector<u8>& payload = {}, int err = 0);

/// The bus packet in which the camera process publishes `record`.
userlcm_packet_t camera_packet(const udp_ctrl_cam_t& record);

class ScriptedBus {
 public:
  using Script = std::function<std::optional<udp_ctrl_cam_t>(const udp_ctrl_cam_t& request)>;
  using Sink = std::function<void(const udp_ctrl_cam_t& reply)>;
  using RtspSink = std::function<void(const lcm_udp_rtsp_msg_t& request)>;

  /// The bus that the two functions of this process use; tests begin with reset().
  static ScriptedBus& instance();

  /// Waits for deliveries under way, forgets everything, answers every request with success and an
  /// empty payload, and delivers to the global engine.
  void reset();

  /// Every camera request is answered as `script` says; no value: silence.
  void answer(Script script);
  /// Every camera request is answered with `payload` and `err`.
  void answer(const std::vector<u8>& payload, int err = 0);
  void stay_silent();

  /// Replies go to `sink` instead of the global engine.
  void deliver_to(Sink sink);
  /// Side-channel requests go to `sink`, on the delivering thread.
  void deliver_rtsp_to(RtspSink sink);

  /// What has been published since reset().
  std::vector<Published> published() const;
  /// The record of the only publish; fails the test when there is not exactly one.
  udp_ctrl_cam_t only_record() const;
  /// Blocks until at least `count` packets have been published.
  void wait_for_published(std::size_t count);
  /// Blocks until every reply under way has been delivered.
  void settle();
  /// Blocks until a thread serves a subscription, and returns it.
  Receive_msg_t* wait_for_subscription();

  // The bus functions come here.
  void publish(const userlcm_packet_t& packet, unsigned int length, const char* channel);
  void subscribe(Receive_msg_t* subscription);

 private:
  ScriptedBus();
  void deliver();
  void queue(std::function<void()> delivery);

  mutable std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  Script _script;
  Sink _sink;
  RtspSink _rtsp_sink;
  std::vector<Published> _published;
  std::deque<std::function<void()>> _deliveries;
  bool _delivering = false;
  Receive_msg_t* _subscription = nullptr;
  std::thread _thread;  // runs deliver() as long as the process lives
};

#endif  // SCRIPTED_BUS_H
