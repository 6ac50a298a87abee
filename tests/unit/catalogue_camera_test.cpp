// The catalogue against the simulated camera: what it starts with, takes and refuses.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "catalogue_text.h"
#include "simulated_camera.h"

namespace {

using namespace vlm::catalogue;

Bytes bytes_of_payload(const Payload& payload) { return Bytes(payload.begin(), payload.end()); }

Value value_of(const char* name, const std::string& written) {
  std::string error;
  const auto value = parse(*find(name)->field, written, error);
  EXPECT_TRUE(value) << name << "=" << written << ": " << error;
  return value.value_or(Value{});
}

/// A camera that is set and read by the catalogue.
class NamedCamera {
 public:
  explicit NamedCamera(bool thermal = true) : _camera(thermal) {}

  int set(const Row& row, const Value& value) {
    Payload payload{};
    std::string error;
    EXPECT_TRUE(encode(row.value, value, payload, error)) << row.name() << ": " << error;
    return send(row.codes.set, payload).error;
  }
  Value get(const Row& row) {
    Payload payload{};
    std::string error;
    EXPECT_TRUE(encode_parameters(row, {}, payload, error)) << row.name() << ": " << error;
    const CameraReply reply = send(row.codes.get, payload);
    EXPECT_EQ(reply.error, VLM_ERR_NONE) << row.name();
    return *decode_reply(row, reply.payload.data(), reply.payload.size());
  }
  /// What the row needs, set.
  void prepare(const Row& row) {
    for (const Need& need : row.needs) {
      EXPECT_EQ(set(*find(need.setting)->row, value_of(need.setting, need.choice)), VLM_ERR_NONE);
    }
  }
  CameraReply send(int code, const Payload& payload) {
    return _camera.ask(code, bytes_of_payload(payload));
  }

