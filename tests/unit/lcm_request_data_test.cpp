// The result store: which bytes of which reply change which bytes of Data, for every code.

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>
#include <type_traits>

#include "engine_test.h"
#include "transcript.h"

namespace {

using Data = LcmRequest::Data;

// clang-format off
// Macros, since only they can name a member for offsetof.
#define FIELD(field) #field, offsetof(Data, field), sizeof(Data::field)
#define TYPED(field, type) {FIELD(field), std::is_same_v<decltype(Data::field), type>}

struct TypedField {
  const char* name;
  std::size_t offset;
  std::size_t size;
  bool has_its_type;
};

// In their order.
const TypedField kFields[] = {
    TYPED(video_status, u8),
    TYPED(video_fps, u8),
    TYPED(video_resolution_h, u16),
    TYPED(video_resolution_v, u16),
    TYPED(cam_mode, u8),
    TYPED(shutter_s, float),
    TYPED(iso_value, float),
    TYPED(ev_num, s8),
    TYPED(ev_dem, u8),
    TYPED(encode_mode, u8),
    TYPED(air_params, udp_ctrl_cam_air_params_t),
    TYPED(temp_status, udp_ctrl_cam_lepton_area_temp_t),
    TYPED(temp_bar, udp_ctrl_cam_temp_bar_range_t),
    TYPED(eis_flag, u8),
    TYPED(color_mode, u8),
    TYPED(image_quality, u8),
    TYPED(image_format, u8),
    TYPED(wb_locked, u8),
    TYPED(dewarp_mode, u8),
    TYPED(th_env_temp, lepton_env_temp_t),
    TYPED(th_dewarp, vlm_thermal_dewarp_t),
    TYPED(stream_prop, vlm_stream_prop_t),
    TYPED(rgain, u16),
    TYPED(bgain, u16),
    TYPED(property_str, char[128]),
    TYPED(gain_mode, u32),
    TYPED(pn_info, vlm_camera_pn_info_t),
    TYPED(rad_point, vlm_radiometric_point_settings_t),
    TYPED(rad_area, vlm_radiometric_area_settings_t),
    TYPED(sso, vlm_SSO_setting_t),
    TYPED(ace, vlm_ACE_setting_t),
    TYPED(dde, vlm_DDE_setting_t),
    TYPED(roi, vlm_radiometric_area_coordinate_t),
    TYPED(th_dzoom, udp_ctrl_cam_digital_zoom_params_t),
    TYPED(framerate_divisor, u32),
    TYPED(photo_ratio, u8),
    TYPED(file_format, u8),
    TYPED(capture_mode, udp_ctrl_cam_photo_mode_t),
    TYPED(flip_type, u8),
    TYPED(low_delay_mode, u8),
    TYPED(custom_wb, u8),
    TYPED(wdr_mode, u8),
    TYPED(palette_type, u32),
    TYPED(interval_time_s, u32),
    TYPED(lock_state, u32),
    TYPED(run_mode, u32),
    TYPED(file_num_option, u8),
    TYPED(cam_lock, u8),
    TYPED(sd_sp_info, udp_ctrl_sdcard_support_info_t),
    TYPED(ev_value, u16),
    TYPED(shutter, u16),
    TYPED(iso, u16),
    TYPED(zoom, float),
    TYPED(iris, u16),
    TYPED(focus, u16),
    TYPED(dzoom, u32),
    TYPED(deflog_onoff, u8),
    TYPED(dzoom_onoff, u8),
    TYPED(osd_onoff, u8),
    TYPED(mem_save_data, u8[15]),
    TYPED(wb_mode, u8),
    TYPED(meter_mode, u8),
    TYPED(flicker_mode, u8),
    TYPED(recording_time, u32),
    TYPED(available_kib, u32),
    TYPED(total_kib, u32),
    TYPED(camera_version, u32),
    TYPED(ae_mode, u8),
    TYPED(enable_flag, u8),
    TYPED(folder, char[64]),
    TYPED(x_ratio, u8),
    TYPED(y_ratio, u8),
    TYPED(speed_mbps, u16),
    TYPED(level, u8),
    TYPED(space_state, u8),
    TYPED(system_mode, u8),
    TYPED(request_list, udp_ctrl_cam_request_list_t),
    TYPED(country_code, char[10]),
    TYPED(storage_info, udp_ctrl_cam_sdcard_storage_t),
    TYPED(focus_mode, u8),
};
static_assert(std::size(kFields) == 80);

struct StoredField {
  int code;
  const char* name;
  std::size_t offset;  // in Data
  std::size_t size;
  std::size_t first;   // byte of the payload
  std::size_t last;
};

const StoredField kStored[] = {
    {0, FIELD(request_list), 0, 69},
    {1, FIELD(cam_mode), 0, 0},
    {6, FIELD(video_status), 0, 0},
    {7, FIELD(ae_mode), 0, 0},
    {9, FIELD(ev_value), 0, 1},
    {13, FIELD(wb_mode), 0, 0},
    {15, FIELD(video_resolution_h), 0, 1},
    {15, FIELD(video_resolution_v), 2, 3},
    {15, FIELD(video_fps), 4, 4},
    {17, FIELD(meter_mode), 0, 0},
    {19, FIELD(flicker_mode), 0, 0},
    {21, FIELD(color_mode), 0, 0},
    {23, FIELD(image_quality), 0, 0},
    {25, FIELD(image_format), 0, 0},
    {29, FIELD(recording_time), 0, 3},
    {30, FIELD(storage_info), 0, 12},
    {31, FIELD(camera_version), 8, 11},
    {34, FIELD(enable_flag), 0, 0},
    {34, FIELD(folder), 1, 64},
    {36, FIELD(x_ratio), 0, 0},
    {36, FIELD(y_ratio), 1, 1},
    {39, FIELD(speed_mbps), 0, 1},
    {39, FIELD(level), 2, 2},
    {39, FIELD(space_state), 3, 3},
    {40, FIELD(system_mode), 0, 0},
    {42, FIELD(encode_mode), 0, 0},
    {46, FIELD(photo_ratio), 0, 0},
    {48, FIELD(file_format), 0, 0},
    {50, FIELD(capture_mode), 0, 10},
    {52, FIELD(flip_type), 0, 0},
    {55, FIELD(low_delay_mode), 0, 0},
    {57, FIELD(custom_wb), 0, 0},
    {61, FIELD(wdr_mode), 0, 0},
    {67, FIELD(dewarp_mode), 0, 0},
    {78, FIELD(eis_flag), 0, 0},
    {80, FIELD(dzoom), 0, 3},
    {82, FIELD(zoom), 0, 3},
    {84, FIELD(property_str), 0, 127},
    {85, FIELD(property_str), 0, 127},
    {92, FIELD(framerate_divisor), 0, 3},
    {94, FIELD(file_num_option), 0, 0},
    {97, FIELD(sd_sp_info), 0, 3},
    {100, FIELD(palette_type), 0, 3},
    {104, FIELD(air_params), 0, 4},
    {106, FIELD(temp_bar), 0, 4},
    {108, FIELD(lock_state), 0, 3},
    {110, FIELD(run_mode), 0, 3},
    {113, FIELD(temp_status), 0, 39},
    {115, FIELD(rad_point), 0, 7},
    {117, FIELD(rad_area), 0, 11},
    {118, FIELD(pn_info), 0, 65},
    {121, FIELD(gain_mode), 0, 3},
    {125, FIELD(sso), 0, 0},
    {127, FIELD(ace), 0, 1},
    {129, FIELD(dde), 0, 1},
    {131, FIELD(roi), 0, 7},
    {133, FIELD(th_dzoom), 0, 11},
    {135, FIELD(th_env_temp), 0, 5},
    {138, FIELD(th_dewarp), 0, 4},
    {140, FIELD(stream_prop), 0, 19},
    {206, FIELD(focus), 0, 1},
    {206, "dzoom, low half", offsetof(Data, dzoom), 2, 2, 3},
    {208, FIELD(iris), 0, 1},
    {209, FIELD(shutter), 0, 1},
    {210, FIELD(iso), 0, 1},
    {220, FIELD(deflog_onoff), 0, 0},
    {235, FIELD(rgain), 0, 1},
    {237, FIELD(bgain), 0, 1},
    {240, FIELD(osd_onoff), 0, 0},
    {241, FIELD(focus_mode), 0, 0},
};

const std::set<int> kSilent = {
    2, 3, 4, 5, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 27, 28, 32, 33, 35, 37, 38, 41, 43, 44,
    45, 47, 49, 51, 53, 54, 56, 58, 59, 60, 62, 65, 66, 68, 70, 71, 72, 73, 79, 81, 83, 86, 87,
    90, 91, 101, 102, 103, 105, 107, 109, 111, 112, 114, 116, 122, 126, 128, 130, 132, 134,
    136, 139, 141, 200, 202, 204, 205, 216, 219, 233, 234, 236, 238, 239, 901, 902, 903, 904,
    905};
// clang-format on

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
    const auto* const next = std::find_if(std::begin(kFields), std::end(kFields),
                                          [=](const TypedField& f) { return f.offset > i; });
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
  for (const TypedField& field : kFields) {
    EXPECT_GE(field.offset, end) << field.name;
    EXPECT_TRUE(field.has_its_type) << field.name;
    end = field.offset + field.size;
  }
  EXPECT_LE(end, sizeof(Data));
  EXPECT_TRUE((std::is_same_v<decltype(Data::module_name), char[8]>));
}

