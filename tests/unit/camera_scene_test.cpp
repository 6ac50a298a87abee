#include "camera_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

constexpr u64 kHourMs = u64{3600} * 1000;

TEST(Scene, StaysWithinItsBoundsAndUsesThem) {
  const CameraScene scene(1);
  double darkest = 0;
  double brightest = 0;
  for (u64 ms = 0; ms < kHourMs; ms += 100) {
    const double light = scene.light_ev(ms);
    darkest = std::min(darkest, light);
    brightest = std::max(brightest, light);
    ASSERT_LE(std::abs(light), 4);
    ASSERT_LE(std::abs(scene.sharp_focus(ms) - 0x4000), 0x1800);
    ASSERT_LE(std::abs(scene.warmth_x10(ms)), 30);
  }
  EXPECT_LT(darkest, -2);
  EXPECT_GT(brightest, 2);
}

TEST(Scene, ChangesSmoothly) {
  const CameraScene scene(1);
  for (u64 ms = 0; ms < kHourMs; ms += 100) {
    ASSERT_LT(std::abs(scene.light_ev(ms + 100) - scene.light_ev(ms)), 0.2);
    // The focus, which moves by 0x2000 a second, can follow it.
    ASSERT_LT(std::abs(scene.sharp_focus(ms + 100) - scene.sharp_focus(ms)), 0x2000 / 10.0);
    ASSERT_LE(std::abs(scene.warmth_x10(ms + 100) - scene.warmth_x10(ms)), 1);
  }
}

TEST(Scene, IsTheSameForTheSameSeedAndAnotherForAnother) {
  const CameraScene scene(7);
  const CameraScene same(7);
  const CameraScene other(8);
  EXPECT_EQ(scene.light_ev(12345), same.light_ev(12345));
  EXPECT_NE(scene.light_ev(12345), other.light_ev(12345));
}

class LivingCamera : public testing::Test {
 protected:
  static constexpr u64 kSeed = 3;
  SimulatedCamera camera{CameraTraits{true, true, kCardKib, kSeed}};
  CameraScene scene{kSeed};

  /// Of a second, and ISO.
  std::pair<double, u32> exposure() {
    const CameraReply reply = camera.ask(11);
    return {1.0 * reply.as<u16>(0) / reply.as<u16>(2), reply.as<u32>(4)};
  }
};

TEST_F(LivingCamera, ExposesForTheLightOfTheScene) {
  for (int i = 0; i < 500; ++i) {
    camera.pass(777);
    const auto [seconds, iso] = exposure();
    const double exposed = seconds * iso / 100 * std::exp2(scene.light_ev(camera.now_ms()));
    ASSERT_NEAR(exposed, 1.0 / 125, 0.05 / 125);
    ASSERT_TRUE(iso == 100 || seconds == 1.0 / 30);
  }
}

TEST_F(LivingCamera, LeavesAManualExposureAlone) {
  camera.ask(8, {1});
  const auto set = exposure();
  camera.pass(20000);
  EXPECT_EQ(exposure(), set);
}

TEST_F(LivingCamera, KeepsTheSceneSharp) {
  camera.pass(10000);
  camera.ask(0);
  for (int i = 0; i < 100; ++i) {
    camera.pass(500);
    ASSERT_EQ(camera.get<u32>(206), static_cast<u32>(scene.sharp_focus(camera.now_ms())));
  }
}

TEST_F(LivingCamera, LeavesAFocusThatIsSetByHandAlone) {
  camera.ask(216, {3});
  camera.pass(10000);
  const u32 position = camera.get<u32>(206);
  camera.pass(10000);
  EXPECT_EQ(camera.get<u32>(206), position);
  // Until it is told to focus once.
  camera.ask(204);
  const u32 sharp = static_cast<u32>(scene.sharp_focus(camera.now_ms()));
  camera.pass(10000);
  EXPECT_EQ(camera.get<u32>(206), sharp);
}

TEST_F(LivingCamera, MeasuresTemperaturesThatDrift) {
  const auto average = [this] { return camera.ask(113).as<s32>(8 + 12); };
  s32 coldest = 1000;
  s32 warmest = 0;
  for (int i = 0; i < 1000; ++i) {
    camera.pass(1000);
    ASSERT_EQ(average(), 250 + scene.warmth_x10(camera.now_ms()));
    ASSERT_EQ(camera.ask(118).as<s16>(22), 315 + scene.warmth_x10(camera.now_ms()));
    coldest = std::min(coldest, average());
    warmest = std::max(warmest, average());
  }
  EXPECT_GT(warmest - coldest, 20);
}

TEST(CameraThatDoesNotLive, AnswersTheSameAtAnyTime) {
  SimulatedCamera camera(CameraTraits{true});
  const Bytes exposure = camera.ask(11).payload;
  const Bytes temperatures = camera.ask(113).payload;
  camera.pass(kHourMs);
  EXPECT_EQ(camera.ask(11).payload, exposure);
  EXPECT_EQ(camera.ask(113).payload, temperatures);
  EXPECT_EQ(camera.get<u32>(206), 0x4000U);
}

TEST(CameraWithACardOfItsOwn, IsFullWhenThatIs) {
  SimulatedCamera camera(CameraTraits{false, false, 13 * 1024});
  EXPECT_EQ(camera.ask(30).as<u32>(7), 13U * 1024);
  camera.ask(2, {2});
  for (int pictures = 0; pictures < 2; ++pictures) {
    EXPECT_EQ(camera.result(3), VLM_ERR_NONE);
    camera.pass(1000);
  }
  EXPECT_EQ(camera.result(3), VLM_ERR_SDCARD_IS_FULL);
  camera.ask(27, {0});
  EXPECT_EQ(camera.ask(30).as<u32>(3), 13U * 1024);
}

}  // namespace
