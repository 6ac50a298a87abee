#include "sim_describe.h"

#include <gtest/gtest.h>

#include "scripted_bus.h"

namespace {

using namespace vlm::sim;

std::vector<u8> letters(const std::string& text) { return {text.begin(), text.end()}; }

TEST(Describe, ARequestByCodeNameAndPayload) {
  EXPECT_EQ(describe_request(camera_record(3)), "3 TAKE_PHOTO");
  EXPECT_EQ(describe_request(camera_record(83, {0, 0, 0x20, 0x40})), "83 SET_ZOOM 00 00 20 40");
  EXPECT_EQ(describe_request(camera_record(12, {0, 1, 0, 100, 0})),
            "12 SET_SHUTTER_ISO 00 01 00 64");
  EXPECT_EQ(describe_request(camera_record(999)), "999 Unknown lcm cmd");
}

TEST(Describe, CommandsWithoutANameByWhatTheyReadWriteOrRun) {
  EXPECT_EQ(describe_request(camera_record(UDP_CTRL_CAM_GET_FOCUS)), "206 get lens.focus");
  EXPECT_EQ(describe_request(camera_record(UDP_CTRL_CAM_SET_DEFOG_ONOFF, {2})),
            "218 set image.defog 02");
  EXPECT_EQ(describe_reply(camera_record(UDP_CTRL_CAM_AUTO_FOCUS)),
            "204 lens.autofocus [0 VLM success]");
  // Nor is known what this one does.
  EXPECT_EQ(describe_request(camera_record(UDP_CTRL_CAM_GET_MAX_GAIN)), "123 Unknown lcm cmd");
}

TEST(Describe, TextsInQuotesAndWithoutControlCharacters) {
  EXPECT_EQ(describe_request(camera_record(85, letters("fan=on"))), "85 SET_PROPERTY \"fan=on\"");
  EXPECT_EQ(describe_request(camera_record(84, letters("a\033\n\377"))),
            "84 GET_PROPERTY \"a...\"");
  EXPECT_EQ(describe_request(camera_record(72, letters(std::string(128, 'x')))),
            "72 SEND_RC_BOARD_ID \"" + std::string(128, 'x') + "\"");
}

TEST(Describe, AReplyWithItsResult) {
  EXPECT_EQ(describe_reply(camera_record(1, {2})), "1 GET_CAMERA_MODE [0 VLM success] 02");
  EXPECT_EQ(describe_reply(camera_record(3, {}, 13)), "3 TAKE_PHOTO [13 VLM is not photo mode]");
  EXPECT_EQ(describe_reply(camera_record(3, {}, 43)),
            "3 TAKE_PHOTO [43 VLM unknown error number:43]");
  EXPECT_EQ(describe_reply(camera_record(3, {}, 29)),
            "3 TAKE_PHOTO [29 VLM delete album resource err]");
}

TEST(Describe, EachNotification) {
  EXPECT_EQ(describe_notification(notification<u8>(LCM_SDCARD_STATUS, 0, 0x42)),
            "card inserted, slot 0");
  EXPECT_EQ(describe_notification(notification<u8>(LCM_SDCARD_STATUS, 0, 0x58)),
            "card removed, slot 3");
  EXPECT_EQ(describe_notification(notification<u8>(LCM_UPDATE_CAMERA_MODE, 0, 2)), "camera mode 2");
  EXPECT_EQ(describe_notification({LCM_CAPTURE_IMAGE_RESULT, 0, {}}), "image captured");
  udp_ctrl_cam_misc_image_info_t image{};
  image.image_index = 7;
  image.result = -1;
  std::memset(image.url, 'u', sizeof image.url);
  EXPECT_EQ(describe_notification(notification(LCM_MISC_IMAGE_INFO, 0, image)),
            "image 7 \"" + std::string(64, 'u') + "\" result -1");
}

TEST(Describe, SideChannelMessages) {
  lcm_udp_rtsp_msg_t message{};
  message.msg_cmd = SET_FLC_STATUS;
  message.msg_buf[0] = 1;
  EXPECT_EQ(describe_rtsp(message), "rtsp 7 01");
}

}  // namespace