TEST(ResultFields, AreAsWideAsTheirPayloadBytes) {
  for (const StoredField& row : kStored) {
    EXPECT_EQ(row.size, row.last - row.first + 1) << row.code << " " << row.name;
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
  for (const StoredField& row : kStored) {
    if (row.code != code) continue;
    std::copy_n(payload.begin() + static_cast<std::ptrdiff_t>(row.first), row.size,
                bytes.begin() + static_cast<std::ptrdiff_t>(row.offset));
  }
  Data data;
  std::memcpy(&data, bytes.data(), sizeof data);
  // Byte 0 is 3, which reads as recording; byte 43 is 218, which reads as idle.
  if (code == 6) data.video_status = 1;
  if (code == 0) data.request_list.camera_status = 0;
  if (code == 11) {
    data.shutter_s = 2051.0F / 4621.0F;
    data.iso_value = static_cast<float>(639704087);
  }
  return data;
}

bool stores_something(int code) {
  return code == 11 || std::any_of(std::begin(kStored), std::end(kStored),
                                   [=](const StoredField& row) { return row.code == code; });
}

std::string expected_print(int code) {
  switch (code) {
    case 80: return "[save_lcm_result:4180]dzoom[302843907]\n";
    case 82: return "[save_lcm_result:4188]zoom[0.0]\n";
    case 220: return "[save_lcm_result:4198]deflog_onoff:3\n";
    default: break;
  }
  if (stores_something(code) || kSilent.count(code) != 0) return "";
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
    EXPECT_EQ(name, code == 31 ? std::string(payload.begin(), payload.begin() + 8)
                               : std::string(8, '\xa5'))
        << code;
  }
}

