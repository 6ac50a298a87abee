// What differs on the board from the machines that the program is developed on.

#include <gtest/gtest.h>
#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <ctime>
#include <type_traits>

#include "time_helper.h"
#include "vlm_userlcm_control_camera.h"

namespace {

// The other tests prove something for the board only if they run on such a machine.
TEST(Board, HasShortPointersAndUnsignedCharacters) {
  EXPECT_EQ(sizeof(void*), 4U);
  EXPECT_EQ(sizeof(long), 4U);
  EXPECT_EQ(sizeof(std::size_t), 4U);
  EXPECT_TRUE(std::is_unsigned_v<char>);
}

TEST(Board, SubscribesWithARecordOf72Bytes) {
  EXPECT_EQ(sizeof(Receive_msg_t), 72U);
  EXPECT_EQ(offsetof(Receive_msg_t, channel), 0U);
  EXPECT_EQ(offsetof(Receive_msg_t, f), 64U);
  EXPECT_EQ(offsetof(Receive_msg_t, func), 68U);
}

TEST(Board, HasWireRecordsOfTheSameSizeAsAnyMachine) {
  EXPECT_EQ(sizeof(udp_ctrl_cam_t), 132U);
  EXPECT_EQ(sizeof(msg_from_rep_t), 257U);
  EXPECT_EQ(sizeof(userlcm_packet_t), 1088U);
  EXPECT_EQ(sizeof(lcm_udp_rtsp_msg_t), 68U);
}

TEST(Board, KnowsTimesBeyond2038AndLargeFiles) {
  EXPECT_EQ(sizeof(time_t), 8U);
  EXPECT_EQ(sizeof(off_t), 8U);
  const timespec last{2'147'483'647, 999'999'999};
  EXPECT_EQ(time_after(last, 1.0F).tv_sec, 2'147'483'648);
}

TEST(Board, SharesWideNumbersBetweenThreadsWithoutALock) {
  EXPECT_TRUE(std::atomic<u64>::is_always_lock_free);
}

}  // namespace
