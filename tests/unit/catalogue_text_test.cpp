// Values as people write them.

#include "catalogue_text.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace vlm::catalogue;

const Field& field(const char* name) { return *find(name)->field; }

/// What is written again after it has been understood.
std::string again(const char* name, const char* written) {
  std::string error;
  const auto value = parse(field(name), written, error);
  return value ? format(field(name), *value) : "refused: " + error;
}

std::string refusal(const char* name, const char* written) {
  std::string error;
  EXPECT_FALSE(parse(field(name), written, error)) << name << "=" << written;
  return error;
}

std::string read(const char* name, const Blob& bytes) {
  const auto value = decode(field(name), bytes.data(), bytes.size());
  return value ? format(field(name), *value) : "too short";
}

TEST(CatalogueText, WritesAgainWhatItHasRead) {
  const struct {
    const char* name;
    const char* written;
  } kCases[] = {
      {"image.osd", "on"},
      {"image.osd", "off"},
      {"white_balance.mode", "cloudy"},
      {"image.flip", "270"},
      {"photo.ratio", "16:9"},
      {"photo.format", "jpg+dng"},
      {"lens.iris", "f5.6"},
      {"lens.focus", "4096"},
      {"thermal.sso", "-128"},
      {"thermal.ace", "-12.34"},
      {"thermal.ace", "0.05"},
      {"thermal.environment.temperature", "25.3"},
      {"lens.zoom", "12.5"},
      {"lens.zoom", "1"},
      {"exposure.ev", "-1/3"},
      {"exposure.ev", "0"},
      {"exposure.shutter", "1/100"},
      {"wifi.name", "field camera = 7"},
      {"camera.memory", "000102030405060708090a0b0c0d0e"},
      {"video", "1920x1080@30"},
      {"metering.spot", "50,60"},
      {"exposure", "shutter=1/100,iso=200"},
      {"stream.0", "bitrate=1,width=2,height=3,fps=4"},
      {"stream.0", "bitrate=1"},
      {"storage.folder", "enabled=on,name=101"},
      {"storage.folder", "enabled=off,name=\"a,b=\\\"c\\\\\""},
      {"photo", "mode=burst,count=10,ev_step=0,interval=0"},
      {"image.osd", "raw:7"},
      {"lens.focus", "raw:1"},
      {"video", "raw:5000x1080@30"},
  };
  for (const auto& row : kCases) EXPECT_EQ(again(row.name, row.written), row.written) << row.name;
}

TEST(CatalogueText, UnderstandsOtherFormsOfTheSame) {
  EXPECT_EQ(again("lens.focus", "0x4000"), "16384");
  EXPECT_EQ(again("lens.zoom", "2.50"), "2.5");
  EXPECT_EQ(again("thermal.ace", "3"), "3.00");
  EXPECT_EQ(again("thermal.ace", "3.5"), "3.50");
  EXPECT_EQ(again("exposure.shutter", "2"), "2/1");
  EXPECT_EQ(again("exposure.ev", "1"), "1/1");
  EXPECT_EQ(again("white_balance.mode", "manual"), "manual");
  EXPECT_EQ(again("video", "width=1920,height=1080,fps=30"), "1920x1080@30");
  EXPECT_EQ(again("video", "fps=30,height=1080,width=1920"), "30x1080@1920");
  EXPECT_EQ(again("image.osd", "raw:1"), "raw:1");
  EXPECT_EQ(again("camera.memory", "000102030405060708090A0B0C0D0E"),
            "000102030405060708090a0b0c0d0e");
  EXPECT_EQ(again("storage.folder", "enabled=on,name=\"101\""), "enabled=on,name=101");
}

TEST(CatalogueText, ShowsNumbersThatItWouldNotTakeAsRaw) {
  EXPECT_EQ(read("lens.focus", {1, 0, 0, 0}), "raw:1");
  EXPECT_EQ(read("image.osd", {2}), "raw:2");
  EXPECT_EQ(read("white_balance.custom", {124}), "raw:124");
  EXPECT_EQ(read("white_balance.custom", {55}), "55");
  EXPECT_EQ(read("exposure.ev", {1, 0}), "raw:1");
  EXPECT_EQ(read("lens.zoom", {0, 0, 0, 0}), "raw:0");
  EXPECT_EQ(read("metering.mode", {3}), "partial");
}

