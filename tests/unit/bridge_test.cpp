// The bridge between a broker and a camera that the test plays, with its clock in the test's hands.
#include "bridge.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <utility>

#include "envelope.h"

namespace {

using namespace vlm::fleet;
using std::chrono::milliseconds;
using vlm::bus::BrokerMessage;

const std::string kCamera = "vlm/1/lab/cam/";
const std::string kAnna = "vlm/1/client/anna/1/rep";
const std::string kBert = "vlm/1/client/bert/2/rep";

/// The broker as far as one bridge sees it: what it publishes comes back where it is subscribed.
class FakeBroker : public vlm::bus::BrokerLoop {
 public:
  class Connection : public vlm::bus::BrokerConnection {
   public:
    explicit Connection(FakeBroker& broker) : _broker(broker) {}
    bool publish(const BrokerMessage& message, int quality) override {
      _broker.published.push_back(message);
      _broker.qos.push_back(quality);
      return true;
    }
    int subscribe(const std::string& topic, bool no_local, int) override {
      _broker.subscribed.push_back(topic + (no_local ? " no-local" : ""));
      return ++_broker.ticket;
    }
    int mark() override { return ++_broker.ticket; }
    void wake_at(std::chrono::steady_clock::time_point time) override { _broker.wake = time; }

   private:
    FakeBroker& _broker;
  };

  std::unique_ptr<vlm::bus::BrokerConnection> connect(const vlm::bus::BrokerPlan& the_plan,
                                                      vlm::bus::BrokerListener& the_listener,
                                                      std::string&) override {
    plan = the_plan;
    listener = &the_listener;
    return std::make_unique<Connection>(*this);
  }

  vlm::bus::BrokerPlan plan;
  vlm::bus::BrokerListener* listener = nullptr;
  std::deque<BrokerMessage> published;
  std::deque<int> qos;
  std::vector<std::string> subscribed;
  int ticket = 0;
  std::chrono::steady_clock::time_point wake{};
};

std::string request_packet(u16 code, u8 parameter = 0) {
  udp_ctrl_cam_t record{};
  record.cmd_type = code;
  record.cmd_params[0] = parameter;
  const auto packet = vlm::bus::camera_packet_from(kReplyChannel, record);
  return {reinterpret_cast<const char*>(&packet), 64 + 257};
}

std::string reply_packet(u16 code, u16 error = 0, u8 parameter = 0) {
  udp_ctrl_cam_t record{};
  record.cmd_type = code;
  record.cmd_params[0] = parameter;
  record.err_code = error;
  const auto packet = vlm::bus::camera_packet_from(kRequestChannel, record);
  return {reinterpret_cast<const char*>(&packet), 64 + 257};
}

udp_ctrl_cam_t record_of(const std::string& packet) {
  return vlm::bus::read_record<udp_ctrl_cam_t>(packet.data(), packet.size(), 64 + 1);
}

class BridgeTest : public testing::Test {
 protected:
  explicit BridgeTest(BridgeRules rules = {}) {
    Bridge::Outlets outlets;
    outlets.publish = [this](const userlcm_packet_t* packet, unsigned length, const char* channel) {
      local.emplace_back(channel, std::string(reinterpret_cast<const char*>(packet), 64 + length));
      return 0;
    };
    outlets.settled = [this] { ++settled; };
    outlets.over = [this](const std::string& why) { over = why; };
    outlets.tell = [this](const std::string& line) { lines.push_back(line); };
    outlets.now = [this] { return now; };
    outlets.take_requests = [this](const Bridge::Heard& heard) {
      for (const auto& [packet, time] : std::exchange(beside, {})) {
        heard(packet.data(), packet.size(), {time, time});
      }
    };
    bridge = std::make_unique<Bridge>(
        Bridge::Plan{{false, "cam", "broker", 1883, "lab", "cam"}, {}, std::move(rules), "1.0"},
        outlets);
    std::string error;
    EXPECT_TRUE(bridge->start(broker, error)) << error;
  }

