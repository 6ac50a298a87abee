// A camera behind a broker that the test plays, as programs that ask it see it; and its topics.
#include "remote_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "envelope.h"
#include "played_broker.h"

namespace {

using namespace vlm::fleet;
using std::chrono::milliseconds;
using vlm::bus::BrokerMessage;

constexpr milliseconds kPlenty{30'000};
constexpr milliseconds kNotLong{20};
const std::string kCamera = "vlm/1/lab/cam-1/";

// topics

TEST(Topics, AreThoseOfTheCamera) {
  const CameraTopics topics({false, "anna", "broker", 1883, "lab", "cam-1"});
  EXPECT_EQ(topics.request, "vlm/1/lab/cam-1/req");
  EXPECT_EQ(topics.service_request, "vlm/1/lab/cam-1/req/service");
  EXPECT_EQ(topics.rtsp, "vlm/1/lab/cam-1/rtsp");
  EXPECT_EQ(topics.event, "vlm/1/lab/cam-1/event");
  EXPECT_EQ(topics.stray, "vlm/1/lab/cam-1/stray");
  EXPECT_EQ(topics.presence, "vlm/1/lab/cam-1/presence");
  EXPECT_EQ(topics.info, "vlm/1/lab/cam-1/info");
}

TEST(Topics, OfAnswersNameTheUserAndTheClient) {
  EXPECT_EQ(reply_topic("anna", "7f"), "vlm/1/client/anna/7f/rep");
  EXPECT_EQ(reply_topic("", "7f"), "vlm/1/client/-/7f/rep");
}

TEST(Topics, OfAnswersAreToldFromAllOthers) {
  for (const char* topic : {"vlm/1/client/anna/7f/rep", "vlm/1/client/-/0/rep"}) {
    EXPECT_TRUE(is_reply_topic(topic)) << topic;
  }
  for (const char* topic :
       {"", "/rep", "vlm/1/client/rep", "vlm/1/client//rep", "vlm/1/client/anna/rep",
        "vlm/1/client//7f/rep", "vlm/1/client/anna//rep", "vlm/1/client/anna/7f/x/rep",
        "vlm/1/client/anna/7f/rep/", "vlm/1/client/anna/7f/req", "vlm/2/client/anna/7f/rep",
        "vlm/1/client/+/7f/rep", "vlm/1/client/anna/#/rep", "vlm/1/lab/cam-1/req",
        "x/vlm/1/client/anna/7f/rep"}) {
    EXPECT_FALSE(is_reply_topic(topic)) << topic;
  }
}

TEST(Topics, FreshIdsDiffer) {
  const std::string id = fresh_id();
  EXPECT_EQ(id.size(), 16U);
  EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), id.npos) << id;
  EXPECT_NE(fresh_id(), id);
}

// answers that are expected

TEST(ExpectedAnswersTest, HoldWhatWasAskedAndNothingElse) {
  ExpectedAnswers answers;
  const std::string one = answers.expect("requests", 1);
  const std::string two = answers.expect("requests", 2);
  EXPECT_NE(one, two);
  EXPECT_TRUE(answers.holds(one));
  EXPECT_TRUE(answers.holds(two));
  EXPECT_FALSE(answers.holds(one + "0"));
  EXPECT_FALSE(answers.holds(""));
  EXPECT_FALSE(answers.holds(ExpectedAnswers().expect("requests", 1)));
}

TEST(ExpectedAnswersTest, GiveTheFirstOfACodeUpForTheSecond) {
  ExpectedAnswers answers;
  const std::string first = answers.expect("requests", 1);
  const std::string elsewhere = answers.expect("rtsp", 1);
  const std::string second = answers.expect("requests", 1);
  EXPECT_FALSE(answers.holds(first));
  EXPECT_TRUE(answers.holds(elsewhere));
  EXPECT_TRUE(answers.holds(second));
}

TEST(ExpectedAnswersTest, ForgetTheOldestWhereThereAreTooMany) {
  ExpectedAnswers answers;
  const std::string oldest = answers.expect("requests", 0);
  const std::string next = answers.expect("requests", 1);
  for (unsigned code = 2; code < ExpectedAnswers::kMost; ++code) answers.expect("requests", code);
  EXPECT_TRUE(answers.holds(oldest));
  answers.expect("requests", ExpectedAnswers::kMost);
  EXPECT_FALSE(answers.holds(oldest));
  EXPECT_TRUE(answers.holds(next));
}

// the camera

userlcm_packet_t request_packet(u16 code) {
  udp_ctrl_cam_t record{};
  record.cmd_type = code;
  return vlm::bus::camera_packet_from(kReplyChannel, record);
}

std::string bytes_of(const userlcm_packet_t& packet, unsigned length) {
  return {reinterpret_cast<const char*>(&packet), 64 + length};
}

class RemoteCamera : public testing::Test {
 protected:
  static constexpr unsigned kLength = sizeof(msg_from_rep_t);

