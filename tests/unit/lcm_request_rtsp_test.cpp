// The side channel to the streaming process.

#include <climits>

#include "engine_test.h"
#include "transcript.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Long enough for a request that ends or begins by mistake to show it.
constexpr milliseconds kAWhile{50};

class SideChannel : public EngineTest {
 protected:
  static LCM_RTSP_UDP_CMD command(u32 code) { return static_cast<LCM_RTSP_UDP_CMD>(code); }

  /// The streaming process answers every request with `ack` and `flag`.
  void answer(LCM_RTSP_UDP_CMD ack, u8 flag = 0) {
    give_up_after(kForEver);
    bus().deliver_rtsp_to(
        [=](const lcm_udp_rtsp_msg_t&) { _engine.receive_msg_from_rtsp(ack, &flag); });
  }
  void stay_silent() { give_up_after(milliseconds(1)); }

  bool exchange(LCM_RTSP_UDP_CMD cmd) { return _engine.send_msg_rtsp_and_wait(cmd, nullptr, 0); }
  std::future<bool> start_exchange(LCM_RTSP_UDP_CMD cmd) {
    return std::async(std::launch::async, [=] { return exchange(cmd); });
  }
  void acknowledge(LCM_RTSP_UDP_CMD ack, u8 flag = 0) { _engine.receive_msg_from_rtsp(ack, &flag); }

  /// The flag in force, as an acknowledgement without data leaves it.
  u8 flow_control() {
    u8 flag = 0;
    bus().deliver_rtsp_to([this](const lcm_udp_rtsp_msg_t&) {
      _engine.receive_msg_from_rtsp(GET_FLC_STATUS_ACK, nullptr);
    });
    EXPECT_TRUE(_engine.get_rtsp_flow_control(flag));
    return flag;
  }
  u8 flow_control_debug() {
    u8 flag = 0;
    bus().deliver_rtsp_to([this](const lcm_udp_rtsp_msg_t&) {
      _engine.receive_msg_from_rtsp(GET_FLC_DEBUG_STATUS_ACK, nullptr);
    });
    EXPECT_TRUE(_engine.get_rtsp_flow_control_debug(flag));
    return flag;
  }

  /// The only packet, which must be a well-formed one; returns its 68 bytes.
  static std::vector<u8> only_message() {
    const auto published = bus().published();
    EXPECT_EQ(published.size(), 1U);
    const Published& message = published.at(0);
    EXPECT_EQ(message.channel, "lcm_channel_to_rtsp");
    EXPECT_EQ(message.length, 68U);
    std::vector<u8> bytes = bytes_of(message.packet);
    std::vector<u8> sender(64);
    std::memcpy(sender.data(), "lcm_channel_from_udp", 20);
    EXPECT_EQ(std::vector<u8>(bytes.begin(), bytes.begin() + 64), sender);
    EXPECT_EQ(std::vector<u8>(bytes.begin() + 132, bytes.end()), std::vector<u8>(1088 - 132));
    return {bytes.begin() + 64, bytes.begin() + 132};
  }

  /// The 68 bytes of a message that carries `data`.
  static std::vector<u8> message(u8 code, const std::vector<u8>& data) {
    std::vector<u8> bytes{code, 0, 0, 0};
    bytes.insert(bytes.end(), data.begin(), data.end());
    bytes.resize(68);
    return bytes;
  }
};

// --- Publishing ---

TEST_F(SideChannel, SendsEveryCommandFromOneToFourteen) {
  for (u8 code = 1; code <= 14; ++code) {
    bus().reset();
    EXPECT_TRUE(_engine.send_msg_to_rtsp(command(code), nullptr, 0));
    EXPECT_EQ(only_message(), message(code, {}));
  }
}

TEST_F(SideChannel, RefusesEveryOtherCommand) {
  for (const u32 code : {0U, 15U, 16U, 0x100U, 0x7fffffffU}) {
    EXPECT_EQ(
        transcript_of([&] { EXPECT_FALSE(_engine.send_msg_to_rtsp(command(code), nullptr, 0)); }),
        "The command_id is invalid " + std::to_string(code) + "\n");
  }
  EXPECT_EQ(transcript_of([&] { _engine.send_msg_to_rtsp(command(0xffffffff), nullptr, 0); }),
            "The command_id is invalid -1\n");
  EXPECT_TRUE(bus().published().empty());
}

