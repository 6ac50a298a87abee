// The request engine: reserving, sending, waiting, and every outcome with its exact transcript.

#include "lcm_request.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "command_contract.h"
#include "engine_test.h"
#include "pattern.h"
#include "transcript.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Long enough for a caller that gets the engine by mistake to show it.
constexpr milliseconds kAWhile{50};

constexpr int kGetStatus = UDP_CTRL_CAM_GET_CAMERA_STATUS;
constexpr int kGetMode = UDP_CTRL_CAM_GET_CAMERA_MODE;
constexpr int kGetIris = UDP_CTRL_CAM_GET_IRIS;

class RequestEngine : public EngineTest {
 protected:
  /// What `action` prints, its durations as N.
  template <typename Action>
  static std::string prints(Action&& action) {
    return without_durations(transcript_of(action));
  }

  std::future<bool> start_get_ready(const char* caller) {
    return std::async(std::launch::async, [=] { return _engine.get_ready(caller); });
  }

  std::vector<u8> stored() { return bytes_of(Peer::data(_engine)); }
};

// --- From the start ---

TEST_F(RequestEngine, BeginsIdleAndZero) {
  expect_idle();
  EXPECT_EQ(_engine.get_error_code(), 0);
  EXPECT_EQ(stored(), std::vector<u8>(sizeof(Data)));
}

TEST(RequestTimeouts, AreThreeSecondsAndHalfASecondForTheStatus) {
  const LcmRequest::Timeouts timeouts;
  EXPECT_EQ(timeouts.ready, milliseconds(3000));
  EXPECT_EQ(timeouts.reply, milliseconds(3000));
  EXPECT_EQ(timeouts.status_reply, milliseconds(500));
  EXPECT_EQ(timeouts.rtsp_reply, milliseconds(200));
}

TEST(CameraStatus, IsMappedForEveryByte) {
  for (int raw = 0; raw <= 255; ++raw) {
    auto status = static_cast<u8>(raw);
    LcmRequest::convert_to_lcm_camera_status(status);
    EXPECT_EQ(status, raw == 3 ? 1 : raw == 2 ? 2 : 0) << raw;
  }
}

// --- Reserving ---

TEST_F(RequestEngine, IsReservedWithoutTouchingTheBus) {
  EXPECT_EQ(prints([&] { EXPECT_TRUE(_engine.get_ready("set_iris")); }), "set_iris() is ready.\n");
  EXPECT_EQ(Peer::state(_engine), LcmRequest::BUSY);
  EXPECT_EQ(Peer::last_sent(_engine), -1);
  EXPECT_EQ(Peer::last_received(_engine), -1);
  EXPECT_TRUE(bus().published().empty());
}

TEST_F(RequestEngine, IsReservedForACallerWithoutAName) {
  EXPECT_EQ(prints([&] { EXPECT_TRUE(_engine.get_ready(nullptr)); }), "(null)() is ready.\n");
  EXPECT_EQ(Peer::state(_engine), LcmRequest::BUSY);
}

TEST_F(RequestEngine, GoesToASecondCallerOnceTheFirstHasFinished) {
  give_up_waiting_in_line_after(kForEver);
  bus().stay_silent();
  EXPECT_EQ(prints([&] {
              auto first = start_request(kGetMode);
              auto second = start_get_ready("second");
              EXPECT_EQ(second.wait_for(kAWhile), std::future_status::timeout);
              reply(kGetMode);
              EXPECT_EQ(first.get(), kSuccess);
              EXPECT_TRUE(second.get());
            }),
            "request() is ready.\n"
            "Send GET_CAMERA_MODE\n"
            "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
            "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
            "Recv GET_CAMERA_MODE Ack OK\n"
            "second() is ready.\n");
  EXPECT_EQ(Peer::state(_engine), LcmRequest::BUSY);
}

