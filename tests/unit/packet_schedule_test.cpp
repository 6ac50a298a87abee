#include "packet_schedule.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::sim;

class Schedule : public testing::Test {
 protected:
  PacketSchedule schedule;

  static OutgoingPacket marked(u8 mark) {
    OutgoingPacket packet{};
    packet.packet.msg_buf[0] = mark;
    return packet;
  }
  void add(u64 due_us, u8 mark) { schedule.add(due_us, marked(mark)); }
  void add_in_order(u64 due_us, u8 mark) { schedule.add_in_order(due_us, marked(mark)); }
  /// The mark of the next packet due at `now_us`; -1: none is.
  int take(u64 now_us) {
    const auto taken = schedule.take(now_us);
    return taken ? taken->packet.msg_buf[0] : -1;
  }
};

TEST_F(Schedule, KeepsPacketsUntilTheyAreDue) {
  add(100, 1);
  EXPECT_EQ(*schedule.next_due_us(), 100U);
  EXPECT_EQ(take(99), -1);
  EXPECT_EQ(take(100), 1);
  EXPECT_EQ(take(100), -1);
  EXPECT_FALSE(schedule.next_due_us());
}

TEST_F(Schedule, HandsThemOutByTimeAndThenByAge) {
  add(200, 1);
  add(100, 2);
  add(200, 3);
  add(100, 4);
  add(200, 5);
  for (const int mark : {2, 4, 1, 3, 5}) EXPECT_EQ(take(500), mark);
}

TEST_F(Schedule, LetsNoOrderedPacketOvertakeAnother) {
  add_in_order(200, 1);
  add_in_order(100, 2);
  EXPECT_EQ(take(199), -1);
  EXPECT_EQ(take(200), 1);
  EXPECT_EQ(take(200), 2);
}

TEST_F(Schedule, LetsOrderedPacketsPassTheOthers) {
  add(300, 1);
  add_in_order(100, 2);
  add_in_order(200, 3);
  for (const int mark : {2, 3, 1}) EXPECT_EQ(take(500), mark);
}

TEST_F(Schedule, HoldsNoMoreThanItHasRoomFor) {
  for (std::size_t i = 0; i < PacketSchedule::kMostPackets; ++i) {
    ASSERT_TRUE(schedule.add_in_order(i, marked(1)));
  }
  EXPECT_FALSE(schedule.add_in_order(0, marked(2)));
  EXPECT_FALSE(schedule.add(0, marked(2)));
  EXPECT_EQ(take(0), 1);
  EXPECT_TRUE(schedule.add(0, marked(3)));
  EXPECT_EQ(take(0), 3);
}

TEST_F(Schedule, KnowsWhetherAnOrderedPacketWaits) {
  add(100, 1);
  EXPECT_FALSE(schedule.holds_ordered());
  add_in_order(200, 2);
  EXPECT_TRUE(schedule.holds_ordered());
  take(100);
  EXPECT_TRUE(schedule.holds_ordered());
  take(200);
  EXPECT_FALSE(schedule.holds_ordered());
}

}  // namespace
