#include "rtsp_model.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace vlm::sim;

class Rtsp : public testing::Test {
 protected:
  RtspModel model;

  std::optional<lcm_udp_rtsp_msg_t> ask(u32 code, const std::vector<u8>& data = {}) {
    lcm_udp_rtsp_msg_t request{};
    request.msg_cmd = static_cast<LCM_RTSP_UDP_CMD>(code);
    std::copy(data.begin(), data.end(), request.msg_buf);
    return model.handle(request);
  }
  /// The first data byte of the acknowledgement.
  int flag(u32 code, const std::vector<u8>& data = {}) { return ask(code, data)->msg_buf[0]; }
};

TEST_F(Rtsp, AcknowledgesEachCommandByTheCodeAboveItsOwnAndNothingElse) {
  for (u32 code = 0; code <= 20; ++code) {
    const auto reply = ask(code);
    const bool command = code % 2 == 1 && code <= 13;
    ASSERT_EQ(reply.has_value(), command) << code;
    if (command) {
      EXPECT_EQ(u32{reply->msg_cmd}, code + 1);
    }
  }
  EXPECT_FALSE(ask(0xFFFFFFFF));
}

TEST_F(Rtsp, KeepsBothFlagsApart) {
  EXPECT_EQ(flag(SET_FLC_STATUS, {7}), 7);
  EXPECT_EQ(flag(SET_FLC_DEBUG_STATUS, {9}), 9);
  EXPECT_EQ(flag(GET_FLC_STATUS), 7);
  EXPECT_EQ(flag(GET_FLC_DEBUG_STATUS), 9);
  EXPECT_EQ(flag(SET_FLC_STATUS, {0}), 0);
  EXPECT_EQ(flag(GET_FLC_STATUS), 0);
  EXPECT_EQ(flag(GET_FLC_DEBUG_STATUS, {1}), 9);
}

TEST_F(Rtsp, TakesTheFrameRate) {
  const auto reply = ask(SEND_FPS, {0x01, 0x02, 0, 0});
  EXPECT_EQ(model.fps(), 0x0201U);
  EXPECT_EQ(reply->msg_buf[0], 0);
}

}  // namespace
