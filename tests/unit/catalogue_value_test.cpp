// Values to and from the bytes of a payload.

#include "catalogue_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "catalogue_text.h"

namespace {

using namespace vlm::catalogue;

const Field& field(const char* name) { return *find(name)->field; }
const Row& row(const char* name) { return *find(name)->row; }

const Choice* choice(const char* name, const char* choice_name) {
  for (const Choice& each : field(name).choices) {
    if (std::string_view(each.name) == choice_name) return &each;
  }
  return nullptr;
}

Members members(const char* name, const std::vector<Value>& values) {
  Members made;
  std::size_t next = 0;
  for (const Field& each : field(name).fields) {
    if (!each.is(kFixed) && next < values.size()) made.push_back({&each, values[next++]});
  }
  return made;
}

/// The payload's bytes up to the last that is not 0.
Blob used(const Payload& payload) {
  Blob bytes(payload.begin(), payload.end());
  while (!bytes.empty() && bytes.back() == 0) bytes.pop_back();
  return bytes;
}

Blob encoded(const Field& what, const Value& value) {
  Payload payload{};
  std::string error;
  EXPECT_TRUE(encode(what, value, payload, error)) << error;
  return used(payload);
}

std::string refusal(const Field& what, const Value& value) {
  Payload payload{};
  payload.fill(0xA5);
  const Payload before = payload;
  std::string error;
  EXPECT_FALSE(encode(what, value, payload, error));
  EXPECT_EQ(payload, before);
  return error;
}

Value decoded(const Field& what, const Blob& bytes, int shift = 0) {
  const auto value = decode(what, bytes.data(), bytes.size(), shift);
  EXPECT_TRUE(value);
  return value.value_or(Value{});
}

TEST(CatalogueValue, SwitchesHaveTheirOwnNumbers) {
  EXPECT_EQ(encoded(field("image.osd"), true), Blob{1});
  EXPECT_EQ(encoded(field("image.osd"), false), Blob{});
  EXPECT_EQ(encoded(field("image.defog"), true), Blob{2});
  EXPECT_EQ(encoded(field("image.defog"), false), Blob{3});
  EXPECT_EQ(encoded(field("video.low_delay"), true), Blob{0x11});
  EXPECT_EQ(decoded(field("video.low_delay"), {0x11}), Value(true));
  EXPECT_EQ(decoded(field("video.low_delay"), {0}), Value(false));
  EXPECT_EQ(decoded(field("video.low_delay"), {1}), Value(Raw{1}));
}

TEST(CatalogueValue, ChoicesAreNumbersWithANameAndOthersStayNumbers) {
  const Field& mode = field("white_balance.mode");
  EXPECT_EQ(encoded(mode, choice("white_balance.mode", "lock")), Blob{99});
  EXPECT_EQ(decoded(mode, {99}), Value(choice("white_balance.mode", "lock")));
  EXPECT_EQ(decoded(mode, {6}), Value(Raw{6}));
  EXPECT_EQ(encoded(mode, Raw{6}), Blob{6});
  // The first name of a number is the one that is shown.
  EXPECT_EQ(decoded(mode, {100}), Value(choice("white_balance.mode", "custom")));
}

TEST(CatalogueValue, BothReadingsOfFlickerAreChoices) {
  const Field& flicker = field("image.flicker");
  EXPECT_EQ(encoded(flicker, choice("image.flicker", "on")),
            encoded(flicker, choice("image.flicker", "60hz")));
  EXPECT_EQ(encoded(flicker, choice("image.flicker", "off")),
            encoded(flicker, choice("image.flicker", "auto")));
  EXPECT_EQ(encoded(flicker, choice("image.flicker", "50hz")), Blob{2});
}

TEST(CatalogueValue, WhatIsOnlyReportedIsNotSet) {
  EXPECT_EQ(decoded(field("metering.mode"), {3}), Value(choice("metering.mode", "partial")));
  EXPECT_EQ(refusal(field("metering.mode"), choice("metering.mode", "partial")),
            "partial is reported, cannot be set");
  EXPECT_EQ(refusal(field("metering.mode"), choice("exposure.mode", "auto")),
            "a choice of something else");
}

TEST(CatalogueValue, IntegersAreLittleEndianAndSigned) {
  EXPECT_EQ(encoded(field("lens.focus"), s64{0x4321}), (Blob{0x21, 0x43}));
  EXPECT_EQ(encoded(field("thermal.ace"), s64{-2}), (Blob{0xFE, 0xFF}));
  EXPECT_EQ(decoded(field("thermal.ace"), {0xFE, 0xFF}), Value(s64{-2}));
  EXPECT_EQ(decoded(field("thermal.sso"), {0x80}), Value(s64{-128}));
  EXPECT_EQ(decoded(field("thermal.palette"), {0xFF, 0xFF, 0xFF, 0xFF}), Value(s64{4294967295}));
  EXPECT_EQ(encoded(field("camera.time"), s64{0x0102030405060708}), (Blob{8, 7, 6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(decoded(field("camera.time"), Blob(8, 0xFF)),
            Value(Raw{std::numeric_limits<u64>::max()}));
  EXPECT_EQ(encoded(field("thermal.usb_pass_through"), s64{-2147483648LL}), (Blob{0, 0, 0, 0x80}));
}

TEST(CatalogueValue, NothingIsClamped) {
  EXPECT_EQ(refusal(field("lens.focus"), s64{0x0FFF}), "4095 is not allowed: 4096 to 61440");
  EXPECT_EQ(refusal(field("lens.focus"), s64{0xF001}), "61441 is not allowed: 4096 to 61440");
  EXPECT_EQ(refusal(field("thermal.sso"), s64{128}), "128 is not allowed: -128 to 127");
  EXPECT_EQ(refusal(field("thermal.palette"), s64{-1}), "-1 is not allowed: 0 to 4294967295");
  EXPECT_EQ(refusal(field("lens.zoom"), 30.5F), "30.5 is not allowed: 1 to 30 x");
  EXPECT_EQ(refusal(field("lens.zoom"), std::nanf("")), "nan is not allowed: 1 to 30 x");
  EXPECT_EQ(refusal(field("thermal.environment.temperature"), s64{40000}),
            "4000.0 is not allowed: -3276.8 to 3276.7 degC");
}

TEST(CatalogueValue, WhoInsistsMaySendAnyNumberThatFits) {
  EXPECT_EQ(encoded(field("lens.focus"), Raw{7}), Blob{7});
  EXPECT_EQ(encoded(field("image.osd"), Raw{255}), Blob{255});
  EXPECT_EQ(refusal(field("image.osd"), Raw{256}), "raw:256 needs more than its 8 bits");
  EXPECT_EQ(refusal(field("wifi.name"), Raw{1}), "no number stands for it");
  EXPECT_EQ(refusal(field("video"), Raw{1}), "no number stands for it");
}

TEST(CatalogueValue, HasTheTypeOfItsField) {
  EXPECT_EQ(refusal(field("lens.zoom"), s64{2}), "it takes a value of type float");
  EXPECT_EQ(refusal(field("lens.focus"), 2.0F), "it takes a value of type u32");
  EXPECT_EQ(refusal(field("image.osd"), s64{1}), "it takes a value of type bool");
  EXPECT_EQ(refusal(field("image.osd"), std::string("on")), "it takes a value of type bool");
  EXPECT_EQ(refusal(field("wifi.name"), true), "it takes a value of type text");
  EXPECT_EQ(refusal(field("lens.focus"), std::monostate{}), "it takes a value of type u32");
  EXPECT_EQ(refusal(field("exposure.ev"), Blob{1}), "it takes a value of type ratio");
}

TEST(CatalogueValue, FloatsAreFourBytes) {
  EXPECT_EQ(encoded(field("lens.zoom"), 12.5F), (Blob{0x00, 0x00, 0x48, 0x41}));
  EXPECT_EQ(decoded(field("lens.zoom"), {0x00, 0x00, 0x48, 0x41}), Value(12.5F));
  EXPECT_EQ(decoded(field("lens.zoom"), {0x00, 0x00, 0xC0, 0x7F}), Value(Raw{0x7FC00000}));
}

TEST(CatalogueValue, RatiosAreTwoNumbers) {
  EXPECT_EQ(encoded(field("exposure.ev"), Ratio{-1, 3}), (Blob{0xFF, 3}));
  EXPECT_EQ(decoded(field("exposure.ev"), {0xFF, 3}), Value(Ratio{-1, 3}));
  EXPECT_EQ(decoded(field("exposure.ev"), {0, 0}), Value(Ratio{0, 0}));
  EXPECT_EQ(decoded(field("exposure.ev"), {1, 0}), Value(Raw{1}));
  EXPECT_EQ(refusal(field("exposure.ev"), Ratio{128, 1}),
            "128/1 is not allowed: a fraction of -128 to 127 over 1 to 255, or 0 EV");
  EXPECT_EQ(refusal(field("exposure.ev"), Ratio{1, 0}),
            "1/0 is not allowed: a fraction of -128 to 127 over 1 to 255, or 0 EV");
  EXPECT_EQ(refusal(field("exposure.shutter"), Ratio{0, 100}),
            "0/100 is not allowed: a fraction of 1 to 65535 over 1 to 65535 s");
}

TEST(CatalogueValue, TextsArePaddedAndMayFillTheirField) {
  EXPECT_EQ(encoded(field("camera.country"), std::string("DE")), (Blob{'D', 'E'}));
  EXPECT_EQ(encoded(field("camera.country"), std::string(10, 'x')), Blob(10, 'x'));
  EXPECT_EQ(decoded(field("camera.country"), Blob(12, 'x')), Value(std::string(10, 'x')));
  EXPECT_EQ(refusal(field("camera.country"), std::string(11, 'x')),
            "11 characters are not allowed: 1 to 10 characters");
  EXPECT_EQ(refusal(field("camera.country"), std::string()),
            "0 characters are not allowed: 1 to 10 characters");
  EXPECT_EQ(refusal(field("camera.country"), std::string("a\0b", 3)), "a text holds no zero byte");
}

TEST(CatalogueValue, ATextLeavesNothingOfTheOneBefore) {
  Payload payload{};
  payload.fill('y');
  std::string error;
  EXPECT_TRUE(encode(field("camera.country"), std::string("DE"), payload, error));
  EXPECT_EQ(Blob(payload.begin(), payload.begin() + 11),
            (Blob{'D', 'E', 0, 0, 0, 0, 0, 0, 0, 0, 'y'}));
}

TEST(CatalogueValue, BlocksHaveAllTheirBytes) {
  const Blob block{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  EXPECT_EQ(encoded(field("camera.memory"), block), block);
  EXPECT_EQ(decoded(field("camera.memory"), block), Value(block));
  EXPECT_EQ(refusal(field("camera.memory"), Blob{1}),
            "1 bytes are not allowed: 15 bytes in hexadecimal digits");
}

TEST(CatalogueValue, GroupsAreRecords) {
  const Value video = members("video", {s64{1920}, s64{1080}, s64{30}});
  EXPECT_EQ(encoded(field("video"), video),
            (Blob{0x80, 0x07, 0x38, 0x04, 30, 0xFF, 0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(decoded(field("video"), {0x80, 0x07, 0x38, 0x04, 30, 9, 9, 9, 9}), video);
  EXPECT_EQ(*member(video, "height"), Value(s64{1080}));
  EXPECT_EQ(member(video, "depth"), nullptr);
}

TEST(CatalogueValue, GroupsAreComplete) {
  EXPECT_EQ(refusal(field("video"), members("video", {s64{1920}, s64{1080}})), "fps is missing");
  EXPECT_EQ(refusal(field("video"), members("video", {s64{0}, s64{1080}, s64{30}})),
            "width: 0 is not allowed: 1 to 4096 px");
  Members twice = members("video", {s64{1920}, s64{1080}, s64{30}});
  twice.push_back(twice[0]);
  EXPECT_EQ(refusal(field("video"), twice), "width is given twice");
  EXPECT_EQ(refusal(field("video"), members("stream.0", {s64{1}})), "a field of something else");
}

TEST(CatalogueValue, FixedFieldsCannotBeChosen) {
  const Field& auto_enable = field("exposure").fields[0];
  ASSERT_TRUE(auto_enable.is(kFixed));
  EXPECT_EQ(refusal(field("exposure"), Members{{&auto_enable, s64{1}}}), ": it cannot be chosen");
}

TEST(CatalogueValue, AMaskTellsWhichFieldsOfAStreamCount) {
  const auto bit = [](const char* name, s64 number) { return Member{&field(name), number}; };
  EXPECT_EQ(encoded(field("stream.1"), Members{bit("stream.1.bitrate", 4000000)}),
            (Blob{1, 0, 0, 0, 1, 0, 0, 0, 0x00, 0x09, 0x3D}));
  EXPECT_EQ(
      encoded(field("stream.0"), Members{bit("stream.0.width", 1280), bit("stream.0.height", 720)}),
      (Blob{0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x05, 0xD0, 0x02}));
  EXPECT_EQ(refusal(field("stream.0"), Members{bit("stream.0.width", 1280)}), "height is missing");
  EXPECT_EQ(refusal(field("stream.0"), Members{}), "no field is given");
  const Value all = initial_value(field("stream.0"));
  EXPECT_EQ(encoded(field("stream.0"), all),
            (Blob{0, 0, 0, 0, 7, 0, 0, 0, 0x00, 0x24, 0xF4, 0, 0x80, 0x07, 0x38, 0x04, 30}));
}

TEST(CatalogueValue, RepliesMayStandElsewhereThanRequests) {
  const Value exposure = members("exposure", {Ratio{1, 100}, s64{200}});
  EXPECT_EQ(encoded(field("exposure"), exposure), (Blob{0, 1, 0, 100, 0, 200}));
  const u8 reply[] = {1, 0, 100, 0, 200, 0, 0, 0};
  EXPECT_EQ(decode_reply(row("exposure"), reply, sizeof reply), exposure);
}

TEST(CatalogueValue, TooFewBytesAreNoValue) {
  const u8 bytes[9] = {};
  EXPECT_FALSE(decode(field("video"), bytes, 8));
  EXPECT_TRUE(decode(field("video"), bytes, 9));
  EXPECT_FALSE(decode(field("lens.focus"), bytes, 3));
  EXPECT_FALSE(decode_reply(row("exposure"), bytes, 7));
  EXPECT_TRUE(decode_reply(row("exposure"), bytes, 8));
}

TEST(CatalogueValue, ParametersThatAreNotGivenAreAtTheirDefaults) {
  Payload payload{};
  std::string error;
  EXPECT_TRUE(encode_parameters(row("storage"), {}, payload, error));
  EXPECT_EQ(used(payload), Blob{255});
  EXPECT_TRUE(encode_parameters(row("stream.1"), {}, payload, error));
  EXPECT_EQ(used(payload), Blob{1});
  EXPECT_TRUE(encode_parameters(row("camera.reboot"), {}, payload, error));
}

TEST(CatalogueValue, ParametersWithoutADefaultMustBeGiven) {
  Payload payload{};
  std::string error;
  EXPECT_FALSE(encode_parameters(row("storage.format"), {}, payload, error));
  EXPECT_EQ(error, "slot is missing: external, internal or all");
  EXPECT_FALSE(encode_parameters(row("lens.zoom_drive"), {}, payload, error));
  EXPECT_EQ(error, "direction is missing: tele, wide or stop");
  EXPECT_FALSE(encode_parameters(row("photo.timed_start"), {}, payload, error));
  EXPECT_EQ(error, "interval is missing: 1 to 4294967295 s");
  EXPECT_EQ(used(payload), Blob{});
  const Field& interval = row("photo.timed_start").parameters[0];
  EXPECT_TRUE(encode_parameters(row("photo.timed_start"), {{&interval, s64{2}}}, payload, error));
  EXPECT_EQ(used(payload), Blob{2});
}

TEST(CatalogueValue, WireNumbersAreUnsigned) {
  EXPECT_EQ(wire_number(field("thermal.sso"), s64{-1}), 255U);
  EXPECT_EQ(wire_number(field("image.defog"), true), 2U);
  EXPECT_EQ(wire_number(field("lens.zoom"), 1.0F), 0x3F800000U);
  EXPECT_EQ(wire_number(field("wifi.name"), std::string("x")), std::nullopt);
}

/// Every value that a row starts with comes back from the bytes that it became.
/// Whether a camera takes these bytes of a request, padded with zeros.
bool taken(const char* name, const Blob& bytes) {
  Payload payload{};
  std::copy(bytes.begin(), bytes.end(), payload.begin());
  return takes(field(name), payload.data());
}

TEST(CatalogueValue, IsTakenFromTheBytesOfARequest) {
  EXPECT_TRUE(taken("lens.iris", {0x11, 0}));
  EXPECT_FALSE(taken("lens.iris", {0x11, 1}));
  EXPECT_FALSE(taken("metering.mode", {3}));
  EXPECT_TRUE(taken("video.low_delay", {0x11}));
  EXPECT_FALSE(taken("video.low_delay", {1}));
  EXPECT_TRUE(taken("thermal.sso", {0x80}));
  EXPECT_TRUE(taken("lens.zoom", {0, 0, 0xF0, 0x41}));   // 30
  EXPECT_FALSE(taken("lens.zoom", {0, 0, 0xF8, 0x41}));  // 31
  EXPECT_FALSE(taken("lens.zoom", {0, 0, 0xC0, 0x7F}));  // no number
  EXPECT_FALSE(taken("lens.zoom", {0, 0, 0x80, 0x7F}));  // infinity
  EXPECT_TRUE(taken("camera.country", {'D', 'E'}));
  EXPECT_FALSE(taken("camera.country", {}));
  EXPECT_TRUE(taken("camera.memory", Blob(15, 0xFF)));
  EXPECT_TRUE(taken("video.fps", {0, 0, 0, 0, 120}));
  EXPECT_FALSE(taken("video.fps", {0, 0, 0, 0, 121}));
}

TEST(CatalogueValue, IsTakenWhenEachFieldOfARecordIs) {
  EXPECT_TRUE(taken("metering.spot", {100, 100}));
  EXPECT_FALSE(taken("metering.spot", {100, 101}));
  EXPECT_TRUE(taken("exposure", {0xFF, 1, 0, 1, 0, 0xFF, 0xFF, 0, 0}));  // but the fixed one
  EXPECT_FALSE(taken("exposure", {0, 1, 0, 0, 0, 100, 0, 0, 0}));
  EXPECT_FALSE(taken("exposure", {0, 1, 0, 1, 0, 0, 0, 1, 0}));
}

TEST(CatalogueValue, ComesBackFromItsBytesForEverySetting) {
  for (const Row& each : rows()) {
    if (each.kind != Kind::kSetting) continue;
    const Value value = initial_value(each.value);
    Payload payload{};
    std::string error;
    if (!check(each.value, value, error)) continue;  // texts that are not set yet
    ASSERT_TRUE(encode(each.value, value, payload, error)) << each.name() << ": " << error;
    EXPECT_EQ(decode(each.value, payload.data(), payload.size()), value) << each.name();
  }
}

}  // namespace
