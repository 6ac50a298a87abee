// The result store: which bytes of which reply change which bytes of Data, for every code.

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <type_traits>

#include "command_contract.h"
#include "engine_test.h"
#include "transcript.h"

namespace {

using Data = LcmRequest::Data;

/// A payload of different bytes, none of them 0xa5, so that each names its place.
std::vector<u8> distinct_payload() {
  std::vector<u8> payload(128);
  for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<u8>(3 + 5 * i);
  return payload;
}

/// Data whose every byte, padding included, shows a change.
Data filled_data() {
  Data data;
  std::memset(&data, 0xa5, sizeof data);
  return data;
}

/// What differs, by field, so that a failure names its cause.
std::string difference(const Data& expected, const Data& actual) {
  const auto a = bytes_of(expected);
  const auto b = bytes_of(actual);
  std::string text;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] == b[i]) continue;
    const auto next = std::find_if(result_fields().begin(), result_fields().end(),
                                   [=](const ResultField& f) { return f.offset > i; });
    text += "byte " + std::to_string(i) + " in or behind " + (next - 1)->name + "; ";
  }
  return text;
}

class ResultStore : public EngineTest {
 protected:
  ResultStore() { fill(); }

  void fill() {
    Peer::set_data(_engine, filled_data());
    std::memset(Data::module_name, 0xa5, sizeof Data::module_name);
  }

  /// Stores a reply and returns what that prints.
  std::string store(int code, const std::vector<u8>& payload) {
    return transcript_of([&] { Peer::store(_engine, camera_record(code, payload)); });
  }

  Data data() { return Peer::data(_engine); }
};

// --- The store as a record ---

TEST(ResultFields, StandInOrderInTheirTypes) {
  std::size_t end = 0;
  for (const ResultField& field : result_fields()) {
    EXPECT_GE(field.offset, end) << field.name;
    EXPECT_LT(field.offset, end + field.alignment) << "more than padding before " << field.name;
    EXPECT_TRUE(field.has_its_type) << field.name;
    end = field.offset + field.size;
  }
  EXPECT_LE(end, sizeof(Data));
  EXPECT_LT(sizeof(Data), end + alignof(Data)) << "more than padding at the end";
  EXPECT_TRUE((std::is_same_v<decltype(Data::module_name), char[8]>));
}

TEST(ResultFields, AreAsWideAsTheirPayloadBytes) {
  for (const CommandContract& row : command_contract()) {
    for (const StoredBytes& bytes : row.reply.stored) {
      EXPECT_EQ(bytes.size, bytes.last - bytes.first + 1) << row.code << " " << bytes.field;
    }
  }
}

TEST(ResultFields, NameAllThatAReplyStores) {
  for (const CommandContract& row : command_contract()) {
    for (const StoredBytes& bytes : row.reply.stored) {
      const bool named =
          std::any_of(result_fields().begin(), result_fields().end(), [&](const auto& f) {
            return f.offset <= bytes.offset && bytes.offset + bytes.size <= f.offset + f.size;
          });
      EXPECT_TRUE(named) << row.code << " " << bytes.field;
    }
  }
}

TEST(ResultFields, BeginZero) {
  LcmRequest engine;
  EXPECT_EQ(bytes_of(LcmRequestPeer::data(engine)), std::vector<u8>(sizeof(Data)));
}

// --- Every code ---

/// `data` after a reply of `code` with the distinct payload.
Data expected_after(int code, const Data& before, const std::vector<u8>& payload) {
  auto bytes = bytes_of(before);
  const CommandContract* const row = find_contract(code);
  for (const StoredBytes& stored :
       row != nullptr ? row->reply.stored : std::vector<StoredBytes>{}) {
    std::copy_n(payload.begin() + static_cast<std::ptrdiff_t>(stored.first), stored.size,
                bytes.begin() + static_cast<std::ptrdiff_t>(stored.offset));
  }
  Data data;
  std::memcpy(&data, bytes.data(), sizeof data);
  // Byte 0 is 3, which reads as recording; byte 43 is 218, which reads as idle.
  if (code == UDP_CTRL_CAM_GET_CAMERA_STATUS) data.video_status = 1;
  if (code == UDP_CTRL_CAM_GET_ALL_REQUEST) data.request_list.camera_status = 0;
  if (code == UDP_CTRL_CAM_GET_SHUTTER_ISO) {
    data.shutter_s = 2051.0F / 4621.0F;
    data.iso_value = static_cast<float>(639704087);
  }
  return data;
}

bool is_known(int code) {
  const CommandContract* const row = find_contract(code);
  return row != nullptr && row->reply.kind != ReplyContract::kUnknown;
}

std::string expected_print(int code) {
  switch (code) {
    case UDP_CTRL_CAM_GET_DIGITAL_ZOOM: return "[save_lcm_result:4180]dzoom[302843907]\n";
    case UDP_CTRL_CAM_GET_ZOOM: return "[save_lcm_result:4188]zoom[0.0]\n";
    case UDP_CTRL_CAM_GET_DEFOG_LEVEL: return "[save_lcm_result:4198]deflog_onoff:3\n";
    default: break;
  }
  if (is_known(code)) return "";
  return "unknown lcm type[" + std::to_string(code) + "]\n";
}

TEST_F(ResultStore, ChangesExactlyTheFieldsOfEachCode) {
  const auto payload = distinct_payload();
  for (int code = 0; code <= 1000; ++code) {
    fill();
    const Data before = data();
    EXPECT_EQ(store(code, payload), expected_print(code)) << code;
    EXPECT_EQ(difference(expected_after(code, before, payload), data()), "") << code;
    const std::string name(Data::module_name, sizeof Data::module_name);
    EXPECT_EQ(name, code == UDP_CTRL_CAM_GET_CAMERA_VERSION
                        ? std::string(payload.begin(), payload.begin() + 8)
                        : std::string(8, '\xa5'))
        << code;
  }
}