  std::unique_ptr<BrokerCamera> reach(std::string& error) const {
    return BrokerCamera::reach(_address, {"ca.crt", "", "", ""}, PlayedBroker::make_loop, error);
  }
  /// One that serves.
  std::unique_ptr<BrokerCamera> serving() {
    std::string error;
    auto camera = reach(error);
    EXPECT_TRUE(camera && camera->wait_until_serving(kPlenty, error)) << error;
    for (const char* channel : {kReplyChannel, kRtspReplyChannel}) {
      camera->listen(channel, [this, channel](const void* packet, std::size_t length) {
        const std::lock_guard<std::mutex> guard(_mutex);
        _received.emplace_back(channel, std::string(static_cast<const char*>(packet), length));
      });
    }
    return camera;
  }
  /// Why it does not serve.
  std::string fault(milliseconds limit = kPlenty) const {
    std::string error;
    const auto camera = reach(error);
    return camera && !camera->wait_until_serving(limit, error) ? error : "it serves";
  }
  static bool ask(BrokerCamera& camera, u16 code) {
    return camera.publish(request_packet(code), kLength, kRequestChannel);
  }
  /// The answer to a request as its bridge gives it.
  static BrokerMessage answer_to(const BrokerMessage& request, const std::string& packet) {
    return {request.response_topic,      packet, false, "", request.correlation, {},
            {{"channel", kReplyChannel}}};
  }
  void retain_presence(const std::string& presence) {
    broker.retained = {{kCamera + "presence", presence, true, "", "", {}, {}}};
  }
  std::vector<std::pair<std::string, std::string>> received() {
    broker.settle();
    const std::lock_guard<std::mutex> guard(_mutex);
    return _received;
  }
  using Received = std::vector<std::pair<std::string, std::string>>;

  PlayedBroker broker;

 private:
  const vlm::bus::BrokerAddress _address{false, "anna", "broker", 1883, "lab", "cam-1"};
  std::mutex _mutex;
  Received _received;
};

TEST_F(RemoteCamera, SubscribesItsAnswersLast) {
  retain_presence("online");
  const auto camera = serving();
  const auto topics = broker.subscribed();
  ASSERT_EQ(topics.size(), 3U);
  EXPECT_EQ(topics[0], kCamera + "presence");
  EXPECT_EQ(topics[1], kCamera + "event");
  EXPECT_TRUE(is_reply_topic(topics[2]));
  EXPECT_EQ(topics[2].rfind("vlm/1/client/anna/", 0), 0U) << topics[2];
  EXPECT_EQ(camera->presence(), "online") << "what the broker keeps has come by then";
  EXPECT_EQ(broker.plan().files.ca, "ca.crt");
  EXPECT_FALSE(broker.plan().will);
}

TEST_F(RemoteCamera, TellsWhyItDoesNotServe) {
  broker.refusal = "not you";
  EXPECT_EQ(fault(), "cannot reach mqtt://broker:1883/lab/cam-1: not you");
}

TEST_F(RemoteCamera, TellsThatItMayNotReadTheTopics) {
  broker.denied = {kCamera + "event"};
  EXPECT_EQ(fault(),
            "cannot reach mqtt://broker:1883/lab/cam-1: the broker does not let this user read the "
            "camera's topics");
}

TEST_F(RemoteCamera, DoesNotWaitForEver) {
  broker.silent = true;
  EXPECT_EQ(fault(kNotLong),
            "cannot reach mqtt://broker:1883/lab/cam-1: the broker does not answer");
}

TEST_F(RemoteCamera, IsNoneWhereNothingCanBeMade) {
  std::string error;
  broker.plan_fault = "no such file";
  EXPECT_FALSE(reach(error));
  EXPECT_EQ(error, "no such file");
  broker.loop_fault = "no thread";
  EXPECT_FALSE(reach(error));
  EXPECT_EQ(error, "no thread");
}

TEST_F(RemoteCamera, PublishesRequestsWhereTheyBelong) {
  retain_presence("online");
  const auto camera = serving();
  lcm_udp_rtsp_msg_t stream{};
  const auto rtsp = vlm::bus::packet_from(kRtspReplyChannel, stream);
  ASSERT_TRUE(ask(*camera, UDP_CTRL_CAM_GET_CAMERA_MODE));
  ASSERT_TRUE(ask(*camera, UDP_CTRL_CAM_FORMAT_SDCARD));
  ASSERT_TRUE(camera->publish(rtsp, sizeof stream, kRtspRequestChannel));
  const auto published = broker.published();
  ASSERT_EQ(published.size(), 3U);
  EXPECT_EQ(published[0].topic, kCamera + "req");
  EXPECT_EQ(published[0].payload, bytes_of(request_packet(UDP_CTRL_CAM_GET_CAMERA_MODE), kLength));
  EXPECT_EQ(published[1].topic, kCamera + "req/service");
  EXPECT_EQ(published[2].topic, kCamera + "rtsp");
  EXPECT_EQ(published[2].payload, bytes_of(rtsp, sizeof stream));
  for (const BrokerMessage& message : published) {
    EXPECT_EQ(message.response_topic, broker.subscribed()[2]);
    EXPECT_EQ(message.expiry_s, 3U);
    EXPECT_FALSE(message.correlation.empty());
    EXPECT_FALSE(message.retained);
  }
  EXPECT_NE(published[0].correlation, published[1].correlation);
}

