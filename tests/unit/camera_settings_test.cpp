// What the camera's settings start with, take and refuse, written out from what operators and apps
// are told: numbers in the contract, all others here. The camera has it from the catalogue: these
// tables are what the catalogue's rows are checked against, and the last test sees to it that every
// setting has its place in them.
#include "camera_settings.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>

#include "command_contract.h"
#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

/// A setting of the contract that is one number.
struct PlainCase : SettingContract {
  int set_code;
};

void PrintTo(const PlainCase& row, std::ostream* out) { *out << "set code " << row.set_code; }

std::vector<PlainCase> plain_cases() {
  std::vector<PlainCase> cases;
  for (const CommandContract& row : command_contract()) {
    if (row.setting) cases.push_back({*row.setting, row.code});
  }
  return cases;
}

Bytes low_bytes(u32 value, std::size_t width) {
  Bytes bytes = bytes_of(value);
  bytes.resize(width);
  return bytes;
}

class PlainSetting : public testing::TestWithParam<PlainCase> {
 protected:
  SimulatedCamera camera{true};

  /// What the get command answers; the set command itself where it is the only one.
  Bytes read_back(u32 newest) {
    const PlainCase& row = GetParam();
    const bool echoes = row.get_code == row.set_code;
    return camera.ask(row.get_code, echoes ? low_bytes(newest, row.width) : Bytes{})
        .first(row.width);
  }
};

TEST_P(PlainSetting, KeepsEveryAllowedValueAndRefusesTheOthers) {
  const PlainCase& row = GetParam();
  for (const u32 value : row.allowed) {
    SCOPED_TRACE(value);
    EXPECT_EQ(camera.result(row.set_code, low_bytes(value, row.width)), VLM_ERR_NONE);
    EXPECT_EQ(read_back(value), low_bytes(value, row.width));
    for (const u32 wrong : row.refused) {
      SCOPED_TRACE(wrong);
      const CameraReply reply = camera.ask(row.set_code, low_bytes(wrong, row.width));
      EXPECT_EQ(reply.error, row.refusal);
      EXPECT_EQ(reply.payload, Bytes(128, 0));
      EXPECT_EQ(read_back(value), low_bytes(value, row.width));
    }
  }
}

TEST_P(PlainSetting, ReadsNoByteBeyondItsWidth) {
  const PlainCase& row = GetParam();
  Bytes payload = low_bytes(row.allowed.back(), row.width);
  payload.resize(128, 0xAA);
  EXPECT_EQ(camera.result(row.set_code, payload), VLM_ERR_NONE);
  Bytes answer = low_bytes(row.allowed.back(), row.width);
  answer.resize(128, 0);
  const bool echoes = row.get_code == row.set_code;
  EXPECT_EQ(camera.ask(row.get_code, echoes ? payload : Bytes{}).payload, answer);
}

INSTANTIATE_TEST_SUITE_P(, PlainSetting, testing::ValuesIn(plain_cases()), [](const auto& row) {
  return "Code" + std::to_string(row.param.set_code);
});

struct WriteOnlyCase {
  int code;
  Bytes allowed;
  Bytes refused;  // empty: nothing is
  int refusal;
};

