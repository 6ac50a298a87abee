#include "camera_thermal.h"

#include <gtest/gtest.h>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

class Thermal : public testing::Test {
 protected:
  SimulatedCamera camera{true};

  udp_ctrl_cam_lepton_area_temp_t temperatures() {
    return camera.ask(113).as<udp_ctrl_cam_lepton_area_temp_t>();
  }
  vlm_camera_pn_info_t sensor() { return camera.ask(118).as<vlm_camera_pn_info_t>(); }
};

TEST_F(Thermal, TemperaturesLieInOrder) {
  const auto all = temperatures().all_area;
  EXPECT_LE(all.min_val, all.avg_val);
  EXPECT_LE(all.avg_val, all.center_val);
  EXPECT_LE(all.center_val, all.max_val);
}

TEST_F(Thermal, TheSceneFollowsTheEnvironmentTemperature) {
  camera.ask(136, bytes_of(lepton_env_temp_t{1, -100}));
  EXPECT_EQ(s32{temperatures().all_area.avg_val}, -100);
  camera.ask(136, bytes_of(lepton_env_temp_t{0, -100}));
  EXPECT_EQ(s32{temperatures().all_area.avg_val}, 250);
}

TEST_F(Thermal, AnAreaHasTemperaturesWhileItIsSwitchedOn) {
  EXPECT_EQ(s32{temperatures().custom_area.max_val}, 0);
  camera.ask(116, bytes_of(vlm_radiometric_area_settings_t{1, {1, 1, 9, 9}}));
  const auto area = temperatures().custom_area;
  EXPECT_LE(area.min_val, area.avg_val);
  EXPECT_LE(area.avg_val, area.max_val);
  EXPECT_GT(area.max_val, 0);
}

TEST_F(Thermal, ALockedRangeIsThatOfTheTemperatureBar) {
  camera.ask(107, bytes_of(udp_ctrl_cam_temp_bar_range_t{1, 40, -10}));
  EXPECT_EQ(s32{temperatures().locked_max_temp}, 0);
  camera.ask(109, bytes_of<u32>(1));
  EXPECT_EQ(s32{temperatures().locked_max_temp}, 400);
  EXPECT_EQ(s32{temperatures().locked_min_temp}, -100);
}

TEST_F(Thermal, CalibrationShowsInTheSensorData) {
  EXPECT_EQ(u16{sensor().cali_status}, 0);
  EXPECT_EQ(camera.result(902), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(904), VLM_ERR_NONE);
  EXPECT_EQ(u16{sensor().cali_status}, 1);
  EXPECT_EQ(u16{sensor().cali_ver}, 2);
  EXPECT_EQ(u32{sensor().cameraSN}, 1000001U);
  EXPECT_EQ(s16{sensor().fpa_temp_x10}, 315);
}

TEST_F(Thermal, RunsThatAnswerNothingSucceed) {
  for (const int code : {112, 137}) {
    const CameraReply reply = camera.ask(code);
    EXPECT_EQ(reply.error, VLM_ERR_NONE);
    EXPECT_EQ(reply.payload, Bytes(128, 0));
  }
}

}  // namespace
