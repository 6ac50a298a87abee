#include "bus_readiness.h"

#include <gtest/gtest.h>

#include <cstring>
#include <future>

#include "scripted_bus.h"

namespace {

using namespace vlm::bus;

constexpr std::chrono::seconds kLong{30};

class Readiness : public testing::Test {
 protected:
  ScriptedBus& bus = ScriptedBus::instance();
  BusReadiness readiness{"sender", {"one", "two"}};

  void SetUp() override { bus.reset(); }

  std::future<bool> waiting() {
    return std::async(std::launch::async, [this] { return readiness.wait(kLong); });
  }
  /// The newest probe of `channel`, as soon as there is one.
  Published probe_of(const std::string& channel) {
    for (std::size_t count = 1;; ++count) {
      bus.wait_for_published(count);
      const Published probe = bus.published()[count - 1];
      if (probe.channel == channel) return probe;
    }
  }
  bool bring_back(const Published& probe) {
    return readiness.is_probe(&probe.packet, 64 + probe.length, probe.channel.c_str());
  }
};

TEST_F(Readiness, ComesWhenEachChannelBringsItsProbeBack) {
  std::future<bool> ready = waiting();
  EXPECT_TRUE(bring_back(probe_of("one")));
  EXPECT_TRUE(bring_back(probe_of("one")));
  EXPECT_EQ(ready.wait_for(std::chrono::milliseconds(1)), std::future_status::timeout);
  EXPECT_TRUE(bring_back(probe_of("two")));
  EXPECT_TRUE(ready.get());
}

TEST_F(Readiness, ProbesUntilTheyComeBack) {
  std::future<bool> ready = waiting();
  bus.wait_for_published(10);
  bring_back(probe_of("one"));
  bring_back(probe_of("two"));
  EXPECT_TRUE(ready.get());
}

TEST_F(Readiness, NeverComesWhenASubscriptionHasEnded) {
  std::future<bool> ready = waiting();
  readiness.give_up();
  EXPECT_FALSE(ready.get());
}

TEST_F(Readiness, IsGivenUpAtTheLimit) {
  EXPECT_FALSE(readiness.wait(std::chrono::milliseconds(20)));
}

TEST_F(Readiness, TakesNoOtherPacketForAProbe) {
  const userlcm_packet_t request = camera_packet(camera_record(1));
  EXPECT_FALSE(readiness.is_probe(&request, sizeof request, "one"));
  std::future<bool> ready = waiting();
  Published probe = probe_of("one");
  EXPECT_FALSE(readiness.is_probe(&probe.packet, 10, "one"));
  probe.packet.msg_buf[probe.length - 2] ^= 1;  // the last digit of our process
  EXPECT_FALSE(bring_back(probe));
  readiness.give_up();
  EXPECT_FALSE(ready.get());
}

TEST_F(Readiness, ProbesHaveATypeOfTheirOwnAndNameTheSender) {
  std::future<bool> ready = waiting();
  const Published probe = probe_of("two");
  EXPECT_STREQ(probe.packet.channel, "sender");
  EXPECT_EQ(probe.packet.msg_buf[0], 0xFF);
  readiness.give_up();
  ready.get();
}

}  // namespace
