// The outcomes that every camera operation goes through, each on an engine of its own.
#ifndef OPERATION_MATRIX_H
#define OPERATION_MATRIX_H

#include <gtest/gtest.h>

#include "lcm_request_peer.h"
#include "operation_catalogue.h"
#include "scripted_bus.h"
#include "transcript.h"

/// An engine on the scripted bus.
class EngineOnBus {
 public:
  EngineOnBus() {
    set_reply_timeout(engine, std::chrono::hours(1));
    bus.reset();
    bus.deliver_to([this](const udp_ctrl_cam_t& reply) { engine.receive_msg(reply); });
  }
  ~EngineOnBus() { bus.reset(); }
  EngineOnBus(const EngineOnBus&) = delete;
  EngineOnBus& operator=(const EngineOnBus&) = delete;

  void give_up_at_once() {
    bus.stay_silent();
    set_reply_timeout(engine, std::chrono::milliseconds(1));
  }

  /// The camera knows one command; a request of any other fails at once.
  void answer(const udp_ctrl_cam_t& reply) {
    bus.answer([reply](const udp_ctrl_cam_t& request) {
      return request.cmd_type == reply.cmd_type
                 ? reply
                 : camera_record(request.cmd_type, {}, VLM_ERR_UNSUPPORTED_COMMAND);
    });
  }

  std::vector<Bytes> requests() const {
    std::vector<Bytes> requests;
    for (const Published& published : bus.published()) {
      requests.push_back(bytes_of(published.record()));
    }
    return requests;
  }

  ScriptedBus& bus = ScriptedBus::instance();
  LcmRequest engine;
};

/// What `action` returns, with what it prints thrown away.
template <typename Action>
auto quietly(Action&& action) {
  const Transcript hushed;
  return action();
}

/// What one call did.
struct Outcome {
  bool success = false;
  Bytes results;
  std::string transcript;  // without durations
};

inline Outcome call(const Operation& operation, LcmRequest& engine) {
  Outcome outcome;
  outcome.transcript = without_durations(
      transcript_of([&] { outcome.success = operation.call(engine, outcome.results); }));
  return outcome;
}

inline void expect_success(const Operation& operation) {
  EngineOnBus camera;
  camera.answer(operation.success_reply());
  const Outcome outcome = call(operation, camera.engine);
  EXPECT_TRUE(outcome.success);
  EXPECT_EQ(outcome.transcript, operation.success_transcript());
  EXPECT_EQ(outcome.results, operation.results);
  EXPECT_EQ(camera.requests(), std::vector<Bytes>{operation.request()});
}

inline void expect_camera_error(const Operation& operation) {
  EngineOnBus camera;
  camera.answer(operation.error_reply());
  const Outcome outcome = call(operation, camera.engine);
  EXPECT_FALSE(outcome.success);
  EXPECT_EQ(outcome.transcript, operation.error_transcript());
  EXPECT_EQ(outcome.results, operation.untouched());
  EXPECT_EQ(camera.requests(), std::vector<Bytes>{operation.request()});
}

inline void expect_time_out(const Operation& operation) {
  EngineOnBus camera;
  camera.give_up_at_once();
  const Outcome outcome = call(operation, camera.engine);
  EXPECT_FALSE(outcome.success);
  EXPECT_EQ(outcome.transcript, operation.time_out_transcript());
  EXPECT_EQ(outcome.results, operation.untouched());
  EXPECT_EQ(camera.requests(), std::vector<Bytes>{operation.request()});
}

inline void expect_refusal_while_busy(const Operation& operation) {
  EngineOnBus camera;
  camera.bus.stay_silent();
  PendingRequest pending(camera.engine);
  const auto published_before = camera.requests();
  const Outcome outcome = call(operation, camera.engine);
  EXPECT_FALSE(outcome.success);
  EXPECT_EQ(outcome.transcript, operation.busy_transcript());
  EXPECT_EQ(outcome.results, operation.untouched());
  EXPECT_EQ(camera.requests(), published_before);
  EXPECT_TRUE(pending.finish());
}

inline void for_each(const std::vector<Operation>& operations,
                     void (*expectation)(const Operation& operation)) {
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    expectation(operation);
  }
}

#endif  // OPERATION_MATRIX_H
