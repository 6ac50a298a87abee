// The catalogue against what the simulated camera does by code of its own: its modes, its readings,
// its actions and its snapshot. What settings start with, take and refuse has the camera from the
// catalogue; the tables of camera_settings_test.cpp are what that is checked against.

#include <gtest/gtest.h>

#include <algorithm>

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

/// Another number than the one that is needed.
Raw other_than(const Row& row, const char* choice) {
  const auto number = number_of<u64>(row.value.choices, choice);
  for (const Choice& other : row.value.choices) {
    if (static_cast<u64>(other.number) != number) return {static_cast<u64>(other.number)};
  }
  return {number == 0 ? u64{1} : u64{0}};
}

/// A request that the row allows.
Payload request_of(const Row& row) {
  Payload payload{};
  std::string error;
  if (row.kind != Kind::kAction) {
    EXPECT_TRUE(encode(row.value, initial_value(row.value), payload, error)) << row.name() << error;
    return payload;
  }
  Members parameters;
  for (const Field& parameter : row.parameters) {
    const bool text = parameter.type == Type::kText;
    const std::string written = parameter.type == Type::kChoice ? parameter.choices[0].name
                                : !text                         ? "1"
                                : row.codes.run == UDP_CTRL_CAM_GET_PROPERTY ? "fan"
                                                                             : "fan=on";
    parameters.push_back({&parameter, *parse(parameter, written, error)});
  }
  EXPECT_TRUE(encode_parameters(row, parameters, payload, error)) << row.name() << error;
  return payload;
}

TEST(CatalogueCamera, RefusesWhatIsNotPreparedFor) {
  int tried = 0;
  for (const Row& row : rows()) {
    const int code = row.kind == Kind::kAction ? row.codes.run : row.codes.set;
    for (const Need& need : row.needs) {
      NamedCamera camera;
      const Row& needed = *find(need.setting)->row;
      EXPECT_EQ(camera.set(needed, other_than(needed, need.choice)), VLM_ERR_NONE) << row.name();
      EXPECT_EQ(camera.send(code, request_of(row)).error, need.refusal) << row.name();
      camera.prepare(row);
      EXPECT_EQ(camera.send(code, request_of(row)).error, VLM_ERR_NONE) << row.name();
      ++tried;
    }
  }
  EXPECT_GT(tried, 0);
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

TEST(CatalogueCamera, RunsEveryAction) {
  for (const Row& row : rows()) {
    if (row.kind != Kind::kAction) continue;
    NamedCamera camera;
    camera.prepare(row);
    const CameraReply reply = camera.send(row.codes.run, request_of(row));
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
