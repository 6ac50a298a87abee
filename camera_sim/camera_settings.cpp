// What an operator is told about a value is the value's row here. Where nothing is told, the
// meaning is the sensor's own, and any value is kept.
#include "camera_settings.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <type_traits>

#include "payload_bytes.h"

namespace {

constexpr int kNoCode = -1;

// What a plain value may be.

/// From `low` to `high`, both included.
struct Span {
  u32 low;
  u32 high;
};

/// Holds no value.
constexpr Span kNoSpan{1, 0};
constexpr Span kAnything{0, 0xFFFFFFFF};

/// The values of up to three spans.
struct Allowed {
  std::array<Span, 3> spans;
};

constexpr Allowed one_of(Span first, Span second = kNoSpan, Span third = kNoSpan) {
  return {{first, second, third}};
}

// Codes and numbers whose meaning only the sensor's own firmware knows.
constexpr Allowed kAny = one_of(kAnything);
// 0 is off and 1 is on, or 2 is on and 3 is off.
constexpr Allowed kSwitch = one_of({0, 1});
constexpr Allowed kOnOff = one_of({2, 3});

bool allows(const Allowed& allowed, u32 value) {
  return std::any_of(allowed.spans.begin(), allowed.spans.end(),
                     [value](const Span& span) { return span.low <= value && value <= span.high; });
}

// Rules between settings.

using PlainCheck = vlm_err_t (*)(const CameraSettings& settings, u32 value);
using RecordCheck = vlm_err_t (*)(const CameraSettings& settings, const u8* payload);

vlm_err_t check_custom_wb(const CameraSettings& settings, u32) {
  return settings[Setting::kWhiteBalance] == kWhiteBalanceCustom ? VLM_ERR_NONE
                                                                 : VLM_ERR_IS_NOT_MANUAL_WB;
}

// A video format and the two modes that restrict it are checked whichever is set last.

vlm_err_t check_encode_mode(const CameraSettings& settings, u32 mode) {
  return CameraSettings::check_video(settings.records().video, mode,
                                     settings[Setting::kSystemMode]);
}

vlm_err_t check_system_mode(const CameraSettings& settings, u32 mode) {
  return CameraSettings::check_video(settings.records().video, settings[Setting::kEncodeMode],
                                     mode);
}

vlm_err_t check_video_format(const CameraSettings& settings, const u8* payload) {
  return CameraSettings::check_video(load<udp_ctrl_video_t>(payload),
                                     settings[Setting::kEncodeMode],
                                     settings[Setting::kSystemMode]);
}

vlm_err_t valid_if(bool valid) { return valid ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_PARAM; }

/// A position in percent, of use only when the spot is metered.
vlm_err_t check_spot(const CameraSettings& settings, const u8* payload) {
  if (settings[Setting::kMeterMode] != kMeterSpot) return VLM_ERR_IS_NOT_SPOT_METERING;
  const auto spot = load<udp_ctrl_cam_coords_ratio_t>(payload);
  return valid_if(spot.x_ratio <= 100 && spot.y_ratio <= 100);
}

/// The prefix that names the folder, 101 to 999; a folder that is switched off needs none.
vlm_err_t check_folder(const CameraSettings&, const u8* payload) {
  const auto folder = load<udp_ctrl_cam_media_folder_t>(payload);
  if (folder.enable_flag == 0) return VLM_ERR_NONE;
  const std::string name = load_text(payload + 1, sizeof folder.folder);
  const bool digits = name.size() == 3 && name.find_first_not_of("0123456789") == std::string::npos;
  return digits && std::atoi(name.c_str()) >= 101 ? VLM_ERR_NONE : VLM_ERR_WRONG_DIRNAME;
}

vlm_err_t check_photo_mode(const CameraSettings&, const u8* payload) {
  const auto mode = load<udp_ctrl_cam_photo_mode_t>(payload);
  const int amount = mode.photo_amount;
  switch (mode.capture_mode) {
    case 0:
    case 5:
    case 6: return VLM_ERR_NONE;
    case 3:
      return amount >= 1 && amount <= 100 ? VLM_ERR_NONE : VLM_ERR_UNSUPPORTED_BURST_PHOTO_NUMBER;
    case 4:
      // As many pictures above the measured exposure as below it.
      if (amount < 3 || amount > 9 || amount % 2 == 0) return VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER;
      return mode.ev_step.ev_dem != 0 ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_DEN;
    default: return VLM_ERR_UNSUPPORTED_PHOTO_MODE;
  }
}

/// A text of 1 to kLongest characters.
template <std::size_t kLongest>
vlm_err_t check_text(const CameraSettings&, const u8* payload) {
  const std::size_t size = load_text(payload).size();
  return valid_if(size >= 1 && size <= kLongest);
}

// Longer names and passwords than their fields are cut, as their senders do too.

vlm_err_t check_ssid(const CameraSettings&, const u8* payload) {
  return payload[0] != 0 ? VLM_ERR_NONE : VLM_ERR_INVALID_DRONENAME;
}

vlm_err_t check_password(const CameraSettings&, const u8* payload) {
  return payload[0] != 0 ? VLM_ERR_NONE : VLM_ERR_INVALID_DRONEPWD;
}

vlm_err_t check_air_params(const CameraSettings&, const u8* payload) {
  return valid_if(load<udp_ctrl_cam_air_params_t>(payload).scene_emissivity <= 100);
}

vlm_err_t check_temp_bar(const CameraSettings&, const u8* payload) {
  const auto bar = load<udp_ctrl_cam_temp_bar_range_t>(payload);
  return valid_if(bar.min_temp <= bar.max_temp);
}

vlm_err_t check_rectangle(const vlm_radiometric_area_coordinate_t& area) {
  return valid_if(area.start_x <= area.end_x && area.start_y <= area.end_y);
}

vlm_err_t check_area(const CameraSettings&, const u8* payload) {
  return check_rectangle(load<vlm_radiometric_area_settings_t>(payload).area);
}

vlm_err_t check_roi(const CameraSettings&, const u8* payload) {
  return check_rectangle(load<vlm_radiometric_area_coordinate_t>(payload));
}

vlm_err_t check_thermal_dewarp(const CameraSettings&, const u8* payload) {
  return valid_if(load<vlm_thermal_dewarp_t>(payload).enabled <= 1);
}

// The tables.

struct PlainRow {
  Setting setting;
  int get_code;
  int set_code;
  u8 width;  // bytes in the payload
  u32 initial;
  Allowed allowed;
  vlm_err_t refusal = VLM_ERR_IS_INVALID_PARAM;  // of a value that is not allowed
  PlainCheck check = nullptr;                    // of an allowed one
};

constexpr PlainRow kPlain[] = {
    {Setting::kAeMode, 7, 8, 1, 0, kSwitch, VLM_ERR_IS_UNKOWN_AEMODE},
    {Setting::kEv, 9, 10, 2, 0, kAny},
    {Setting::kWhiteBalance, 13, 14, 1, 0, one_of({0, 5}, {7, 7}, {99, 100}),
     VLM_ERR_IS_INVALID_AWB},
    {Setting::kMeterMode, 17, 18, 1, 0, one_of({0, 2}), VLM_ERR_IS_INVALID_METER},
    // 0 off, 1 on to the console; 0 auto, 1 60 Hz, 2 50 Hz to the apps.
    {Setting::kFlicker, 19, 20, 1, 0, one_of({0, 2})},
    {Setting::kColorMode, 21, 22, 1, 0, one_of({0, 3}, {5, 5})},
    {Setting::kImageQuality, 23, 24, 1, 2, one_of({0, 3})},
    {Setting::kImageFormat, 25, 26, 1, 1, one_of({1, 1}, {130, 131}),
     VLM_ERR_UNSUPPORTED_PHOTO_FORMAT},
    {Setting::kSystemMode, 40, 41, 1, 0, kSwitch, VLM_ERR_IS_UNSUPPORTED_SYSMODE,
     check_system_mode},
    {Setting::kEncodeMode, 42, 43, 1, 1, one_of({1, 1}, {3, 3}), VLM_ERR_IS_INVALID_PARAM,
     check_encode_mode},
    // 1 is 3:2, which only the apps offer.
    {Setting::kPhotoRatio, 46, 47, 1, 2, one_of({1, 3})},
    {Setting::kFileFormat, 48, 49, 1, 1, kSwitch},
    {Setting::kFlip, 52, 53, 1, 0, one_of({0, 3})},
    {Setting::kLowDelay, 55, 56, 1, 0, one_of({0, 0}, {0x11, 0x11})},
    // The low byte of a colour temperature: every byte occurs.
    {Setting::kCustomWb, 57, 58, 1, 55, kAny, VLM_ERR_INVALID_MANUAL_WB_TYPE, check_custom_wb},
    {Setting::kShutter, 209, 59, 2, 0, kAny},
    {Setting::kIso, 210, 60, 2, 100, kAny},
    {Setting::kWdr, 61, 62, 1, 0, kAny},
    {Setting::kDronePlatform, kNoCode, 65, 2, 0, kAny},
    {Setting::kDewarp, 67, 68, 1, 0, kSwitch},
    {Setting::kWifiStatus, kNoCode, 71, 1, 0, kSwitch},
    {Setting::kEis, 78, 79, 1, 0, kAny},
    {Setting::kSurveyMode, 86, 87, 1, 0, kAny},
    {Setting::kFramerateDivisor, 92, 91, 4, 1, one_of({1, 0xFFFFFFFF})},
    {Setting::kFilenumOption, 94, 93, 1, 1, kSwitch},
    // Whatever is not 0 locks.
    {Setting::kModeLock, 96, 95, 1, 0, kAny},
    {Setting::kDzoomSwitch, kNoCode, 203, 4, 2, kOnOff},
    // Closed, or F14 to F1.6.
    {Setting::kIris, 208, 207, 2, 0x0A, one_of({0x00, 0x00}, {0x05, 0x11})},
    {Setting::kFocusMode, 241, 216, 1, 2, one_of({2, 5})},
    {Setting::kDefogSwitch, kNoCode, 218, 1, 3, kOnOff},
    {Setting::kDefogLevel, 220, 219, 1, 1, one_of({1, 3})},
    {Setting::kRedGain, 235, 238, 2, 256, kAny},
    {Setting::kBlueGain, 237, 236, 2, 256, kAny},
    {Setting::kOsd, 240, 239, 1, 0, kSwitch},
    {Setting::kPalette, 100, 101, 4, 0, kAny},
    {Setting::kLockRange, 108, 109, 4, 0, kSwitch},
    {Setting::kFfcMode, 110, 111, 4, 1, one_of({0, 2})},
    {Setting::kGainMode, 121, 122, 4, 2, one_of({0, 2})},
    {Setting::kSso, 125, 126, 1, 0, kAny},
    {Setting::kAce, 127, 128, 2, 0, kAny},
    {Setting::kDde, 129, 130, 2, 0, kAny},
    {Setting::kCalibrationTemp, kNoCode, 901, 2, 0, kAny},
    {Setting::kFpaCalibrationTemp, kNoCode, 903, 2, 0, kAny},
    {Setting::kUsbPassThrough, kNoCode, 905, 4, 0, kAny},
};

/// Values are found by their setting, so rows and enumerators must not drift apart.
constexpr bool in_enum_order() {
  std::size_t index = 0;
  for (const PlainRow& row : kPlain) {
    if (static_cast<std::size_t>(row.setting) != index++) return false;
  }
  return index == static_cast<std::size_t>(Setting::kCount);
}
static_assert(in_enum_order(), "the table has one row a setting, in the order of the enum");

enum class Content { kRecord, kText };  // behind the terminator of a text, zeros are kept

struct RecordRow {
  int get_code;
  int set_code;
  std::size_t offset;  // in CameraRecords
  std::size_t size;
  RecordCheck check = nullptr;
  Content content = Content::kRecord;
};

static_assert(std::is_standard_layout_v<CameraRecords>);

#define RECORD(field) offsetof(CameraRecords, field), sizeof(CameraRecords::field)
constexpr RecordRow kRecords[] = {
    {15, 16, RECORD(video), check_video_format},
    {34, 35, RECORD(folder), check_folder},
    {36, 37, RECORD(spot), check_spot},
    {kNoCode, 44, RECORD(wifi_password), check_password, Content::kText},
    {50, 51, RECORD(photo_mode), check_photo_mode},
    {kNoCode, 54, RECORD(wifi_ssid), check_ssid, Content::kText},
    {69, 70, RECORD(country_code), check_text<sizeof(CameraRecords::country_code)>, Content::kText},
    {kNoCode, 72, RECORD(board_id), check_text<sizeof(CameraRecords::board_id)>, Content::kText},
    {104, 105, RECORD(air_params), check_air_params},
    {106, 107, RECORD(temp_bar), check_temp_bar},
    {115, 114, RECORD(point)},
    {117, 116, RECORD(area), check_area},
    {131, 132, RECORD(roi), check_roi},
    {133, 134, RECORD(thermal_zoom)},
    {135, 136, RECORD(env_temp)},
    {138, 139, RECORD(thermal_dewarp), check_thermal_dewarp},
    {232, 231, RECORD(memory)},
};
#undef RECORD

// Bits of `vlm_stream_prop_t::enable_mask`.
constexpr u32 kStreamBitrate = 1;
constexpr u32 kStreamResolution = 2;
constexpr u32 kStreamFps = 4;

CameraRecords default_records() {
  CameraRecords records{};
  records.video = {{1920, 1080}, 30, -1};
  records.spot = {50, 50};
  records.folder = {0, "101"};
  records.shutter = {1, 100};
  constexpr u32 kAll = kStreamBitrate | kStreamResolution | kStreamFps;
  records.streams[0] = {0, kAll, 16000000, {1920, 1080}, 30};
  records.streams[1] = {1, kAll, 2000000, {1280, 720}, 30};
  std::strcpy(records.country_code, "US");
  std::strcpy(records.wifi_ssid, "VLMSIM");
  std::strcpy(records.wifi_password, "12345678");
  records.air_params = {0, 95, 100, 25};
  records.temp_bar = {0, 100, 0};
  records.thermal_zoom = {10, 0, 0};
  return records;
}

}  // namespace

