#include "camera_peer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <set>

#include "scripted_bus.h"

namespace {
thread_local int g_allocations = 0;
}  // namespace

// Counts what this thread allocates. Inlined, the compiler would take new and free for a mismatch.
__attribute__((noinline)) void* operator new(std::size_t size) {
  ++g_allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
__attribute__((noinline)) void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++g_allocations;
  return std::malloc(size);
}
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
__attribute__((noinline)) void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using namespace vlm::sim;
using std::chrono::steady_clock;

/// Keeps what the peer publishes.
class Outbox {
 public:
  int take(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
    const std::lock_guard<std::mutex> guard(_mutex);
    _published.push_back({channel, *packet, length});
    _threads.push_back(std::this_thread::get_id());
    _changed.notify_all();
    return 0;
  }
  /// What has been published; waits until there are `count` at least.
  std::vector<Published> wait_for(std::size_t count) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [&] { return _published.size() >= count; });
    return _published;
  }
  std::vector<std::thread::id> threads() {
    const std::lock_guard<std::mutex> guard(_mutex);
    return _threads;
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  std::vector<Published> _published;
  std::vector<std::thread::id> _threads;
};

/// The packet in which the console's program asks.
userlcm_packet_t request_packet(int code, const std::vector<u8>& payload = {}) {
  userlcm_packet_t packet = camera_packet(camera_record(code, payload));
  std::memset(packet.channel, 0, sizeof packet.channel);
  std::strcpy(packet.channel, kReplyChannel);
  return packet;
}

constexpr unsigned int kRequestSize = 64 + 257;

class Peer : public testing::Test {
 protected:
  Outbox outbox;
  std::mutex lines_mutex;
  std::vector<std::string> lines;
  std::vector<std::string> complaints;
  std::vector<udp_ctrl_cam_misc_image_info_t> pictures;
  std::size_t published_before_picture = 0;
  std::unique_ptr<CameraPeer> peer;

  void start(FaultPlan plan = {}, u64 seed = 1, bool verbose = false) {
    const auto publish = [this](const userlcm_packet_t* packet, unsigned int length,
                                const char* channel) {
      return outbox.take(packet, length, channel);
    };
    CameraPeer::TakeLine trace;
    if (verbose) {
      trace = [this](const std::string& line) {
        const std::lock_guard<std::mutex> guard(lines_mutex);
        lines.push_back(line);
      };
    }
    CameraTraits traits;
    traits.seed = seed;
    const auto complain = [this](const std::string& line) {
      const std::lock_guard<std::mutex> guard(lines_mutex);
      complaints.push_back(line);
    };
    const auto tell = [this](const std::string& text) {
      const std::lock_guard<std::mutex> guard(lines_mutex);
      lines.push_back(text);
    };
    const auto keep_picture = [this](const udp_ctrl_cam_misc_image_info_t& picture) {
      const std::lock_guard<std::mutex> guard(lines_mutex);
      pictures.push_back(picture);
      published_before_picture = published();
    };
    peer = std::make_unique<CameraPeer>(
        traits, std::move(plan), CameraPeer::Outlets{publish, trace, complain, tell, keep_picture});
  }
  void start_verbose(FaultPlan plan = {}) { start(std::move(plan), 1, true); }

  void ask(int code, const std::vector<u8>& payload = {}) {
    const userlcm_packet_t packet = request_packet(code, payload);
    peer->receive(&packet, kRequestSize);
  }
  std::size_t published() { return outbox.wait_for(0).size(); }
  udp_ctrl_cam_t reply(std::size_t index) { return outbox.wait_for(index + 1)[index].record(); }
  u8 type(std::size_t index) { return outbox.wait_for(index + 1)[index].packet.msg_buf[0]; }
  std::vector<std::string> said() {
    const std::lock_guard<std::mutex> guard(lines_mutex);
    return lines;
  }
};

FaultPlan latency(u64 us) {
  FaultPlan plan;
  plan.latency_low_us = plan.latency_high_us = us;
  return plan;
}

TEST_F(Peer, AnswersARequestInTheCamerasName) {
  start();
  ask(1);
  const auto all = outbox.wait_for(1);
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].channel, "velmar_udp_repeater");
  EXPECT_EQ(all[0].length, 257U);
  const userlcm_packet_t expected = camera_packet(camera_record(1, {1}));
  EXPECT_EQ(std::memcmp(&all[0].packet, &expected, sizeof expected), 0);
}

