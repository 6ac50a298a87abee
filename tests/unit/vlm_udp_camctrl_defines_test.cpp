#include "vlm_udp_camctrl_defines.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "velmar_udp_master_k720.h"

namespace {

struct Option {
  velmar_cmd_option option;
  u32 value;
};

const Option kOptions[] = {
    {VELMAR_CAMERACTRL_HEARTBEAT, 0},
    {VELMAR_CAMERACTRL_RECORD_START, 1},
    {VELMAR_CAMERACTRL_RECORD_STOP, 2},
    {VELMAR_CAMERACTRL_TAKE_PHOTO, 3},
    {VELMAR_CAMERACTRL_STOP_PHOTO, 4},
    {VELMAR_CAMERACTRL_RTSP_START, 5},
    {VELMAR_CAMERACTRL_RTSP_STOP, 6},
    {VELMAR_CAMERACTRL_SET_CAMERA_MODE, 7},
    {VELMAR_CAMERACTRL_SET_VIDEO, 8},
    {VELMAR_CAMERACTRL_SET_PHOTO_RES, 9},
    {VELMAR_CAMERACTRL_SET_PHOTO_FORMAT, 10},
    {VELMAR_CAMERACTRL_SET_PHOTO_MODE, 11},
    {VELMAR_CAMERACTRL_SET_RTSP, 12},
    {VELMAR_CAMERACTRL_SET_AUDIO_VOLUME, 13},
    {VELMAR_CAMERACTRL_SET_AEMODE, 14},
    {VELMAR_CAMERACTRL_SET_EV, 15},
    {VELMAR_CAMERACTRL_SET_SHUTTER, 16},
    {VELMAR_CAMERACTRL_SET_ISO, 17},
    {VELMAR_CAMERACTRL_SET_SHUTTER_ISO, 18},
    {VELMAR_CAMERACTRL_SET_METER_MODE, 19},
    {VELMAR_CAMERACTRL_SET_FLICKER_MODE, 20},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, 21},
    {VELMAR_CAMERACTRL_SET_IQ_TYPE, 22},
    {VELMAR_MISC_GET_VER, 23},
    {VELMAR_MISC_SET_TIME, 24},
    {VELMAR_MISC_FORMAT_SDCARD, 25},
    {VELMAR_MISC_RESET_SETTINGS, 26},
    {VELMAR_MISC_DELETE_ALBUM_RESOURCE, 27},
    {VELMAR_MISC_BIND, 28},
    {VELMAR_CAMERACTRL_SET_DRONE_NAME, 29},
    {VELMAR_CAMERACTRL_GET_DRONE_NAME, 30},
    {VELMAR_CAMERACTRL_SET_DRONE_PASSWORD, 31},
    {VELMAR_CAMERACTRL_DELETE_UPGRADE_PACKAGE_FILE, 32},
    {VELMAR_MISC_REBOOT_DEVICE, 33},
    {VELMAR_CAMERACTRL_SET_COORDINATE_VAL, 34},
    {VELMAR_CAMERACTRL_SET_TRACKING_PARAMS, 35},
    {VELMAR_CAMERACTRL_SET_SPOT_METERING_COORDS, 36},
    {VELMAR_CAMERACTRL_SET_MANUAL_WB, 37},
    {VELMAR_CAMERACTRL_SET_VIDEO_RES, 38},
    {VELMAR_CAMERACTRL_SET_VIDEO_FPS, 39},
    {VELMAR_CAMERACTRL_SET_SYSTEM_MODE, 40},
    {VELMAR_CAMERACTRL_GET_SYSTEM_MODE, 41},
    {VELMAR_CAMERACTRL_BIND_MAC, 42},
    {VELMAR_CAMERACTRL_GET_BIND_STATE, 43},
    {VELMAR_CAMERACTRL_UNBIND_MAC, 44},
    {VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE, 45},
    {VELMAR_CAMERACTRL_SET_PHOTO_RATIO, 46},
    {VELMAR_CAMERACTRL_SET_ENCODE_ROTATE, 47},
    {VELMAR_CAMERACTRL_BIND_MAC_STR, 48},
    {VELMAR_CAMERACTRL_GET_BIND_STATE_STR, 49},
    {VELMAR_CAMERACTRL_SET_FILE_TYPE, 50},
    {VELMAR_CAMERACTRL_GET_BIND_STATE_UNENCRYPTED, 51},
    {VELMAR_CAMERACTRL_BIND_CLIENT_MAC_REQ, 52},
    {VELMAR_CAMERACTRL_SET_BRIGHTNESS, 53},
    {VELMAR_CAMERACTRL_SET_CONTRAST, 54},
    {VELMAR_CAMERACTRL_SET_SATURATION, 55},
    {VELMAR_CAMERACTRL_SET_HUE, 56},
    {VELMAR_CAMERACTRL_SET_SHARPNESS, 57},
    {VELMAR_CAMERACTRL_SLAVE_RC_REQ_BIND_UNENCRYPTED, 58},
    {VELMAR_CAMERACTRL_MASTER_RC_ACK_SLAVE_RC_BIND_REQUEST, 59},
    {VELMAR_CAMERACTRL_SLAVE_RC_SEND_RSA_PUB_TO_MASTER_UNENCRYPTED, 60},
    {VELMAR_CAMERACTRL_SET_MEDIA_FOLDER, 61},
    {VELMAR_CAMERACTRL_GET_MEDIA_FOLDER, 62},
    {VELMAR_CAMERACTRL_SET_SECOND_STREAM_ENCODED_STYLE, 63},
    {VELMAR_CAMERACTRL_GET_SECOND_STREAM_ENCODED_STYLE, 64},
    {VELMAR_CAMERACTRL_UNBOUND_CLIENT_MAC_REQ, 65},
    {VELMAR_CAMERACTRL_CHECK_KEY_MD5, 66},
    {VELMAR_CAMERACTRL_TEST_T_CARD_SPEED, 67},
    {VELMAR_CAMERACTRL_GET_T_CARD_ATTRIBUTE, 68},
    {VELMAR_CAMERACTRL_GET_CAMERA_MISC_INFO, 69},
    {VELMAR_CAMERACTRL_SET_IMAGE_FLIP, 70},
    {VELMAR_CAMERACTRL_GET_SPOT_METERING_COORDS, 71},
    {VELMAR_CAMERACTRL_GET_PN_INFO, 72},
    {VELMAR_CAMERACTRL_GET_DIGITAL_ZOOM, 73},
    {VELMAR_CAMERACTRL_SET_DIGITAL_ZOOM, 74},
    {VELMAR_CAMERACTRL_GET_SDCARD_SUPPORT_INFO, 103},
    {VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, 251},
    {VELMAR_CAMERACTRL_SET_OSD_STATUS, 252},
    {VELMAR_CAMERACTRL_GET_OSD_STATUS, 253},
    {VELMAR_CHECK_UNCOMPRESS_FILES_VER, 256},
    {VELMAR_CHECK_DEVICE_VER, 257},
    {VELMAR_QUORIN_FC_UPGRADE, 258},
    {VELMAR_QUORIN_ESC_UPGRADE, 259},
    {VELMAR_QUORIN_FC_PROGRESS, 260},
    {VELMAR_QUORIN_ESC_PROGRESS, 261},
    {VELMAR_UNCOMPRESS_UPGRADE_PACKAGE_FILE, 262},
    {VELMAR_CHECK_CAM_FW_VER, 263},
    {VELMAR_CAM_UPGRADE, 264},
    {VELMAR_DETECT_FIRMWARE_PROGRESS, 265},
    {VELMAR_CHECK_UPGRADE_PROGRESS, 272},
    {VELMAR_UPLOAD_UPGRADE_PACKAGE_FILE, 273},
    {VELMAR_CHECK_UPGRADE_PACKAGE_FILE_IF_EXIST, 274},
    {VELMAR_CAMERACTRL_GET_CAMERA_TYPE, 4096},
    {VELMAR_CAMERACTRL_GET_RSA_PUB, 4097},
    {VELMAR_CAMERACTRL_SEND_KEY, 4098},
    {VELMAR_CAMERACTRL_GET_ACTIVE, 4112},
    {VELMAR_CAMERACTRL_GET_3A_SET, 4113},
    {VELMAR_CAMERACTRL_GET_AWB_MODE, 4114},
    {VELMAR_CAMERACTRL_GET_AUDIO_VOLUME, 4115},
    {VELMAR_CAMERACTRL_GET_VIDEO, 4116},
    {VELMAR_CAMERACTRL_GET_RTSP, 4117},
    {VELMAR_CAMERACTRL_GET_PHOTO_SET, 4118},
    {VELMAR_CAMERACTRL_GET_ADJ, 4119},
    {VELMAR_CAMERACTRL_GET_IQ_TYPE, 4120},
    {VELMAR_CAMERACTRL_GET_CAMERA_MODE, 4121},
    {VELMAR_CAMERACTRL_GET_HISTOGRAM, 4122},
    {VELMAR_CAMERACTRL_GET_VIDEO_ENCODE_MODE, 4123},
    {VELMAR_CAMERACTRL_GET_PHOTO_RATIO, 4124},
    {VELMAR_CAMERACTRL_GET_ACTIVE_MISC, 4125},
    {VELMAR_CAMERACTRL_GET_IMAGE_FLIP_ANGLE, 4126},
    {VELMAR_CAMERACTRL_BIND_CONTRL_REQ, 12289},
    {VELMAR_CAMERACTRL_QUERY_SD_FIRMWARE, 12290},
    {VELMAR_CAMERACTRL_STOP_FOLLOW_REQ, 12304},
    {VELMAR_CAMERACTRL_START_FOLLOW_REQ, 12305},
    {VELMAR_CAMERACTRL_GET_START_FOLLOW_STATE, 12306},
    {VELMAR_CAMERACTRL_SET_USER_WIFI_CHANNEL, 12307},
    {VELMAR_CAMERACTRL_GET_WIFI_CHANNEL, 12308},
    {VELMAR_CAMERACTRL_DISABLE_USER_WIFI_CHANNEL, 12309},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_PALETTE_TYPE, 16385},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_PALETTE_TYPE, 16386},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_LOCK_RANGE_STATE, 16387},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_LOCK_RANGE_STATE, 16388},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_FFC_MODE, 16389},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_FFC_MODE, 16390},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_RUN_FFC_NORMAILIZATION, 16391},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_RESTORE_OPERATION, 16392},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_AIR_PARAMS, 16393},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_AIR_PARAMS, 16394},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_TEMPERATURE_PARAMS, 16395},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_TEMPERATURE_PARAMS, 16396},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_SYSTEM_PARAMES, 16397},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_TEMPERATURE_STATUS, 16398},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_RADIOMETRIC_POINT, 16399},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_RADIOMETRIC_POINT, 16400},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_RADIOMETRIC_AREA, 16401},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_RADIOMETRIC_AREA, 16402},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_GAIN_MODE, 16403},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_GAIN_MODE, 16404},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_MAX_GAIN, 16405},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_MAX_GAIN, 16406},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_SSO, 16407},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_SSO, 16408},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_ACE, 16409},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_ACE, 16410},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_DDE, 16411},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_DDE, 16412},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_ROI, 16413},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_ROI, 16414},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_GET_DEWARP, 16415},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_DEWARP, 16416},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_THERMAL_CALI_TEMP, 20225},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_RUN_THERMAL_CALI, 20226},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_SET_FPA_THERMAL_CALI_TEMP, 20227},
    {VELMAR_CAMERACTRL_THERMAL_IMAGE_RUN_FPA_THERMAL_CALI, 20228},
    {VELMAR_CAMERACTRL_THERMAL_USB_PASSTHROUGH_CTRL, 20229},
    {VELMAR_CAMERACTRL_SET_FOCUS_OUT, 61441},
    {VELMAR_CAMERACTRL_SET_FOCUS_IN, 61442},
    {VELMAR_CAMERACTRL_SET_IRIS_LARGER, 61443},
    {VELMAR_CAMERACTRL_SET_IRIS_SMALLER, 61444},
    {VELMAR_CAMERACTRL_SET_FOCUS_STEP, 61445},
    {VELMAR_CAMERACTRL_SET_IRIS_STEP, 61446},
    {VELMAR_CAMERACTRL_GET_FOCUS_STEP, 61447},
    {VELMAR_CAMERACTRL_GET_IRIS_STEP, 61448},
    {VELMAR_CAMERACTRL_SMT_TEST, 61449},
    {VELMAR_CAMERACTRL_AUTOFOCUS_START, 61450},
    {VELMAR_CAMERACTRL_AUTOFOCUS_CALIB, 61451},
    {VELMAR_CAMERACTRL_LENS_PWF, 61452},
    {VELMAR_CAMERACTRL_LENS_PWN, 61453},
    {VELMAR_CAMERACTRL_ENABLE_MOVIE_DEL, 61454},
};