CameraSettings::CameraSettings() : _records(default_records()) {
  for (const PlainRow& row : kPlain) {
    _values[static_cast<std::size_t>(row.setting)] = row.initial;
  }
}

std::optional<vlm_err_t> CameraSettings::answer(int code, const u8* in, u8* out) {
  if (auto result = answer_plain(code, in, out)) return result;
  if (auto result = answer_record(code, in, out)) return result;
  return answer_special(code, in, out);
}

std::vector<udp_ctrl_cam_t> CameraSettings::as_requests() const {
  std::vector<udp_ctrl_cam_t> requests;
  const auto add = [&requests](int code, const void* payload, std::size_t size) {
    udp_ctrl_cam_t request{};
    request.cmd_type = static_cast<u16>(code);
    std::memcpy(request.cmd_params, payload, size);
    requests.push_back(request);
  };
  for (const PlainRow& row : kPlain) {
    add(row.set_code, &_values[static_cast<std::size_t>(row.setting)], row.width);
  }
  const u8* const records = reinterpret_cast<const u8*>(&_records);
  for (const RecordRow& row : kRecords) add(row.set_code, records + row.offset, row.size);
  const u32 iso = (*this)[Setting::kIso];
  const udp_ctrl_cam_shutter_iso_t exposure{0, _records.shutter.sht_num, _records.shutter.sht_dem,
                                            iso};
  add(UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO, &exposure, sizeof exposure);
  for (const vlm_stream_prop_t& stream : _records.streams) {
    add(UDP_CTRL_CAM_SET_STREAM_PROP, &stream, sizeof stream);
  }
  return requests;
}