TEST_F(RequestEngine, IsRefusedToASecondCallerWhileTheFirstTakesTooLong) {
  give_up_waiting_in_line_after(milliseconds(20));
  bus().stay_silent();
  auto first = start_request(kGetMode);
  EXPECT_EQ(prints([&] { EXPECT_FALSE(_engine.get_ready("second")); }),
            "Error: a request is already pending:[1], last sent cmd: GET_CAMERA_MODE\n"
            " second() failed.\n");
  EXPECT_EQ(Peer::state(_engine), LcmRequest::BUSY);
  EXPECT_EQ(Peer::last_sent(_engine), kGetMode);
  EXPECT_EQ(bus().published().size(), 1U);
  reply(kGetMode);
  EXPECT_EQ(first.get(), kSuccess);
}

TEST_F(RequestEngine, RefusesANamelessCallerWithoutANameLine) {
  give_up_waiting_in_line_after(milliseconds(1));
  ASSERT_TRUE(_engine.get_ready("first"));
  EXPECT_EQ(prints([&] { EXPECT_FALSE(_engine.get_ready(nullptr)); }),
            "Error: a request is already pending:[1], last sent cmd: Unknown lcm cmd\n\n");
}

TEST_F(RequestEngine, KeepsTheLastResultWhenItRefuses) {
  give_up_waiting_in_line_after(milliseconds(1));
  bus().answer({}, VLM_ERR_IS_RECORDING);
  request(kGetMode);
  ASSERT_TRUE(_engine.get_ready("first"));
  EXPECT_FALSE(_engine.get_ready("second"));
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_IS_RECORDING);
}

TEST_F(RequestEngine, StaysBusyUntilItsOwnerHasSent) {
  give_up_waiting_in_line_after(milliseconds(1));
  ASSERT_TRUE(_engine.get_ready("first"));
  EXPECT_FALSE(_engine.get_ready("second"));
  EXPECT_FALSE(_engine.get_ready("third"));
  EXPECT_EQ(send(kGetMode), kSuccess);
  EXPECT_TRUE(_engine.get_ready("fourth"));
}

TEST_F(RequestEngine, IsWaitedForThreeSeconds) {
  ASSERT_TRUE(_engine.get_ready("first"));
  const auto start = Clock::now();
  EXPECT_FALSE(_engine.get_ready("second"));
  EXPECT_GE(Clock::now() - start, milliseconds(3000));
}

// --- Sending ---

TEST_F(RequestEngine, PublishesTheRecordInItsEnvelope) {
  std::vector<u8> expected(1088);
  const std::string sender = "velmar_udp_repeater";
  std::copy(sender.begin(), sender.end(), expected.begin());
  expected[64] = 3;
  expected[65] = 901 & 0xff;
  expected[66] = 901 >> 8;
  std::vector<u8> payload(128);
  for (std::size_t i = 0; i < payload.size(); ++i) {
    expected[67 + i] = payload[i] = static_cast<u8>(0xff - i);
  }
  request(901, payload);

  const auto published = bus().published();
  ASSERT_EQ(published.size(), 1U);
  EXPECT_EQ(published[0].channel, "velmar_repeater_udp");
  EXPECT_EQ(published[0].length, 257U);
  EXPECT_EQ(bytes_of(published[0].packet), expected);
}

TEST_F(RequestEngine, PublishesWithoutWaiting) {
  bus().stay_silent();
  EXPECT_EQ(prints([&] { Peer::publish(_engine, camera_record(kGetIris)); }), "");
  EXPECT_EQ(bus().only_record().cmd_type, kGetIris);
  EXPECT_EQ(Peer::last_sent(_engine), kGetIris);
}

// --- Outcomes ---

