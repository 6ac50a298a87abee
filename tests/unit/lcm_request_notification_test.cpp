// Notifications of the request engine: arming, waiting, and the parameter handed over.

#include <future>

#include "engine_test.h"

namespace {

constexpr int kNoLimit = -1;

class Notification : public EngineTest {
 protected:
  void update(u32 bits, u32 param) {
    const LcmNotificationParam handed{param};
    _engine.update_lcm_notification(bits, &handed);
  }

  LcmNotificationParam _received{77};
};

TEST_F(Notification, HandsItsParameterToTheWaiter) {
  _engine.prepare_wait_lcm_notification(4);
  update(4, 0x89abcdef);
  EXPECT_TRUE(_engine.wait_lcm_notification(0, &_received));
  EXPECT_EQ(_received.noti_param, 0x89abcdefU);
}

TEST_F(Notification, BeginsWithParameterZero) {
  EXPECT_TRUE(_engine.wait_lcm_notification(0, &_received));
  EXPECT_EQ(_received.noti_param, 0U);
}

TEST_F(Notification, LeavesTheParameterAloneOnATimeout) {
  _engine.prepare_wait_lcm_notification(4);
  update(1, 5);
  EXPECT_FALSE(_engine.wait_lcm_notification(1, &_received));
  EXPECT_EQ(_received.noti_param, 77U);
}

TEST_F(Notification, NeedsNoPlaceForTheParameter) {
  _engine.prepare_wait_lcm_notification(4);
  update(4, 5);
  EXPECT_TRUE(_engine.wait_lcm_notification(0, nullptr));
}

TEST_F(Notification, KeepsTheLastParameterWhenNoneIsHandedOver) {
  _engine.prepare_wait_lcm_notification(3);
  update(1, 5);
  _engine.update_lcm_notification(2, nullptr);
  EXPECT_TRUE(_engine.wait_lcm_notification(0, &_received));
  EXPECT_EQ(_received.noti_param, 5U);
}

TEST_F(Notification, IsForgottenWhenAWaitIsArmedAnew) {
  _engine.prepare_wait_lcm_notification(4);
  update(4, 5);
  _engine.prepare_wait_lcm_notification(4);
  EXPECT_FALSE(_engine.wait_lcm_notification(1, nullptr));
}

TEST_F(Notification, ReachesWaitersWhileARequestIsPending) {
  bus().stay_silent();
  auto pending = start_request(UDP_CTRL_CAM_TAKE_PHOTO);
  _engine.prepare_wait_lcm_notification(1);
  update(1, 9);
  EXPECT_TRUE(_engine.wait_lcm_notification(kNoLimit, &_received));
  reply(UDP_CTRL_CAM_TAKE_PHOTO);
  EXPECT_EQ(pending.get(), kSuccess);
}

TEST_F(Notification, CarriesTheParameterStoredBeforeItsFlag) {
  for (u32 round = 1; round <= 200; ++round) {
    _engine.prepare_wait_lcm_notification(1);
    auto notifier = std::async(std::launch::async, [=] { update(1, round); });
    EXPECT_TRUE(_engine.wait_lcm_notification(kNoLimit, &_received));
    EXPECT_EQ(_received.noti_param, round);
  }
}

}  // namespace
