#include "request_gate.h"

#include <gtest/gtest.h>

#include <cstring>

#include "envelope.h"
#include "service_commands.h"
#include "topics.h"

namespace {

using namespace vlm::fleet;
using vlm::bus::BrokerMessage;
using Kind = RequestGate::Kind;

std::string camera_packet(u16 code) {
  udp_ctrl_cam_t record{};
  record.cmd_type = code;
  const auto packet = vlm::bus::camera_packet_from(kReplyChannel, record);
  return {reinterpret_cast<const char*>(&packet), 64 + 257};
}

std::string rtsp_packet(LCM_RTSP_UDP_CMD command) {
  lcm_udp_rtsp_msg_t message{};
  message.msg_cmd = command;
  const auto packet = vlm::bus::packet_from(kRtspReplyChannel, message);
  return {reinterpret_cast<const char*>(&packet), 64 + 68};
}

BrokerMessage request(u16 code, const std::string& correlation = "1") {
  BrokerMessage message;
  message.payload = camera_packet(code);
  message.response_topic = "vlm/1/client/anna/7f/rep";
  message.correlation = correlation;
  message.expiry_s = 3;
  return message;
}

class Gate : public testing::Test {
 protected:
  /// "admitted", "dropped", or "4: denied here".
  std::string judge(const BrokerMessage& message, Kind kind = Kind::kCamera) {
    verdict = gate.judge(message, kind, stalled, now);
    switch (verdict.outcome) {
      case RequestGate::Verdict::kAdmit: return "admitted";
      case RequestGate::Verdict::kDrop: return "dropped";
      default: return std::to_string(verdict.result) + ": " + verdict.reason;
    }
  }

