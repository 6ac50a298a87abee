#include "camera_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "command_contract.h"
#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

struct CodeRange {
  int first;
  int last;
};

constexpr CodeRange kThermal[] = {{100, 118}, {121, 139}, {901, 905}};
/// Defined, but of unknown payload.
constexpr CodeRange kWithoutPayload[] = {{74, 77}, {123, 124}, {142, 145}};

template <std::size_t kSize>
bool in(const CodeRange (&ranges)[kSize], int code) {
  return std::any_of(std::begin(ranges), std::end(ranges), [code](const CodeRange& range) {
    return range.first <= code && code <= range.last;
  });
}

void expect_an_answer_to_every_code(bool thermal) {
  for (int code = 0; code <= 0xFFFF; ++code) {
    SimulatedCamera camera(thermal);
    const CameraReply reply = camera.ask(code);
    const bool expected = find_contract(code) != nullptr && !in(kWithoutPayload, code) &&
                          (thermal || !in(kThermal, code));
    ASSERT_EQ(reply.code, code);
    ASSERT_EQ(reply.error != VLM_ERR_UNSUPPORTED_COMMAND, expected) << code;
  }
}

TEST(CameraModel, WithThermalSensorAnswersEveryCodeAndSupportsTheDefinedOnes) {
  expect_an_answer_to_every_code(true);
}

TEST(CameraModel, WithoutThermalSensorSupportsNoThermalCode) {
  expect_an_answer_to_every_code(false);
}

/// What a get command answers with: how many bytes, and one of its last field that is not zero once
/// the camera has carried out a set command.
struct Answer {
  int code;
  std::size_t size;
  std::size_t last;
  int set_code = -1;  // -1: none is needed
  Bytes set_payload{};
};

TEST(CameraModel, PayloadsOfGetCommandsHaveTheirSizes) {
  const Answer kAnswers[] = {
      {0, 70, 69},
      {31, 12, 11},
      {39, 4, 2},
      {97, 4, 3},
      {118, 66, 28},
      {113, 40, 36, 116, bytes_of(vlm_radiometric_area_settings_t{1, {1, 1, 9, 9}})},
      {140, 20, 16},
      {30, 13, 12},
      {11, 8, 4},
      {15, 9, 5, 16, bytes_of(udp_ctrl_video_t{{1280, 720}, 60, 7})},
      {50, 11, 5, 51, bytes_of(udp_ctrl_cam_photo_mode_t{0, 0, {0, 0}, 1000, {}})},
      {34, 65, 3},
      {36, 2, 1},
      {104, 5, 3},
      {106, 5, 3, 107, bytes_of(udp_ctrl_cam_temp_bar_range_t{1, 100, 5})},
      {115, 8, 6, 114, bytes_of(vlm_radiometric_point_settings_t{1, 3, 4})},
      {117, 12, 10, 116, bytes_of(vlm_radiometric_area_settings_t{1, {1, 2, 3, 4}})},
      {131, 8, 6, 132, bytes_of(vlm_radiometric_area_coordinate_t{1, 2, 3, 4})},
      {133, 12, 8, 134, bytes_of(udp_ctrl_cam_digital_zoom_params_t{10, 1, 2})},
      {135, 6, 4, 136, bytes_of(lepton_env_temp_t{1, 250})},
      {138, 5, 1, 139, bytes_of(vlm_thermal_dewarp_t{1, 50})},
      {232, 15, 14, 231, Bytes(15, 0x5A)},
      {69, 10, 9, 70, text_bytes("0123456789")}};
  for (const Answer& answer : kAnswers) {
    SimulatedCamera camera(true);
    if (answer.set_code != -1) {
      EXPECT_EQ(camera.result(answer.set_code, answer.set_payload), VLM_ERR_NONE) << answer.code;
    }
    const CameraReply reply = camera.ask(answer.code);
    EXPECT_EQ(reply.error, VLM_ERR_NONE) << answer.code;
    EXPECT_NE(reply.payload[answer.last], 0) << answer.code;
    EXPECT_TRUE(std::all_of(reply.payload.begin() + static_cast<std::ptrdiff_t>(answer.size),
                            reply.payload.end(), [](u8 byte) { return byte == 0; }))
        << answer.code;
  }
}

