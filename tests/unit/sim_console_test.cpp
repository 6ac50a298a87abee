#include "sim_console.h"

#include <gtest/gtest.h>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

class Operator : public testing::Test {
 protected:
  SimulatedCamera camera;
  RtspModel rtsp;
  FaultPlan faults;
  OperatorAgenda agenda;

  OperatorAnswer enter(const std::string& line) {
    return operate({camera.model(), rtsp, faults, agenda, camera.now_ms()}, line);
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
  FaultPlan faults;
  OperatorAgenda agenda;
  const std::string state =
      operate({camera.model(), rtsp, faults, agenda, camera.now_ms()}, "state").text;
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
  const std::string help = answer("help");
  for (const char* usage :
       {"after TIME COMMAND ", "card remove|insert|free SIZE ", "notify TYPE [BYTE]... ",
        "set NAME VALUE ", "state ", "help ", "quit ", "latency TIME[..TIME] ", "drop P ",
        "duplicate P ", "reorder P ", "truncate P ", "extend P ", "corrupt P ", "stray P ",
        "fail CODE=ERR ", "mute CODE ", "restart-every N "}) {
    EXPECT_NE(("\n" + help).find(std::string("\n") + usage), std::string::npos) << usage;
  }
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

TEST_F(Operator, SwitchesFaultsWhileTheCameraRuns) {
  EXPECT_EQ(answer("fail 3=9 once"), "fail 3=9 once\n");
  EXPECT_EQ(faults.fail_once, (std::map<u16, u16>{{3, 9}}));
  answer("fail 4=76");
  EXPECT_EQ(faults.fail, (std::map<u16, u16>{{4, 76}}));
  answer("fail 4 off");
  answer("fail 3 off");
  EXPECT_TRUE(faults.fail.empty() && faults.fail_once.empty());
  answer("drop next 2");
  answer("drop 0.5");
  EXPECT_EQ(faults.drop_next, 2U);
  EXPECT_EQ(faults.drop, 0.5);
  answer("mute 6");
  EXPECT_EQ(faults.mute, (std::set<u16>{6}));
  answer("mute 6 off");
  EXPECT_TRUE(faults.mute.empty());
  answer("latency 500ms");
  EXPECT_EQ(faults.latency_low_us, 500000U);
  EXPECT_EQ(faults.latency_high_us, 500000U);
  answer("latency 3=1ms..2ms");
  EXPECT_EQ(faults.latency_of.at(3).low_us, 1000U);
  EXPECT_EQ(faults.latency_of.at(3).high_us, 2000U);
  answer("restart-every 7");
  EXPECT_EQ(faults.restart_every, 7U);
  const std::pair<const char*, double FaultPlan::*> kProbabilities[] = {
      {"duplicate", &FaultPlan::duplicate}, {"reorder", &FaultPlan::reorder},
      {"truncate", &FaultPlan::truncate},   {"extend", &FaultPlan::extend},
      {"corrupt", &FaultPlan::corrupt},     {"stray", &FaultPlan::stray}};
  for (const auto& [name, member] : kProbabilities) {
    EXPECT_EQ(answer(std::string(name) + " 0.25"), std::string(name) + " 0.25\n");
    EXPECT_EQ(faults.*member, 0.25) << name;
  }
}

TEST_F(Operator, IsToldWhatAFaultNeeds) {
  EXPECT_EQ(answer("drop two"), "drop needs P, not \"two\"\n");
  for (const char* line : {"drop", "drop next", "drop next x", "fail 3", "fail 3=9 twice", "mute",
                           "mute 6 on", "latency 3=", "latency 20", "restart-every -1"}) {
    const OperatorAnswer refused = enter(line);
    EXPECT_TRUE(refused.wrong) << line;
    EXPECT_NE(refused.text.find(" needs "), std::string::npos) << refused.text;
  }
}

TEST_F(Operator, SendsNotifications) {
  EXPECT_EQ(answer("notify 5 42"), "notified: card inserted, slot 0\n");
  EXPECT_EQ(answer("notify 8"), "notified: image captured\n");
  const auto sent = camera.notifications();
  ASSERT_EQ(sent.size(), 2U);
  EXPECT_EQ(sent[0].type, LCM_SDCARD_STATUS);
  EXPECT_EQ(sent[0].data[0], 0x42);
  EXPECT_EQ(sent[1].type, LCM_CAPTURE_IMAGE_RESULT);
  std::string too_long = "notify 6";
  for (int i = 0; i < 102; ++i) too_long += " 0";
  for (const std::string& line :
       {std::string("notify"), std::string("notify 3"), std::string("notify 9"),
        std::string("notify 5 100"), std::string("notify 5 x"), too_long}) {
    EXPECT_TRUE(enter(line).wrong) << line;
  }
  EXPECT_TRUE(camera.notifications().empty());
}

TEST_F(Operator, LetsCommandsWait) {
  EXPECT_EQ(answer("after 10s card  remove"), "after 10s: card  remove\n");
  EXPECT_EQ(answer("after 5s drop next 2"), "after 5s: drop next 2\n");
  EXPECT_EQ(agenda.next_due_ms(), camera.now_ms() + 5000);
  EXPECT_FALSE(agenda.take(camera.now_ms() + 4999));
  EXPECT_EQ(agenda.take(camera.now_ms() + 10000), "drop next 2");
  EXPECT_EQ(agenda.take(camera.now_ms() + 10000), "card  remove");
  for (const char* line : {"after", "after 10s", "after 10 state", "after 10s quit",
                           "after 1s after 1s state", "after 1s eject"}) {
    EXPECT_TRUE(enter(line).wrong) << line;
  }
  EXPECT_FALSE(agenda.next_due_ms());
}

TEST_F(Operator, LetsOnlySoManyCommandsWait) {
  for (std::size_t i = 0; i < OperatorAgenda::kMostLines; ++i) answer("after 1s state");
  EXPECT_EQ(answer("after 1s state"), "too many commands wait\n");
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

TEST_F(Lines, HaveNoEndWhereItHasNotComeByThen) {
  feed("one\n" + std::string(kEndlessLine, 'x'));
  EXPECT_FALSE(buffer.is_endless());
  feed("x");
  EXPECT_TRUE(buffer.is_endless());
  feed("\n");
  EXPECT_FALSE(buffer.is_endless());
}

}  // namespace
