#include "camera_properties.h"

#include <gtest/gtest.h>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

class Properties : public testing::Test {
 protected:
  SimulatedCamera camera;

  CameraReply get(const std::string& name) { return camera.ask(84, text_bytes(name)); }
  CameraReply set(const std::string& text) { return camera.ask(85, text_bytes(text)); }
};

using Sizes = std::vector<std::size_t>;

std::string of_length(std::size_t size) { return std::string(size, 'a'); }

TEST_F(Properties, BeginWithTheSerialNumberAndTheFan) {
  EXPECT_EQ(get("serial").text(), "VLMSIM0001");
  EXPECT_EQ(get("fan").text(), "off");
}

TEST_F(Properties, AreSetAndAnswerTheirPreviousValue) {
  EXPECT_EQ(set("fan=on").text(), "off");
  EXPECT_EQ(get("fan").text(), "on");
  EXPECT_EQ(set("fan=auto").text(), "on");
}

TEST_F(Properties, HaveNoPreviousValueAtFirst) {
  EXPECT_EQ(set("led=red").error, VLM_ERR_NONE);
  EXPECT_EQ(set("lamp=1").text(), "");
  EXPECT_EQ(get("led").text(), "red");
}

TEST_F(Properties, AreUnsetByAnEmptyValue) {
  EXPECT_EQ(set("fan=").text(), "off");
  EXPECT_EQ(get("fan").error, VLM_ERR_FAILED);
  EXPECT_EQ(set("fan=").error, VLM_ERR_NONE);
  EXPECT_EQ(set("fan=on").text(), "");
}

TEST_F(Properties, ThatAreUnknownAreRefused) { EXPECT_EQ(get("none").error, VLM_ERR_FAILED); }

TEST_F(Properties, TheSerialNumberCannotBeSet) {
  EXPECT_EQ(set("serial=1").error, VLM_ERR_PERMISSION_DENIED);
  EXPECT_EQ(set("serial=").error, VLM_ERR_PERMISSION_DENIED);
  EXPECT_EQ(get("serial").text(), "VLMSIM0001");
}

TEST_F(Properties, TheOperatorMaySetTheSerialNumber) {
  EXPECT_EQ(camera.model().put_property("serial", "42"), VLM_ERR_NONE);
  EXPECT_EQ(get("serial").text(), "42");
}

TEST_F(Properties, MayHoldAnEqualsSignInTheirValue) {
  set("formula=a=b");
  EXPECT_EQ(get("formula").text(), "a=b");
}

struct NameCase {
  std::size_t size;
  bool valid;
};
constexpr NameCase kNames[] = {{0, false},  {1, true},   {16, true},   {17, false},
                               {46, false}, {47, false}, {127, false}, {128, false}};

TEST_F(Properties, HaveNamesOfOneToSixteenCharacters) {
  for (const NameCase& name : kNames) {
    SCOPED_TRACE(name.size);
    EXPECT_EQ(get(of_length(name.size)).error,
              name.valid ? VLM_ERR_FAILED : VLM_ERR_IS_INVALID_PARAM);
    if (name.size > 126) continue;
    EXPECT_EQ(set(of_length(name.size) + "=v").error,
              name.valid ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_PARAM);
    EXPECT_EQ(get(of_length(name.size)).error,
              name.valid ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_PARAM);
  }
}

TEST_F(Properties, HaveValuesOfOneToFortySixCharacters) {
  for (const std::size_t size : Sizes{1, 16, 17, 46}) {
    EXPECT_EQ(set("n=" + of_length(size)).error, VLM_ERR_NONE) << size;
    EXPECT_EQ(get("n").text(), of_length(size));
  }
  for (const std::size_t size : Sizes{47, 110, 125, 126}) {
    EXPECT_EQ(set("n=" + of_length(size)).error, VLM_ERR_IS_INVALID_PARAM) << size;
    EXPECT_EQ(get("n").text(), of_length(46));
  }
}

TEST_F(Properties, NeedAnEqualsSignToBeSetAndNoneToBeRead) {
  for (const std::size_t size : Sizes{0, 1, 16, 17, 46, 47, 127, 128}) {
    EXPECT_EQ(set(of_length(size)).error, VLM_ERR_IS_INVALID_PARAM) << size;
  }
  EXPECT_EQ(get("fan=").error, VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(set("=").error, VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(set("=on").error, VLM_ERR_IS_INVALID_PARAM);
}

TEST_F(Properties, AreReadUpToTheirTerminator) {
  Bytes text = text_bytes("fan=on");
  text.push_back(0);
  text.resize(128, 'x');
  EXPECT_EQ(camera.result(85, text), VLM_ERR_NONE);
  EXPECT_EQ(get("fan").text(), "on");
}

TEST_F(Properties, AreSixtyFourAtMost) {
  for (int i = 0; i < 62; ++i) {
    EXPECT_EQ(set("n" + std::to_string(i) + "=v").error, VLM_ERR_NONE);
  }
  EXPECT_EQ(set("more=v").error, VLM_ERR_IS_NO_SPACE);
  EXPECT_EQ(set("n0=w").text(), "v");
  set("n0=");
  EXPECT_EQ(set("more=v").error, VLM_ERR_NONE);
}

TEST_F(Properties, OutliveAResetOfTheSettings) {
  set("fan=on");
  camera.ask(28);
  EXPECT_EQ(get("fan").text(), "on");
}

}  // namespace