TEST_F(RequestEngine, SucceedsWithTheReplyStored) {
  bus().answer({0x34, 0x12});
  EXPECT_EQ(prints([&] { EXPECT_EQ(request(kGetIris), kSuccess); }),
            "request() is ready.\n"
            "Send GET_IRIS\n"
            "LCM request GET_IRIS took: N ms, error 0\n"
            "finish waiting for cmd GET_IRIS response. error code: 0\n"
            "Recv GET_IRIS Ack OK\n");
  EXPECT_EQ(Peer::data(_engine).iris, 0x1234);
  EXPECT_EQ(_engine.get_error_code(), 0);
  expect_idle();
}

TEST_F(RequestEngine, ReportsItsDurationInMilliseconds) {
  bus().stay_silent();
  const std::string text = transcript_of([&] {
    auto pending = start_request(kGetIris);
    reply(kGetIris);
    pending.get();
  });
  EXPECT_FALSE(matches_in(text, "took: [0-9]{1,5} ms, error 0\n").empty()) << text;
}

TEST_F(RequestEngine, PassesOnTheCamerasError) {
  bus().answer({0x34, 0x12}, VLM_ERR_IS_RECORDING);
  EXPECT_EQ(prints([&] {
              EXPECT_EQ(request(kGetIris), (Outcome{false, 5}));
            }),
            "request() is ready.\n"
            "Send GET_IRIS\n"
            "LCM request GET_IRIS took: N ms, error 5\n"
            "finish waiting for cmd GET_IRIS response. error code: 5\n"
            "LCM request GET_IRIS failed with: VLM is recording\n");
  EXPECT_EQ(stored(), std::vector<u8>(sizeof(Data)));
  EXPECT_EQ(_engine.get_error_code(), 5);
  expect_idle();
}

TEST_F(RequestEngine, PassesOnEveryErrorCodeOfTheWire) {
  for (const int code : {1, 25, 26, 43, 58, 96, 97, 255, 256, 65535}) {
    bus().answer({}, code);
    EXPECT_EQ(request(kGetIris), (Outcome{false, code}));
    EXPECT_EQ(_engine.get_error_code(), code);
  }
}

TEST_F(RequestEngine, NamesAnErrorWithoutATextByItsNumber) {
  bus().answer({}, 43);
  EXPECT_EQ(prints([&] { request(203); }),
            "request() is ready.\n"
            "Send Unknown lcm cmd\n"
            "LCM request Unknown lcm cmd took: N ms, error 43\n"
            "finish waiting for cmd Unknown lcm cmd response. error code: 43\n"
            "LCM request Unknown lcm cmd failed with: VLM unknown error number:43\n");
}

TEST_F(RequestEngine, FailsWhenTheCameraIsSilent) {
  give_up_after(milliseconds(20));
  bus().stay_silent();
  EXPECT_EQ(prints([&] { EXPECT_EQ(request(kGetIris), kTimedOut); }),
            "request() is ready.\n"
            "Send GET_IRIS\n"
            "error: LCM request GET_IRIS timeout waiting for answer\n"
            "LCM request GET_IRIS failed with: VLM is timeout\n");
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_IS_TIMEOUT);
  expect_idle();
}

TEST_F(RequestEngine, SucceedsAfterAFailure) {
  give_up_after(milliseconds(1));
  bus().stay_silent();
  EXPECT_EQ(request(kGetIris), kTimedOut);
  give_up_after(kForEver);
  bus().answer({}, VLM_ERR_BUSY);
  EXPECT_EQ(request(kGetIris), (Outcome{false, 2}));
  bus().answer(std::vector<u8>{});
  EXPECT_EQ(request(kGetIris), kSuccess);
  EXPECT_EQ(_engine.get_error_code(), 0);
}

TEST_F(RequestEngine, ReportsTheOutcomeWithoutAPlaceForTheResult) {
  ASSERT_TRUE(_engine.get_ready("caller"));
  EXPECT_TRUE(_engine.send_and_wait(camera_record(kGetIris), nullptr));
  bus().answer({}, VLM_ERR_BUSY);
  ASSERT_TRUE(_engine.get_ready("caller"));
  EXPECT_FALSE(_engine.send_and_wait(camera_record(kGetIris), nullptr));
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_BUSY);
}

