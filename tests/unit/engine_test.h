// What the tests of the request engine share: an engine of their own on the scripted bus.
#ifndef ENGINE_TEST_H
#define ENGINE_TEST_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <ostream>
#include <string>
#include <vector>

#include "lcm_request.h"
#include "lcm_request_peer.h"
#include "scripted_bus.h"

/// How a request ended.
struct Outcome {
  bool success;
  int code;
};

inline bool operator==(const Outcome& a, const Outcome& b) {
  return a.success == b.success && a.code == b.code;
}

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << (outcome.success ? "success" : "failure") << " with code " << outcome.code;
}

/// The bytes of a trivially copyable object.
template <typename T>
std::vector<u8> bytes_of(const T& object) {
  std::vector<u8> bytes(sizeof object);
  std::memcpy(bytes.data(), &object, sizeof object);
  return bytes;
}

class EngineTest : public testing::Test {
 protected:
  using Data = LcmRequest::Data;
  using Peer = LcmRequestPeer;

  // Beyond the time limit of a test: a wait that is not ended in time fails it.
  static constexpr std::chrono::minutes kForEver{10};

  static constexpr Outcome kSuccess{true, 0};
  static constexpr Outcome kTimedOut{false, VLM_ERR_IS_TIMEOUT};

  EngineTest() {
    bus().reset();
    bus().deliver_to([this](const udp_ctrl_cam_t& reply) { _engine.receive_msg(reply); });
  }
  // Nothing may be on its way to the engine when it goes.
  ~EngineTest() override { bus().reset(); }

  static ScriptedBus& bus() { return ScriptedBus::instance(); }

  /// How long a silent camera is waited for.
  void give_up_after(std::chrono::milliseconds timeout) {
    auto& timeouts = Peer::timeouts(_engine);
    timeouts.reply = timeouts.status_reply = timeouts.rtsp_reply = timeout;
  }
  /// How long a busy engine is waited for.
  void give_up_waiting_in_line_after(std::chrono::milliseconds timeout) {
    Peer::timeouts(_engine).ready = timeout;
  }

  /// Sends, for a caller that has reserved the engine.
  Outcome send(int code, const std::vector<u8>& payload = {}) {
    int result = -1;
    const bool success = _engine.send_and_wait(camera_record(code, payload), &result);
    return {success, result};
  }

  /// One whole request.
  Outcome request(int code, const std::vector<u8>& payload = {}) {
    EXPECT_TRUE(_engine.get_ready("request"));
    return send(code, payload);
  }

  /// Begins a request on a thread of its own; when this returns it waits for its reply.
  std::future<Outcome> start_request(int code, std::chrono::milliseconds timeout = kForEver) {
    const std::size_t before = bus().published().size();
    give_up_after(timeout);
    EXPECT_TRUE(_engine.get_ready("request"));
    auto pending = std::async(std::launch::async, [=] { return send(code); });
    bus().wait_for_published(before + 1);
    // The sender holds the engine's lock from before the publish until it waits.
    EXPECT_EQ(Peer::last_sent(_engine), code);
    return pending;
  }

  void reply(int code, const std::vector<u8>& payload = {}, int err = 0) {
    _engine.receive_msg(camera_record(code, payload, err));
  }

  void expect_idle() {
    EXPECT_EQ(Peer::state(_engine), LcmRequest::IDLE);
    EXPECT_EQ(Peer::last_sent(_engine), -1);
    EXPECT_EQ(Peer::last_received(_engine), -1);
  }

  LcmRequest _engine;
};

#endif  // ENGINE_TEST_H
