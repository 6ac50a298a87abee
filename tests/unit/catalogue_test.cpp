// The catalogue against the camera's vocabulary, and the ways to find a row.

#include "catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "command_contract.h"

namespace {

using namespace vlm::catalogue;

/// The codes of the vocabulary.
std::set<int> vocabulary() {
  std::set<int> codes;
  for (const CommandContract& command : command_contract()) codes.insert(command.code);
  return codes;
}

std::set<int> codes_of(const Row& row) {
  std::set<int> codes{row.codes.get, row.codes.set, row.codes.run};
  codes.erase(kNone);
  return codes;
}

TEST(Catalogue, HasARowOrAReasonForEveryCode) {
  std::set<int> accounted;
  for (const Row& row : rows()) {
    for (const int code : codes_of(row)) accounted.insert(code);
  }
  for (const Exception& exception : exceptions()) {
    EXPECT_TRUE(accounted.insert(exception.code).second) << exception.code;
    EXPECT_STRNE(exception.reason, "");
  }
  EXPECT_EQ(accounted, vocabulary());
}

TEST(Catalogue, FindsEveryRowByItsName) {
  for (const Row& row : rows()) {
    const auto found = find(row.name());
    ASSERT_TRUE(found) << row.name();
    EXPECT_EQ(found->row, &row);
    EXPECT_EQ(found->field, &row.value);
    EXPECT_TRUE(found->whole());
    EXPECT_EQ(found->name(), row.name());
  }
}

TEST(Catalogue, FindsEveryFieldByItsName) {
  for (const Row& row : rows()) {
    for (const Field& field : row.value.fields) {
      if (field.is(kFixed)) continue;
      const auto found = find(std::string(row.name()) + "." + field.name);
      ASSERT_TRUE(found) << row.name() << "." << field.name;
      EXPECT_EQ(found->row, &row);
      EXPECT_EQ(found->field, &field);
      EXPECT_FALSE(found->whole());
      EXPECT_EQ(found->name(), std::string(row.name()) + "." + field.name);
    }
  }
}

TEST(Catalogue, FindsNothingThatItDoesNotHave) {
  for (const char* name : {"", ".", "video.", "video.width.", "Video", "video.", "lens", "stream.2",
                           "camera.mode.", ".mode", "zzz"}) {
    EXPECT_FALSE(find(name)) << name;
  }
}

TEST(Catalogue, NamesThingsInTheFieldsTerms) {
  for (const char* name : {"exposure.mode", "exposure.shutter", "white_balance.mode", "video",
                           "video.width", "lens.zoom", "lens.focus", "stream.0.bitrate",
                           "thermal.point.x", "storage.free", "camera.version"}) {
    EXPECT_TRUE(find(name)) << name;
  }
}

TEST(Catalogue, FindsEveryRowByItsCodes) {
  for (const Row& row : rows()) {
    for (const int code : codes_of(row)) {
      const Row* const found = find_by_code(code);
      ASSERT_NE(found, nullptr);
      EXPECT_EQ(codes_of(*found), codes_of(row));
    }
  }
  for (const int code : {-1, 63, 74, 145, 906, 65535}) EXPECT_EQ(find_by_code(code), nullptr);
}

TEST(Catalogue, TellsTheStreamsApartByTheirNumber) {
  u8 payload[128] = {};
  EXPECT_STREQ(find_by_code(UDP_CTRL_CAM_GET_STREAM_PROP, payload)->name(), "stream.0");
  payload[0] = 1;
  EXPECT_STREQ(find_by_code(UDP_CTRL_CAM_GET_STREAM_PROP, payload)->name(), "stream.1");
  EXPECT_STREQ(find_by_code(UDP_CTRL_CAM_SET_STREAM_PROP, payload)->name(), "stream.1");
  EXPECT_STREQ(find_by_code(UDP_CTRL_CAM_GET_AE_MODE, payload)->name(), "exposure.mode");
  EXPECT_EQ(find_by_code(63, payload), nullptr);
}

TEST(Catalogue, FindsRowsByTheOptionsOfTheUdpService) {
  EXPECT_STREQ(find_by_option(VELMAR_CAMERACTRL_SET_AWB_MODE)->name(), "white_balance.mode");
  EXPECT_STREQ(find_by_option(VELMAR_CAMERACTRL_GET_CAMERA_TYPE)->name(), "camera.type");
  EXPECT_STREQ(find_by_option(VELMAR_MISC_FORMAT_SDCARD)->name(), "storage.format");
  EXPECT_EQ(find_by_option(VELMAR_CAMERACTRL_HEARTBEAT), nullptr);
  EXPECT_EQ(find_by_option(-1), nullptr);
}

TEST(Catalogue, ProposesTheNameThatWasMeant) {
  EXPECT_EQ(nearest_name("exposure.mod"), "exposure.mode");
  EXPECT_EQ(nearest_name("exposrue.mode"), "exposure.mode");
  EXPECT_EQ(nearest_name("lens.zooom"), "lens.zoom");
  EXPECT_EQ(nearest_name("video.heigth"), "video.height");
  EXPECT_EQ(nearest_name("shutter"), "exposure.shutter");
  EXPECT_EQ(nearest_name("whitebalance.mode"), "white_balance.mode");
  EXPECT_EQ(nearest_name("qqqqqqqq"), "");
  EXPECT_EQ(nearest_name(""), "");
}

TEST(Catalogue, ProposesAmongOtherNames) {
  EXPECT_EQ(nearest("atuo", {"auto", "manual"}), "auto");
  EXPECT_EQ(nearest("zzzz", {"auto", "manual"}), "");
  EXPECT_EQ(nearest("auto", {}), "");
}

TEST(Catalogue, FlagsWhatLosesDataOrInterruptsTheCamera) {
  std::set<std::string> destructive;
  for (const Row& row : rows()) {
    if (row.is(kDestructive)) destructive.insert(row.name());
  }
  EXPECT_EQ(destructive, (std::set<std::string>{"camera.reboot", "camera.upgrade", "settings.reset",
                                                "storage.format", "thermal.calibrate",
                                                "thermal.calibrate_fpa"}));
}

TEST(Catalogue, SaysWhatMustBeSetFirst) {
  const Row& custom = *find("white_balance.custom")->row;
  ASSERT_EQ(custom.needs.size(), 1U);
  EXPECT_STREQ(custom.needs[0].setting, "white_balance.mode");
  EXPECT_STREQ(custom.needs[0].choice, "custom");
}

TEST(Catalogue, HasAHashThatProgramsCanCompare) {
  EXPECT_NE(hash(), 0U);
  EXPECT_EQ(hash(), hash());
}

TEST(Catalogue, NamesItsTypesKindsAndFlags) {
  EXPECT_STREQ(text(Type::kChoice), "choice");
  EXPECT_STREQ(text(Type::kU16), "u16");
  EXPECT_STREQ(text(Kind::kReading), "reading");
  EXPECT_STREQ(text(kWriteOnly), "write-only");
  std::set<std::string> types;
  for (int type = 0; type <= static_cast<int>(Type::kGroup); ++type) {
    EXPECT_TRUE(types.insert(text(static_cast<Type>(type))).second) << type;
  }
}

}  // namespace