/// Two formats are known not to work: fast ultra-high definition in H.265, 100 frames in PAL.
vlm_err_t CameraSettings::check_video(const udp_ctrl_video_t& video, u32 encode_mode,
                                      u32 system_mode) {
  const int width = video.res.w;
  const int height = video.res.h;
  const bool known = width >= 1 && width <= 4096 && height >= 1 && height <= 2160 &&
                     video.fps >= 1 && video.fps <= 120;
  if (!known) return VLM_ERR_UNSUPPORTED_VFMT;
  if (encode_mode == kEncodeH265 && width >= 3840 && video.fps >= 48) {
    return VLM_ERR_VIDEO_FMT_IN_H265;
  }
  return system_mode == kSystemPal && video.fps == 100 ? VLM_ERR_100FPS_PAL : VLM_ERR_NONE;
}

std::optional<vlm_err_t> CameraSettings::answer_plain(int code, const u8* in, u8* out) {
  for (const PlainRow& row : kPlain) {
    u32& kept = _values[static_cast<std::size_t>(row.setting)];
    if (code == row.get_code) {
      std::memcpy(out, &kept, row.width);
      return VLM_ERR_NONE;
    }
    if (code == row.set_code) {
      u32 value = 0;
      std::memcpy(&value, in, row.width);
      if (!allows(row.allowed, value)) return row.refusal;
      const vlm_err_t result = row.check != nullptr ? row.check(*this, value) : VLM_ERR_NONE;
      if (result == VLM_ERR_NONE) kept = value;
      return result;
    }
  }
  return std::nullopt;
}