const WriteOnlyCase kWriteOnlyCases[] = {
    {44, text_bytes("secret"), {0}, VLM_ERR_INVALID_DRONEPWD},
    {44, text_bytes("twenty one characters"), {}, 0},
    {54, text_bytes("net"), {0}, VLM_ERR_INVALID_DRONENAME},
    {54, text_bytes("twenty characters ok"), {}, 0},
    {65, bytes_of<u16>(0xFFFF), {}, 0},
    {71, {1}, {2}, VLM_ERR_IS_INVALID_PARAM},
    {72, Bytes(128, 'x'), {0}, VLM_ERR_IS_INVALID_PARAM},
    {73, bytes_of<u32>(4000000), bytes_of<u32>(0), VLM_ERR_IS_INVALID_PARAM},
    {90, bytes_of(vlm_second_stream_resolution_t{640, 360}),
     bytes_of(vlm_second_stream_resolution_t{640, 0}), VLM_ERR_UNSUPPORTED_VFMT},
    {90, bytes_of(vlm_second_stream_resolution_t{0xFFFF, 0xFFFF}),
     bytes_of(vlm_second_stream_resolution_t{0x10001, 360}), VLM_ERR_UNSUPPORTED_VFMT},
    {200, bytes_of<u32>(3), bytes_of<u32>(4), VLM_ERR_IS_INVALID_PARAM},
    {201, bytes_of<u32>(1), bytes_of<u32>(0), VLM_ERR_IS_INVALID_PARAM},
    {202, bytes_of<u32>(2), bytes_of<u32>(4096), VLM_ERR_IS_INVALID_PARAM},
    {217, bytes_of<u32>(0xF000), bytes_of<u32>(0xFFF), VLM_ERR_IS_INVALID_PARAM},
    {217, bytes_of<u32>(0x1000), bytes_of<u32>(0xF001), VLM_ERR_IS_INVALID_PARAM},
    {218, {2}, {1}, VLM_ERR_IS_INVALID_PARAM},
    {218, {3}, {4}, VLM_ERR_IS_INVALID_PARAM},
    {901, bytes_of<s16>(-300), {}, 0},
    {903, bytes_of<s16>(-300), {}, 0},
    {905, bytes_of<s32>(-1), {}, 0},
};

TEST(CameraSettings, ThatNoCommandReadsAcceptTheirValuesAndRefuseTheOthers) {
  for (const WriteOnlyCase& row : kWriteOnlyCases) {
    SCOPED_TRACE(row.code);
    SimulatedCamera camera(true);
    EXPECT_EQ(camera.result(row.code, row.allowed), VLM_ERR_NONE);
    if (!row.refused.empty()) {
      EXPECT_EQ(camera.result(row.code, row.refused), row.refusal);
    }
  }
}

struct RecordCase {
  int set_code;
  int get_code;
  Bytes allowed;
  std::vector<std::pair<Bytes, int>> refused;
};

Bytes photo_mode(u8 mode, u16 amount = 0, s8 ev_num = 0, u8 ev_dem = 0, u32 interval_ms = 0) {
  return bytes_of(udp_ctrl_cam_photo_mode_t{mode, amount, {ev_num, ev_dem}, interval_ms, {}});
}

Bytes video(u16 width, u16 height, u8 fps) {
  return bytes_of(udp_ctrl_video_t{{width, height}, fps, -1});
}

Bytes folder(u8 enable, const std::string& name) {
  Bytes bytes(65);
  bytes[0] = enable;
  std::copy(name.begin(), name.end(), bytes.begin() + 1);
  return bytes;
}

const std::vector<std::pair<Bytes, int>> kNone;

