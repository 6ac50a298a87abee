#include "proven_subscriptions.h"

#include <future>
#include <list>

#include "bus_fixture.h"
#include "envelope.h"

namespace {

using namespace vlm::bus;

constexpr std::chrono::seconds kLong{20};

/// What a receiver gets first; it and its thread stay for good.
struct First {
  std::promise<std::string> packet;
  std::once_flag once;
};

/// One that is never destroyed, and within reach to the end, so that no leak is reported.
First& make_first() {
  static auto& all = *new std::list<First>;
  return all.emplace_back();
}

/// Keeps the first packet as "CHANNEL SENDER LENGTH".
ProvenSubscriptions::Receiver into(First& first) {
  return [&first](const void* packet, unsigned int length, const char* channel) {
    const std::string sender = read_record<userlcm_packet_t>(packet, length).channel;
    std::call_once(first.once, [&] {
      first.packet.set_value(channel + (" " + sender) + " " + std::to_string(length));
    });
  };
}

class ProvenSubscriptionsTest : public BusFixture {};

TEST_F(ProvenSubscriptionsTest, BringEachReceiverThePacketsOfItsChannelAndNoProbes) {
  First& one = make_first();
  First& other = make_first();
  auto& subscriptions = ProvenSubscriptions::create(
      "prober", {{_channel + "-one", into(one)}, {_channel + "-other", into(other)}});
  subscriptions.start();
  ASSERT_TRUE(subscriptions.wait(kLong));
  const userlcm_packet_t packet = packet_from("sender");
  send_msg_to_lcm(&packet, 3, (_channel + "-other").c_str());
  send_msg_to_lcm(&packet, 5, (_channel + "-one").c_str());
  EXPECT_EQ(other.packet.get_future().get(), _channel + "-other sender 67");
  EXPECT_EQ(one.packet.get_future().get(), _channel + "-one sender 69");
}

TEST_F(ProvenSubscriptionsTest, NeverServeWhereTheBusCannotBeUsed) {
  use_bus(_root / "missing" / "bus");
  auto& subscriptions = ProvenSubscriptions::create("prober", {{_channel, into(make_first())}});
  subscriptions.start();
  EXPECT_FALSE(subscriptions.wait(std::chrono::hours(1)));
}

}  // namespace