TEST(CameraModel, SnapshotShowsEverySettingAtItsPlace) {
  SimulatedCamera camera;
  camera.ask(10, bytes_of<u16>(0x0102));
  camera.ask(59, bytes_of<u16>(0x0304));
  camera.ask(60, bytes_of<u16>(0x0506));
  camera.ask(81, bytes_of<u32>(47));
  camera.ask(83, bytes_of<float>(2.5F));
  camera.ask(207, bytes_of<u16>(0x0B));
  camera.ask(239, {1});
  camera.ask(216, {3});
  camera.ask(219, {2});
  camera.ask(20, {1});
  camera.ask(8, {1});
  camera.ask(18, {2});
  camera.ask(37, {11, 22});
  camera.ask(16, bytes_of(udp_ctrl_video_t{{1280, 720}, 60, 7}));
  camera.ask(14, {99});
  camera.ask(4);
  camera.pass(5000);
  const CameraReply reply = camera.ask(0);
  EXPECT_EQ(reply.error, VLM_ERR_NONE);
  const u32 left = 62 * 1024 * 1024 - 5 * 7680;
  const Bytes left_bytes = bytes_of(left);
  const Bytes expected = {
      1,  // video mode
      0x02,
      0x01,
      0x04,
      0x03,
      0x06,
      0x05,  // EV, shutter, ISO
      47,
      0,
      0,
      0,  // digital zoom
      0x00,
      0x00,
      0x20,
      0x40,  // zoom 2.5
      0x0B,
      0,  // iris
      1,
      3,
      2,
      1,
      1,
      2,  // OSD ... meter mode
      11,
      22,  // spot
      0x00,
      0x05,
      0xD0,
      0x02,
      60,
      7,
      0,
      0,
      0,   // video
      99,  // white balance
      5,
      0,
      0,
      0,  // recording time
      left_bytes[0],
      left_bytes[1],
      left_bytes[2],
      left_bytes[3],  // available
      3,              // recording
      0,
      0,
      2,
      left_bytes[0],
      left_bytes[1],
      left_bytes[2],
      left_bytes[3],  // external card
      0x00,
      0x00,
      0xE0,
      0x03,
      0x09,
      0x01,  //
      3,
      0,
      0,
      0,
      0,
      0,
      0,
      0,
      0,
      0,
      0,
      0x09,
      0x01,  // internal slot
  };
  EXPECT_EQ(reply.first(70), expected);
}

TEST(CameraModel, VersionIsAnsweredWithTheModuleName) {
  SimulatedCamera plain;
  EXPECT_EQ(plain.ask(31).first(12), (Bytes{'V', 'L', 'M', 'S', 'I', 'M', 0, 0, 1, 4, 0, 'R'}));
  SimulatedCamera thermal(true);
  EXPECT_EQ(thermal.ask(31).first(12),
            (Bytes{'V', 'L', 'M', 'S', 'I', 'M', '-', 'T', 1, 4, 0, 'R'}));
}

TEST(CameraModel, TheClockIsAccepted) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(32, bytes_of<u64>(1700000000)), VLM_ERR_NONE);
}

TEST(CameraModel, RebootEndsWhatRunsAndTakesAWhile) {
  SimulatedCamera camera;
  camera.ask(22, {3});
  camera.ask(4);
  camera.pass(2000);
  EXPECT_EQ(camera.result(45), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(6), VLM_ERR_CAMERA_NOT_INITIAL);
  EXPECT_EQ(camera.model().phase(), CameraPhase::kBooting);
  camera.pass(kBootMs - 1);
  EXPECT_EQ(camera.result(6), VLM_ERR_CAMERA_NOT_INITIAL);
  camera.pass(1);
  EXPECT_EQ(camera.get<u8>(6), 0);
  EXPECT_EQ(camera.get<u8>(21), 3);
  EXPECT_EQ(camera.result(5), VLM_ERR_IS_NOT_RECORDING);
}

TEST(CameraModel, RebootSwallowsNotificationsThatWereToCome) {
  SimulatedCamera camera;
  camera.ask(2, {2});
  camera.ask(45);
  camera.pass(10000);
  EXPECT_TRUE(camera.notifications().empty());
}

TEST(CameraModel, UpgradeRefusesCommandsRebootsAndRaisesTheVersion) {
  SimulatedCamera camera;
  EXPECT_EQ(camera.result(33), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(33), VLM_ERR_IS_UPGRADING_QUORIN_CAMERA);
  camera.pass(kUpgradeMs - 1);
  EXPECT_EQ(camera.result(31), VLM_ERR_IS_UPGRADING_QUORIN_CAMERA);
  camera.pass(1);
  EXPECT_EQ(camera.result(31), VLM_ERR_CAMERA_NOT_INITIAL);
  camera.pass(kBootMs);
  EXPECT_EQ(camera.ask(31).first(12), (Bytes{'V', 'L', 'M', 'S', 'I', 'M', 0, 0, 1, 4, 1, 'R'}));
}

TEST(CameraModel, UpgradeNeedsACard) {
  SimulatedCamera camera;
  camera.model().remove_card(camera.now_ms());
  EXPECT_EQ(camera.result(33), VLM_ERR_SDCARD_NOT_READY);
}

TEST(CameraModel, WhileRecordingRefusesWhatWouldTearItApart) {
  SimulatedCamera camera;
  camera.ask(4);
  for (const int code : {2, 16, 27, 28, 33, 38, 41, 43, 49, 53, 233}) {
    EXPECT_EQ(camera.result(code, {1}), VLM_ERR_IS_RECORDING) << code;
  }
  EXPECT_EQ(camera.get<u8>(6), 3);
}