TEST_F(ResultStore, KnowsNoCodeOfTheUpperRange) {
  for (const int code : {906, 4096 + 1, 32768, 65535}) {
    const Data before = data();
    EXPECT_EQ(store(code, distinct_payload()), "unknown lcm type[" + std::to_string(code) + "]\n");
    EXPECT_EQ(difference(before, data()), "") << code;
  }
}

// --- Codes that take more than a copy ---

TEST_F(ResultStore, ComputesTheShutterTime) {
  EXPECT_EQ(store(11, {1, 0, 100, 0, 200, 0, 0, 0}), "");
  EXPECT_EQ(data().shutter_s, 0.01F);
  EXPECT_EQ(data().iso_value, 200.0F);
}

TEST_F(ResultStore, ComputesTheLargestShutterTime) {
  store(11, {0xff, 0xff, 1, 0, 0xff, 0xff, 0xff, 0xff});
  EXPECT_EQ(data().shutter_s, 65535.0F);
  EXPECT_EQ(data().iso_value, 4294967296.0F);
}

TEST_F(ResultStore, KeepsTheShutterTimeWhenTheDenominatorIsZero) {
  store(11, {1, 0, 100, 0, 200});
  EXPECT_EQ(store(11, {1, 0, 0, 0, 0x90, 1}), "shutter's value ERROR\n");
  EXPECT_EQ(data().shutter_s, 0.01F);
  EXPECT_EQ(data().iso_value, 400.0F);
}

TEST_F(ResultStore, MapsEveryCameraStatus) {
  std::vector<u8> payload(70);
  for (int raw = 0; raw <= 255; ++raw) {
    payload[0] = payload[43] = static_cast<u8>(raw);
    store(6, payload);
    store(0, payload);
    const int expected = raw == 3 ? 1 : raw == 2 ? 2 : 0;
    EXPECT_EQ(data().video_status, expected) << raw;
    EXPECT_EQ(data().request_list.camera_status, expected) << raw;
  }
}

TEST_F(ResultStore, PrintsTheZooms) {
  EXPECT_EQ(store(80, {0xff, 0xff, 0xff, 0xff}), "[save_lcm_result:4180]dzoom[-1]\n");
  EXPECT_EQ(store(80, {80}), "[save_lcm_result:4180]dzoom[80]\n");
  EXPECT_EQ(store(82, {0, 0, 0xf0, 0x41}), "[save_lcm_result:4188]zoom[30.0]\n");
  EXPECT_EQ(store(82, {0, 0, 0x20, 0xc0}), "[save_lcm_result:4188]zoom[-2.5]\n");
}

TEST_F(ResultStore, PrintsEveryDefogLevel) {
  for (int level = 0; level <= 255; ++level) {
    EXPECT_EQ(store(220, {static_cast<u8>(level)}),
              "[save_lcm_result:4198]deflog_onoff:" + std::to_string(level) + "\n");
  }
}

TEST_F(ResultStore, SpreadsTheFocusReplyIntoTheDigitalZoom) {
  store(80, {0x11, 0x22, 0x33, 0x44});
  store(206, {0xaa, 0xbb, 0xcc, 0xdd});
  EXPECT_EQ(data().focus, 0xbbaa);
  EXPECT_EQ(data().dzoom, 0x4433ddccU);
}

TEST_F(ResultStore, SharesTheModuleNameAmongEngines) {
  store(31, {'V', 'L', 'M', '-', 'Z', '3', '0', '!', 4, 3, 2, 1});
  EXPECT_EQ(std::string(Data::module_name, 8), "VLM-Z30!");
  EXPECT_EQ(data().camera_version, 0x01020304U);
}

TEST_F(ResultStore, KeepsAFullText) {
  const std::vector<u8> payload(128, 'x');
  store(34, payload);
  store(84, payload);
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
  EXPECT_EQ(difference(expected_after(208, before, distinct_payload()), data()), "");
}

}  // namespace