const RecordCase kRecordCases[] = {
    {16,
     15,
     video(4096, 2160, 120),
     {{video(4097, 2160, 30), VLM_ERR_UNSUPPORTED_VFMT},
      {video(4096, 2161, 30), VLM_ERR_UNSUPPORTED_VFMT},
      {video(1920, 1080, 121), VLM_ERR_UNSUPPORTED_VFMT},
      {video(0, 1080, 30), VLM_ERR_UNSUPPORTED_VFMT},
      {video(1920, 0, 30), VLM_ERR_UNSUPPORTED_VFMT},
      {video(1920, 1080, 0), VLM_ERR_UNSUPPORTED_VFMT}}},
    {35, 34, folder(1, "101"), {{folder(1, "100"), VLM_ERR_WRONG_DIRNAME}}},
    {35,
     34,
     folder(1, "999"),
     {{folder(1, "1000"), VLM_ERR_WRONG_DIRNAME},
      {folder(1, ""), VLM_ERR_WRONG_DIRNAME},
      {folder(1, "10a"), VLM_ERR_WRONG_DIRNAME},
      {folder(1, "+20"), VLM_ERR_WRONG_DIRNAME},
      {folder(1, std::string(64, '1')), VLM_ERR_WRONG_DIRNAME}}},
    {35, 34, folder(0, ""), kNone},
    {51, 50, photo_mode(0), {{photo_mode(1), VLM_ERR_UNSUPPORTED_PHOTO_MODE}}},
    {51,
     50,
     photo_mode(3, 1),
     {{photo_mode(3, 0), VLM_ERR_UNSUPPORTED_BURST_PHOTO_NUMBER},
      {photo_mode(3, 101), VLM_ERR_UNSUPPORTED_BURST_PHOTO_NUMBER}}},
    {51, 50, photo_mode(3, 100), {{photo_mode(2), VLM_ERR_UNSUPPORTED_PHOTO_MODE}}},
    {51,
     50,
     photo_mode(4, 5, -2, 3),
     {{photo_mode(4, 4, 1, 3), VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER},
      {photo_mode(4, 1, 1, 3), VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER},
      {photo_mode(4, 11, 1, 3), VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER},
      {photo_mode(4, 3, 1, 0), VLM_ERR_IS_INVALID_DEN}}},
    {51, 50, photo_mode(5), {{photo_mode(7), VLM_ERR_UNSUPPORTED_PHOTO_MODE}}},
    {51, 50, photo_mode(6, 0, 0, 0, 2000), {{photo_mode(255), VLM_ERR_UNSUPPORTED_PHOTO_MODE}}},
    {105,
     104,
     bytes_of(udp_ctrl_cam_air_params_t{1, 100, 50, -40}),
     {{bytes_of(udp_ctrl_cam_air_params_t{1, 101, 50, -40}), VLM_ERR_IS_INVALID_PARAM}}},
    {107,
     106,
     bytes_of(udp_ctrl_cam_temp_bar_range_t{1, -5, -5}),
     {{bytes_of(udp_ctrl_cam_temp_bar_range_t{1, -5, -4}), VLM_ERR_IS_INVALID_PARAM}}},
    {114, 115, bytes_of(vlm_radiometric_point_settings_t{1, 10, 20}), kNone},
    {116,
     117,
     bytes_of(vlm_radiometric_area_settings_t{1, {1, 2, 3, 4}}),
     {{bytes_of(vlm_radiometric_area_settings_t{1, {4, 2, 3, 4}}), VLM_ERR_IS_INVALID_PARAM},
      {bytes_of(vlm_radiometric_area_settings_t{1, {1, 5, 3, 4}}), VLM_ERR_IS_INVALID_PARAM}}},
    {132,
     131,
     bytes_of(vlm_radiometric_area_coordinate_t{1, 2, 3, 4}),
     {{bytes_of(vlm_radiometric_area_coordinate_t{9, 2, 3, 4}), VLM_ERR_IS_INVALID_PARAM}}},
    {134, 133, bytes_of(udp_ctrl_cam_digital_zoom_params_t{20, 320, 256}), kNone},
    {136, 135, bytes_of(lepton_env_temp_t{1, -123}), kNone},
    {139,
     138,
     bytes_of(vlm_thermal_dewarp_t{1, 0x01020304}),
     {{bytes_of(vlm_thermal_dewarp_t{2, 0}), VLM_ERR_IS_INVALID_PARAM}}},
    {231, 232, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, kNone},
};