TEST(CamctrlOptions, HaveTheValuesOfTheProtocol) {
  std::set<u32> values;
  for (const Option& row : kOptions) {
    EXPECT_EQ(row.option, row.value);
    EXPECT_TRUE(values.insert(row.value).second) << "twice: " << row.value;
  }
}

TEST(CamctrlOptions, Are32BitsWide) { EXPECT_EQ(sizeof(velmar_cmd_option), 4U); }

// A record filled with the bytes 0, 1, 2 ... shows where each of its fields lies.
template <typename Record>
Record counted() {
  u8 bytes[sizeof(Record)];
  for (std::size_t i = 0; i < sizeof bytes; ++i) bytes[i] = static_cast<u8>(i);
  return camctrl_read<Record>(bytes);
}

TEST(CamctrlPacket, HasItsFieldsInPlace) {
  const auto msg = counted<camctrl_msg_t>();
  EXPECT_EQ(sizeof msg, 264U);
  EXPECT_EQ(msg.header.stx, 0);
  EXPECT_EQ(msg.header.len, 1);
  EXPECT_EQ(msg.header.seq, 2);
  EXPECT_EQ(msg.header.sys, 3);
  EXPECT_EQ(camctrl_be16(msg.header.vb), 0x0405);
  EXPECT_EQ(camctrl_be16(msg.payload.cmd), 0x0607);
  EXPECT_EQ(msg.payload.params[0], 8);
  EXPECT_EQ(msg.payload.params[255], 263 & 0xFF);
  EXPECT_EQ(sizeof(vlm_packet_header), 6U);
  EXPECT_EQ(sizeof(udp_camctrl_packet), 258U);
}