TEST_F(RequestEngine, WaitsHalfASecondForTheCameraStatus) {
  bus().stay_silent();
  const auto start = Clock::now();
  EXPECT_EQ(request(kGetStatus), kTimedOut);
  EXPECT_GE(Clock::now() - start, milliseconds(500));
  EXPECT_LT(Clock::now() - start, milliseconds(3000));
}

TEST_F(RequestEngine, WaitsThreeSecondsForAnyOtherReply) {
  bus().stay_silent();
  const auto start = Clock::now();
  EXPECT_EQ(request(kGetMode), kTimedOut);
  EXPECT_GE(Clock::now() - start, milliseconds(3000));
}

// --- Replies out of place ---

TEST_F(RequestEngine, StoresAStrayReplyAndKeepsWaiting) {
  bus().stay_silent();
  EXPECT_EQ(prints([&] {
              auto pending = start_request(kGetMode);
              reply(kGetIris, {0x34, 0x12});
              EXPECT_EQ(Peer::last_received(_engine), kGetIris);
              EXPECT_EQ(pending.wait_for(kAWhile), std::future_status::timeout);
              reply(kGetMode, {2});
              EXPECT_EQ(pending.get(), kSuccess);
            }),
            "request() is ready.\n"
            "Send GET_CAMERA_MODE\n"
            "LCM request GET_IRIS took: N ms, error 0\n"
            "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
            "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
            "Recv GET_CAMERA_MODE Ack OK\n");
  EXPECT_EQ(Peer::data(_engine).iris, 0x1234);
  EXPECT_EQ(Peer::data(_engine).cam_mode, 2);
  expect_idle();
}

TEST_F(RequestEngine, LetsAStrayErrorBeOverwrittenByTheAnswer) {
  bus().stay_silent();
  auto pending = start_request(kGetMode);
  reply(kGetIris, {}, VLM_ERR_IS_RECORDING);
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_IS_RECORDING);
  reply(kGetMode);
  EXPECT_EQ(pending.get(), kSuccess);
}

TEST_F(RequestEngine, TimesOutWhenOnlyStrayRepliesCome) {
  give_up_after(milliseconds(500));
  bus().answer([](const udp_ctrl_cam_t&) { return camera_record(kGetIris, {7}, 0); });
  EXPECT_EQ(prints([&] { EXPECT_EQ(request(kGetMode), kTimedOut); }),
            "request() is ready.\n"
            "Send GET_CAMERA_MODE\n"
            "LCM request GET_IRIS took: N ms, error 0\n"
            "error: LCM request GET_CAMERA_MODE timeout waiting for answer\n"
            "LCM request GET_CAMERA_MODE failed with: VLM is timeout\n");
  EXPECT_EQ(Peer::data(_engine).iris, 7);
  expect_idle();
}

TEST_F(RequestEngine, DropsAReplyWhenIdle) {
  EXPECT_EQ(prints([&] { reply(kGetIris, {0x34, 0x12}, 5); }), "not waiting on answer\n");
  EXPECT_EQ(prints([&] { reply(kGetIris, {0x34, 0x12}); }), "not waiting on answer\n");
  EXPECT_EQ(stored(), std::vector<u8>(sizeof(Data)));
  EXPECT_EQ(_engine.get_error_code(), 0);
  expect_idle();
}

TEST_F(RequestEngine, DropsTheReplyThatComesAfterTheTimeout) {
  give_up_after(milliseconds(1));
  bus().stay_silent();
  EXPECT_EQ(request(kGetIris), kTimedOut);
  EXPECT_EQ(prints([&] { reply(kGetIris, {0x34, 0x12}); }), "not waiting on answer\n");
  EXPECT_EQ(Peer::data(_engine).iris, 0);
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_IS_TIMEOUT);
}

