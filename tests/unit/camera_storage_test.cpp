#include "camera_storage.h"

#include <gtest/gtest.h>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

class Storage : public testing::Test {
 protected:
  SimulatedCamera camera;

  bool remove_card() { return camera.model().remove_card(camera.now_ms()); }
  bool insert_card() { return camera.model().insert_card(camera.now_ms()); }
  CameraReply storage(u8 id) { return camera.ask(30, {id}); }
  int format(u8 slot) { return camera.result(27, {slot}); }
  void record(u64 ms) {
    camera.ask(4);
    camera.pass(ms);
    camera.ask(5);
  }
};

TEST_F(Storage, IsReportedBySlotOrAsTheOneInUse) {
  const Bytes card = {0, 0, 2, 0x00, 0x00, 0xE0, 0x03, 0x00, 0x00, 0xE0, 0x03, 0x09, 0x01};
  EXPECT_EQ(storage(0).first(13), card);
  EXPECT_EQ(storage(255).first(13), card);
  EXPECT_EQ(storage(3).first(13), (Bytes{3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x09, 0x01}));
}

TEST_F(Storage, KnowsNoOtherSlots) {
  for (const u8 id : Bytes{1, 2, 4, 7, 254}) EXPECT_EQ(storage(id).error, VLM_ERR_IS_INVALID_PARAM);
}

TEST_F(Storage, WithoutACardIsReportedAsRemoved) {
  remove_card();
  EXPECT_EQ(storage(255).error, VLM_ERR_NONE);
  EXPECT_EQ(storage(255).first(13), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x09, 0x00}));
}

TEST_F(Storage, TellsItsAttributesAndItsMaker) {
  EXPECT_EQ(camera.ask(39).first(4), (Bytes{90, 0, 1, 0}));
  EXPECT_EQ(camera.ask(97).first(4), (Bytes{0x44, 0x53, 0x03, 1}));
  EXPECT_EQ(camera.result(38), VLM_ERR_NONE);
}

TEST_F(Storage, WithoutACardHasNoAttributes) {
  remove_card();
  for (const int code : {38, 39, 97}) EXPECT_EQ(camera.result(code), VLM_ERR_SDCARD_NOT_READY);
}

TEST_F(Storage, ThatIsFullSaysSo) {
  record(u64{kCardKib} * 1000 / kVideoKibPerSecond + 1000);
  EXPECT_EQ(camera.ask(39).first(4), (Bytes{90, 0, 1, 1}));
}

TEST_F(Storage, IsEmptyAfterFormatting) {
  for (const u8 slot : Bytes{0, 7}) {
    record(60000);
    EXPECT_EQ(format(slot), VLM_ERR_NONE);
    EXPECT_EQ(storage(0).as<u32>(3), kCardKib);
  }
}

TEST_F(Storage, FormatsOnlyWhatIsThere) {
  EXPECT_EQ(format(3), VLM_ERR_SDCARD_NOT_READY);
  EXPECT_EQ(format(1), VLM_ERR_IS_INVALID_PARAM);
  remove_card();
  EXPECT_EQ(format(0), VLM_ERR_SDCARD_NOT_READY);
  EXPECT_EQ(format(7), VLM_ERR_SDCARD_NOT_READY);
}

TEST_F(Storage, NotifiesWhenTheCardGoesAndComes) {
  EXPECT_TRUE(remove_card());
  auto notified = camera.notifications();
  ASSERT_EQ(notified.size(), 1U);
  EXPECT_EQ(notified[0].type, LCM_SDCARD_STATUS);
  EXPECT_EQ(notified[0].data[0], 0x40);  // removed, slot 0 of 2
  EXPECT_TRUE(insert_card());
  notified = camera.notifications();
  ASSERT_EQ(notified.size(), 1U);
  EXPECT_EQ(notified[0].type, LCM_SDCARD_STATUS);
  EXPECT_EQ(notified[0].data[0], 0x42);  // inserted, slot 0 of 2
}

TEST_F(Storage, DoesNotNotifyWhatDoesNotChange) {
  EXPECT_FALSE(insert_card());
  remove_card();
  camera.notifications();
  EXPECT_FALSE(remove_card());
  EXPECT_TRUE(camera.notifications().empty());
}

TEST_F(Storage, KeepsItsContentWhileTheCardIsOut) {
  record(10000);
  remove_card();
  insert_card();
  EXPECT_EQ(storage(0).as<u32>(3), kCardKib - 10 * kVideoKibPerSecond);
}

}  // namespace