TEST(CameraSettings, ThatAreRecordsKeepEveryByteAndRefuseWhatMeansNothing) {
  for (const RecordCase& row : kRecordCases) {
    SCOPED_TRACE(row.set_code);
    SimulatedCamera camera(true);
    EXPECT_EQ(camera.result(row.set_code, row.allowed), VLM_ERR_NONE);
    EXPECT_EQ(camera.ask(row.get_code).first(row.allowed.size()), row.allowed);
    for (const auto& [wrong, refusal] : row.refused) {
      EXPECT_EQ(camera.result(row.set_code, wrong), refusal);
      EXPECT_EQ(camera.ask(row.get_code).first(row.allowed.size()), row.allowed);
    }
  }
}

// Beside those of the contract.
const std::pair<int, u32> kPlainDefaults[] = {{UDP_CTRL_CAM_GET_CAMERA_MODE, 1},
                                              {UDP_CTRL_CAM_GET_CUSTOM_WB, 55}};

/// All bytes of the answer; asked without a payload.
const std::pair<int, Bytes> kRecordDefaults[] = {
    {11, {1, 0, 100, 0, 100, 0, 0, 0}},
    {15, video(1920, 1080, 30)},
    {34, folder(0, "101")},
    {36, {50, 50}},
    {50, photo_mode(0)},
    {69, {'U', 'S', 0, 0, 0, 0, 0, 0, 0, 0}},
    {82, bytes_of(1.0F)},
    {104, bytes_of(udp_ctrl_cam_air_params_t{0, 95, 100, 25})},
    {106, bytes_of(udp_ctrl_cam_temp_bar_range_t{0, 100, 0})},
    {115, bytes_of(vlm_radiometric_point_settings_t{})},
    {117, bytes_of(vlm_radiometric_area_settings_t{})},
    {131, bytes_of(vlm_radiometric_area_coordinate_t{})},
    {133, bytes_of(udp_ctrl_cam_digital_zoom_params_t{10, 0, 0})},
    {135, bytes_of(lepton_env_temp_t{})},
    {138, bytes_of(vlm_thermal_dewarp_t{})},
    {140, bytes_of(vlm_stream_prop_t{0, 7, 16000000, {1920, 1080}, 30})},
    {232, Bytes(15, 0)},
};

TEST(CameraSettings, BeginWithTheirDefaults) {
  SimulatedCamera camera(true);
  for (const auto& [code, value] : kPlainDefaults) {
    EXPECT_EQ(camera.get<u32>(code), value) << code;
  }
  for (const PlainCase& row : plain_cases()) {
    if (!row.start) continue;
    EXPECT_EQ(camera.get<u32>(row.get_code), *row.start) << row.get_code;
  }
  for (const auto& [code, answer] : kRecordDefaults) {
    Bytes all = answer;
    all.resize(128);
    EXPECT_EQ(camera.ask(code).payload, all) << code;
  }
  EXPECT_EQ(camera.ask(140, bytes_of<u32>(1)).first(20),
            bytes_of(vlm_stream_prop_t{1, 7, 2000000, {1280, 720}, 30}));
}

TEST(CameraSettings, CustomWhiteBalanceNeedsItsModeAndTakesAnyByte) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(58, {40}), VLM_ERR_IS_NOT_MANUAL_WB);
  camera.ask(14, {100});
  for (int value = 0; value < 256; ++value) {
    EXPECT_EQ(camera.result(58, {static_cast<u8>(value)}), VLM_ERR_NONE);
    EXPECT_EQ(camera.get<u8>(57), value);
  }
}

TEST(CameraSettings, SpotCoordinatesNeedSpotMeteringAndArePercents) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(37, {10, 20}), VLM_ERR_IS_NOT_SPOT_METERING);
  camera.ask(18, {2});
  EXPECT_EQ(camera.result(37, {100, 0}), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(37, {101, 0}), VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.result(37, {0, 101}), VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.ask(36).first(2), (Bytes{100, 0}));
}