TEST_F(RemoteCamera, PublishesNothingElse) {
  const auto camera = serving();
  testing::internal::CaptureStderr();
  EXPECT_FALSE(camera->publish(request_packet(1), kLength, "elsewhere"));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vlm_bus: nothing published on elsewhere: over a broker a camera is asked, no more\n");
  EXPECT_TRUE(broker.published().empty());
}

TEST_F(RemoteCamera, TellsOnceThatNobodyIsThere) {
  const auto camera = serving();
  testing::internal::CaptureStderr();
  EXPECT_TRUE(ask(*camera, 1));
  EXPECT_TRUE(ask(*camera, 2));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vlm_bus: no camera on bus mqtt://broker:1883/lab/cam-1: it is offline\n");
}

TEST_F(RemoteCamera, HandsOnTheAnswersToItsOwnRequests) {
  retain_presence("online");
  const std::string packet = bytes_of(request_packet(1), kLength);
  broker.answers = [&](const BrokerMessage& request) {
    BrokerMessage foreign = answer_to(request, packet);
    foreign.correlation = "another's";
    BrokerMessage again = answer_to(request, packet);
    again.properties.emplace_back("refused", "seen before");
    return std::vector<BrokerMessage>{foreign, again, answer_to(request, packet)};
  };
  const auto camera = serving();
  ASSERT_TRUE(ask(*camera, 1));
  EXPECT_EQ(received(), (Received{{kReplyChannel, packet}}));
}

TEST_F(RemoteCamera, DropsTheAnswerToARequestThatWasMadeAgain) {
  retain_presence("online");
  const auto camera = serving();
  ASSERT_TRUE(ask(*camera, 1));
  ASSERT_TRUE(ask(*camera, 1));
  const auto requests = broker.published();
  broker.send(answer_to(requests[0], bytes_of(request_packet(1), kLength - 1)));
  broker.send(answer_to(requests[1], bytes_of(request_packet(1), kLength)));
  EXPECT_EQ(received(), (Received{{kReplyChannel, bytes_of(request_packet(1), kLength)}}));
}

TEST_F(RemoteCamera, DropsWhatIsNoPacket) {
  const auto camera = serving();
  for (const std::size_t size : {std::size_t{0}, std::size_t{63}, sizeof(userlcm_packet_t) + 1}) {
    broker.send({kCamera + "event", std::string(size, 'x'), false, "", "", {}, {}});
  }
  EXPECT_EQ(received(), Received{});
  const std::string shortest(64, 'x');
  const std::string longest(sizeof(userlcm_packet_t), 'x');
  broker.send({kCamera + "event", shortest, false, "", "", {}, {}});
  broker.send({kCamera + "event", longest, false, "", "", {}, {}});
  EXPECT_EQ(received(), (Received{{kReplyChannel, shortest}, {kReplyChannel, longest}}));
}

TEST_F(RemoteCamera, GivesBackWhatAProgramTellsItself) {
  const auto camera = serving();
  const std::string packet = bytes_of(request_packet(1), kLength);
  EXPECT_TRUE(camera->publish(request_packet(1), kLength, kRtspReplyChannel));
  EXPECT_EQ(received(), (Received{{kRtspReplyChannel, packet}}));
  EXPECT_TRUE(broker.published().empty());
  broker.lose("gone");
  broker.settle();
  EXPECT_FALSE(camera->publish(request_packet(1), kLength, kReplyChannel));
}

TEST_F(RemoteCamera, KnowsNoPresenceWhileTheBrokerIsAway) {
  retain_presence("online");
  const auto camera = serving();
  broker.lose("gone");
  broker.settle();
  EXPECT_EQ(camera->presence(), "");
  EXPECT_FALSE(camera->wait_until_online(kNotLong));
}

TEST_F(RemoteCamera, IsWaitedForUntilItIsOnline) {
  retain_presence("silent");
  const auto camera = serving();
  EXPECT_FALSE(camera->wait_until_online(milliseconds(0)));
  std::thread bridge([this] {
    broker.send({kCamera + "presence", "online", true, "", "", {}, {}});
  });
  EXPECT_TRUE(camera->wait_until_online(kPlenty));
  bridge.join();
  EXPECT_EQ(camera->presence(), "online");
}

TEST_F(RemoteCamera, IsAskedByManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kRequests = 50;
  retain_presence("online");
  broker.answers = [](const BrokerMessage& request) {
    return std::vector<BrokerMessage>{answer_to(request, request.payload)};
  };
  const auto camera = serving();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&camera, i] {
      for (int request = 0; request < kRequests; ++request) ask(*camera, static_cast<u16>(i + 1));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(broker.published().size(), std::size_t{kThreads * kRequests});
  EXPECT_GE(received().size(), std::size_t{kThreads}) << "the last of each, at least";
}

}  // namespace