 private:
  SimulatedCamera _camera;
};

/// Numbers worth sending: all of one byte, else those around every limit and choice.
std::set<u64> numbers_to_try(const Field& field) {
  std::set<u64> numbers;
  const u64 highest = field.width == 8 ? ~u64{0} : (u64{1} << (8 * field.width)) - 1;
  if (field.width == 1) {
    for (u64 number = 0; number <= highest; ++number) numbers.insert(number);
    return numbers;
  }
  const auto around = [&](u64 number) {
    for (const u64 near : {number - 1, number, number + 1}) numbers.insert(near & highest);
  };
  around(0);
  around(highest);
  around(highest / 2);
  if (field.ranged) around(static_cast<u64>(field.range.min));
  if (field.ranged) around(static_cast<u64>(field.range.max));
  for (const Choice& choice : field.choices) around(static_cast<u64>(choice.number));
  return numbers;
}

/// The settings of one number.
std::vector<const Row*> plain_settings() {
  std::vector<const Row*> plain;
  for (const Row& row : rows()) {
    const Type type = row.value.type;
    const bool number =
        type != Type::kGroup && type != Type::kText && type != Type::kBytes && type != Type::kFloat;
    if (row.kind == Kind::kSetting && number) plain.push_back(&row);
  }
  return plain;
}

s64 as_wire(const Field& field, u64 number) {
  const bool has_sign =
      field.type == Type::kS8 || field.type == Type::kS16 || field.type == Type::kS32;
  const int unused = 64 - 8 * field.width;
  return has_sign ? static_cast<s64>(number << unused) >> unused : static_cast<s64>(number);
}

TEST(CatalogueCamera, TakesWhatIsAllowedAndRefusesTheRest) {
  for (const Row* row : plain_settings()) {
    NamedCamera camera;
    camera.prepare(*row);
    for (const u64 number : numbers_to_try(row->value)) {
      // Any time that a clock can show is set.
      const bool allowed = row->value.width == 8 || allows(row->value, as_wire(row->value, number));
      EXPECT_EQ(camera.set(*row, Raw{number}), allowed ? VLM_ERR_NONE : row->refusal)
          << row->name() << " raw:" << number;
      if (allowed && row->readable()) {
        EXPECT_EQ(wire_number(row->value, camera.get(*row)), number) << row->name();
      }
    }
  }
}

TEST(CatalogueCamera, StartsAsTheCatalogueSays) {
  NamedCamera camera;
  for (const Row& row : rows()) {
    if (row.kind != Kind::kSetting || !row.readable()) continue;
    EXPECT_EQ(format(row.value, camera.get(row)), format(row.value, initial_value(row.value)))
        << row.name();
  }
}

TEST(CatalogueCamera, KeepsWhatItIsSetTo) {
  const struct {
    const char* name;
    const char* written;
  } kCases[] = {
      {"exposure", "shutter=1/250,iso=400"},
      {"lens.zoom", "12.5"},
      {"metering.spot", "10,90"},
      {"photo", "mode=burst,count=5,ev_step=0,interval=500"},
      {"storage.folder", "enabled=on,name=205"},
      {"stream.0", "bitrate=8000000,width=1280,height=720,fps=25"},
      {"stream.1", "bitrate=8000000,width=1280,height=720,fps=25"},
      {"video", "3840x2160@24"},
      {"camera.country", "DE"},
      {"camera.memory", "0102030405060708090a0b0c0d0e0f"},
      {"thermal.air", "enabled=on,emissivity=80,conversion_ratio=90,temperature=-5"},
      {"thermal.area", "enabled=on,start_x=1,start_y=2,end_x=3,end_y=4"},
      {"thermal.dewarp", "enabled=on,strength=7"},
      {"thermal.environment", "enabled=on,temperature=-12.3"},
      {"thermal.point", "enabled=on,x=320,y=256"},
      {"thermal.roi", "start_x=1,start_y=2,end_x=3,end_y=4"},
      {"thermal.temperature_bar", "enabled=on,max=120,min=-20"},
      {"thermal.zoom", "zoom=20,x=320,y=256"},
  };
  NamedCamera camera;
  std::set<std::string> tried;
  for (const auto& each : kCases) {
    const Row& row = *find(each.name)->row;
    tried.insert(each.name);
    camera.prepare(row);
    EXPECT_EQ(camera.set(row, value_of(each.name, each.written)), VLM_ERR_NONE) << each.name;
    EXPECT_EQ(format(row.value, camera.get(row)), each.written) << each.name;
  }
  // With the settings of one number, these are all that can be read back.
  for (const Row* row : plain_settings()) tried.insert(row->name());
  for (const Row& row : rows()) {
    if (row.kind == Kind::kSetting && row.readable()) {
      EXPECT_EQ(tried.count(row.name()), 1U) << row.name();
    }
  }
}

TEST(CatalogueCamera, RefusesFieldsOutOfTheirRange) {
  const struct {
    const char* name;
    const char* written;
  } kCases[] = {
      {"metering.spot", "raw:101,50"},
      {"metering.spot", "50,raw:101"},
      {"video", "raw:0x1080@30"},
      {"video", "raw:4097x1080@30"},
      {"video", "1920xraw:2161@30"},
      {"video", "1920x1080@raw:121"},
      {"storage.folder", "enabled=on,name=100"},
      {"stream.second_size", "raw:0x720"},
      {"stream.second_size", "raw:65536x720"},
      {"thermal.air", "enabled=on,emissivity=raw:101,conversion_ratio=0,temperature=0"},
      {"thermal.dewarp", "enabled=raw:2,strength=0"},
  };
  NamedCamera camera;
  for (const auto& each : kCases) {
    const Row& row = *find(each.name)->row;
    camera.prepare(row);
    EXPECT_EQ(camera.set(row, value_of(each.name, each.written)), row.refusal) << each.written;
  }
}

TEST(CatalogueCamera, RefusesWhatIsNotPreparedFor) {
  for (const char* name : {"white_balance.custom", "metering.spot"}) {
    const Row& row = *find(name)->row;
    NamedCamera camera;
    const Value value = initial_value(row.value);
    EXPECT_NE(camera.set(row, value), VLM_ERR_NONE) << name;
    camera.prepare(row);
    EXPECT_EQ(camera.set(row, value), VLM_ERR_NONE) << name;
  }
}

TEST(CatalogueCamera, KeepsItsModeWhenItIsLocked) {
  NamedCamera camera;
  const Row& mode = *find("camera.mode")->row;
  const Row& lock = *find("camera.mode_lock")->row;
  EXPECT_EQ(camera.set(lock, true), VLM_ERR_NONE);
  EXPECT_EQ(camera.set(mode, initial_value(mode.value)), VLM_ERR_IS_CAM_MODE_LOCKING);
  camera.prepare(mode);
  EXPECT_EQ(camera.set(mode, initial_value(mode.value)), VLM_ERR_NONE);
}

TEST(CatalogueCamera, AnswersEveryReading) {
  NamedCamera camera;
  for (const Row& row : rows()) {
    if (row.kind != Kind::kReading || !row.readable()) continue;
    const Value value = camera.get(row);
    EXPECT_FALSE(std::holds_alternative<std::monostate>(value)) << row.name();
  }
  EXPECT_EQ(format(find("camera.version")->row->value, camera.get(*find("camera.version")->row)),
            "module=VLMSIM-T,major=1,minor=4,patch=0,branch=R");
}

TEST(CatalogueCamera, NeedsTheThermalSensorWhereItSaysSo) {
  for (const Row& row : rows()) {
    for (const int code : {row.codes.get, row.codes.set, row.codes.run}) {
      if (code == kNone) continue;
      NamedCamera camera(false);
      const bool unsupported = camera.send(code, {}).error == VLM_ERR_UNSUPPORTED_COMMAND;
      EXPECT_EQ(unsupported, row.is(kThermal)) << row.name() << ", code " << code;
    }
  }
}

TEST(CatalogueCamera, RunsEveryAction) {
  for (const Row& row : rows()) {
    if (row.kind != Kind::kAction) continue;
    NamedCamera camera;
    camera.prepare(row);
    Members parameters;
    for (const Field& parameter : row.parameters) {
      const bool text = parameter.type == Type::kText;
      std::string error;
      const std::string written = parameter.type == Type::kChoice ? parameter.choices[0].name
                                  : !text                         ? "1"
                                  : row.codes.run == UDP_CTRL_CAM_GET_PROPERTY ? "fan"
                                                                               : "fan=on";
      parameters.push_back({&parameter, *parse(parameter, written, error)});
    }
    Payload payload{};
    std::string error;
    EXPECT_TRUE(encode_parameters(row, parameters, payload, error)) << row.name() << error;
    const CameraReply reply = camera.send(row.codes.run, payload);
    const bool stops_nothing = row.codes.run == UDP_CTRL_CAM_STOP_RECORD;
    EXPECT_EQ(reply.error, stops_nothing ? VLM_ERR_IS_NOT_RECORDING : VLM_ERR_NONE) << row.name();
    if (row.value.type == Type::kText) {
      EXPECT_EQ(*decode_reply(row, reply.payload.data(), reply.payload.size()),
                Value(std::string("off")))
          << row.name();
    }
  }
}

TEST(CatalogueCamera, TellsTheMainSettingsAtOnceAsOneByOne) {
  NamedCamera camera;
  const Value all = camera.get(*find("camera.all")->row);
  const struct {
    const char* field;
    const char* name;
  } kSame[] = {
      {"mode", "camera.mode"},
      {"ev", "exposure.ev"},
      {"shutter_code", "exposure.shutter_code"},
      {"iso_code", "exposure.iso_code"},
      {"digital_zoom", "lens.digital_zoom"},
      {"zoom", "lens.zoom"},
      {"iris", "lens.iris"},
      {"osd", "image.osd"},
      {"focus_mode", "lens.focus_mode"},
      {"defog_level", "image.defog_level"},
      {"flicker", "image.flicker"},
      {"exposure_mode", "exposure.mode"},
      {"metering_mode", "metering.mode"},
      {"white_balance", "white_balance.mode"},
      {"status", "camera.status"},
      {"recording_time", "recording.time"},
  };
  for (const auto& same : kSame) {
    const Row& row = *find(same.name)->row;
    const Field& field = *find(std::string("camera.all.") + same.field)->field;
    EXPECT_EQ(format(field, *member(all, same.field)), format(row.value, camera.get(row)))
        << same.name;
  }
}

}  // namespace