  /// The bridge finds nobody in its place, and learns what camera it has.
  void serve(u16 thermal_error = VLM_ERR_NONE) {
    connect();
    acknowledge();
    come_back();
    ASSERT_TRUE(bridge->serving());
    from_camera(reply_packet(31));
    due();
    ASSERT_EQ(local.size(), 2U);
    from_camera(reply_packet(record_of(local[1].second).cmd_type, thermal_error));
    local.clear();
    forget();
  }
  void connect() const { broker.listener->on_connected(); }
  /// The broker has taken all that came before.
  void acknowledge() { broker.listener->on_acknowledged(broker.ticket, true); }
  /// What the bridge has last published comes back to it.
  void come_back() const { broker.listener->on_message(broker.published.back()); }
  void see_presence(const std::string& presence, const std::string& other) const {
    broker.listener->on_message(
        {kCamera + "presence", presence, true, "", "", {}, {{"bridge", other}}});
  }
  void request(const std::string& topic, const std::string& client, const std::string& packet) {
    broker.listener->on_message(
        {kCamera + topic, packet, false, client, std::to_string(++correlation), 3, {}});
  }
  void from_camera(const std::string& packet) const {
    bridge->from_camera(packet.data(), packet.size());
  }
  /// Some program publishes it, beside the bridge, which is told so.
  void overhear(const std::string& packet) {
    publish_beside(packet);
    bridge->listen();
  }
  /// Likewise, and the bridge is not told yet.
  void publish_beside(const std::string& packet) { beside.emplace_back(packet, now); }
  void due(int ms = 0) {
    now += milliseconds(ms);
    broker.listener->on_due();
  }
  void forget() {
    broker.published.clear();
    broker.qos.clear();
  }
  /// The topics of what has been published since forget().
  std::vector<std::string> topics() const {
    std::vector<std::string> all;
    for (const BrokerMessage& message : broker.published) all.push_back(message.topic);
    return all;
  }
  /// The codes of what the camera has been asked.
  std::vector<int> asked() const {
    std::vector<int> codes;
    for (const auto& [channel, packet] : local) codes.push_back(record_of(packet).cmd_type);
    return codes;
  }

  using Topics = std::vector<std::string>;
  using Codes = std::vector<int>;

