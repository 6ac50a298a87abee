#include "camera_lens.h"

#include <gtest/gtest.h>

#include <limits>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

constexpr u32 kTele = 1;
constexpr u32 kWide = 2;
constexpr u32 kStop = 3;

class Lens : public testing::Test {
 protected:
  SimulatedCamera camera;

  int set_zoom(float factor) { return camera.result(83, bytes_of(factor)); }
  float zoom() { return camera.get<float>(82); }
  u32 digital_zoom() { return camera.get<u32>(80); }
  int set_focus(u32 position) { return camera.result(205, bytes_of(position)); }
  u32 focus() { return camera.get<u32>(206); }
  int drive(int code, u32 direction) { return camera.result(code, bytes_of(direction)); }
};

TEST_F(Lens, ZoomsFromOneToThirty) {
  for (const float factor : {1.0F, 1.1F, 5.3F, 30.0F}) {
    EXPECT_EQ(set_zoom(factor), VLM_ERR_NONE);
    EXPECT_EQ(zoom(), factor);
  }
  const float kNan = std::numeric_limits<float>::quiet_NaN();
  const float kInfinity = std::numeric_limits<float>::infinity();
  for (const float factor : {0.0F, 0.99F, 30.01F, -1.0F, kNan, kInfinity}) {
    EXPECT_EQ(set_zoom(factor), VLM_ERR_IS_INVALID_PARAM);
    EXPECT_EQ(zoom(), 30.0F);
  }
}

TEST_F(Lens, IsDrivenUntilItIsToldToStop) {
  EXPECT_EQ(drive(200, kTele), VLM_ERR_NONE);
  camera.pass(1000);
  EXPECT_EQ(zoom(), 6.0F);
  camera.pass(1000);
  EXPECT_EQ(drive(200, kStop), VLM_ERR_NONE);
  camera.pass(1000);
  EXPECT_EQ(zoom(), 11.0F);
  drive(200, kWide);
  camera.pass(500);
  EXPECT_EQ(zoom(), 8.5F);
}

TEST_F(Lens, StopsAtItsEnds) {
  drive(200, kTele);
  drive(201, kTele);
  drive(202, kTele);
  camera.pass(100000);
  EXPECT_EQ(zoom(), 30.0F);
  EXPECT_EQ(digital_zoom(), 80U);
  EXPECT_EQ(focus(), 0x1000U);  // far
  drive(200, kWide);
  drive(201, kWide);
  drive(202, kWide);
  camera.pass(100000);
  EXPECT_EQ(zoom(), 1.0F);
  EXPECT_EQ(digital_zoom(), 10U);
  EXPECT_EQ(focus(), 0xF000U);  // near
}

TEST_F(Lens, StopsWhenAPositionIsSet) {
  drive(200, kTele);
  camera.pass(100);
  set_zoom(4.0F);
  camera.pass(1000);
  EXPECT_EQ(zoom(), 4.0F);
}

TEST_F(Lens, StopsWhenTheCameraReboots) {
  drive(200, kTele);
  camera.ask(45);
  camera.pass(5000);
  EXPECT_EQ(zoom(), 1.0F);
}

TEST_F(Lens, DrivesTheFocusFarAndNear) {
  drive(202, kWide);
  camera.pass(1000);
  EXPECT_EQ(focus(), 0x6000U);
  drive(202, kTele);
  camera.pass(500);
  EXPECT_EQ(focus(), 0x5000U);
}

TEST_F(Lens, FocusesNoNearerThanItsLimit) {
  set_focus(0x9000);
  EXPECT_EQ(camera.result(217, bytes_of<u32>(0x8000)), VLM_ERR_NONE);
  EXPECT_EQ(focus(), 0x8000U);
  EXPECT_EQ(set_focus(0x8001), VLM_ERR_IS_INVALID_PARAM);
  drive(202, kWide);
  camera.pass(100000);
  EXPECT_EQ(focus(), 0x8000U);
  EXPECT_EQ(camera.result(217, bytes_of<u32>(0xF000)), VLM_ERR_NONE);
  EXPECT_EQ(set_focus(0xF000), VLM_ERR_NONE);
}

TEST_F(Lens, FindsTheSharpPositionWithinItsLimit) {
  set_focus(0x9000);
  EXPECT_EQ(camera.result(204), VLM_ERR_NONE);
  EXPECT_EQ(focus(), 0x4000U);
  camera.ask(217, bytes_of<u32>(0x2000));
  camera.ask(204);
  EXPECT_EQ(focus(), 0x2000U);
}

TEST_F(Lens, GoesHomeWhenTheSettingsAreReset) {
  set_zoom(7.0F);
  camera.ask(81, bytes_of<u32>(40));
  set_focus(0x9000);
  camera.ask(217, bytes_of<u32>(0x3000));
  drive(200, kTele);
  EXPECT_EQ(camera.result(28), VLM_ERR_NONE);
  camera.pass(1000);
  EXPECT_EQ(zoom(), 1.0F);
  EXPECT_EQ(digital_zoom(), 10U);
  EXPECT_EQ(focus(), 0x4000U);
  EXPECT_EQ(set_focus(0xF000), VLM_ERR_NONE);  // the limit is gone, too
}

class LivingLens : public Lens {
 protected:
  LivingLens() : living(CameraTraits{false, true}) {}

  SimulatedCamera living;

  float zoom() { return living.get<float>(82); }
  u32 focus() { return living.get<u32>(206); }
};

TEST_F(LivingLens, TakesItsTimeForAZoomThatIsSet) {
  EXPECT_EQ(living.result(83, bytes_of(11.0F)), VLM_ERR_NONE);
  EXPECT_EQ(zoom(), 1.0F);
  living.pass(1000);
  EXPECT_EQ(zoom(), 6.0F);
  living.pass(5000);
  EXPECT_EQ(zoom(), 11.0F);
  living.ask(83, bytes_of(8.0F));
  living.pass(300);
  EXPECT_EQ(zoom(), 9.5F);
  EXPECT_EQ(living.result(83, bytes_of(31.0F)), VLM_ERR_IS_INVALID_PARAM);
  living.pass(300);
  EXPECT_EQ(zoom(), 8.0F);
}

TEST_F(LivingLens, LeavesItsWayWhenItIsDrivenOrStopped) {
  living.ask(83, bytes_of(11.0F));
  living.pass(1000);
  living.ask(200, bytes_of(kStop));
  living.pass(1000);
  EXPECT_EQ(zoom(), 6.0F);
  living.ask(83, bytes_of(11.0F));
  living.ask(200, bytes_of(kWide));
  living.pass(200);
  EXPECT_EQ(zoom(), 5.0F);
}

TEST_F(LivingLens, ZoomsDigitallyAtOnce) {
  living.ask(81, bytes_of<u32>(80));
  EXPECT_EQ(living.get<u32>(80), 80U);
}

TEST_F(LivingLens, TakesItsTimeForAFocusThatIsSetByHand) {
  living.ask(216, {3});  // manual
  living.pass(1);
  const u32 from = focus();
  living.ask(205, bytes_of<u32>(from + 0x2000));
  living.pass(500);
  EXPECT_EQ(focus(), from + 0x1000);
  living.pass(1000);
  EXPECT_EQ(focus(), from + 0x2000);
}

}  // namespace
