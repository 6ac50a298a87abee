// The result codes and their texts, each checked against its row.

#include "velmar_err.h"

#include <gtest/gtest.h>

#include <climits>
#include <iterator>
#include <map>
#include <string>
#include <thread>

#include "vlm_camera_codes.h"

namespace {

struct Result {
  int code;
  vlm_err_t enumerator;
  const char* text;  // null: reported like an undefined code
};

const Result kResults[] = {
    // clang-format off
    {0, VLM_ERR_NONE, "VLM success"},
    {1, VLM_ERR_UNSUPPORTED_COMMAND, "VLM unsupported command"},
    {2, VLM_ERR_BUSY, "VLM busy"},
    {3, VLM_ERR_FAILED, "VLM failed"},
    {4, VLM_ERR_PERMISSION_DENIED, "VLM permission denied"},
    {5, VLM_ERR_IS_RECORDING, "VLM is recording"},
    {6, VLM_ERR_IS_NOT_RECORDING, "VLM is not recording"},
    {7, VLM_ERR_IS_STREAMING, "VLM is streaming"},
    {8, VLM_ERR_IS_NOT_STREAMING, "VLM is not streaming"},
    {9, VLM_ERR_IS_CAPTURING, "VLM is capturing"},
    {10, VLM_ERR_IS_VIDEO_MODE, "VLM is video mode"},
    {11, VLM_ERR_IS_NOT_VIDEO_MODE, "VLM is not video mode"},
    {12, VLM_ERR_IS_PHOTO_MODE, "VLM is photo mode"},
    {13, VLM_ERR_IS_NOT_PHOTO_MODE, "VLM is not photo mode"},
    {14, VLM_ERR_IS_SAME_VFMT, "VLM is same vfmt"},
    {15, VLM_ERR_UNSUPPORTED_VFMT, "VLM is unsupported vfmt"},
    {16, VLM_ERR_IS_UNKOWN_AEMODE, "VLM is unknow aemode"},
    {17, VLM_ERR_IS_INVALID_DEN, "VLM is invalid den"},
    {18, VLM_ERR_IS_EXPOSURE_AUTO, "VLM is auto exposure"},
    {19, VLM_ERR_IS_EXPOSURE_MANU, "VLM is manual exposure"},
    {20, VLM_ERR_IS_INVALID_ISO, "VLM is invalid ISO"},
    {21, VLM_ERR_IS_INVALID_EV, "VLM is invalid EV"},
    {22, VLM_ERR_IS_FORMATE_FAIL, "VLM is format fail"},
    {23, VLM_ERR_IS_INVALID_AWB, "VLM is invalid awb"},
    {24, VLM_ERR_IS_UNSUPPORTED_CAMMODE, "VLM is unsupported cammode"},
    {25, VLM_ERR_IS_INVALID_METER, "VLM is invalid meter"},
    {26, VLM_ERR_IS_TIMEOUT, "VLM is timeout"},
    {27, VLM_ERR_PROTOCOL, "VLM err protocol"},
    {28, VLM_ERR_DATA_LENGTH_MISMATCH, "VLM data length mismatch"},
    {29, VLM_ERR_DELETE_ALBUM_RESOURCE, "VLM delete album resource err\n"},
    {30, VLM_ERR_OPENDIR_ERR, "VLM opendir err"},
    {31, VLM_ERR_OPEN_FCABIN_ERR, "VLM open fca bin err"},
    {32, VLM_ERR_VERIFY_FCABIN_ERR, "VLM verify fca bin err"},
    {33, VLM_ERR_OPEN_ESCABIN_ERR, "VLM open esc bin err"},
    {34, VLM_ERR_VERIFY_ESCABIN_ERR, "VLM verify esc bin err"},
    {35, VLM_ERR_UNSUPPORTED_PHOTO_FORMAT, "VLM unsupported photo format"},
    {36, VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER, "VLM unsupported aeb photo number"},
    {37, VLM_ERR_UNSUPPORTED_BURST_INTERVAL_VALUE, "VLM unsupported burst interval value"},
    {38, VLM_ERR_UNSUPPORTED_BURST_PHOTO_NUMBER, "VLM unsupported burst photo number"},
    {39, VLM_ERR_UNSUPPORTED_PHOTO_MODE, "VLM unsupported photo mode"},
    {40, VLM_ERR_IS_NO_SPACE, "VLM is no space"},
    {41, VLM_ERR_IS_TIMELAPSE_CAPTURING, "VLM is timelapse capturing"},
    {42, VLM_ERR_CAMERA_NOT_INITIAL, "VLM is not initial"},
    {43, VLM_ERR_INVALID_DRONENAME, nullptr},
    {44, VLM_ERR_INVALID_SHUTTER_VALUE, "VLM is invalid shutter value"},
    {45, VLM_ERR_INVALID_AUDIO_VOLUME, "VLM err invalid audio volue"},
    {46, VLM_ERR_IS_UPGRADING_QUORIN_CAMERA, "VLM err is upgrading quorin camera"},
    {47, VLM_ERR_IS_UPGRADING_QUORIN_FC, "VLM err is upgrading quorin fc"},
    {48, VLM_ERR_IS_UPGRADING_QUORIN_ESC, "VLM err is upgrading quorin esc"},
    {49, VLM_ERR_IS_UPGRADING_QUORIN_UNKNOW, "VLM err is upgrading quorin unknow"},
    {50, VLM_ERR_INVALID_DRONEPWD, "VLM err is invalid camera passwd"},
    {51, VLM_ERR_IS_DETECT_FIRMWARE, nullptr},
    {52, VLM_ERR_IS_CHECK_CAM_FW_VER, nullptr},
    {53, VLM_ERR_IS_MISC_SET_TIME, nullptr},
    {54, VLM_ERR_UNCOMPRESS_CHECK_CRC32, nullptr},
    {55, VLM_ERR_UPGRADE_RECV_ESC_ACK_TIMEOUT, nullptr},
    {56, VLM_ERR_UPGRADE_OPEN_FW, nullptr},
    {57, VLM_ERR_UPGRADE_PREPARATION, nullptr},
    {64, VLM_ERR_UPGRADE_READPACKETDATA, nullptr},
    {65, VLM_ERR_UPGRADE_RECV_TIMEOUT_FROM_DEVICE, nullptr},
    {66, VLM_ERR_UPGRADE_RECV_ACK_TIMEOUT, nullptr},
    {67, VLM_ERR_READ_COMPRESS_FILE, nullptr},
    {68, VLM_ERR_IS_NOT_SPOT_METERING, "VLM err is not spot metering mode"},
    {69, VLM_ERR_IS_NOT_MANUAL_WB, "VLM err is not manual wb"},
    {70, VLM_ERR_INVALID_MANUAL_WB_TYPE, "VLM err is invalid manual wb"},
    {71, VLM_ERR_IS_UNSUPPORTED_SYSMODE, nullptr},
    {72, VLM_ERR_SDCARD_NOT_READY, "VLM err sdcard is not ready"},
    {73, VLM_ERR_GET_VIDEO, "VLM err get video param"},
    {74, VLM_ERR_GET_PHOTO, "VLM err get photo param"},
    {75, VLM_ERR_IS_INVALID_PARAM, "VLM err invalid param"},
    {76, VLM_ERR_SDCARD_IS_FULL, "VLM err no enough sdcard space"},
    {77, VLM_ERR_GET_STATUS_PARAMS, nullptr},
    {78, VLM_ERR_CHECK_MD5, nullptr},
    {79, VLM_ERR_VIDEO_FMT_IN_H265, "VLM err not support 4KP48/50/60 in H265"},
    {80, VLM_ERR_100FPS_PAL, "VLM err not support 100fps in PAL"},
    {81, VLM_ERR_UNSUPPORT_ROTATE_RES, "Not support rotate in the res"},
    {82, VLM_ERR_BOUND_BY_YOURSELF, nullptr},
    {83, VLM_ERR_BOUND_BY_OTHERS, nullptr},
    {84, VLM_ERR_IS_PANORAMA_PHOTOING, "Camera is in panorama photoing"},
    {85, VLM_ERR_SLAVE_REQ_BIND_WAIT_STATUS, nullptr},
    {86, VLM_ERR_SLAVE_REQ_BIND_TIMEOUT, nullptr},
    {87, VLM_ERR_CAMERA_FIRMWARE_VER_INVALID, "Invalid camera firmware version"},
    {88, VLM_ERR_CAMERA_FIRMWARE_NAME_INVALID, "Invalid camera firmware name"},
    {89, VLM_ERR_NOT_EXPOSURE_AUTO_MODE, "VLM is not auto exposure mode"},
    {90, VLM_ERR_WRONG_DIRNAME, "dirname range must be 101~999"},
    {91, VLM_ERR_OUTDATED_DIRNAME, "dirname is outdated or exists"},
    {92, VLM_ERR_CREATDIR_FAILED, "create dirname failed"},
    {93, VLM_ERR_IN_TRACKING, "operation is not supported in visual tracking mode"},
    {94, VLM_ERR_IN_RECOGNITION, "operation is not supported in face/gesture recognition mode"},
    {95, VLM_ERR_IN_AUTOCAP, "operation fail in auto capture mode"},
    {96, VLM_ERR_IS_CAM_MODE_LOCKING, "VLM err is camera mode locking"},
    // clang-format on
};
static_assert(std::size(kResults) == 91);

std::string unknown_text(int code) { return "VLM unknown error number:" + std::to_string(code); }

std::map<int, std::string> texts_by_code() {
  std::map<int, std::string> texts;
  for (const Result& result : kResults) {
    if (result.text != nullptr) texts[result.code] = result.text;
  }
  return texts;
}

TEST(ResultCodes, HaveTheirValues) {
  for (const Result& result : kResults) {
    EXPECT_EQ(static_cast<int>(result.enumerator), result.code);
  }
}

TEST(ResultTexts, AreTheirOwnOrNameTheNumber) {
  const auto texts = texts_by_code();
  for (int code = -5; code <= 100; ++code) {
    const auto text = texts.find(code);
    EXPECT_EQ(vlm_strerr(code), text != texts.end() ? text->second : unknown_text(code)) << code;
  }
}

TEST(ResultTexts, NameTheNumberFarOutside) {
  for (const int code : {INT_MIN, 65535, INT_MAX}) EXPECT_EQ(vlm_strerr(code), unknown_text(code));
}

TEST(ResultTexts, ShareOneBufferForUnknownNumbers) {
  const char* const earlier = vlm_strerr(97);
  EXPECT_STREQ(earlier, "VLM unknown error number:97");
  EXPECT_EQ(vlm_strerr(43), earlier);
  EXPECT_STREQ(earlier, "VLM unknown error number:43");
}

TEST(ResultTexts, ClearTheWholeBufferBeforeTheyNameANumber) {
  const char* const buffer = vlm_strerr(INT_MIN);
  vlm_strerr(97);
  std::string expected = unknown_text(97);
  expected.resize(50);
  EXPECT_EQ(std::string(buffer, 50), expected);
}

TEST(ResultTexts, LeaveTheBufferAloneForKnownNumbers) {
  const char* const earlier = vlm_strerr(1234);
  vlm_strerr(VLM_ERR_BUSY);
  EXPECT_STREQ(earlier, "VLM unknown error number:1234");
}

TEST(ResultTexts, OfOneThreadStayWhenAnotherAsks) {
  const char* const mine = vlm_strerr(58);
  std::thread([] { vlm_strerr(59); }).join();
  EXPECT_STREQ(mine, "VLM unknown error number:58");
}

}  // namespace