TEST_F(SideChannel, CarriesDataUpToTheWholeBuffer) {
  std::vector<u8> data(64);
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<u8>(200 + i);
  EXPECT_TRUE(_engine.send_msg_to_rtsp(SEND_FPS, data.data(), 64));
  EXPECT_EQ(only_message(), message(5, data));
}

TEST_F(SideChannel, FillsUpShortDataWithZeros) {
  const u8 data[] = {1, 2, 3};
  EXPECT_TRUE(_engine.send_msg_to_rtsp(SEND_FPS, data, 2));
  EXPECT_EQ(only_message(), message(5, {1, 2}));
}

TEST_F(SideChannel, SendsZerosWithoutData) {
  EXPECT_TRUE(_engine.send_msg_to_rtsp(SEND_FPS, nullptr, 64));
  EXPECT_EQ(only_message(), message(5, {}));
}

TEST_F(SideChannel, RefusesDataBeyondTheBuffer) {
  const std::vector<u8> data(65);
  for (const unsigned int size : {65U, UINT_MAX}) {
    EXPECT_EQ(
        transcript_of([&] { EXPECT_FALSE(_engine.send_msg_to_rtsp(SEND_FPS, data.data(), size)); }),
        "error: input_len too big for lcm_udp_rtsp_msg buffer\n");
  }
  EXPECT_TRUE(bus().published().empty());
}

TEST_F(SideChannel, ReportsTheCommandBeforeTheLength) {
  EXPECT_EQ(transcript_of([&] { _engine.send_msg_to_rtsp(command(0), nullptr, 65); }),
            "The command_id is invalid 0\n");
}

// --- Waiting ---

TEST_F(SideChannel, WaitsForTheCodeAboveItsOwn) {
  for (u32 code = 1; code <= 14; ++code) {
    answer(command(code + 1));
    EXPECT_EQ(transcript_of([&] { EXPECT_TRUE(exchange(command(code))); }), "") << code;
  }
}

TEST_F(SideChannel, DoesNotWaitForWhatItCouldNotSend) {
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(exchange(command(15))); }),
            "The command_id is invalid 15\nsend_msg_to_rtsp failed\n");
  EXPECT_EQ(
      transcript_of([&] { EXPECT_FALSE(_engine.send_msg_rtsp_and_wait(SEND_FPS, nullptr, 65)); }),
      "error: input_len too big for lcm_udp_rtsp_msg buffer\nsend_msg_to_rtsp failed\n");
}

TEST_F(SideChannel, GivesUpOnASilentStreamer) {
  stay_silent();
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(exchange(SET_FLC_STATUS)); }),
            "error: set command_id 7 timeout waiting for answer\n");
}

TEST_F(SideChannel, GivesUpAfterTwoHundredMilliseconds) {
  const auto start = Clock::now();
  EXPECT_FALSE(exchange(SEND_FPS));
  EXPECT_GE(Clock::now() - start, milliseconds(200));
  EXPECT_LT(Clock::now() - start, milliseconds(3000));
}

TEST_F(SideChannel, ForgetsAnAcknowledgementWithItsRequest) {
  answer(SET_FLC_STATUS_ACK);
  EXPECT_TRUE(exchange(SET_FLC_STATUS));
  bus().reset();
  stay_silent();
  EXPECT_FALSE(exchange(SET_FLC_STATUS));
}

TEST_F(SideChannel, KeepsWaitingOnTheAcknowledgementOfAnotherCommand) {
  give_up_after(kForEver);
  auto pending = start_exchange(GET_FLC_STATUS);
  bus().wait_for_published(1);
  acknowledge(SET_FLC_DEBUG_STATUS_ACK, 9);
  EXPECT_EQ(pending.wait_for(kAWhile), std::future_status::timeout);
  acknowledge(GET_FLC_STATUS_ACK, 4);
  EXPECT_TRUE(pending.get());
  EXPECT_EQ(flow_control(), 4);
  EXPECT_EQ(flow_control_debug(), 9);
}