TEST(CameraSettings, FastUltraHighDefinitionIsNotForH265WhicheverIsSetFirst) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(16, video(3840, 2160, 48)), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(43, {3}), VLM_ERR_VIDEO_FMT_IN_H265);
  EXPECT_EQ(camera.result(16, video(3840, 2160, 30)), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(43, {3}), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(16, video(3840, 2160, 60)), VLM_ERR_VIDEO_FMT_IN_H265);
  EXPECT_EQ(camera.result(16, video(1920, 1080, 60)), VLM_ERR_NONE);
}

TEST(CameraSettings, AHundredFramesAreNotForPalWhicheverIsSetFirst) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(16, video(1920, 1080, 100)), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(41, {1}), VLM_ERR_100FPS_PAL);
  EXPECT_EQ(camera.result(16, video(1920, 1080, 50)), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(41, {1}), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(16, video(1920, 1080, 100)), VLM_ERR_100FPS_PAL);
}

TEST(CameraSettings, ExposureIsAnsweredWithoutTheFlagOfTheRequest) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(12, bytes_of(udp_ctrl_cam_shutter_iso_t{0, 1, 250, 800})), VLM_ERR_NONE);
  EXPECT_EQ(camera.ask(11).first(8), (Bytes{1, 0, 250, 0, 0x20, 0x03, 0, 0}));
}

TEST(CameraSettings, ExposureRefusesImpossibleFractionsAndSensitivities) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(12, bytes_of(udp_ctrl_cam_shutter_iso_t{0, 1, 0, 100})),
            VLM_ERR_IS_INVALID_DEN);
  EXPECT_EQ(camera.result(12, bytes_of(udp_ctrl_cam_shutter_iso_t{0, 0, 1, 100})),
            VLM_ERR_INVALID_SHUTTER_VALUE);
  EXPECT_EQ(camera.result(12, bytes_of(udp_ctrl_cam_shutter_iso_t{0, 1, 1, 0x10000})),
            VLM_ERR_IS_INVALID_ISO);
  EXPECT_EQ(camera.ask(11).first(8), (Bytes{1, 0, 100, 0, 100, 0, 0, 0}));
}

TEST(CameraSettings, BothIsoCommandsSetTheSameIso) {
  SimulatedCamera camera;
  camera.ask(60, bytes_of<u16>(1600));
  EXPECT_EQ(camera.ask(11).as<u32>(4), 1600U);
  camera.ask(12, bytes_of(udp_ctrl_cam_shutter_iso_t{0, 1, 60, 400}));
  EXPECT_EQ(camera.get<u16>(210), 400);
}

TEST(CameraSettings, ThatAreTextsEndAtTheirTerminator) {
  SimulatedCamera camera;
  Bytes payload = text_bytes("DE");
  payload.push_back(0);
  payload.resize(128, 'x');
  EXPECT_EQ(camera.result(70, payload), VLM_ERR_NONE);
  EXPECT_EQ(camera.ask(69).first(10), (Bytes{'D', 'E', 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(CameraSettings, TheCountryCodeFillsItsTenBytesAndNoMore) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(70, text_bytes("0123456789")), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(70, text_bytes("0123456789A")), VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.result(70), VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.ask(69).text(), "0123456789");
}

TEST(CameraSettings, AStreamTakesOnlyTheFieldsThatItsMaskNames) {
  SimulatedCamera camera;
  const auto stream = [&](u32 id) { return camera.ask(140, bytes_of(id)).as<vlm_stream_prop_t>(); };
  EXPECT_EQ(camera.result(141, bytes_of(vlm_stream_prop_t{0, 1, 5000, {1, 2}, 3})), VLM_ERR_NONE);
  EXPECT_EQ(u32{stream(0).bitrate}, 5000U);
  EXPECT_EQ(u16{stream(0).res.w}, 1920);
  EXPECT_EQ(u32{stream(0).fps}, 30U);
  EXPECT_EQ(camera.result(141, bytes_of(vlm_stream_prop_t{1, 6, 0, {640, 360}, 25})), VLM_ERR_NONE);
  EXPECT_EQ(camera.ask(140, bytes_of<u32>(1)).first(20),
            bytes_of(vlm_stream_prop_t{1, 7, 2000000, {640, 360}, 25}));
}

TEST(CameraSettings, AStreamRefusesUnknownIdsAndEmptyFields) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(140, bytes_of<u32>(2)), VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.result(141, bytes_of(vlm_stream_prop_t{2, 0, 1, {1, 1}, 1})),
            VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.result(141, bytes_of(vlm_stream_prop_t{0, 4, 1, {1, 1}, 0})),
            VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.result(141, bytes_of(vlm_stream_prop_t{0, 2, 1, {1, 0}, 1})),
            VLM_ERR_UNSUPPORTED_VFMT);
}