  FakeBroker broker;
  std::chrono::steady_clock::time_point now =
      std::chrono::steady_clock::time_point(milliseconds(1));
  std::vector<std::pair<std::string, std::string>> local;
  int settled = 0;
  // What has been published on the camera's bus, and when, of which the bridge does not know yet.
  std::vector<std::pair<std::string, std::chrono::steady_clock::time_point>> beside;
  std::string over;
  std::vector<std::string> lines;
  int correlation = 0;
  std::unique_ptr<Bridge> bridge;
};

TEST_F(BridgeTest, LeavesAWillThatTheCameraIsOffline) {
  ASSERT_TRUE(broker.plan.will);
  EXPECT_EQ(broker.plan.will->topic, kCamera + "presence");
  EXPECT_EQ(broker.plan.will->payload, "offline");
  EXPECT_TRUE(broker.plan.will->retained);
  EXPECT_EQ(broker.plan.will_delay, std::chrono::seconds(3));
}

TEST_F(BridgeTest, ServesOnceItHasSeenItsOwnPresence) {
  connect();
  EXPECT_EQ(topics(), Topics{});
  acknowledge();
  EXPECT_EQ(topics(), Topics{kCamera + "presence"});
  EXPECT_EQ(broker.published[0].payload, "silent");  // nobody has heard the camera yet
  EXPECT_TRUE(broker.published[0].retained);
  EXPECT_EQ(broker.qos[0], 1);
  EXPECT_FALSE(bridge->serving());
  come_back();
  EXPECT_TRUE(bridge->serving());
  EXPECT_EQ(broker.subscribed,
            (Topics{kCamera + "presence", kCamera + "req no-local",
                    kCamera + "req/service no-local", kCamera + "rtsp no-local"}));
  EXPECT_EQ(lines, std::vector<std::string>{"serves mqtt://broker:1883/lab/cam"});
}

TEST_F(BridgeTest, TellsWhatCameraItHas) {
  connect();
  acknowledge();
  come_back();
  EXPECT_EQ(asked(), Codes{31});
  forget();
  from_camera(reply_packet(31));
  EXPECT_EQ(topics(), Topics{kCamera + "presence"});
  EXPECT_EQ(broker.published[0].payload, "online");
  forget();
  due();
  from_camera(reply_packet(record_of(local[1].second).cmd_type, VLM_ERR_UNSUPPORTED_COMMAND));
  ASSERT_EQ(topics(), Topics{kCamera + "info"});
  EXPECT_TRUE(broker.published[0].retained);
  const std::string& info = broker.published[0].payload;
  EXPECT_EQ(info.rfind("{\"bridge\":\"1.0\",\"camera\":\"", 0), 0U) << info;
  EXPECT_NE(info.find("\"thermal\":false,\"catalogue\":\""), info.npos) << info;
}

TEST_F(BridgeTest, SendsTheReplyToItsAskerAlone) {
  serve();
  request("req", kAnna, request_packet(1));
  ASSERT_EQ(local.size(), 1U);
  EXPECT_EQ(local[0].first, "velmar_repeater_udp");
  EXPECT_EQ(local[0].second, request_packet(1));
  from_camera(reply_packet(1, 0, 2));
  ASSERT_EQ(topics(), Topics{kAnna});
  EXPECT_EQ(broker.published[0].payload, reply_packet(1, 0, 2));
  EXPECT_EQ(broker.published[0].correlation, "1");
  EXPECT_EQ(broker.published[0].property("channel"), "velmar_udp_repeater");
  EXPECT_EQ(broker.qos[0], 0);
}

TEST_F(BridgeTest, HandsTheCamerasErrorsOnAsTheyAre) {
  serve();
  request("req", kAnna, request_packet(2));
  from_camera(reply_packet(2, 75));
  EXPECT_EQ(broker.published[0].payload, reply_packet(2, 75));
}

TEST_F(BridgeTest, GivesTheRepliesToLikeRequestsInTheirOrder) {
  serve();
  request("req", kAnna, request_packet(1));
  request("req", kBert, request_packet(1));
  EXPECT_EQ(asked(), Codes{1});
  from_camera(reply_packet(1));
  from_camera(reply_packet(1));
  EXPECT_EQ(topics(), (Topics{kAnna, kBert}));
}

TEST_F(BridgeTest, RefusesWithAnErrorWhatItDoesNotSend) {
  serve();
  request("req", kAnna, request_packet(UDP_CTRL_CAM_FORMAT_SDCARD));
  EXPECT_EQ(asked(), Codes{});
  ASSERT_EQ(topics(), Topics{kAnna});
  EXPECT_EQ(broker.published[0].payload, reply_packet(UDP_CTRL_CAM_FORMAT_SDCARD, 4));
  EXPECT_EQ(broker.published[0].property("refused"), "to be sent to req/service");
  request("req/service", kAnna, request_packet(UDP_CTRL_CAM_FORMAT_SDCARD));
  EXPECT_EQ(asked(), Codes{UDP_CTRL_CAM_FORMAT_SDCARD});
}

TEST_F(BridgeTest, SaysBusyAtOnceWhenTooManyWait) {
  serve();
  for (int i = 0; i < 33; ++i) request("req", kAnna, request_packet(1));
  EXPECT_EQ(topics(), Topics{});
  request("req", kBert, request_packet(1));
  ASSERT_EQ(topics(), Topics{kBert});
  EXPECT_EQ(broker.published[0].payload, reply_packet(1, VLM_ERR_BUSY));
}

TEST_F(BridgeTest, CountsWhatItCannotAnswer) {
  serve();
  request("req", "vlm/1/lab/other/req", request_packet(1));
  EXPECT_EQ(topics(), Topics{});
  EXPECT_EQ(bridge->counts().dropped, 1U);
}

TEST_F(BridgeTest, GivesWhatNobodyHereAskedForToMonitors) {
  serve();
  from_camera(reply_packet(9));
  EXPECT_EQ(topics(), Topics{kCamera + "stray"});
  EXPECT_EQ(broker.published[0].payload, reply_packet(9));
}

TEST_F(BridgeTest, GivesALateReplyToNobody) {
  serve();
  request("req", kAnna, request_packet(1));
  due(3000);
  forget();
  request("req", kBert, request_packet(1));
  from_camera(reply_packet(1));
  EXPECT_EQ(topics(), Topics{kCamera + "stray"});
}

TEST_F(BridgeTest, NumbersNotifications) {
  serve();
  msg_from_rep_t message{};
  message.msg_type = LCM_SDCARD_STATUS;
  const auto packet = vlm::bus::packet_from(kRequestChannel, message);
  const std::string event(reinterpret_cast<const char*>(&packet), 64 + 257);
  from_camera(event);
  from_camera(event);
  ASSERT_EQ(topics(), (Topics{kCamera + "event", kCamera + "event"}));
  EXPECT_EQ(broker.published[0].payload, event);
  EXPECT_EQ(broker.published[0].property("sequence"), "1");
  EXPECT_EQ(broker.published[1].property("sequence"), "2");
}

TEST_F(BridgeTest, ListensBeforeItTalks) {
  serve();
  overhear(request_packet(9));  // of a console beside the camera
  request("req", kAnna, request_packet(1));
  EXPECT_EQ(asked(), Codes{});
  from_camera(reply_packet(9));
  EXPECT_EQ(asked(), Codes{1});
}

TEST_F(BridgeTest, DoesNotWaitForItself) {
  serve();
  request("req", kAnna, request_packet(1));
  from_camera(reply_packet(1));
  overhear(request_packet(1));  // its own request, which the other thread sees late
  request("req", kAnna, request_packet(2));
  EXPECT_EQ(asked(), (Codes{1, 2}));
}

TEST_F(BridgeTest, DoesNotWaitForItselfHoweverLateItHearsOfIt) {
  constexpr int kRequests = 1000;
  serve();
  for (int i = 0; i < kRequests; ++i) {
    request("req", kAnna, request_packet(1));
    from_camera(reply_packet(1));
  }
  for (int i = 0; i < kRequests; ++i) overhear(request_packet(1));
  request("req", kAnna, request_packet(2));
  EXPECT_EQ(local.size(), kRequests + 1U);
  EXPECT_EQ(asked().back(), 2);
}

TEST_F(BridgeTest, KnowsAnotherProgramsRequestFromItsOwnLaterOneOfTheSameBytes) {
  serve();
  const auto before = now;
  const std::string packet = request_packet(1);
  from_camera(reply_packet(1));  // to the other one
  now += milliseconds(1);
  request("req", kAnna, packet);
  beside.emplace_back(packet, before);
  bridge->listen();
  overhear(packet);
  from_camera(reply_packet(1));
  request("req", kAnna, request_packet(2));
  EXPECT_EQ(asked(), (Codes{1, 2}));
}

TEST_F(BridgeTest, ListensBeforeItAsks) {
  serve();
  publish_beside(request_packet(9));  // of a console, and nobody has been woken for it
  request("req", kAnna, request_packet(1));
  EXPECT_EQ(asked(), Codes{});
  from_camera(reply_packet(9));
  EXPECT_EQ(asked(), Codes{1});
}

TEST_F(BridgeTest, ListensBeforeItAsksForTheNextOne) {
  serve();
  request("req", kAnna, request_packet(1));
  request("req", kBert, request_packet(2));
  publish_beside(request_packet(9));
  from_camera(reply_packet(1));
  EXPECT_EQ(asked(), Codes{1});
  from_camera(reply_packet(9));
  EXPECT_EQ(asked(), (Codes{1, 2}));
}

TEST_F(BridgeTest, ListensBeforeItAsksWhenTimeHasPassed) {
  serve();
  request("req", kAnna, request_packet(1));
  request("req", kBert, request_packet(2));
  now += milliseconds(2900);
  publish_beside(request_packet(9));
  due(100);  // the first one is given up
  EXPECT_EQ(asked(), Codes{1});
}

TEST_F(BridgeTest, ForgetsWhatItDidNotHearOfItself) {
  serve();
  request("req", kAnna, request_packet(1));
  from_camera(reply_packet(1));
  due(3000);
  request("req", kAnna, request_packet(7));
  from_camera(reply_packet(7));
  overhear(request_packet(1));
  request("req", kAnna, request_packet(2));
  EXPECT_EQ(asked(), (Codes{1, 7}))
      << "another program's request was taken for an old one of its own";
}

TEST_F(BridgeTest, ShowsThatTheCameraIsSilentAndThatItIsBack) {
  serve();
  request("req", kAnna, request_packet(1));
  due(3000);
  ASSERT_EQ(topics(), Topics{kCamera + "presence"});
  EXPECT_EQ(broker.published[0].payload, "silent");
  EXPECT_EQ(bridge->counts().silent, 1U);
  local.clear();
  due(1999);
  EXPECT_EQ(asked(), Codes{});
  due(1);
  EXPECT_EQ(asked(), Codes{31});
  from_camera(reply_packet(31));
  EXPECT_EQ(broker.published.back().payload, "online");
}

TEST_F(BridgeTest, TellsOnceThatItsPresenceIsThatOfItsCamera) {
  connect();
  acknowledge();
  come_back();
  EXPECT_EQ(settled, 0) << "it serves, and has not heard of its camera yet";
  from_camera(reply_packet(31));
  EXPECT_EQ(settled, 1);
  EXPECT_EQ(broker.published.back().payload, "online");
  request("req", kAnna, request_packet(1));
  due(3000);
  EXPECT_EQ(settled, 1);
}

TEST_F(BridgeTest, TellsThatItsCameraDoesNotAnswerOnceTheTimeForThatIsOver) {
  connect();
  acknowledge();
  come_back();
  due(3000);
  EXPECT_EQ(settled, 1);
}

TEST_F(BridgeTest, RefusesWhatGatheredWhileItStoodStill) {
  serve();
  broker.listener->on_stall(milliseconds(4000));
  request("req", kAnna, request_packet(3));
  EXPECT_EQ(asked(), Codes{});
  EXPECT_EQ(broker.published[0].payload, reply_packet(3, VLM_ERR_IS_TIMEOUT));
  acknowledge();  // all that was under way has come
  request("req", kAnna, request_packet(3));
  EXPECT_EQ(asked(), Codes{3});
}

TEST_F(BridgeTest, EndsWhereAnotherBridgeServes) {
  connect();
  see_presence("online", "other");
  acknowledge();
  due(6999);
  EXPECT_EQ(over, "");
  due(1);
  EXPECT_EQ(over, "another bridge (other) serves mqtt://broker:1883/lab/cam");
  EXPECT_EQ(topics(), Topics{});
}

TEST_F(BridgeTest, WaitsForTheWillOfOneThatHasDied) {
  connect();
  see_presence("online", "other");
  acknowledge();
  see_presence("offline", "other");
  come_back();
  EXPECT_TRUE(bridge->serving());
  due(7000);
  EXPECT_EQ(over, "");
}

TEST_F(BridgeTest, TakesThePlaceOfOneThatHasLeft) {
  connect();
  see_presence("offline", "other");
  acknowledge();
  come_back();
  EXPECT_TRUE(bridge->serving());
}

TEST_F(BridgeTest, GivesWayToOneThatClaimedBefore) {
  connect();
  acknowledge();
  see_presence("silent", "other");
  EXPECT_EQ(over, "another bridge (other) serves mqtt://broker:1883/lab/cam");
}

TEST_F(BridgeTest, SetsItsPresenceRightAfterTheWillOfAnother) {
  serve();
  see_presence("offline", "other");
  ASSERT_EQ(topics(), Topics{kCamera + "presence"});
  EXPECT_EQ(broker.published[0].payload, "online");
}

TEST_F(BridgeTest, JudgesAnewWhenItComesBack) {
  serve();
  broker.listener->on_lost("the network is down");
  EXPECT_FALSE(bridge->serving());
  EXPECT_EQ(lines.back(), "no connection to mqtt://broker:1883/lab/cam: the network is down");
  connect();
  acknowledge();
  EXPECT_EQ(broker.published.back().payload, "online");
  come_back();
  EXPECT_TRUE(bridge->serving());
  EXPECT_EQ(broker.published.back().topic, kCamera + "info");
}

TEST_F(BridgeTest, SaysOnceThatTheBrokerKeepsItsPresenceFromIt) {
  connect();
  acknowledge();
  due(5000);
  due(5000);
  EXPECT_EQ(lines, std::vector<std::string>{"the broker does not let this user write and read the "
                                            "topics of mqtt://broker:1883/lab/cam"});
  EXPECT_EQ(broker.published.size(), 3U);  // it tries on
  come_back();
  EXPECT_TRUE(bridge->serving());
}

TEST_F(BridgeTest, SaysGoodbye) {
  serve();
  bridge.reset();
  EXPECT_EQ(topics(), Topics{kCamera + "presence"});
  EXPECT_EQ(broker.published[0].payload, "offline");
}

}  // namespace