  BridgeRules rules;
  RequestGate gate{rules};
  RequestGate::TimePoint now{};
  RequestGate::Verdict verdict{};
  bool stalled = false;
};

TEST_F(Gate, AdmitsARequestWithItsAskerAndItsTimes) {
  EXPECT_EQ(judge(request(1)), "admitted");
  EXPECT_EQ(verdict.request.client, "vlm/1/client/anna/7f/rep");
  EXPECT_EQ(verdict.request.correlation, "1");
  EXPECT_EQ(verdict.request.packet, camera_packet(1));
  EXPECT_EQ(verdict.request.answer, 1);
  EXPECT_EQ(verdict.request.expires, now + std::chrono::seconds(3));
  EXPECT_EQ(verdict.request.patience, std::chrono::milliseconds(3000));
  judge(request(6, "2"));
  EXPECT_EQ(verdict.request.patience, std::chrono::milliseconds(500));
}

TEST_F(Gate, AnswersNobodyButClients) {
  for (const char* topic :
       {"", "vlm/1/lab/cam/req", "vlm/1/client/a/b/rep/x", "vlm/1/client/a/rep",
        "vlm/1/client/a/b/c/rep", "vlm/1/client/+/b/rep", "vlm/1/client/a/#/rep",
        "vlm/1/client//b/rep", "vlm/2/client/a/b/rep", "vlm/1/client/rep", "vlm/1/client/a/b/re"}) {
    BrokerMessage message = request(1);
    message.response_topic = topic;
    EXPECT_EQ(judge(message), "dropped") << topic;
  }
  EXPECT_TRUE(is_reply_topic(reply_topic("", fresh_id())));
  EXPECT_EQ(reply_topic("", "7"), "vlm/1/client/-/7/rep");
}

TEST_F(Gate, TakesNothingThatHasPassedABridge) {
  BrokerMessage message = request(1);
  message.properties = {{"via", "7f"}};
  EXPECT_EQ(judge(message), "dropped");
}

TEST_F(Gate, RefusesWhatIsNoRequest) {
  BrokerMessage message = request(1);
  message.payload.resize(64 + 132);  // a byte short
  EXPECT_EQ(judge(message), "27: no request of the bus");
  message.payload = std::string(1089, '\0');
  EXPECT_EQ(judge(message), "27: no request of the bus");
  message.payload = camera_packet(1);
  message.payload[64] = 5;  // a notification's type
  EXPECT_EQ(judge(message), "27: no request of the bus");
  message.payload = camera_packet(1);
  message.payload[0] = 'x';  // another sender's channel
  EXPECT_EQ(judge(message), "27: no request of the bus");
  message.payload.clear();
  EXPECT_EQ(judge(message), "27: no request of the bus");
  EXPECT_EQ(judge(message, Kind::kRtsp), "27: no request of the bus");
}

TEST_F(Gate, RefusesWhatDoesNotTellItsAge) {
  const char* const refusal = "27: no message expiry of at most 3 s";
  BrokerMessage message = request(1);
  message.expiry_s.reset();
  EXPECT_EQ(judge(message), refusal);
  message.expiry_s = 4;
  EXPECT_EQ(judge(message), refusal);
  message.expiry_s = 3;
  message.retained = true;
  EXPECT_EQ(judge(message), refusal);
}

TEST_F(Gate, RefusesWhatIsTooOld) {
  BrokerMessage message = request(1);
  message.expiry_s = 0;
  EXPECT_EQ(judge(message), "26: too old");
  stalled = true;
  EXPECT_EQ(judge(request(1)), "26: too old");
}

TEST_F(Gate, RefusesWhatItHasSeen) {
  judge(request(1, "a"));
  EXPECT_EQ(judge(request(1, "a")), "27: seen before");
  EXPECT_EQ(judge(request(1, "b")), "admitted");
  BrokerMessage message = request(1, "a");
  message.response_topic = "vlm/1/client/bert/7f/rep";
  EXPECT_EQ(judge(message), "admitted");
  message.correlation = "";
  EXPECT_EQ(judge(message), "27: no correlation data of 1 to 64 bytes");
  message.correlation = std::string(65, 'x');
  EXPECT_EQ(judge(message), "27: no correlation data of 1 to 64 bytes");
}

TEST_F(Gate, ForgetsWhatItHasSeenInTimeAndInNumber) {
  judge(request(1, "a"));
  now += std::chrono::seconds(10);
  EXPECT_EQ(judge(request(1, "a")), "admitted");
  for (std::size_t i = 0; i < SeenRequests::kMost; ++i) judge(request(1, std::to_string(i)));
  EXPECT_EQ(judge(request(1, "a")), "admitted");
}

TEST_F(Gate, TakesServiceCommandsOnTheirTopicAlone) {
  for (const u16 code : {UDP_CTRL_CAM_FORMAT_SDCARD, UDP_CTRL_CAM_UPGRADE_CAMERA,
                         UDP_CTRL_CAM_RESET_CAMERA_SETTINGS, UDP_CTRL_CAM_REBOOT_DEVICE}) {
    EXPECT_EQ(judge(request(code, std::to_string(code))), "4: to be sent to req/service") << code;
    EXPECT_EQ(judge(request(code, 's' + std::to_string(code)), Kind::kService), "admitted");
  }
  EXPECT_EQ(judge(request(900, "x")), "4: to be sent to req/service");  // no row has it
  EXPECT_EQ(judge(request(1, "y"), Kind::kService), "admitted");
}

TEST_F(Gate, DeniesWhatTheOperatorForbids) {
  RequestGate denying({{3, 27}, false});
  const auto result = [&](u16 code) {
    return denying.judge(request(code, std::to_string(code)), Kind::kService, false, now).result;
  };
  EXPECT_EQ(result(3), VLM_ERR_PERMISSION_DENIED);
  EXPECT_EQ(result(27), VLM_ERR_PERMISSION_DENIED);
  EXPECT_EQ(result(4), VLM_ERR_NONE);
}

TEST_F(Gate, OnlyReadsWhenItIsToldTo) {
  RequestGate reading({{}, true});
  const auto result = [&](u16 code) {
    return reading.judge(request(code, std::to_string(code)), Kind::kCamera, false, now).result;
  };
  EXPECT_EQ(result(1), VLM_ERR_NONE);
  EXPECT_EQ(result(31), VLM_ERR_NONE);
  EXPECT_EQ(result(2), VLM_ERR_PERMISSION_DENIED);
  EXPECT_EQ(result(3), VLM_ERR_PERMISSION_DENIED);
  BrokerMessage message = request(1, "r");
  message.payload = rtsp_packet(GET_FLC_STATUS);
  EXPECT_EQ(reading.judge(message, Kind::kRtsp, false, now).result, VLM_ERR_NONE);
  message.payload = rtsp_packet(SET_FLC_STATUS);
  message.correlation = "s";
  EXPECT_EQ(reading.judge(message, Kind::kRtsp, false, now).result, VLM_ERR_PERMISSION_DENIED);
}

TEST_F(Gate, KnowsTheAnswerToTheStreamingProcess) {
  BrokerMessage message = request(1);
  message.payload = rtsp_packet(GET_FLC_STATUS);
  EXPECT_EQ(judge(message, Kind::kRtsp), "admitted");
  EXPECT_EQ(verdict.request.answer, GET_FLC_STATUS_ACK);
  EXPECT_EQ(verdict.request.patience, std::chrono::milliseconds(200));
  EXPECT_EQ(judge(message, Kind::kCamera), "27: no request of the bus");
}

}  // namespace