TEST_F(RequestEngine, TakesAReplyThatComesBetweenReservingAndSending) {
  bus().stay_silent();
  ASSERT_TRUE(_engine.get_ready("caller"));
  reply(kGetIris, {0x34, 0x12});
  EXPECT_EQ(Peer::last_received(_engine), kGetIris);
  EXPECT_EQ(Peer::data(_engine).iris, 0x1234);
  EXPECT_EQ(send(kGetIris), kSuccess);
  expect_idle();
}

// --- Replies behind the answer ---
// They are delivered before the caller wakes: it has published and has not looked yet.

class BehindTheAnswer : public RequestEngine {
 protected:
  BehindTheAnswer() { bus().stay_silent(); }

  void publish(int code) {
    ASSERT_TRUE(_engine.get_ready("caller"));
    Peer::publish(_engine, camera_record(code));
  }
};

TEST_F(BehindTheAnswer, AForeignReplyIsTracedAndStoredAndTakesNothingAway) {
  publish(kGetMode);
  EXPECT_EQ(prints([&] {
              reply(kGetMode, {2});
              reply(kGetIris, {0x34, 0x12});
            }),
            "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
            "LCM request GET_IRIS took: N ms, error 0\n");
  EXPECT_EQ(Peer::last_received(_engine), kGetMode);
  EXPECT_EQ(prints([&] { EXPECT_EQ(send(kGetMode), kSuccess); }),
            "Send GET_CAMERA_MODE\n"
            "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
            "Recv GET_CAMERA_MODE Ack OK\n");
  EXPECT_EQ(Peer::data(_engine).cam_mode, 2);
  EXPECT_EQ(Peer::data(_engine).iris, 0x1234);
  expect_idle();
}

TEST_F(BehindTheAnswer, AForeignErrorDoesNotBecomeTheResult) {
  publish(kGetMode);
  reply(kGetMode, {2});
  reply(kGetIris, {0x34, 0x12}, VLM_ERR_IS_RECORDING);
  EXPECT_EQ(_engine.get_error_code(), 0);
  EXPECT_EQ(Peer::data(_engine).iris, 0);
  EXPECT_EQ(send(kGetMode), kSuccess);
}

TEST_F(BehindTheAnswer, AForeignSuccessDoesNotHideTheError) {
  publish(kGetMode);
  reply(kGetMode, {}, VLM_ERR_IS_RECORDING);
  reply(kGetIris);
  EXPECT_EQ(send(kGetMode), (Outcome{false, VLM_ERR_IS_RECORDING}));
}

TEST_F(BehindTheAnswer, ASecondReplyToTheSameCommandKeepsTheFirstCode) {
  publish(kGetMode);
  reply(kGetMode, {2});
  reply(kGetMode, {1}, VLM_ERR_BUSY);
  EXPECT_EQ(send(kGetMode), kSuccess);
  EXPECT_EQ(Peer::data(_engine).cam_mode, 2);

  publish(kGetMode);
  reply(kGetMode, {1}, VLM_ERR_BUSY);
  reply(kGetMode, {1});
  EXPECT_EQ(send(kGetMode), (Outcome{false, VLM_ERR_BUSY}));
  EXPECT_EQ(Peer::data(_engine).cam_mode, 1);
}

TEST_F(BehindTheAnswer, ManyForeignRepliesTakeNothingAway) {
  publish(kGetMode);
  reply(kGetIris, {}, VLM_ERR_FAILED);  // before the answer: overwritten by it
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_FAILED);
  reply(kGetMode);
  for (const CommandContract& row : command_contract()) {
    reply(row.code, {}, VLM_ERR_IS_NO_SPACE);
  }
  EXPECT_EQ(send(kGetMode), kSuccess);
  expect_idle();
}

TEST_F(BehindTheAnswer, TheNextRequestWaitsForItsOwnReply) {
  publish(kGetMode);
  reply(kGetMode);
  reply(kGetIris);
  EXPECT_EQ(send(kGetMode), kSuccess);
  give_up_after(milliseconds(1));
  EXPECT_EQ(request(kGetIris), kTimedOut);
}