TEST_F(Peer, AnswersAtOnceOnTheThreadThatBroughtTheRequest) {
  start();
  ask(1);
  EXPECT_EQ(outbox.threads(), (std::vector<std::thread::id>{std::this_thread::get_id()}));
}

TEST_F(Peer, AnswersWithoutAllocating) {
  std::atomic<int> replies{0};
  CameraPeer quiet({true}, {},
                   {[&](const userlcm_packet_t*, unsigned int, const char*) { return ++replies; },
                    {},
                    {},
                    {},
                    {}});
  const userlcm_packet_t packet = request_packet(82);
  const int before = g_allocations;
  for (int i = 0; i < 10; ++i) quiet.receive(&packet, kRequestSize);
  EXPECT_EQ(g_allocations, before);
  EXPECT_EQ(replies, 10);
}

TEST_F(Peer, TakesWholePacketsToo) {
  start();
  const userlcm_packet_t packet = request_packet(1);
  peer->receive(&packet, sizeof packet);
  EXPECT_EQ(published(), 1U);
}

TEST_F(Peer, IgnoresWhatIsNoCameraRequest) {
  start_verbose();
  userlcm_packet_t packet = request_packet(1);
  peer->receive(&packet, 64 + 1 + 131);
  peer->receive(&packet, 0);
  packet.msg_buf[0] = LCM_BIND_MAC;
  peer->receive(&packet, kRequestSize);
  packet = camera_packet(camera_record(1));
  peer->receive(&packet, kRequestSize);
  std::memset(packet.channel, 'x', sizeof packet.channel);
  peer->receive(&packet, kRequestSize);
  EXPECT_EQ(published(), 0U);
  EXPECT_EQ(said(),
            (std::vector<std::string>{
                "ignored: too short", "ignored: too short", "ignored: no camera request",
                "ignored: not from the camera's client", "ignored: not from the camera's client"}));
}

TEST_F(Peer, AnswersTheShortestCompleteRequest) {
  start();
  const userlcm_packet_t packet = request_packet(1);
  peer->receive(&packet, 64 + 1 + 132);
  EXPECT_EQ(published(), 1U);
}

TEST_F(Peer, NotifiesAfterTheReply) {
  start();
  ask(2, {2});
  EXPECT_EQ(type(0), LCM_CONTROL_CAMERA);
  EXPECT_EQ(type(1), LCM_UPDATE_CAMERA_MODE);
  const auto notified = outbox.wait_for(2)[1];
  EXPECT_EQ(notified.channel, "velmar_udp_repeater");
  EXPECT_STREQ(notified.packet.channel, "velmar_repeater_udp");
  EXPECT_EQ(notified.length, 257U);
  EXPECT_EQ(notified.packet.msg_buf[1], 2);
  EXPECT_EQ(notified.packet.msg_buf[2], 0);
}

TEST_F(Peer, NotifiesAPictureThatIsFinished) {
  start();
  ask(2, {2});
  outbox.wait_for(2);
  ask(3);
  EXPECT_EQ(type(2), LCM_CONTROL_CAMERA);
  EXPECT_EQ(type(3), LCM_CAPTURE_IMAGE_RESULT);
  EXPECT_EQ(type(4), LCM_MISC_IMAGE_INFO);
}

TEST_F(Peer, AnswersNoSoonerThanItsLatency) {
  start(latency(20000));
  const auto asked = steady_clock::now();
  ask(1);
  outbox.wait_for(1);
  EXPECT_GE(steady_clock::now() - asked, std::chrono::milliseconds(20));
  EXPECT_NE(outbox.threads().at(0), std::this_thread::get_id());
}

TEST_F(Peer, KeepsTheOrderOfRepliesOfRandomLatency) {
  FaultPlan plan;
  plan.latency_high_us = 5000;
  start(plan);
  for (u16 code = 0; code < 50; ++code) ask(1000 + code);
  outbox.wait_for(50);
  for (u16 i = 0; i < 50; ++i) EXPECT_EQ(reply(i).cmd_type, 1000 + i);
}

