#include "camera_capture.h"

#include <gtest/gtest.h>

#include "simulated_camera.h"

namespace {

using namespace vlm::sim;

constexpr u8 kIdle = 0;
constexpr u8 kCapturing = 2;
constexpr u8 kRecording = 3;

class Capture : public testing::Test {
 protected:
  SimulatedCamera camera{true};

  int set_mode(u8 mode) { return camera.result(2, {mode}); }
  void in_photo_mode() {
    set_mode(kPhotoMode);
    camera.pass(kModeChangeMs);
    camera.notifications();
  }
  int take_photo() { return camera.result(3); }
  int start_recording() { return camera.result(4); }
  int stop_recording() { return camera.result(5); }
  u8 status() { return camera.get<u8>(6); }
  u32 recording_time() { return camera.get<u32>(29); }
  u32 available_kib() { return camera.model().snapshot(camera.now_ms()).available_kib; }
  void remove_card() { camera.model().remove_card(camera.now_ms()); }
  void insert_card() { camera.model().insert_card(camera.now_ms()); }
  int set_photo_mode(u8 mode, u16 amount = 0, u32 interval_ms = 0) {
    return camera.result(
        51, bytes_of(udp_ctrl_cam_photo_mode_t{mode, amount, {1, 3}, interval_ms, {}}));
  }

  /// Fills the card but for `kib` and a second of video.
  void leave_space_for(u32 kib) {
    const u32 seconds = (available_kib() - kib) / static_cast<u32>(kVideoKibPerSecond);
    start_recording();
    camera.pass(u64{seconds} * 1000);
    stop_recording();
  }