TEST(CameraModel, WhileCapturingRefusesWhatWouldTearItApart) {
  SimulatedCamera camera;
  camera.ask(2, {2});
  camera.ask(3);
  for (const int code : {2, 3, 26, 27, 28, 33, 38, 47, 51, 233}) {
    EXPECT_EQ(camera.result(code, {1}), VLM_ERR_IS_CAPTURING) << code;
  }
  EXPECT_EQ(camera.get<u8>(6), 2);
}

TEST(CameraModel, TimeThatRunsBackwardsStandsStill) {
  CameraModel camera;
  udp_ctrl_cam_t start{};
  start.cmd_type = 4;
  camera.handle(start, 10000);
  EXPECT_EQ(u32{camera.snapshot(12000).recording_time_s}, 2U);
  EXPECT_EQ(u32{camera.snapshot(0).recording_time_s}, 2U);
}

/// What must hold of every camera at every time.
void expect_a_sane_camera(SimulatedCamera& camera) {
  const auto list = camera.model().snapshot(camera.now_ms());
  ASSERT_TRUE(list.cam_mode == kVideoMode || list.cam_mode == kPhotoMode);
  ASSERT_TRUE(list.zoom >= 1.0F && list.zoom <= 30.0F);
  ASSERT_TRUE(list.dzoom >= 10 && list.dzoom <= 80);
  ASSERT_LE(u32{list.available_kib}, kCardKib);
  ASSERT_EQ(u32{list.available_kib}, u32{list.sdcard_storage_t[0].available_capacity});
  ASSERT_TRUE(list.camera_status != 3 || list.cam_mode == kVideoMode);
  ASSERT_TRUE(list.camera_status != 2 || list.cam_mode == kPhotoMode);
  ASSERT_TRUE(list.camera_status == 3 || list.recording_time_s == 0);
  ASSERT_LE(camera.model().properties().all().size(), 64U);
}

void expect_a_sane_reply(const CameraReply& reply, int code) {
  ASSERT_EQ(reply.code, code);
  ASSERT_LE(reply.error, 96);
  if (reply.error != VLM_ERR_NONE) {
    ASSERT_EQ(reply.payload, Bytes(128, 0)) << code;
  }
}

class RandomWalk : public testing::TestWithParam<bool> {
 protected:
  std::mt19937_64 random{20240607};
  SimulatedCamera camera{GetParam()};

  u64 below(u64 limit) { return random() % limit; }
  int some_code() { return static_cast<int>(below(20) == 0 ? below(0x10000) : below(245)); }

  /// Small values, which mean something, as often as garbage, with or without a terminator.
  Bytes some_payload() {
    Bytes payload(128);
    const bool meaningful = below(2) == 0;
    for (u8& byte : payload) byte = static_cast<u8>(below(meaningful ? 4 : 256));
    if (meaningful) std::fill(payload.begin() + 1, payload.end(), u8{0});
    return payload;
  }

  void step() {
    camera.pass(below(10) == 0 ? below(100000) : below(300));
    if (below(50) == 0) camera.model().remove_card(camera.now_ms());
    if (below(25) == 0) camera.model().insert_card(camera.now_ms());
    const int code = some_code();
    expect_a_sane_reply(camera.ask(code, some_payload()), code);
  }
};

TEST_P(RandomWalk, LeavesASaneCameraAfterEveryStep) {
  u64 latest_due = 0;
  for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
    step();
    expect_a_sane_camera(camera);
    for (const Notification& one : camera.notifications()) {
      ASSERT_GE(one.due_ms, latest_due);
      ASSERT_LE(one.due_ms, camera.now_ms());
      latest_due = one.due_ms;
    }
  }
  EXPECT_GT(camera.model().pictures_taken(), 0U);
}

TEST_P(RandomWalk, IsTheSameForTheSameRequests) {
  SimulatedCamera twin(GetParam());
  for (int i = 0; i < 2000; ++i) {
    const int code = some_code();
    const Bytes payload = some_payload();
    const u64 ms = below(1000);
    camera.pass(ms);
    twin.pass(ms);
    ASSERT_EQ(camera.ask(code, payload).payload, twin.ask(code, payload).payload);
  }
}

INSTANTIATE_TEST_SUITE_P(, RandomWalk, testing::Bool(), [](const auto& thermal) {
  return thermal.param ? "WithThermalSensor" : "WithoutThermalSensor";
});

TEST(CameraModel, AnswersRecordsOfOnesToEveryCode) {
  SimulatedCamera camera(true);
  for (int code = 0; code < 1000; ++code) {
    expect_a_sane_reply(camera.ask(code, Bytes(128, 0xFF)), code);
    camera.pass(10000);
  }
  expect_a_sane_camera(camera);
}

TEST(CameraModel, SurvivesTheEndOfTime) {
  CameraModel camera;
  udp_ctrl_cam_t request{};
  request.cmd_type = 2;
  request.cmd_params[0] = 2;
  camera.handle(request, ~u64{0});
  request.cmd_type = 3;
  camera.handle(request, ~u64{0});
  EXPECT_EQ(camera.snapshot(~u64{0}).camera_status, 2);
  EXPECT_EQ(*camera.next_due_ms(), (u64{1} << 62) + kModeChangeMs);
}

}  // namespace
