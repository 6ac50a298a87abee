#include "role_inquiry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace vlm::bus;

using std::chrono::milliseconds;

constexpr milliseconds kNobodyAnswers{0};  // what answers does so before the question returns
constexpr milliseconds kPlenty{20000};

/// A bus with one channel, which delivers on the publisher's thread.
class Inquiry : public testing::Test {
 protected:
  std::list<RoleInquiry> processes;
  std::vector<RoleInquiry*> subscribers;

  RoleInquiry& make(long id) {
    return processes.emplace_back(
        "camera", "the_channel", id,
        [this](const userlcm_packet_t* packet, unsigned int length, const char* channel) {
          EXPECT_STREQ(channel, "the_channel");
          EXPECT_STREQ(packet->channel, "camera");
          for (RoleInquiry* subscriber : subscribers)
            EXPECT_TRUE(deliver(*subscriber, *packet, length));
          return 0;
        });
  }
  RoleInquiry& subscribed(long id) {
    RoleInquiry& made = make(id);
    subscribers.push_back(&made);
    return made;
  }
  static bool deliver(RoleInquiry& to, const userlcm_packet_t& packet, unsigned int length) {
    return to.receive(&packet, 64 + length);
  }
};

TEST_F(Inquiry, OneThatIsAloneServes) { EXPECT_EQ(subscribed(5).ask(kNobodyAnswers), 0); }

TEST_F(Inquiry, OneThatServesAnswersWhateverTheNumbers) {
  subscribed(5).ask(kNobodyAnswers);
  EXPECT_EQ(subscribed(9).ask(kPlenty), 5);
  EXPECT_EQ(subscribed(3).ask(kPlenty), 5);
}

TEST_F(Inquiry, OneThatServesByForceAnswersToo) {
  subscribed(5).ask(kNobodyAnswers);
  RoleInquiry& forced = subscribed(9);
  EXPECT_EQ(forced.ask(kPlenty), 5);
  forced.serve();
  subscribers = {&forced};
  EXPECT_EQ(subscribed(20).ask(kPlenty), 9);
}

TEST_F(Inquiry, OneThatHearsAQuestionBeforeItsOwnGivesWay) {
  RoleInquiry& early = subscribed(3);
  RoleInquiry& first = subscribed(9);
  EXPECT_EQ(first.ask(kNobodyAnswers), 0);
  EXPECT_EQ(early.ask(kPlenty), 9);
}

TEST_F(Inquiry, OfManyThatAskAtOnceOneServes) {
  for (int round = 0; round < 200; ++round) {
    processes.clear();
    subscribers.clear();
    constexpr int kCount = 4;
    for (int i = 0; i < kCount; ++i) subscribed(kCount - i);
    std::vector<long> others(kCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < kCount; ++i) {
      threads.emplace_back([&, i] {
        others[static_cast<std::size_t>(i)] =
            subscribers[static_cast<std::size_t>(i)]->ask(milliseconds(5));
      });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(std::count(others.begin(), others.end(), 0), 1);
  }
}

TEST_F(Inquiry, OthersPacketsAreHeldBackUntilItServes) {
  RoleInquiry& process = subscribed(5);
  const userlcm_packet_t packet{};
  EXPECT_TRUE(deliver(process, packet, 257));
  process.ask(kNobodyAnswers);
  EXPECT_FALSE(deliver(process, packet, 257));
  EXPECT_FALSE(deliver(process, packet, 0));
}

}  // namespace
