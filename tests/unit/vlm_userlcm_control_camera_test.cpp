// What travels on the bus: types of the fields, message types, side-channel codes, channel
// names. The header asserts sizes and offsets.

#include "vlm_userlcm_control_camera.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <type_traits>

namespace {

struct Field {
  const char* name;
  bool has_its_type;
};

// clang-format off
// A macro, since only it can name a member for offsetof.
#define FIELD(record, field, type) \
  {#record "::" #field, std::is_same_v<decltype(record::field), type>}
// clang-format on

const Field kFields[] = {
    // clang-format off
    FIELD(udp_ctrl_cam_t, cmd_type, u16),
    FIELD(udp_ctrl_cam_t, cmd_params, u8[128]),
    FIELD(udp_ctrl_cam_t, err_code, u16),
    FIELD(msg_from_rep_t, msg_type, u8),
    FIELD(msg_from_rep_t, msg_data, u8[256]),
    FIELD(userlcm_packet_t, channel, char[64]),
    FIELD(userlcm_packet_t, msg_buf, u8[1024]),
    FIELD(lcm_udp_rtsp_msg_t, msg_cmd, LCM_RTSP_UDP_CMD),
    FIELD(lcm_udp_rtsp_msg_t, msg_buf, unsigned char[64]),
    FIELD(Receive_msg_t, channel, char[64]),
    FIELD(Receive_msg_t, f, ReceiveBufCallBack),
    FIELD(Receive_msg_t, func, void*),
    // clang-format on
};

TEST(BusRecords, HaveTheirFields) {
  for (const Field& field : kFields) {
    EXPECT_TRUE(field.has_its_type) << field.name;
  }
}

TEST(BusRecords, ReadTheirCodesLowByteFirst) {
  u8 bytes[132] = {0x12, 0x34, 0x56};
  bytes[129] = 0x78;
  bytes[130] = 0x9a;
  bytes[131] = 0xbc;
  udp_ctrl_cam_t record;
  std::memcpy(&record, bytes, sizeof record);
  EXPECT_EQ(u16{record.cmd_type}, 0x3412);
  EXPECT_EQ(record.cmd_params[0], 0x56);
  EXPECT_EQ(record.cmd_params[127], 0x78);
  EXPECT_EQ(u16{record.err_code}, 0xbc9a);
}

TEST(BusRecords, CallBackTakesBytesCountChannelAndUser) {
  EXPECT_TRUE((std::is_same_v<ReceiveBufCallBack, void (*)(void*, unsigned int, char*, void*)>));
}

TEST(MessageTypes, HaveTheirValues) {
  EXPECT_EQ(LCM_INTERACTIVE_KEY, 1);
  EXPECT_EQ(LCM_BIND_CONTROL, 2);
  EXPECT_EQ(LCM_CONTROL_CAMERA, 3);
  EXPECT_EQ(LCM_BIND_MAC, 4);
  EXPECT_EQ(LCM_SDCARD_STATUS, 5);
  EXPECT_EQ(LCM_MISC_IMAGE_INFO, 6);
  EXPECT_EQ(LCM_UPDATE_CAMERA_MODE, 7);
  EXPECT_EQ(LCM_CAPTURE_IMAGE_RESULT, 8);
}

TEST(SideChannelCodes, CountFromOneInTheirOrder) {
  const LCM_RTSP_UDP_CMD in_order[] = {SEND_BITRATE,
                                       SEND_BITRATE_ACK,
                                       SEND_RESOLUTION,
                                       SEND_RESOLUTION_ACK,
                                       SEND_FPS,
                                       SEND_FPS_ACK,
                                       SET_FLC_STATUS,
                                       SET_FLC_STATUS_ACK,
                                       GET_FLC_STATUS,
                                       GET_FLC_STATUS_ACK,
                                       SET_FLC_DEBUG_STATUS,
                                       SET_FLC_DEBUG_STATUS_ACK,
                                       GET_FLC_DEBUG_STATUS,
                                       GET_FLC_DEBUG_STATUS_ACK,
                                       LCM_RTSP_UDP_COMMAND_MAX};
  for (u32 i = 0; i < std::size(in_order); ++i) EXPECT_EQ(u32{in_order[i]}, i + 1);
}

TEST(Channels, HaveTheirNames) {
  EXPECT_STREQ(kRequestChannel, "velmar_repeater_udp");
  EXPECT_STREQ(kReplyChannel, "velmar_udp_repeater");
  EXPECT_STREQ(kRtspRequestChannel, "lcm_channel_to_rtsp");
  EXPECT_STREQ(kRtspReplyChannel, "lcm_channel_from_udp");
}

}  // namespace