TEST_F(SideChannel, SendsNothingWhileAnotherRequestWaits) {
  give_up_after(kForEver);
  auto first = start_exchange(SET_FLC_STATUS);
  bus().wait_for_published(1);
  auto second = start_exchange(SET_FLC_DEBUG_STATUS);
  EXPECT_EQ(second.wait_for(kAWhile), std::future_status::timeout);
  EXPECT_EQ(bus().published().size(), 1U);
  acknowledge(SET_FLC_STATUS_ACK);
  EXPECT_TRUE(first.get());
  bus().wait_for_published(2);
  acknowledge(SET_FLC_DEBUG_STATUS_ACK);
  EXPECT_TRUE(second.get());
}

TEST_F(SideChannel, ServesManyCallersEachWithItsOwnAnswer) {
  constexpr u8 kRequests = 50;
  give_up_after(kForEver);
  bus().deliver_rtsp_to([this](const lcm_udp_rtsp_msg_t& request) {
    acknowledge(command(request.msg_cmd + 1), request.msg_buf[0]);
  });
  const auto set_all = [](auto set) {
    return std::async(std::launch::async, [=] {
      int done = 0;
      for (u8 flag = 0; flag < kRequests; ++flag) done += set(flag) ? 1 : 0;
      return done;
    });
  };
  auto flags = set_all([this](u8 flag) { return _engine.set_rtsp_flow_control(flag); });
  auto debug = set_all([this](u8 flag) { return _engine.set_rtsp_flow_control_debug(flag); });
  auto rates = set_all([this](u8 fps) { return _engine.send_rtsp_live_view_fps(fps); });
  EXPECT_EQ(flags.get(), kRequests);
  EXPECT_EQ(debug.get(), kRequests);
  EXPECT_EQ(rates.get(), kRequests);
}

TEST_F(SideChannel, WorksWhileACameraRequestWaits) {
  bus().stay_silent();
  auto pending = start_request(UDP_CTRL_CAM_GET_IRIS);
  answer(SEND_FPS_ACK);
  EXPECT_TRUE(exchange(SEND_FPS));
  reply(UDP_CTRL_CAM_GET_IRIS);
  EXPECT_EQ(pending.get(), kSuccess);
}

// --- Storing ---

TEST_F(SideChannel, StoresTheFlagOfEachAcknowledgementThatCarriesOne) {
  u8 expected_flag = 0;
  u8 expected_debug = 0;
  for (u8 code = 0; code <= 16; ++code) {
    const u8 flag = static_cast<u8>(code + 100);
    acknowledge(command(code), flag);
    if (code == 8 || code == 10) expected_flag = flag;
    if (code == 12 || code == 14) expected_debug = flag;
    EXPECT_EQ(flow_control(), expected_flag) << int{code};
    EXPECT_EQ(flow_control_debug(), expected_debug) << int{code};
  }
}

TEST_F(SideChannel, ReadsNothingOfAnAcknowledgementWithoutAFlag) {
  const std::vector<u8> bytes(16);
  const u8* const behind = bytes.data() + bytes.size();
  for (const u32 code : {2U, 4U, 6U}) _engine.receive_msg_from_rtsp(command(code), behind);
  EXPECT_EQ(flow_control(), 0);
}

TEST_F(SideChannel, StoresNothingWithoutData) {
  acknowledge(SET_FLC_STATUS_ACK, 3);
  _engine.receive_msg_from_rtsp(SET_FLC_STATUS_ACK, nullptr);
  EXPECT_EQ(flow_control(), 3);
}

// --- Operations ---

TEST_F(SideChannel, SendsTheFrameRate) {
  answer(SEND_FPS_ACK);
  EXPECT_EQ(transcript_of([&] { EXPECT_TRUE(_engine.send_rtsp_live_view_fps(0x12345678)); }), "");
  EXPECT_EQ(only_message(), message(5, {0x78, 0x56, 0x34, 0x12}));
}

