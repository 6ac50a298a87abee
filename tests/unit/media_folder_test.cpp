#include "media_folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "temporary_directory.h"

namespace {

using namespace vlm::sim;

udp_ctrl_cam_misc_image_info_t picture_of(u32 index, const std::string& url) {
  udp_ctrl_cam_misc_image_info_t picture{};
  picture.image_index = index;
  picture.yaw = 30;
  url.copy(picture.url, sizeof picture.url);
  return picture;
}

std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Folder : public testing::Test {
 protected:
  TemporaryDirectory directory;
  const std::string path = directory / "media";
  const MediaFolder folder{path};
  const std::string name = path + "/DCIM/100MEDIA/IMG_0001.JPG";

  Folder() { std::filesystem::create_directory(path); }
};

TEST_F(Folder, KeepsAPictureUnderItsName) {
  const auto picture = picture_of(7, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG");
  EXPECT_EQ(folder.keep(picture), "");
  EXPECT_EQ(content_of(name), jpeg_of(picture));
  EXPECT_FALSE(std::filesystem::exists(name + ".part"));
}

TEST_F(Folder, ReplacesAPictureOfTheSameName) {
  folder.keep(picture_of(1, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG"));
  const auto newer = picture_of(2, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG");
  folder.keep(newer);
  EXPECT_EQ(content_of(name), jpeg_of(newer));
}

TEST_F(Folder, KeepsNothingOfAPictureThatWasLost) {
  auto lost = picture_of(1, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG");
  lost.result = -1;
  EXPECT_EQ(folder.keep(lost), "");
  EXPECT_EQ(folder.keep(picture_of(1, "")), "");
  EXPECT_TRUE(std::filesystem::is_empty(path));
}

TEST_F(Folder, TellsWhyAPictureIsNotKept) {
  std::filesystem::remove(path);
  std::ofstream(path) << "no folder";
  EXPECT_EQ(folder.keep(picture_of(1, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG")),
            name + ".part: Not a directory");
}

TEST_F(Folder, WritesThroughNoLink) {
  std::filesystem::create_directories(path + "/DCIM/100MEDIA");
  std::filesystem::create_symlink(directory / "elsewhere", name + ".part");
  EXPECT_NE(folder.keep(picture_of(1, "/sdcard/DCIM/100MEDIA/IMG_0001.JPG")), "");
  EXPECT_FALSE(std::filesystem::exists(directory / "elsewhere"));
}

/// Walks the parts of a JPEG up to its pixels; their markers.
std::string markers_of(const std::string& jpeg) {
  std::string markers;
  std::size_t at = 2;
  while (at + 4 <= jpeg.size() && jpeg[at] == '\xFF') {
    markers += jpeg[at + 1];
    at += 2 + static_cast<std::size_t>(static_cast<u8>(jpeg[at + 2]) << 8 |
                                       static_cast<u8>(jpeg[at + 3]));
    if (markers.back() == '\xDA') break;
  }
  return markers + std::to_string(jpeg.size() - at);
}

TEST(Jpeg, HasThePartsOfABaselinePicture) {
  const std::string jpeg = jpeg_of(picture_of(7, ""));
  EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
  EXPECT_EQ(jpeg.substr(jpeg.size() - 2), "\xFF\xD9");
  EXPECT_EQ(markers_of(jpeg),
            "\xFE\xDB\xC0\xC4\xC4\xDA"
            "1202");
  EXPECT_NE(jpeg.find("VLMSIM image 7 roll 0.0 pitch 0.0 yaw 30.0 "), std::string::npos);
}

}  // namespace