TEST_F(Peer, LetsNoNotificationOvertakeItsReply) {
  start(latency(100000));
  ask(2, {2});
  EXPECT_EQ(type(0), LCM_CONTROL_CAMERA);
  EXPECT_EQ(type(1), LCM_UPDATE_CAMERA_MODE);
}

TEST_F(Peer, LosesWhatFindsNoRoomAndTellsHowMuch) {
  start(latency(u64{3600} * 1000000));
  constexpr std::size_t kMost = PacketSchedule::kMostPackets;
  for (std::size_t i = 0; i < kMost; ++i) ask(1);
  EXPECT_TRUE(complaints.empty());
  for (int i = 0; i < 3; ++i) ask(1);
  EXPECT_EQ(complaints,
            (std::vector<std::string>{"4096 packets wait, no more fit; dropped so far: 1"}));
}

TEST_F(Peer, TellsHowMuchItLostOnceThereIsRoomAgain) {
  // A machine that takes longer to fill the schedule than the replies are late proves nothing: again
  // then.
  constexpr std::size_t kMost = PacketSchedule::kMostPackets;
  steady_clock::time_point asked;
  std::size_t replies = 0;
  do {
    peer.reset();
    complaints.clear();
    replies = published() + kMost;
    start(latency(1000000));
    asked = steady_clock::now();
    for (std::size_t i = 0; i < kMost + 5; ++i) ask(1);
  } while (steady_clock::now() - asked >= std::chrono::seconds(1));
  outbox.wait_for(replies);
  ask(1);
  EXPECT_EQ(complaints,
            (std::vector<std::string>{"4096 packets wait, no more fit; dropped so far: 1",
                                      "packets fit again; dropped in all: 5"}));
}

