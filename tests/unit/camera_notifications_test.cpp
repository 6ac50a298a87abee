#include "camera_notifications.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::sim;

class Queue : public testing::Test {
 protected:
  NotificationQueue queue;

  void add(u64 due_ms, u8 mark) { queue.add(notification(LCM_UPDATE_CAMERA_MODE, due_ms, mark)); }
  /// The mark of the next one due at `now_ms`; -1: none is.
  int take(u64 now_ms) {
    Notification taken;
    return queue.take(now_ms, taken) ? taken.data[0] : -1;
  }
};

TEST_F(Queue, KeepsNotificationsUntilTheyAreDue) {
  add(100, 1);
  EXPECT_EQ(*queue.next_due_ms(), 100U);
  EXPECT_EQ(take(99), -1);
  EXPECT_EQ(take(100), 1);
  EXPECT_EQ(take(100), -1);
  EXPECT_FALSE(queue.next_due_ms());
}

TEST_F(Queue, HoldsSoManyAndLeavesOutWhatComesThen) {
  for (std::size_t i = 0; i < NotificationQueue::kMost; ++i) {
    EXPECT_TRUE(queue.add(notification(LCM_UPDATE_CAMERA_MODE, 200, u8{1})));
  }
  EXPECT_FALSE(queue.add(notification(LCM_UPDATE_CAMERA_MODE, 100, u8{2})));
  EXPECT_EQ(take(500), 1);
  EXPECT_TRUE(queue.add(notification(LCM_UPDATE_CAMERA_MODE, 100, u8{3})));
  EXPECT_EQ(take(500), 3);
}

TEST_F(Queue, HandsThemOutByTimeAndThenByAge) {
  add(200, 1);
  add(100, 2);
  add(200, 3);
  add(100, 4);
  EXPECT_EQ(take(500), 2);
  EXPECT_EQ(take(500), 4);
  EXPECT_EQ(take(500), 1);
  EXPECT_EQ(take(500), 3);
}

TEST_F(Queue, ForgetsThemAll) {
  add(100, 1);
  queue.clear();
  EXPECT_EQ(take(500), -1);
}

}  // namespace