std::optional<vlm_err_t> CameraSettings::answer_record(int code, const u8* in, u8* out) {
  u8* const records = reinterpret_cast<u8*>(&_records);
  for (const RecordRow& row : kRecords) {
    if (code == row.get_code) {
      std::memcpy(out, records + row.offset, row.size);
      return VLM_ERR_NONE;
    }
    if (code == row.set_code) {
      const vlm_err_t result = row.check != nullptr ? row.check(*this, in) : VLM_ERR_NONE;
      if (result != VLM_ERR_NONE) return result;
      const bool text = row.content == Content::kText;
      const std::size_t size = text ? load_text(in, row.size).size() : row.size;
      std::memset(records + row.offset, 0, row.size);
      std::memcpy(records + row.offset, in, size);
      return VLM_ERR_NONE;
    }
  }
  return std::nullopt;
}

/// Settings whose request and answer differ in form, or that share their place with another.
std::optional<vlm_err_t> CameraSettings::answer_special(int code, const u8* in, u8* out) {
  switch (code) {
    case UDP_CTRL_CAM_GET_SHUTTER_ISO: get_exposure(out); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO: return set_exposure(in);
    case UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE: return set_second_bitrate(load<u32>(in));
    case UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION:
      return set_second_resolution(load<vlm_second_stream_resolution_t>(in));
    case UDP_CTRL_CAM_GET_STREAM_PROP: return get_stream(in, out);
    case UDP_CTRL_CAM_SET_STREAM_PROP: return set_stream(load<vlm_stream_prop_t>(in));
    default: return std::nullopt;
  }
}