TEST_F(Peer, KeepsAPictureBeforeItsNotification) {
  start();
  ask(2, {2});
  outbox.wait_for(2);
  ask(3);
  outbox.wait_for(5);
  const std::lock_guard<std::mutex> guard(lines_mutex);
  ASSERT_EQ(pictures.size(), 1U);
  EXPECT_STREQ(pictures[0].url, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG");
  EXPECT_EQ(published_before_picture, 4U);
}

TEST_F(Peer, EndsWhileRepliesAreWaiting) {
  start(latency(u64{3600} * 1000000));
  ask(1);
  peer->stop();
  peer.reset();
  EXPECT_EQ(published(), 0U);
}

TEST_F(Peer, CarriesOutWhatItsLostReplyAnswers) {
  FaultPlan plan;
  plan.drop = 1;
  start_verbose(plan);
  ask(4);
  EXPECT_EQ(published(), 0U);
  EXPECT_NE(peer->operate("state").text.find("video, recording"), std::string::npos);
  EXPECT_EQ(said().back(), "<- lost: 4 START_RECORD [0 VLM success]");
}

TEST_F(Peer, SendsADuplicateAsASecondReply) {
  FaultPlan plan;
  plan.duplicate = 1;
  start(plan);
  ask(1);
  const auto all = outbox.wait_for(2);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(std::memcmp(&all[0].packet, &all[1].packet, sizeof all[0].packet), 0);
}

TEST_F(Peer, SendsDuplicatesAlsoWhenTheyAreLate) {
  FaultPlan plan = latency(1000);
  plan.duplicate = 1;
  start(plan);
  ask(1);
  EXPECT_EQ(outbox.wait_for(2).size(), 2U);
}

/// A seed with which the first reply is held back and the second is not.
u64 seed_that_holds_the_first(const FaultPlan& plan) {
  for (u64 seed = 0;; ++seed) {
    Faults faults(plan, seed);
    const bool first = faults.next(1).held;
    if (first && !faults.next(1).held) return seed;
  }
}

TEST_F(Peer, HoldsAReplyBackPastALaterOne) {
  FaultPlan plan;
  plan.reorder = 0.5;
  const u64 seed = seed_that_holds_the_first(plan);
  // A machine that stands still for as long as the reply is held back proves nothing: again then.
  steady_clock::duration between{};
  std::size_t replies = 0;
  do {
    start(plan, seed);
    const auto asked = steady_clock::now();
    ask(1000);
    ask(1001);
    between = steady_clock::now() - asked;
    replies += 2;
    outbox.wait_for(replies);
  } while (between >= std::chrono::microseconds(kHoldUs));
  EXPECT_EQ(reply(replies - 2).cmd_type, 1001);
  EXPECT_EQ(reply(replies - 1).cmd_type, 1000);
}

TEST_F(Peer, NeitherCarriesOutNorAnswersWhatIsMuted) {
  FaultPlan plan;
  plan.mute.insert(4);
  start_verbose(plan);
  ask(4);
  EXPECT_EQ(published(), 0U);
  EXPECT_NE(peer->operate("state").text.find("video, idle"), std::string::npos);
  EXPECT_EQ(said(), (std::vector<std::string>{"-> 4 START_RECORD", "ignored: muted"}));
}

TEST_F(Peer, AnswersTheErrorThatIsAskedForAndCarriesNothingOut) {
  FaultPlan plan;
  plan.fail[4] = 76;
  start(plan);
  ask(4);
  EXPECT_EQ(reply(0).cmd_type, 4);
  EXPECT_EQ(reply(0).err_code, 76);
  EXPECT_NE(peer->operate("state").text.find("video, idle"), std::string::npos);
}

TEST_F(Peer, NotifiesWhatTheOperatorDoes) {
  start();
  EXPECT_EQ(peer->operate("card remove").text, "card removed\n");
  const auto all = outbox.wait_for(1);
  EXPECT_EQ(all[0].packet.msg_buf[0], LCM_SDCARD_STATUS);
  EXPECT_EQ(all[0].packet.msg_buf[1], 0x40);
}

TEST_F(Peer, SaysWhatPassesWhenItIsVerbose) {
  start_verbose();
  ask(2, {2});
  outbox.wait_for(2);
  ask(4);
  peer->operate("card remove");
  outbox.wait_for(4);
  // Notifications are said on a thread of their own: before or behind the reply's line.
  const auto spoken = said();
  EXPECT_EQ((std::multiset<std::string>{spoken.begin(), spoken.end()}),
            (std::multiset<std::string>{
                "-> 2 SET_CAMERA_MODE 02", "<- 2 SET_CAMERA_MODE [0 VLM success]",
                "<- camera mode 2", "-> 4 START_RECORD",
                "<- 4 START_RECORD [11 VLM is not video mode]", "<- card removed, slot 0"}));
  EXPECT_EQ(spoken.front(), "-> 2 SET_CAMERA_MODE 02");
}

TEST_F(Peer, SendsAReplyThatNobodyAskedForRightBehindAGoodOne) {
  FaultPlan plan;
  plan.stray = 1;
  start(plan);
  ask(1);
  const auto all = outbox.wait_for(2);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].record().cmd_type, 1);
  EXPECT_NE(all[1].record().cmd_type, 1);
  EXPECT_EQ(all[1].length, 257U);
  EXPECT_EQ(all[1].record().err_code, 0);
}

TEST_F(Peer, CutsAndLengthensReplies) {
  FaultPlan plan;
  plan.truncate = 1;
  start(plan);
  for (int i = 0; i < 100; ++i) ask(1);
  for (const auto& reply : outbox.wait_for(100)) EXPECT_LT(reply.length, 257U);
  plan.truncate = 0;
  plan.extend = 1;
  start(plan);
  for (int i = 0; i < 100; ++i) ask(1);
  const auto all = outbox.wait_for(200);
  for (std::size_t i = 100; i < 200; ++i) {
    ASSERT_GT(all[i].length, 257U);
    ASSERT_LE(all[i].length, 1024U);
    ASSERT_EQ(all[i].packet.msg_buf[all[i].length - 1], 0xFF);
    ASSERT_EQ(all[i].record().cmd_params[0], 1);
  }
}

TEST_F(Peer, FlipsOneBitOfAReply) {
  FaultPlan plan;
  plan.corrupt = 1;
  start(plan);
  for (int i = 0; i < 100; ++i) ask(1);
  const userlcm_packet_t good = camera_packet(camera_record(1, {1}));
  for (const auto& reply : outbox.wait_for(100)) {
    int flipped = 0;
    for (std::size_t i = 0; i < sizeof good.msg_buf; ++i) {
      flipped += __builtin_popcount(good.msg_buf[i] ^ reply.packet.msg_buf[i]);
    }
    ASSERT_EQ(flipped, 1);
  }
}

