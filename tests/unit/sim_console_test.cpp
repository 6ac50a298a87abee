#include "sim_console.h"

#include <gtest/gtest.h>

#include "simulated_camera.h"

namespace {

class Operator : public testing::Test {
 protected:
  SimulatedCamera camera;
  RtspModel rtsp;

  OperatorAnswer enter(const std::string& line) {
    return operate({camera.model(), rtsp, camera.now_ms()}, line);
  }
  std::string answer(const std::string& line) { return enter(line).text; }
};

TEST_F(Operator, TakesTheCardOutAndPutsItIn) {
  EXPECT_EQ(answer("card insert"), "a card is inserted already\n");
  EXPECT_EQ(answer("card remove"), "card removed\n");
  EXPECT_EQ(answer("card remove"), "no card is inserted\n");
  EXPECT_EQ(camera.result(38), VLM_ERR_SDCARD_NOT_READY);
  EXPECT_EQ(answer("card insert"), "card inserted\n");
  EXPECT_EQ(camera.notifications().size(), 2U);
}

TEST_F(Operator, IsToldHowToHandleTheCard) {
  const std::string needs = "card needs \"remove\", \"insert\" or \"free SIZE\"\n";
  for (const char* line : {"card", "card eject", "card free", "card free 10", "card free x"}) {
    EXPECT_EQ(answer(line), needs) << line;
  }
}

TEST_F(Operator, LeavesAsMuchOfTheCardFreeAsHeLikes) {
  EXPECT_EQ(answer("card free 10M"), "10240 KiB of the card are free\n");
  EXPECT_EQ(camera.ask(30).as<u32>(3), 10240U);
  EXPECT_EQ(answer("card free  62G"), "65011712 KiB of the card are free\n");
  EXPECT_EQ(answer("card free 63G"), "no card is inserted, or it is smaller\n");
  answer("card remove");
  EXPECT_EQ(answer("card free 10M"), "no card is inserted, or it is smaller\n");
}

TEST_F(Operator, SetsAndUnsetsProperties) {
  EXPECT_EQ(answer("set fan full speed"), "fan = full speed\n");
  EXPECT_EQ(camera.ask(84, text_bytes("fan")).text(), "full speed");
  EXPECT_EQ(answer("set fan"), "fan is unset\n");
  EXPECT_EQ(camera.result(84, text_bytes("fan")), VLM_ERR_FAILED);
}

TEST_F(Operator, CannotSetWhatIsNoProperty) {
  EXPECT_EQ(answer("set"), "not set: VLM err invalid param\n");
  EXPECT_EQ(answer("set a=b c"), "not set: VLM err invalid param\n");
  EXPECT_EQ(answer("set seventeen_letters_ 1"), "not set: VLM err invalid param\n");
  EXPECT_EQ(answer("set a " + std::string(47, 'v')), "not set: VLM err invalid param\n");
}

TEST_F(Operator, SeesTheState) {
  camera.ask(83, bytes_of<float>(2.5F));
  camera.ask(4);
  camera.pass(12000);
  const std::string state = answer("state");
  EXPECT_EQ(state.substr(0, state.find("setting ")),
            "camera      running, version 1.4.0R\n"
            "mode        video, recording\n"
            "recording   12 s\n"
            "pictures    0\n"
            "card        inserted, 64919552 of 65011712 KiB free\n"
            "video       1920 x 1080, 30 fps\n"
            "zoom        2.5, digital 10\n"
            "focus       0x4000\n"
            "exposure    ae 0, ev 0, shutter 0, iso 100, iris 10\n"
            "streaming   30 fps, flow control 0, debug 0\n"
            "property    fan = off\n"
            "property    serial = VLMSIM0001\n");
}

TEST_F(Operator, SeesEverySettingAsTheRequestThatWouldSetIt) {
  camera.ask(18, {1});
  camera.ask(54, text_bytes("field"));
  const std::string state = answer("state");
  for (const char* line : {"setting     18 SET_METER_MODE 01\n", "setting     8 SET_AE\n",
                           "setting     54 SET_WIFI_SSID \"field\"\n",
                           "setting     12 SET_SHUTTER_ISO 00 01 00 64 00 64\n"}) {
    EXPECT_NE(state.find(line), std::string::npos) << line << state;
  }
}

TEST(OperatorOfALivingCamera, SeesWhatItIs) {
  SimulatedCamera camera(CameraTraits{true, true});
  const RtspModel rtsp;
  const std::string state = operate({camera.model(), rtsp, camera.now_ms()}, "state").text;
  EXPECT_EQ(state.find("camera      running, live, thermal, version "), 0U);
}

TEST_F(Operator, SeesACameraThatReboots) {
  camera.ask(45);
  EXPECT_EQ(answer("state").find("camera      booting, "), 0U);
  camera.pass(kBootMs);
  camera.ask(33);
  EXPECT_EQ(answer("state").find("camera      upgrading, "), 0U);
}

TEST_F(Operator, SeesAllCommandsInHelp) {
  EXPECT_EQ(
      answer("help"),
      "card remove|insert|free SIZE  take the card out, put it in, leave SIZE (K, M, G) free\n"
      "set NAME VALUE                set a property; without a value, unset it\n"
      "state                         print the state of the camera\n"
      "help                          print this\n"
      "quit                          end the simulator\n");
}

TEST_F(Operator, EndsTheSimulatorWithQuitAlone) {
  EXPECT_TRUE(enter("quit").quit);
  for (const char* line : {"card remove", "set a b", "state", "help", "", "x"}) {
    EXPECT_FALSE(enter(line).quit) << line;
  }
}

TEST_F(Operator, IsToldWhatIsNoCommand) {
  EXPECT_EQ(answer("eject now"), "unknown command \"eject\"; \"help\" lists them\n");
  EXPECT_EQ(answer("STATE"), "unknown command \"STATE\"; \"help\" lists them\n");
  EXPECT_EQ(answer(std::string(256, 'x')), "the line is too long\n");
}

TEST_F(Operator, MayEnterBlanksAnywhereAndEmptyLines) {
  EXPECT_EQ(answer(""), "");
  EXPECT_EQ(answer(" \t\r"), "");
  EXPECT_EQ(answer("  card \t remove \r"), "card removed\n");
}

class Lines : public testing::Test {
 protected:
  LineBuffer buffer;

  std::vector<std::string> feed(const std::string& bytes) {
    return buffer.feed(bytes.data(), bytes.size());
  }
};

TEST_F(Lines, AreCutAtTheirEnds) {
  EXPECT_EQ(feed("one\ntwo\n\nth"), (std::vector<std::string>{"one", "two", ""}));
  EXPECT_EQ(buffer.rest(), "th");
  EXPECT_EQ(feed("ree\n"), (std::vector<std::string>{"three"}));
  EXPECT_EQ(buffer.rest(), "");
}

TEST_F(Lines, ThatAreTooLongKeepNoMoreThanTellsThat) {
  feed(std::string(100000, 'x'));
  EXPECT_EQ(buffer.rest().size(), kLongestLine + 1);
  EXPECT_EQ(feed("\nnext\n").size(), 2U);
  EXPECT_EQ(feed(std::string(kLongestLine, 'y') + "\n").at(0).size(), kLongestLine);
}

}  // namespace