TEST(CameraSettings, TheSecondStreamHasCommandsOfItsOwn) {
  SimulatedCamera camera;
  camera.ask(73, bytes_of<u32>(123456));
  camera.ask(90, bytes_of(vlm_second_stream_resolution_t{800, 600}));
  EXPECT_EQ(camera.ask(140, bytes_of<u32>(1)).first(20),
            bytes_of(vlm_stream_prop_t{1, 7, 123456, {800, 600}, 30}));
}

TEST(CameraSettings, ResetBringsTheDefaultsBack) {
  SimulatedCamera camera;
  camera.ask(8, {1});
  camera.ask(16, video(1280, 720, 60));
  EXPECT_EQ(camera.result(28), VLM_ERR_NONE);
  EXPECT_EQ(camera.get<u8>(7), 0);
  EXPECT_EQ(camera.ask(15).first(9), video(1920, 1080, 30));
}

TEST(CameraSettings, RecallBringsBackWhatWasSaved) {
  SimulatedCamera camera;
  camera.ask(22, {3});
  EXPECT_EQ(camera.result(234), VLM_ERR_NONE);
  camera.ask(22, {1});
  camera.ask(28);
  EXPECT_EQ(camera.result(233), VLM_ERR_NONE);
  EXPECT_EQ(camera.get<u8>(21), 3);
}

TEST(CameraSettings, RecallWithoutASaveBringsTheDefaultsBack) {
  SimulatedCamera camera;
  camera.ask(22, {3});
  camera.ask(233);
  EXPECT_EQ(camera.get<u8>(21), 0);
}

TEST(CameraSettings, HaveEachTheirPlaceInTheseTables) {
  // Those with a test of their own: in this file, and of mode, clock and zoom in those of capture,
  // model and lens.
  std::set<int> written = {
      UDP_CTRL_CAM_SET_CUSTOM_WB,   UDP_CTRL_CAM_SET_SPOT_METERING_COORDS,
      UDP_CTRL_CAM_SET_STREAM_PROP, UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO,
      UDP_CTRL_CAM_SET_CAMERA_MODE, UDP_CTRL_CAM_SET_COUNTRY_CODE,
      UDP_CTRL_CAM_SET_SYS_TIME,    UDP_CTRL_CAM_SET_ZOOM,
  };
  std::set<int> read;
  for (const PlainCase& row : plain_cases()) {
    written.insert(row.set_code);
    if (row.start) read.insert(row.get_code);
  }
  for (const WriteOnlyCase& row : kWriteOnlyCases) written.insert(row.code);
  for (const RecordCase& row : kRecordCases) written.insert(row.set_code);
  for (const auto& [code, value] : kPlainDefaults) read.insert(code);
  for (const auto& [code, answer] : kRecordDefaults) read.insert(code);
  for (const vlm::catalogue::Row& row : vlm::catalogue::rows()) {
    if (row.kind != vlm::catalogue::Kind::kSetting) continue;
    EXPECT_EQ(written.count(row.codes.set), 1U) << row.name() << " is set";
    if (row.readable()) {
      EXPECT_EQ(read.count(row.codes.get), 1U) << row.name() << " begins";
    }
  }
}

}  // namespace