/// Holds a thread, on demand, wherever it is, a wait included.
class Held {
 public:
  explicit Held(pthread_t thread) {
    if (pipe(_reached) != 0 || pipe(_release) != 0) throw std::runtime_error("pipe");
    struct sigaction hold {};
    hold.sa_handler = [](int) {
      char byte = 0;
      [[maybe_unused]] ssize_t size = write(_reached[1], &byte, 1);
      size = read(_release[0], &byte, 1);
    };
    sigaction(SIGUSR1, &hold, nullptr);
    pthread_kill(thread, SIGUSR1);
    char byte = 0;
    if (read(_reached[0], &byte, 1) != 1) throw std::runtime_error("not reached");
  }
  ~Held() {
    for (const int fd : {_release[1], _reached[0], _reached[1]}) close(fd);  // it reads the end
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  inline static int _reached[2];
  inline static int _release[2];
};

TEST_F(BehindTheAnswer, AForeignReplyTakesNothingAwayFromAWaitThatHasNotWoken) {
  give_up_after(kForEver);
  ASSERT_TRUE(_engine.get_ready("caller"));
  Outcome outcome{};
  std::thread caller([&] { outcome = send(kGetMode); });
  bus().wait_for_published(1);
  ASSERT_EQ(Peer::last_sent(_engine), kGetMode);  // it waits: it has given the lock back
  {
    const Held held(caller.native_handle());
    reply(kGetMode, {2});
    reply(kGetIris, {0x34, 0x12}, VLM_ERR_IS_RECORDING);
  }
  caller.join();
  EXPECT_EQ(outcome, kSuccess);
  EXPECT_EQ(Peer::data(_engine).cam_mode, 2);
}

// --- Inconsistencies ---

TEST_F(RequestEngine, FailsWhenTheSentCodeWasChanged) {
  bus().stay_silent();
  EXPECT_EQ(
      prints([&] {
        auto pending = start_request(kGetMode);
        Peer::set_last_sent(_engine, kGetIris);
        reply(kGetMode);
        EXPECT_EQ(pending.get(), (Outcome{false, VLM_ERR_FAILED}));
      }),
      "request() is ready.\n"
      "Send GET_CAMERA_MODE\n"
      "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
      "finish waiting for cmd GET_IRIS response. error code: 0\n"
      "!!!!CRITICAL!!!! last sent cmd GET_IRIS was changed unexpectedly. it is supposed to be "
      "GET_CAMERA_MODE\n"
      "LCM request GET_CAMERA_MODE failed with: VLM failed\n");
  EXPECT_EQ(_engine.get_error_code(), VLM_ERR_FAILED);
  expect_idle();
}

TEST_F(RequestEngine, FailsWhenItIsIdleAtTheEnd) {
  bus().stay_silent();
  EXPECT_EQ(
      prints([&] {
        ASSERT_TRUE(_engine.get_ready("caller"));
        reply(kGetMode);
        Peer::set_state(_engine, LcmRequest::IDLE);
        EXPECT_EQ(send(kGetMode), (Outcome{false, VLM_ERR_FAILED}));
      }),
      "caller() is ready.\n"
      "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
      "Send GET_CAMERA_MODE\n"
      "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
      "!!!!CRITICAL!!!! the state of the lcm_request machine is supposed to be BUSY, but it's "
      "IDEL.\n"
      "LCM request GET_CAMERA_MODE failed with: VLM failed\n");
  expect_idle();
}

TEST_F(RequestEngine, FailsWhenItWasNeverReserved) {
  give_up_after(milliseconds(1));
  bus().stay_silent();
  EXPECT_EQ(
      prints([&] {
        EXPECT_EQ(send(kGetMode), (Outcome{false, VLM_ERR_FAILED}));
      }),
      "Send GET_CAMERA_MODE\n"
      "error: LCM request GET_CAMERA_MODE timeout waiting for answer\n"
      "!!!!CRITICAL!!!! the state of the lcm_request machine is supposed to be BUSY, but it's "
      "IDEL.\n"
      "LCM request GET_CAMERA_MODE failed with: VLM failed\n");
  expect_idle();
}

// --- Several callers ---

TEST_F(RequestEngine, ServesManyCallersOneAtATime) {
  constexpr int kCallers = 4;
  constexpr int kRequests = 50;
  // Which waiting caller comes next is open, so each may wait for all the others.
  give_up_waiting_in_line_after(kForEver);
  give_up_after(kForEver);
  std::atomic<int> outstanding{0};
  std::atomic<int> overlaps{0};
  bus().answer([&](const udp_ctrl_cam_t& request) {
    if (outstanding++ != 0) ++overlaps;
    return camera_record(request.cmd_type, {request.cmd_params[0]}, request.cmd_params[0]);
  });
  bus().deliver_to([&](const udp_ctrl_cam_t& reply) {
    --outstanding;
    _engine.receive_msg(reply);
  });

  std::vector<std::future<int>> callers;
  for (int caller = 0; caller < kCallers; ++caller) {
    callers.push_back(std::async(std::launch::async, [this, caller] {
      const int code = kGetMode + 2 * caller;
      int own_answers = 0;
      for (int i = 0; i < kRequests; ++i) {
        // The camera hands the payload back as the result, so that each knows its own.
        const int mark = caller + 1;
        own_answers += request(code, {static_cast<u8>(mark)}) == (Outcome{false, mark}) ? 1 : 0;
      }
      return own_answers;
    }));
  }
  for (auto& caller : callers) EXPECT_EQ(caller.get(), kRequests);
  EXPECT_EQ(overlaps, 0);
  EXPECT_EQ(bus().published().size(), std::size_t{kCallers} * kRequests);
  expect_idle();
}

// --- The global engine and its plain names ---

class GlobalEngine : public testing::Test {
 protected:
  GlobalEngine() { ScriptedBus::instance().reset(); }
  ~GlobalEngine() override { ScriptedBus::instance().reset(); }
};

TEST_F(GlobalEngine, ReceivesThroughItsPlainName) {
  ASSERT_TRUE(lcm_request.get_ready("caller"));
  udp_ctrl_cam_t reply = camera_record(kGetIris, {0x34, 0x12});
  lcm_request_receive_msg(&reply);
  EXPECT_EQ(LcmRequestPeer::data(lcm_request).iris, 0x1234);
  EXPECT_TRUE(lcm_request.send_and_wait(camera_record(kGetIris), nullptr));
}

TEST_F(GlobalEngine, IgnoresANullReply) {
  EXPECT_EQ(transcript_of([] { lcm_request_receive_msg(nullptr); }), "");
}

TEST_F(GlobalEngine, UpgradesThroughItsPlainName) {
  EXPECT_EQ(lcm_request_upgrade_camera(), 1);
  EXPECT_EQ(ScriptedBus::instance().only_record().cmd_type, UDP_CTRL_CAM_UPGRADE_CAMERA);
  ScriptedBus::instance().answer({}, VLM_ERR_FAILED);
  EXPECT_EQ(lcm_request_upgrade_camera(), 0);
}

TEST_F(GlobalEngine, SetsTheDronePlatformThroughItsPlainName) {
  EXPECT_EQ(lcm_request_set_drone_platform(0xabcd), 1);
  EXPECT_EQ(bytes_of(ScriptedBus::instance().only_record()),
            bytes_of(camera_record(UDP_CTRL_CAM_SET_DRONE_TYPE, {0xcd, 0xab})));
  ScriptedBus::instance().answer({}, VLM_ERR_FAILED);
  EXPECT_EQ(lcm_request_set_drone_platform(1), 0);
}

}  // namespace