TEST_F(SideChannel, ReportsAnUnansweredFrameRate) {
  stay_silent();
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.send_rtsp_live_view_fps(30)); }),
            "error: set command_id 5 timeout waiting for answer\n"
            "The send_rtsp_live_view_fps failed\n");
}

TEST_F(SideChannel, SetsFlowControl) {
  answer(SET_FLC_STATUS_ACK, 200);
  EXPECT_EQ(transcript_of([&] { EXPECT_TRUE(_engine.set_rtsp_flow_control(200)); }),
            "set_rtsp_flow_control: rtsp_fc_flag 200\n");
  EXPECT_EQ(only_message(), message(7, {200}));
}

TEST_F(SideChannel, SetsFlowControlDebug) {
  answer(SET_FLC_DEBUG_STATUS_ACK, 1);
  EXPECT_EQ(transcript_of([&] { EXPECT_TRUE(_engine.set_rtsp_flow_control_debug(1)); }),
            "set_rtsp_flow_control_debug: rtsp_fc_debug_flag 1\n");
  EXPECT_EQ(only_message(), message(11, {1}));
}

TEST_F(SideChannel, ReportsUnansweredSetters) {
  stay_silent();
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.set_rtsp_flow_control(1)); }),
            "set_rtsp_flow_control: rtsp_fc_flag 1\n"
            "error: set command_id 7 timeout waiting for answer\n"
            "set_rtsp_flow_control timeout\n");
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.set_rtsp_flow_control_debug(1)); }),
            "set_rtsp_flow_control_debug: rtsp_fc_debug_flag 1\n"
            "error: set command_id 11 timeout waiting for answer\n"
            "set_rtsp_flow_control_debug timeout\n");
}

TEST_F(SideChannel, ReportsAFlagThatDidNotTake) {
  answer(SET_FLC_STATUS_ACK, 0);
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.set_rtsp_flow_control(1)); }),
            "set_rtsp_flow_control: rtsp_fc_flag 1\n"
            "The rtsp_fc_flag result is NOT expected\n");
  answer(SET_FLC_DEBUG_STATUS_ACK, 0);
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.set_rtsp_flow_control_debug(1)); }),
            "set_rtsp_flow_control_debug: rtsp_fc_debug_flag 1\n"
            "The rtsp_fc_debug_flag result is NOT expected\n");
}

TEST_F(SideChannel, GetsFlowControl) {
  u8 flag = 0;
  answer(GET_FLC_STATUS_ACK, 255);
  EXPECT_EQ(transcript_of([&] { EXPECT_TRUE(_engine.get_rtsp_flow_control(flag)); }),
            "get_rtsp_flow_control:\n"
            "rtsp_fc_flag 255\n");
  EXPECT_EQ(flag, 255);
  EXPECT_EQ(only_message(), message(9, {}));
}

TEST_F(SideChannel, GetsFlowControlDebug) {
  u8 flag = 0;
  answer(GET_FLC_DEBUG_STATUS_ACK, 1);
  EXPECT_EQ(transcript_of([&] { EXPECT_TRUE(_engine.get_rtsp_flow_control_debug(flag)); }),
            "get_rtsp_flow_control_debug:\n"
            "rtsp_fc_debug_flag 1\n");
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(only_message(), message(13, {}));
}

TEST_F(SideChannel, LeavesTheFlagAloneWhenAGetterIsUnanswered) {
  u8 flag = 77;
  stay_silent();
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.get_rtsp_flow_control(flag)); }),
            "get_rtsp_flow_control:\n"
            "error: set command_id 9 timeout waiting for answer\n"
            "get_rtsp_flow_control timeout\n");
  EXPECT_EQ(transcript_of([&] { EXPECT_FALSE(_engine.get_rtsp_flow_control_debug(flag)); }),
            "get_rtsp_flow_control_debug:\n"
            "error: set command_id 13 timeout waiting for answer\n"
            "get_rtsp_flow_control_debug timeout\n");
  EXPECT_EQ(flag, 77);
}

}  // namespace
