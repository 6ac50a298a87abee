// The global engine before main: initialisers of static objects use it. The objects of a program come
// before those of its libraries, so these run before any initialiser of the engine's own library.

#include <gtest/gtest.h>

#include <string>

#include "lcm_request.h"
#include "lcm_request_peer.h"
#include "scripted_bus.h"
#include "transcript.h"
#include "vlm_test.h"

namespace {

struct EarlyRequest {
  bool success = false;
  u8 mode = 0;
  std::string printed = without_durations(transcript_of([this] {
    ScriptedBus::instance().answer({2});
    success = lcm_request.get_camera_mode(mode);
  }));
};
const EarlyRequest early_request;

// By way of another unit, which finds the engine by itself.
const std::string early_command = without_durations(transcript_of([] {
  char line[] = "1";
  send_cmd_to_lcm(line);
}));

TEST(GlobalEngineBeforeMain, AnswersARequest) {
  EXPECT_TRUE(early_request.success);
  EXPECT_EQ(early_request.mode, 2);
  EXPECT_EQ(early_request.printed,
            "get_camera_mode() is ready.\n"
            "Send GET_CAMERA_MODE\n"
            "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
            "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
            "Recv GET_CAMERA_MODE Ack OK\n");
}

TEST(GlobalEngineBeforeMain, AnswersACommandOfTheConsole) {
  EXPECT_EQ(early_command, early_request.printed + "camera_mode = 2(1:video,2:photo)\n\n");
}

TEST(GlobalEngineBeforeMain, KeepsWhatItWasTold) {
  u8 mode = 0;
  ScriptedBus::instance().answer({}, VLM_ERR_FAILED);
  EXPECT_FALSE(lcm_request.get_camera_mode(mode));
  EXPECT_EQ(lcm_request.get_error_code(), VLM_ERR_FAILED);
  EXPECT_EQ(LcmRequestPeer::data(lcm_request).cam_mode, 2);
}

}  // namespace
