#include "admission.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vlm::service {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

sockaddr_in sender(const std::string& address, int port = 1000) {
  sockaddr_in made{};
  EXPECT_TRUE(parse_address(address, made.sin_addr)) << address;
  made.sin_port = htons(static_cast<std::uint16_t>(port));
  return made;
}

class AdmissionTest : public testing::Test {
 protected:
  Admission admission(const std::vector<std::string>& networks, unsigned rate = 0) {
    AdmissionRules rules;
    for (const std::string& text : networks) {
      const auto network = parse_network(text);
      EXPECT_TRUE(network) << text;
      if (network) rules.allowed.push_back(*network);
    }
    rules.rate = rate;
    return {rules, [this](const std::string& line) { lines.push_back(line); }};
  }

  std::vector<std::string> lines;
  Admission::Clock::time_point now{};
};

TEST(Network, HoldsTheAddressesThatBeginLikeIt) {
  const auto holds = [](const char* network, const char* address) {
    return parse_network(network)->holds(ntohl(sender(address).sin_addr.s_addr));
  };
  EXPECT_TRUE(holds("10.1.0.0/16", "10.1.255.7"));
  EXPECT_FALSE(holds("10.1.0.0/16", "10.2.0.0"));
  EXPECT_TRUE(holds("10.1.2.3", "10.1.2.3"));
  EXPECT_FALSE(holds("10.1.2.3", "10.1.2.2"));
  EXPECT_TRUE(holds("10.1.2.2/31", "10.1.2.3"));
  EXPECT_TRUE(holds("0.0.0.0/0", "255.255.255.255"));
}

TEST(Network, IsNotReadFromAnythingElse) {
  for (const char* const text :
       {"", "/8", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "10.0.0.0/8x", "10.0.0/8",
        "10.0.0.1/8", "camera", "::1", "10.0.0.0/8/8", " 10.0.0.0"}) {
    EXPECT_FALSE(parse_network(text)) << text;
  }
}

TEST_F(AdmissionTest, ServesEverybodyWhenNothingIsSaid) {
  Admission all = admission({});
  for (int i = 0; i < 10000; ++i) EXPECT_TRUE(all.admits(sender("203.0.113.9"), now));
  EXPECT_TRUE(lines.empty());
}

TEST_F(AdmissionTest, ServesTheAllowedNetworksAlone) {
  Admission two = admission({"10.0.0.0/24", "192.168.7.1"});
  EXPECT_TRUE(two.admits(sender("10.0.0.255"), now));
  EXPECT_TRUE(two.admits(sender("192.168.7.1"), now));
  EXPECT_FALSE(two.admits(sender("192.168.7.2"), now));
  EXPECT_FALSE(two.admits(sender("10.0.1.0"), now));
}

TEST_F(AdmissionTest, ServesEachAddressAsOftenAsItMayAsk) {
  Admission three = admission({}, 3);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(three.admits(sender("10.0.0.1", 1000 + i), now));
  EXPECT_FALSE(three.admits(sender("10.0.0.1", 2000), now));
  EXPECT_TRUE(three.admits(sender("10.0.0.2"), now));
  EXPECT_FALSE(three.admits(sender("10.0.0.1"), now + milliseconds(333)));
  EXPECT_TRUE(three.admits(sender("10.0.0.1"), now + milliseconds(334)));
  EXPECT_FALSE(three.admits(sender("10.0.0.1"), now + milliseconds(335)));
}

TEST_F(AdmissionTest, GivesNobodyMoreForHavingBeenSilent) {
  Admission two = admission({}, 2);
  EXPECT_TRUE(two.admits(sender("10.0.0.1"), now));
  now += seconds(3600);
  EXPECT_TRUE(two.admits(sender("10.0.0.1"), now));
  EXPECT_TRUE(two.admits(sender("10.0.0.1"), now));
  EXPECT_FALSE(two.admits(sender("10.0.0.1"), now));
}

TEST_F(AdmissionTest, ForgetsWhoHasBeenSilentForLongest) {
  Admission one = admission({}, 1);
  EXPECT_TRUE(one.admits(sender("10.0.0.0"), now));
  EXPECT_TRUE(one.admits(sender("10.0.0.1"), now + milliseconds(1)));
  for (std::size_t i = 2; i <= Admission::kMostSenders; ++i) {  // one too many
    const std::string address =
        "10.0." + std::to_string(i / 250 + 1) + "." + std::to_string(i % 250);
    EXPECT_TRUE(one.admits(sender(address), now + milliseconds(2)));
  }
  EXPECT_FALSE(one.admits(sender("10.0.0.1"), now + milliseconds(3)));
  EXPECT_TRUE(one.admits(sender("10.0.0.0"), now + milliseconds(3)));
}

TEST_F(AdmissionTest, TellsAtOnceAndThenOnceInTenSeconds) {
  Admission mixed = admission({"10.0.0.0/8"}, 1);
  EXPECT_FALSE(mixed.admits(sender("192.168.0.1"), now));
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(
      lines[0],
      "datagrams dropped so far: 1 of senders that are not allowed, 0 of senders that sent too "
      "many; the last of 192.168.0.1");
  EXPECT_TRUE(mixed.admits(sender("10.0.0.1"), now));
  for (int i = 0; i < 9999; ++i) mixed.admits(sender("10.0.0.1"), now);
  mixed.admits(sender("192.168.0.2"), now + milliseconds(9999));
  EXPECT_EQ(lines.size(), 1U);
  mixed.admits(sender("192.168.0.3"), now + seconds(10));
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(
      lines[1],
      "datagrams dropped so far: 3 of senders that are not allowed, 9999 of senders that sent "
      "too many; the last of 192.168.0.3");
}

TEST_F(AdmissionTest, TellsTheRestAtTheEnd) {
  Admission none = admission({"10.0.0.1"});
  none.tell_rest();
  EXPECT_TRUE(lines.empty());
  none.admits(sender("10.0.0.2"), now);
  none.tell_rest();
  EXPECT_EQ(lines.size(), 1U);
  none.admits(sender("10.0.0.3"), now);
  none.tell_rest();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(
      lines[1],
      "datagrams dropped in all: 2 of senders that are not allowed, 0 of senders that sent too "
      "many; the last of 10.0.0.3");
}

}  // namespace

}  // namespace vlm::service