TEST(CamctrlPacket, CarriesShutterAndIso) {
  const auto record = counted<vlm_shutter_iso_t>();
  EXPECT_EQ(sizeof record, 8U);
  EXPECT_EQ(camctrl_be16(record.numerator), 0x0001);
  EXPECT_EQ(camctrl_be16(record.denominator), 0x0203);
  EXPECT_EQ(camctrl_be32(record.iso), 0x04050607U);
}

TEST(CamctrlPacket, CarriesAPictureMode) {
  const auto record = counted<vlm_picture_mode_t>();
  EXPECT_EQ(sizeof record, 9U);
  EXPECT_EQ(camctrl_be16(record.photo_amount), 0x0001);
  EXPECT_EQ(record.ev_step_num, 2);
  EXPECT_EQ(record.ev_step_dem, 3);
  EXPECT_EQ(camctrl_be32(record.photo_msec_time), 0x04050607U);
  EXPECT_EQ(record.mode, 8);
}

TEST(CamctrlPacket, CarriesACameraVersion) {
  const auto record = counted<vlm_camera_version_t>();
  EXPECT_EQ(sizeof record, 20U);
  EXPECT_EQ(std::string(record.moduleName, 8), std::string("\0\1\2\3\4\5\6\7", 8));
  EXPECT_EQ(record.majorVer, 8);
  EXPECT_EQ(record.minorVer, 9);
  EXPECT_EQ(record.patchVer, 10);
  EXPECT_EQ(std::string(record.branch, 5), std::string("\x0B\x0C\x0D\x0E\x0F", 5));
  EXPECT_EQ(camctrl_be32(record.releaseTime), 0x10111213U);
}

