// Lets tests look at the engine's state and shorten its time-outs.
#ifndef LCM_REQUEST_PEER_H
#define LCM_REQUEST_PEER_H

#include "lcm_request.h"

struct LcmRequestPeer {
  static LcmRequest::State state(LcmRequest& engine) {
    const MutexLock guard(engine._mutex);
    return engine._state;
  }

  /// Breaks the engine's state, as only a defect could.
  static void set_state(LcmRequest& engine, LcmRequest::State state) {
    const MutexLock guard(engine._mutex);
    engine._state = state;
  }

  static int last_sent(LcmRequest& engine) {
    const MutexLock guard(engine._mutex);
    return engine._last_cmd_type_sent;
  }

  static void set_last_sent(LcmRequest& engine, int code) {
    const MutexLock guard(engine._mutex);
    engine._last_cmd_type_sent = code;
  }

  static int last_received(LcmRequest& engine) {
    const MutexLock guard(engine._mutex);
    return engine._last_cmd_type_received;
  }

  static LcmRequest::Data data(LcmRequest& engine) {
    const MutexLock guard(engine._mutex);
    return engine._data;
  }

  /// Replaces the result store, e.g. by zeros.
  static void set_data(LcmRequest& engine, const LcmRequest::Data& data) {
    const MutexLock guard(engine._mutex);
    engine._data = data;
  }

  /// Runs the result store on one reply.
  static void store(LcmRequest& engine, const udp_ctrl_cam_t& reply) {
    const MutexLock guard(engine._mutex);
    engine.save_lcm_result(reply);
  }

  /// Publishes without waiting.
  static void publish(LcmRequest& engine, const udp_ctrl_cam_t& request) {
    const MutexLock guard(engine._mutex);
    engine.send_ctrl_cam(request);
  }

  /// Only while no request is under way.
  static LcmRequest::Timeouts& timeouts(LcmRequest& engine) { return engine._timeouts; }
};

#endif  // LCM_REQUEST_PEER_H
