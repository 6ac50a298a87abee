#include "envelope.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace vlm::bus;

TEST(Envelope, NamesItsSender) {
  const userlcm_packet_t packet = packet_from("sender");
  userlcm_packet_t expected{};
  std::memcpy(expected.channel, "sender", 6);
  EXPECT_EQ(std::memcmp(&packet, &expected, sizeof packet), 0);
}

TEST(Envelope, CutsANameThatDoesNotFitWithItsTerminator) {
  EXPECT_EQ(packet_from(std::string(63, 'a')).channel, std::string(63, 'a'));
  EXPECT_EQ(packet_from(std::string(64, 'a')).channel, std::string(63, 'a'));
}

TEST(Envelope, HoldsItsMessage) {
  lcm_udp_rtsp_msg_t message{};
  message.msg_buf[0] = 9;
  const userlcm_packet_t packet = packet_from("sender", message);
  EXPECT_STREQ(packet.channel, "sender");
  EXPECT_EQ(std::memcmp(packet.msg_buf, &message, sizeof message), 0);
}

TEST(Envelope, OfTheCameraHoldsTheTypeAndTheRecordBehindIt) {
  udp_ctrl_cam_t record{};
  record.cmd_type = 0x1234;
  record.cmd_params[127] = 5;
  const userlcm_packet_t packet = camera_packet_from("sender", record);
  EXPECT_EQ(packet.msg_buf[0], 3);
  EXPECT_EQ(std::memcmp(packet.msg_buf + 1, &record, sizeof record), 0);
}

TEST(ReadRecord, TakesTheBytesBehindTheOffset) {
  const u8 bytes[] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(read_record<u32>(bytes, sizeof bytes), 0x04030201U);
  EXPECT_EQ(read_record<u32>(bytes, sizeof bytes, 1), 0x05040302U);
}

TEST(ReadRecord, CompletesAShortOneWithZeros) {
  const u8 bytes[] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(read_record<u32>(bytes, sizeof bytes, 3), 0x00060504U);
  EXPECT_EQ(read_record<u32>(bytes, 2), 0x0201U);
  EXPECT_EQ(read_record<u32>(bytes, sizeof bytes, 6), 0U);
  EXPECT_EQ(read_record<u32>(bytes, sizeof bytes, 7), 0U);
  EXPECT_EQ(read_record<u32>(nullptr, 0), 0U);
}

}  // namespace