// The CRC by its definition, bit by bit: no table.
u16 bitwise_crc(const std::vector<u8>& data, u32 crc = 0xFFFF) {
  for (const u8 byte : data) {
    for (int bit = 0; bit < 8; ++bit) {
      const bool out = ((crc ^ (byte >> bit)) & 1) != 0;
      crc >>= 1;
      if (out) crc ^= 0x8408;
    }
  }
  return static_cast<u16>(crc);
}

u16 crc_of(const std::vector<u8>& data) {
  return vlm_udp_getcrc16(data.data(), static_cast<int>(data.size()));
}

int goodness(const std::vector<u8>& data) {
  return vlm_udp_iscrc16good(data.data(), static_cast<int>(data.size()));
}

std::vector<u8> bytes_of(const std::string& text) { return {text.begin(), text.end()}; }

TEST(CamctrlCrc, HasTheTableOfItsPolynomial) {
  ASSERT_EQ(udp_crc16_ccitt_table.size(), 256U);
  EXPECT_EQ(sizeof udp_crc16_ccitt_table, 1024U);
  for (u32 byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(udp_crc16_ccitt_table[byte], bitwise_crc({static_cast<u8>(byte)}, 0)) << byte;
  }
  EXPECT_EQ(udp_crc16_ccitt_table[0], 0U);
  EXPECT_EQ(udp_crc16_ccitt_table[1], 0x1189U);
  EXPECT_EQ(udp_crc16_ccitt_table[2], 0x2312U);
}