  /// The types of the notifications that have come.
  std::vector<int> types() {
    std::vector<int> types;
    for (const Notification& one : camera.notifications()) types.push_back(one.type);
    return types;
  }
  /// The EXIF records that have come.
  std::vector<udp_ctrl_cam_misc_image_info_t> images() {
    std::vector<udp_ctrl_cam_misc_image_info_t> images;
    for (const Notification& one : camera.notifications()) {
      if (one.type != LCM_MISC_IMAGE_INFO) continue;
      std::memcpy(&images.emplace_back(), one.data.data(), one.data.size());
    }
    return images;
  }
  /// The files of the pictures that have come, without their folder.
  std::vector<std::string> files() {
    std::vector<std::string> files;
    for (const auto& image : images()) {
      const std::string url = image.url;
      files.push_back(url.substr(url.rfind('/') + 1));
    }
    return files;
  }
};

TEST_F(Capture, BeginsIdleInVideoMode) {
  EXPECT_EQ(camera.get<u8>(1), kVideoMode);
  EXPECT_EQ(status(), kIdle);
  EXPECT_EQ(recording_time(), 0U);
}

TEST_F(Capture, AChangeOfModeIsNotifiedAWhileLater) {
  EXPECT_EQ(set_mode(kPhotoMode), VLM_ERR_NONE);
  EXPECT_EQ(camera.get<u8>(1), kPhotoMode);
  camera.pass(kModeChangeMs - 1);
  EXPECT_TRUE(camera.notifications().empty());
  camera.pass(1);
  const auto notified = camera.notifications();
  ASSERT_EQ(notified.size(), 1U);
  EXPECT_EQ(notified[0].type, LCM_UPDATE_CAMERA_MODE);
  EXPECT_EQ(notified[0].data[0], kPhotoMode);
}

TEST_F(Capture, KnowsNoOtherModes) {
  for (int mode = 0; mode < 256; ++mode) {
    const bool known = mode == kVideoMode || mode == kPhotoMode;
    EXPECT_EQ(set_mode(static_cast<u8>(mode)),
              known ? VLM_ERR_NONE : VLM_ERR_IS_UNSUPPORTED_CAMMODE);
  }
}

TEST_F(Capture, ALockedModeStays) {
  camera.ask(95, {1});
  EXPECT_EQ(set_mode(kPhotoMode), VLM_ERR_IS_CAM_MODE_LOCKING);
  EXPECT_EQ(camera.get<u8>(1), kVideoMode);
  camera.ask(95, {0});
  EXPECT_EQ(set_mode(kPhotoMode), VLM_ERR_NONE);
}

TEST_F(Capture, RecordsFromStartToStop) {
  EXPECT_EQ(start_recording(), VLM_ERR_NONE);
  EXPECT_EQ(status(), kRecording);
  camera.pass(2999);
  EXPECT_EQ(recording_time(), 2U);
  camera.pass(1);
  EXPECT_EQ(recording_time(), 3U);
  EXPECT_EQ(stop_recording(), VLM_ERR_NONE);
  EXPECT_EQ(status(), kIdle);
  EXPECT_EQ(recording_time(), 0U);
}

TEST_F(Capture, RefusesToRecordTwiceOrToStopWhatDoesNotRun) {
  EXPECT_EQ(stop_recording(), VLM_ERR_IS_NOT_RECORDING);
  start_recording();
  EXPECT_EQ(start_recording(), VLM_ERR_IS_RECORDING);
  stop_recording();
  EXPECT_EQ(stop_recording(), VLM_ERR_IS_NOT_RECORDING);
}

TEST_F(Capture, EachModeRefusesTheWorkOfTheOther) {
  EXPECT_EQ(take_photo(), VLM_ERR_IS_NOT_PHOTO_MODE);
  EXPECT_EQ(camera.result(102, bytes_of<u32>(1)), VLM_ERR_IS_NOT_PHOTO_MODE);
  in_photo_mode();
  EXPECT_EQ(start_recording(), VLM_ERR_IS_NOT_VIDEO_MODE);
}

TEST_F(Capture, TheModeStaysWhileItWorks) {
  start_recording();
  EXPECT_EQ(set_mode(kPhotoMode), VLM_ERR_IS_RECORDING);
  EXPECT_EQ(take_photo(), VLM_ERR_IS_NOT_PHOTO_MODE);
  stop_recording();
  in_photo_mode();
  take_photo();
  EXPECT_EQ(set_mode(kVideoMode), VLM_ERR_IS_CAPTURING);
}

TEST_F(Capture, VideoFillsTheCardAsTimePasses) {
  const u32 before = available_kib();
  start_recording();
  camera.pass(500);
  EXPECT_EQ(before - available_kib(), kVideoKibPerSecond / 2);
  camera.pass(9500);
  EXPECT_EQ(before - available_kib(), kVideoKibPerSecond * 10);
  stop_recording();
  camera.pass(10000);
  EXPECT_EQ(before - available_kib(), kVideoKibPerSecond * 10);
}

TEST_F(Capture, TheUsedSpaceDoesNotDependOnHowOftenOneLooks) {
  SimulatedCamera other;
  other.ask(4);
  start_recording();
  for (int i = 0; i < 1000; ++i) {
    camera.pass(7);
    other.pass(7);
    status();
  }
  EXPECT_EQ(available_kib(), u32{other.model().snapshot(other.now_ms()).available_kib});
}

TEST_F(Capture, AFullCardEndsTheRecording) {
  start_recording();
  camera.pass(u64{kCardKib} * 1000 / kVideoKibPerSecond + 1);
  EXPECT_EQ(status(), kIdle);
  EXPECT_EQ(available_kib(), 0U);
  EXPECT_EQ(stop_recording(), VLM_ERR_IS_NOT_RECORDING);
  EXPECT_EQ(start_recording(), VLM_ERR_SDCARD_IS_FULL);
  in_photo_mode();
  EXPECT_EQ(take_photo(), VLM_ERR_SDCARD_IS_FULL);
  EXPECT_EQ(camera.result(27, {0}), VLM_ERR_NONE);
  EXPECT_EQ(take_photo(), VLM_ERR_NONE);
}

TEST_F(Capture, NothingCanBeKeptWithoutACard) {
  remove_card();
  EXPECT_EQ(start_recording(), VLM_ERR_SDCARD_NOT_READY);
  in_photo_mode();
  EXPECT_EQ(take_photo(), VLM_ERR_SDCARD_NOT_READY);
  EXPECT_EQ(camera.result(102, bytes_of<u32>(1)), VLM_ERR_SDCARD_NOT_READY);
}

TEST_F(Capture, TakingTheCardOutEndsTheRecording) {
  start_recording();
  camera.pass(1000);
  remove_card();
  EXPECT_EQ(status(), kIdle);
  insert_card();
  EXPECT_EQ(status(), kIdle);
  EXPECT_EQ(kCardKib - available_kib(), kVideoKibPerSecond);
}

TEST_F(Capture, APictureIsNotifiedWhenItIsFinished) {
  in_photo_mode();
  EXPECT_EQ(take_photo(), VLM_ERR_NONE);
  EXPECT_EQ(status(), kCapturing);
  EXPECT_EQ(take_photo(), VLM_ERR_IS_CAPTURING);
  EXPECT_EQ(*camera.model().next_due_ms(), camera.now_ms() + kPictureMs);
  camera.pass(kPictureMs - 1);
  EXPECT_TRUE(camera.notifications().empty());
  camera.pass(1);
  EXPECT_EQ(types(), (std::vector<int>{LCM_CAPTURE_IMAGE_RESULT, LCM_MISC_IMAGE_INFO}));
  EXPECT_EQ(status(), kIdle);
  EXPECT_FALSE(camera.model().next_due_ms());
}

TEST_F(Capture, APictureHasPlausibleData) {
  in_photo_mode();
  take_photo();
  camera.pass(kPictureMs);
  const auto taken = images();
  ASSERT_EQ(taken.size(), 1U);
  EXPECT_STREQ(taken[0].url, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG");
  EXPECT_EQ(u32{taken[0].image_index}, 1U);
  EXPECT_EQ(taken[0].result, 0);
  EXPECT_TRUE(taken[0].latitude > 48 && taken[0].latitude < 49);
  EXPECT_TRUE(taken[0].longitude > 11 && taken[0].longitude < 12);
  EXPECT_EQ(float{taken[0].altitude}, 120.0F);
  EXPECT_EQ(float{taken[0].roll}, 0.0F);
  EXPECT_EQ(float{taken[0].pitch}, -15.0F);
  EXPECT_EQ(float{taken[0].yaw}, 15.0F);
}

TEST_F(Capture, APictureTakesTheSpaceOfItsFormat) {
  in_photo_mode();
  const std::pair<u8, u32> kFormats[] = {{1, 6144}, {130, 24576}, {131, 30720}};
  for (const auto& [format, kib] : kFormats) {
    camera.ask(26, {format});
    const u32 before = available_kib();
    take_photo();
    EXPECT_EQ(available_kib(), before);
    camera.pass(kPictureMs);
    EXPECT_EQ(before - available_kib(), kib);
  }
  EXPECT_EQ(files(), (std::vector<std::string>{"IMG_0001.JPG", "IMG_0002.DNG", "IMG_0003.JPG"}));
}

TEST_F(Capture, PicturesGoToTheFolderThatIsSet) {
  in_photo_mode();
  Bytes folder(65);
  folder[0] = 1;
  std::memcpy(folder.data() + 1, "345", 3);
  camera.ask(35, folder);
  take_photo();
  camera.pass(kPictureMs);
  EXPECT_STREQ(images().at(0).url, "/sdcard/DCIM/345MEDIA/IMG_0001.JPG");
}

struct SeriesCase {
  u8 mode;
  u16 amount;
  std::size_t pictures;
  int refusal;  // of another picture meanwhile
};

TEST_F(Capture, ASeriesTakesAllItsPictures) {
  constexpr SeriesCase kSeries[] = {{3, 5, 5, VLM_ERR_IS_CAPTURING},
                                    {4, 3, 3, VLM_ERR_IS_CAPTURING},
                                    {5, 0, 9, VLM_ERR_IS_PANORAMA_PHOTOING},
                                    {6, 0, 25, VLM_ERR_IS_PANORAMA_PHOTOING}};
  in_photo_mode();
  for (const SeriesCase& series : kSeries) {
    SCOPED_TRACE(int{series.mode});
    EXPECT_EQ(set_photo_mode(series.mode, series.amount), VLM_ERR_NONE);
    EXPECT_EQ(take_photo(), VLM_ERR_NONE);
    EXPECT_EQ(take_photo(), series.refusal);
    camera.pass(60000);
    EXPECT_EQ(images().size(), series.pictures);
    EXPECT_EQ(status(), kIdle);
  }
}

TEST_F(Capture, ABurstKeepsItsInterval) {
  in_photo_mode();
  set_photo_mode(3, 3, 1000);
  take_photo();
  const u64 start = camera.now_ms();
  camera.pass(5000);
  std::vector<u64> due;
  for (const Notification& one : camera.notifications()) due.push_back(one.due_ms - start);
  EXPECT_EQ(due, (std::vector<u64>{200, 200, 1200, 1200, 2200, 2200}));
}

TEST_F(Capture, ASinglePictureWithAnIntervalIsATimeLapseUntilItIsStopped) {
  in_photo_mode();
  set_photo_mode(0, 0, 2000);
  take_photo();
  EXPECT_EQ(take_photo(), VLM_ERR_IS_TIMELAPSE_CAPTURING);
  camera.pass(kPictureMs + 20000);
  EXPECT_EQ(images().size(), 11U);
  EXPECT_EQ(camera.result(66), VLM_ERR_NONE);
  camera.pass(20000);
  EXPECT_TRUE(images().empty());
  EXPECT_EQ(status(), kIdle);
}

TEST_F(Capture, TimedPicturesOfTheThermalSensorComeEachSoManySeconds) {
  in_photo_mode();
  EXPECT_EQ(camera.result(102, bytes_of<u32>(0)), VLM_ERR_IS_INVALID_PARAM);
  EXPECT_EQ(camera.result(102, bytes_of<u32>(3)), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(102, bytes_of<u32>(3)), VLM_ERR_IS_TIMELAPSE_CAPTURING);
  camera.pass(kPictureMs + 9000);
  EXPECT_EQ(images().size(), 4U);
  EXPECT_EQ(camera.result(103), VLM_ERR_NONE);
  camera.pass(9000);
  EXPECT_TRUE(images().empty());
}

TEST_F(Capture, StoppingPicturesThatAreNotTakenDoesNoHarm) {
  EXPECT_EQ(camera.result(66), VLM_ERR_NONE);
  EXPECT_EQ(camera.result(103), VLM_ERR_NONE);
}

TEST_F(Capture, TakingTheCardOutLosesThePictureUnderWayAndTheRest) {
  in_photo_mode();
  set_photo_mode(3, 5);
  take_photo();
  camera.pass(kPictureMs);
  EXPECT_EQ(images().size(), 1U);
  remove_card();
  camera.notifications();
  camera.pass(10000);
  const auto lost = images();
  ASSERT_EQ(lost.size(), 1U);
  EXPECT_EQ(lost[0].result, -1);
  EXPECT_STREQ(lost[0].url, "");
  EXPECT_EQ(status(), kIdle);
}

TEST_F(Capture, ACardThatFillsUpEndsTheSeries) {
  leave_space_for(3 * kSmallestFileKib);
  in_photo_mode();
  set_photo_mode(3, 100);
  take_photo();
  camera.pass(100000);
  const auto taken = images();
  ASSERT_GE(taken.size(), 3U);
  ASSERT_LE(taken.size(), 6U);
  EXPECT_EQ(taken.back().result, -1);
  EXPECT_LT(available_kib(), kSmallestFileKib);
  EXPECT_EQ(status(), kIdle);
}

class FileNumbers : public Capture {
 protected:
  void take_one() {
    take_photo();
    camera.pass(kPictureMs);
  }
  void take_with(u8 option) {
    in_photo_mode();
    camera.ask(93, {option});
    take_one();
    camera.ask(27, {0});
    take_one();
    remove_card();
    insert_card();
    take_one();
  }
};

TEST_F(FileNumbers, GoOnAcrossCardsWhenTheyAreSequential) {
  take_with(1);
  EXPECT_EQ(files(), (std::vector<std::string>{"IMG_0001.JPG", "IMG_0002.JPG", "IMG_0003.JPG"}));
}

TEST_F(FileNumbers, BeginAnewWithEachCardWhenTheyAreReset) {
  take_with(0);
  EXPECT_EQ(files(), (std::vector<std::string>{"IMG_0001.JPG", "IMG_0001.JPG", "IMG_0001.JPG"}));
}

TEST_F(FileNumbers, DoNotTouchTheImageIndex) {
  take_with(0);
  const auto taken = images();
  ASSERT_EQ(taken.size(), 3U);
  EXPECT_EQ(u32{taken.back().image_index}, 3U);
  EXPECT_EQ(camera.model().pictures_taken(), 3U);
}

}  // namespace