/// The answer is numerator, denominator and ISO without the flag that leads the request.
void CameraSettings::get_exposure(u8* out) const {
  store(out, _records.shutter);
  store(out + sizeof _records.shutter, (*this)[Setting::kIso]);
}

/// The ISO is the one that its own commands read and write, and so has their 16 bits.
vlm_err_t CameraSettings::set_exposure(const u8* in) {
  const auto wanted = load<udp_ctrl_cam_shutter_iso_t>(in);
  if (wanted.sht_dem == 0) return VLM_ERR_IS_INVALID_DEN;
  if (wanted.sht_num == 0) return VLM_ERR_INVALID_SHUTTER_VALUE;
  if (wanted.iso > 0xFFFF) return VLM_ERR_IS_INVALID_ISO;
  _records.shutter = {wanted.sht_num, wanted.sht_dem};
  _values[static_cast<std::size_t>(Setting::kIso)] = wanted.iso;
  return VLM_ERR_NONE;
}

// The second stream's own commands set one field of its properties.

vlm_err_t CameraSettings::set_second_bitrate(u32 bitrate) {
  return set_stream({1, kStreamBitrate, bitrate, {}, 0});
}

vlm_err_t CameraSettings::set_second_resolution(const vlm_second_stream_resolution_t& resolution) {
  if (resolution.width > 0xFFFF || resolution.height > 0xFFFF) return VLM_ERR_UNSUPPORTED_VFMT;
  const vlm_res_t res{static_cast<u16>(resolution.width), static_cast<u16>(resolution.height)};
  return set_stream({1, kStreamResolution, 0, res, 0});
}

/// A request without payload asks for the main stream.
vlm_err_t CameraSettings::get_stream(const u8* in, u8* out) const {
  const u32 id = load<u32>(in);
  if (id >= kStreamCount) return VLM_ERR_IS_INVALID_PARAM;
  store(out, _records.streams[id]);
  return VLM_ERR_NONE;
}

/// Takes the fields that the mask names; the stream that results must make sense as a whole.
vlm_err_t CameraSettings::set_stream(const vlm_stream_prop_t& wanted) {
  if (wanted.stream_id >= kStreamCount) return VLM_ERR_IS_INVALID_PARAM;
  vlm_stream_prop_t stream = _records.streams[wanted.stream_id];
  if ((wanted.enable_mask & kStreamBitrate) != 0) stream.bitrate = wanted.bitrate;
  if ((wanted.enable_mask & kStreamResolution) != 0) stream.res = wanted.res;
  if ((wanted.enable_mask & kStreamFps) != 0) stream.fps = wanted.fps;
  if (stream.bitrate == 0 || stream.fps == 0) return VLM_ERR_IS_INVALID_PARAM;
  if (stream.res.w == 0 || stream.res.h == 0) return VLM_ERR_UNSUPPORTED_VFMT;
  _records.streams[wanted.stream_id] = stream;
  return VLM_ERR_NONE;
}