TEST(CamctrlCrc, YieldsTheCheckValueOfItsVariant) {
  EXPECT_EQ(crc_of(bytes_of("123456789")), 0x6F91);
}

TEST(CamctrlCrc, AgreesWithTheBitwiseDefinition) {
  std::vector<u8> data;
  for (int i = 0; i < 300; ++i) {
    EXPECT_EQ(crc_of(data), bitwise_crc(data)) << data.size();
    data.push_back(static_cast<u8>(i * 37 + 11));
  }
}

TEST(CamctrlCrc, OfNothingIsTheInitialRegister) {
  const u8 byte = 0x55;
  EXPECT_EQ(vlm_udp_getcrc16(&byte, 0), 0xFFFF);
  EXPECT_EQ(vlm_udp_getcrc16(&byte, -1), 0xFFFF);
  EXPECT_EQ(vlm_udp_getcrc16(nullptr, 0), 0xFFFF);
}

TEST(CamctrlCrc, IsGoodBehindDataAsItsComplementLowByteFirst) {
  for (const char* text : {"", "a", "123456789"}) {
    std::vector<u8> data = bytes_of(text);
    const u16 complement = static_cast<u16>(~bitwise_crc(data));
    data.push_back(static_cast<u8>(complement));
    data.push_back(static_cast<u8>(complement >> 8));
    EXPECT_EQ(bitwise_crc(data), 0xF0B8) << text;
    EXPECT_EQ(goodness(data), 0) << text;
    data.back() = static_cast<u8>(data.back() ^ 1);
    EXPECT_EQ(goodness(data), -1) << text;
  }
}

TEST(CamctrlCrc, IsNotGoodAsPacketsCarryIt) {
  EXPECT_EQ(goodness({0x02, 0x00, 0x00, 0x00, 0x00, 0x10, 0x19, 0x5C, 0xE5}), -1);
}

std::vector<u8> packet_bytes(const camctrl_msg_t& msg, std::size_t size) {
  const u8* bytes = reinterpret_cast<const u8*>(&msg);
  return {bytes, bytes + size};
}

TEST(CamctrlCrc, StandsBehindTheDataHighByteFirst) {
  camctrl_msg_t msg{};
  msg.header.len = 2;
  msg.payload.cmd = camctrl_be16(VELMAR_CAMERACTRL_GET_CAMERA_MODE);
  vlm_udp_fill_crc(msg, 2);
  EXPECT_EQ(packet_bytes(msg, 10),
            (std::vector<u8>{0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x10, 0x19, 0x5C, 0xE5}));
}

TEST(CamctrlCrc, LeavesOutTheStartByte) {
  camctrl_msg_t msg{};
  msg.header.len = 2;
  vlm_udp_fill_crc(msg, 2);
  const auto before = packet_bytes(msg, 10);
  msg.header.stx = 0xFE;
  vlm_udp_fill_crc(msg, 2);
  EXPECT_EQ(packet_bytes(msg, 10)[8], before[8]);
  EXPECT_EQ(packet_bytes(msg, 10)[9], before[9]);
}

TEST(CamctrlCrc, FitsEveryLength) {
  for (u16 len = 0; len <= 256; ++len) {
    camctrl_msg_t msg = counted<camctrl_msg_t>();
    const auto before = packet_bytes(msg, sizeof msg);
    vlm_udp_fill_crc(msg, len);
    auto expected = before;
    const u16 crc = bitwise_crc({before.begin() + 1, before.begin() + len + 6});
    expected[len + 6U] = static_cast<u8>(crc >> 8);
    expected[len + 7U] = static_cast<u8>(crc);
    EXPECT_EQ(packet_bytes(msg, sizeof msg), expected) << len;
  }
}

TEST(CamctrlCrc, TouchesNothingWithoutRoomForIt) {
  for (const u16 len : {u16{257}, u16{258}, u16{0xFFFF}}) {
    camctrl_msg_t msg = counted<camctrl_msg_t>();
    const auto before = packet_bytes(msg, sizeof msg);
    vlm_udp_fill_crc(msg, len);
    EXPECT_EQ(packet_bytes(msg, sizeof msg), before) << len;
  }
}

}  // namespace