TEST_F(Peer, RestartsTheCameraAtARequest) {
  FaultPlan plan;
  plan.restart_every = 2;
  start(plan);
  ask(4);
  ask(1);  // gets no answer
  ask(1);
  EXPECT_EQ(published(), 2U);
  EXPECT_EQ(reply(0).err_code, VLM_ERR_NONE);
  EXPECT_EQ(reply(1).err_code, VLM_ERR_CAMERA_NOT_INITIAL);
}

TEST_F(Peer, LetsNoPromptReplyOvertakeALateOne) {
  FaultPlan plan;
  plan.latency_of[1] = {50000, 50000};
  start(plan);
  ask(1);
  ask(2, {2});
  EXPECT_EQ(reply(0).cmd_type, 1);
  EXPECT_EQ(reply(1).cmd_type, 2);
}

TEST_F(Peer, CarriesOutWhatTheOperatorLetWait) {
  start();
  peer->operate("after 10ms card remove");
  EXPECT_EQ(type(0), LCM_SDCARD_STATUS);
  EXPECT_EQ(said(), (std::vector<std::string>{"card removed\n"}));
}

TEST_F(Peer, TakesFaultsWhileItRuns) {
  start();
  peer->operate("fail 1=76 once");
  ask(1);
  ask(1);
  EXPECT_EQ(reply(0).err_code, 76);
  EXPECT_EQ(reply(1).err_code, 0);
  peer->operate("drop next 1");
  ask(1);
  ask(1);
  EXPECT_EQ(published(), 3U);
}

class RtspPeer : public Peer {
 protected:
  static constexpr unsigned int kMessageSize = 64 + 68;

  userlcm_packet_t message(u32 code, u8 data = 0, const std::string& sender = kRtspReplyChannel) {
    userlcm_packet_t packet{};
    sender.copy(packet.channel, sizeof packet.channel);
    std::memcpy(packet.msg_buf, &code, sizeof code);
    packet.msg_buf[4] = data;
    return packet;
  }
  void send(const userlcm_packet_t& packet, unsigned int length = kMessageSize) {
    peer->receive_rtsp(&packet, length);
  }
};

TEST_F(RtspPeer, AcknowledgesOnTheChannelThatTheRequestNames) {
  start();
  send(message(SET_FLC_STATUS, 5));
  send(message(GET_FLC_STATUS, 0, "another_channel"));
  const auto all = outbox.wait_for(2);
  EXPECT_EQ(all[0].channel, "lcm_channel_from_udp");
  EXPECT_EQ(all[0].length, 68U);
  const userlcm_packet_t expected = message(SET_FLC_STATUS_ACK, 5, "lcm_channel_to_rtsp");
  EXPECT_EQ(std::memcmp(&all[0].packet, &expected, sizeof expected), 0);
  EXPECT_EQ(all[1].channel, "another_channel");
  EXPECT_EQ(all[1].packet.msg_buf[4], 5);
}

TEST_F(RtspPeer, TakesAChannelNameThatFillsItsField) {
  start();
  send(message(GET_FLC_STATUS, 0, std::string(64, 'c')));
  EXPECT_EQ(outbox.wait_for(1)[0].channel, std::string(64, 'c'));
}

TEST_F(RtspPeer, IgnoresWhatIsNoRequest) {
  start_verbose();
  send(message(GET_FLC_STATUS), kMessageSize - 1);
  send(message(GET_FLC_STATUS, 0, ""));
  send(message(GET_FLC_STATUS_ACK));
  EXPECT_EQ(published(), 0U);
  EXPECT_EQ(said(), (std::vector<std::string>{
                        "ignored: too short", "ignored: names no channel for the answer",
                        "-> rtsp 10", "ignored: no command of the streaming process"}));
}

TEST_F(RtspPeer, SaysWhatPassesWhenItIsVerbose) {
  start_verbose();
  send(message(SET_FLC_DEBUG_STATUS, 1));
  EXPECT_EQ(said(), (std::vector<std::string>{"-> rtsp 11 01", "<- rtsp 12 01"}));
}

}  // namespace