TEST(CatalogueText, RefusesWithTheAllowedSetAndTheNearestName) {
  EXPECT_EQ(refusal("exposure.mode", "atuo"),
            "\"atuo\" is not allowed: auto or manual, did you mean auto?");
  EXPECT_EQ(refusal("exposure.mode", "0"), "\"0\" is not allowed: auto or manual");
  EXPECT_EQ(refusal("image.osd", "1"), "\"1\" is not allowed: on or off");
  EXPECT_EQ(refusal("image.osd", "ON"), "\"ON\" is not allowed: on or off");
  EXPECT_EQ(refusal("lens.digital_zoom", "81"), "81 is not allowed: 10 to 80");
  EXPECT_EQ(refusal("lens.digital_zoom", "-1"), "-1 is not allowed: 10 to 80");
  EXPECT_EQ(refusal("lens.zoom", "0.9"), "0.9 is not allowed: 1 to 30 x");
  EXPECT_EQ(refusal("white_balance.custom", "29"), "29 is not allowed: 30 to 80 hundred K");
  EXPECT_EQ(refusal("wifi.name", ""), "0 characters are not allowed: 1 to 20 characters");
  EXPECT_EQ(refusal("video", "1920x1080"), "\"1920x1080\" is not allowed: width, height or fps");
  EXPECT_EQ(refusal("video", "1920x1080@121"), "fps: 121 is not allowed: 1 to 120 1/s");
  EXPECT_EQ(refusal("video", "widht=1920,height=1080,fps=30"),
            "\"widht=1920\" is not allowed: width, height or fps");
  EXPECT_EQ(refusal("metering.mode", "partial"), "partial is reported, cannot be set");
}

TEST(CatalogueText, TakesNoNumberThatIsNotWrittenAsOne) {
  for (const char* written : {"", " 16384", "16384 ", "+16384", "16384x", "1e4", "16384.0", "0x",
                              "--5", "99999999999999999999999", "0x1FFFFFFFFFFFFFFFF"}) {
    refusal("lens.focus", written);
  }
  for (const char* written : {"", ".", "1.", ".5", "1.234", "1.2.3", "-", "1,5", "-.5"}) {
    refusal("thermal.ace", written);
  }
  for (const char* written : {"", "nan", "inf", "0x10", "1.5x", ".", "1.5 ", " 1.5", "1e99"}) {
    refusal("lens.zoom", written);
  }
  for (const char* written : {"", "1/", "/100", "1/0", "1/-3", "1/100/2", "a/b", "1/65536"}) {
    refusal("exposure.shutter", written);
  }
  for (const char* written : {"raw:", "raw:x", "raw:-1", "raw:256", "raw:18446744073709551616"}) {
    refusal("image.osd", written);
  }
  for (const char* written : {"00", "0", "zz0102030405060708090a0b0c0d0e", ""}) {
    refusal("camera.memory", written);
  }
}

TEST(CatalogueText, TakesNoGroupThatIsNotWhole) {
  for (const char* written :
       {"enabled", "enabled=", "enabled=on,name=\"101", "enabled=on,name=\"1\"01\"",
        "enabled=on,name=\"\\q\"", "enabled=on,name=\"\\x4\"", "enabled=on,name=\"\\", "=on",
        "enabled=on,,name=101", "enabled=on,name=101,", "enabled=on", ""}) {
    refusal("storage.folder", written);
  }
  for (const char* written : {"1920x1080@30@", "x@", "1920", "1920@1080x30", "1920x1080@30x"}) {
    refusal("video", written);
  }
}

TEST(CatalogueText, SaysWhatIsAllowed) {
  EXPECT_EQ(allowed_text(field("exposure.mode")), "auto or manual");
  EXPECT_EQ(allowed_text(field("thermal.gain")), "high, low or auto");
  EXPECT_EQ(allowed_text(field("metering.mode")), "center, average or spot");
  EXPECT_EQ(allowed_text(field("thermal.environment.temperature")), "-3276.8 to 3276.7 degC");
  EXPECT_EQ(allowed_text(field("camera.platform")), "0 to 65535");
  EXPECT_EQ(allowed_text(field("video")), "width, height or fps");
  EXPECT_EQ(allowed_text(field("camera.reboot")), "nothing");
}

TEST(CatalogueText, WritesFloatsWithTheDigitsThatTheyNeed) {
  EXPECT_EQ(format_float(12.5F), "12.5");
  EXPECT_EQ(format_float(0.1F), "0.1");
  EXPECT_EQ(format_float(16777217.0F), "16777216");
}

/// Whatever bytes a camera sends: the words for them become the same bytes again.
TEST(CatalogueText, BringsBackWhatAnyBytesMeant) {
  std::mt19937 random(20240607);
  for (const Row& row : rows()) {
    if (row.kind != Kind::kSetting || row.value.type == Type::kText) continue;
    for (int round = 0; round < 200; ++round) {
      Payload bytes{};
      for (u8& byte : bytes) byte = static_cast<u8>(random() % (round % 2 == 0 ? 256 : 4));
      const Value value = *decode(row.value, bytes.data(), bytes.size());
      const std::string written = format(row.value, value);
      std::string error;
      const auto same = parse(row.value, written, error);
      if (row.value.type == Type::kChoice && written.substr(0, 4) != "raw:" && !same) {
        EXPECT_FALSE(std::get<const Choice*>(value)->settable) << row.name();
        continue;
      }
      ASSERT_TRUE(same) << row.name() << "=" << written << ": " << error;
      Payload after{};
      EXPECT_TRUE(encode(row.value, *same, after, error)) << written << ": " << error;
      const Value decoded = *decode(row.value, after.data(), after.size());
      EXPECT_EQ(format(row.value, decoded), written) << row.name();
    }
  }
}

}  // namespace