TEST_F(ResultStore, KnowsNoCodeOfTheUpperRange) {
  for (const int code : {command_contract().back().code + 1, 4096 + 1, 32768, 65535}) {
    const Data before = data();
    EXPECT_EQ(store(code, distinct_payload()), "unknown lcm type[" + std::to_string(code) + "]\n");
    EXPECT_EQ(difference(before, data()), "") << code;
  }
}

// --- Codes that take more than a copy ---

TEST_F(ResultStore, ComputesTheShutterTime) {
  EXPECT_EQ(store(UDP_CTRL_CAM_GET_SHUTTER_ISO, {1, 0, 100, 0, 200, 0, 0, 0}), "");
  EXPECT_EQ(data().shutter_s, 0.01F);
  EXPECT_EQ(data().iso_value, 200.0F);
}

TEST_F(ResultStore, ComputesTheLargestShutterTime) {
  store(UDP_CTRL_CAM_GET_SHUTTER_ISO, {0xff, 0xff, 1, 0, 0xff, 0xff, 0xff, 0xff});
  EXPECT_EQ(data().shutter_s, 65535.0F);
  EXPECT_EQ(data().iso_value, 4294967296.0F);
}

TEST_F(ResultStore, KeepsTheShutterTimeWhenTheDenominatorIsZero) {
  store(UDP_CTRL_CAM_GET_SHUTTER_ISO, {1, 0, 100, 0, 200});
  EXPECT_EQ(store(UDP_CTRL_CAM_GET_SHUTTER_ISO, {1, 0, 0, 0, 0x90, 1}), "shutter's value ERROR\n");
  EXPECT_EQ(data().shutter_s, 0.01F);
  EXPECT_EQ(data().iso_value, 400.0F);
}

TEST_F(ResultStore, MapsEveryCameraStatus) {
  std::vector<u8> payload(70);
  for (int raw = 0; raw <= 255; ++raw) {
    payload[0] = payload[43] = static_cast<u8>(raw);
    store(UDP_CTRL_CAM_GET_CAMERA_STATUS, payload);
    store(UDP_CTRL_CAM_GET_ALL_REQUEST, payload);
    const int expected = raw == 3 ? 1 : raw == 2 ? 2 : 0;
    EXPECT_EQ(data().video_status, expected) << raw;
    EXPECT_EQ(data().request_list.camera_status, expected) << raw;
  }
}

TEST_F(ResultStore, PrintsTheZooms) {
  EXPECT_EQ(store(UDP_CTRL_CAM_GET_DIGITAL_ZOOM, {0xff, 0xff, 0xff, 0xff}),
            "[save_lcm_result:4180]dzoom[-1]\n");
  EXPECT_EQ(store(UDP_CTRL_CAM_GET_DIGITAL_ZOOM, {80}), "[save_lcm_result:4180]dzoom[80]\n");
  EXPECT_EQ(store(UDP_CTRL_CAM_GET_ZOOM, {0, 0, 0xf0, 0x41}), "[save_lcm_result:4188]zoom[30.0]\n");
  EXPECT_EQ(store(UDP_CTRL_CAM_GET_ZOOM, {0, 0, 0x20, 0xc0}), "[save_lcm_result:4188]zoom[-2.5]\n");
}

TEST_F(ResultStore, PrintsEveryDefogLevel) {
  for (int level = 0; level <= 255; ++level) {
    EXPECT_EQ(store(UDP_CTRL_CAM_GET_DEFOG_LEVEL, {static_cast<u8>(level)}),
              "[save_lcm_result:4198]deflog_onoff:" + std::to_string(level) + "\n");
  }
}

TEST_F(ResultStore, SpreadsTheFocusReplyIntoTheDigitalZoom) {
  store(UDP_CTRL_CAM_GET_DIGITAL_ZOOM, {0x11, 0x22, 0x33, 0x44});
  store(UDP_CTRL_CAM_GET_FOCUS, {0xaa, 0xbb, 0xcc, 0xdd});
  EXPECT_EQ(data().focus, 0xbbaa);
  EXPECT_EQ(data().dzoom, 0x4433ddccU);
}

TEST_F(ResultStore, SharesTheModuleNameAmongEngines) {
  store(UDP_CTRL_CAM_GET_CAMERA_VERSION, {'V', 'L', 'M', '-', 'Z', '3', '0', '!', 4, 3, 2, 1});
  EXPECT_EQ(std::string(Data::module_name, 8), "VLM-Z30!");
  EXPECT_EQ(data().camera_version, 0x01020304U);
}

TEST_F(ResultStore, KeepsAFullText) {
  const std::vector<u8> payload(128, 'x');
  store(UDP_CTRL_CAM_GET_MEDIA_FOLDER, payload);
  store(UDP_CTRL_CAM_GET_PROPERTY, payload);
  EXPECT_EQ(std::string(data().folder, 64), std::string(64, 'x'));
  EXPECT_EQ(std::string(data().property_str, 128), std::string(128, 'x'));
}

// --- Through the engine ---

TEST_F(ResultStore, TakesSuccessfulRepliesOnly) {
  const Data before = data();
  bus().answer(distinct_payload(), VLM_ERR_FAILED);
  request(UDP_CTRL_CAM_GET_IRIS);
  EXPECT_EQ(difference(before, data()), "");
  bus().answer(distinct_payload());
  request(UDP_CTRL_CAM_GET_IRIS);
  EXPECT_EQ(difference(expected_after(UDP_CTRL_CAM_GET_IRIS, before, distinct_payload()), data()),
            "");
}

}  // namespace
