// The table of the camera's commands: name and reply of each code are one row, and so the result
// store and vlm_strcmd, which velmar_cmd.h declares, are its two readers.

#include <cstdio>
#include <cstring>

#include "lcm_request.h"
#include "velmar_cmd.h"
#include "velmar_table.h"

char LcmRequest::Data::module_name[8] = {};

namespace {

using Data = LcmRequest::Data;

/// Takes over what the 128 bytes of a reply's payload say.
using Store = void (*)(Data& data, const u8* payload);

/// Copies fields that stand in the payload one behind the other, from its first byte.
template <auto... fields>
void store(Data& data, const u8* payload) {
  ((std::memcpy(&(data.*fields), payload, sizeof(data.*fields)), payload += sizeof(data.*fields)),
   ...);
}

/// A reply that carries no result.
constexpr Store store_nothing = nullptr;

/// Marks a reply that the store does not know: save_lcm_result reports its code instead.
void unknown(Data& /*data*/, const u8* /*payload*/) {}

template <typename T>
T read(const u8* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

void store_request_list(Data& data, const u8* payload) {
  store<&Data::request_list>(data, payload);
  LcmRequest::convert_to_lcm_camera_status(data.request_list.camera_status);
}

void store_camera_status(Data& data, const u8* payload) {
  store<&Data::video_status>(data, payload);
  LcmRequest::convert_to_lcm_camera_status(data.video_status);
}

void store_shutter_iso(Data& data, const u8* payload) {
  const auto numerator = read<u16>(payload);
  const auto denominator = read<u16>(payload + 2);
  if (denominator != 0) {
    data.shutter_s = static_cast<float>(numerator) / static_cast<float>(denominator);
  } else {
    std::puts("shutter's value ERROR");
  }
  data.iso_value = static_cast<float>(read<u32>(payload + 4));
}

void store_version(Data& data, const u8* payload) {
  std::memcpy(data.module_name, payload, sizeof data.module_name);
  store<&Data::camera_version>(data, payload + sizeof data.module_name);
}

// The line numbers in these traces are part of their texts.

void store_digital_zoom(Data& data, const u8* payload) {
  store<&Data::dzoom>(data, payload);
  std::printf("[%s:%d]dzoom[%d]\n", "save_lcm_result", 4180, static_cast<int>(data.dzoom));
}

void store_zoom(Data& data, const u8* payload) {
  store<&Data::zoom>(data, payload);
  std::printf("[%s:%d]zoom[%0.1f]\n", "save_lcm_result", 4188, static_cast<double>(data.zoom));
}

void store_defog_level(Data& data, const u8* payload) {
  store<&Data::deflog_onoff>(data, payload);
  std::printf("[%s:%d]deflog_onoff:%d\n", "save_lcm_result", 4198, data.deflog_onoff);
}

// The camera sends four bytes for the two of `focus`; the others have always gone to the low half
// of `dzoom` behind it.
void store_focus(Data& data, const u8* payload) {
  store<&Data::focus>(data, payload);
  std::memcpy(&data.dzoom, payload + 2, 2);
}

struct Command {
  int code;
  const char* name;
  Store store;
};

constexpr const char* kNoName = "Unknown lcm cmd";

// Scripts match the names, and the codes without one. Replies of 69, 96, 203, 232 and their like
// have always been unknown: their getters hand out what the store holds from the start.
constexpr Command kCommands[] = {
    {UDP_CTRL_CAM_GET_ALL_REQUEST, "GET_ALL_REQUEST", store_request_list},
    {UDP_CTRL_CAM_GET_CAMERA_MODE, "GET_CAMERA_MODE", store<&Data::cam_mode>},
    {UDP_CTRL_CAM_SET_CAMERA_MODE, "SET_CAMERA_MODE", store_nothing},
    {UDP_CTRL_CAM_TAKE_PHOTO, "TAKE_PHOTO", store_nothing},
    {UDP_CTRL_CAM_START_RECORD, "START_RECORD", store_nothing},
    {UDP_CTRL_CAM_STOP_RECORD, "STOP_RECORD", store_nothing},
    {UDP_CTRL_CAM_GET_CAMERA_STATUS, "GET_CAMERA_STATUS", store_camera_status},
    {UDP_CTRL_CAM_GET_AE_MODE, "GET_AE", store<&Data::ae_mode>},
    {UDP_CTRL_CAM_SET_AE_MODE, "SET_AE", store_nothing},
    {UDP_CTRL_CAM_GET_PARAMS_EV, "GET_EV", store<&Data::ev_value>},
    {UDP_CTRL_CAM_SET_PARAMS_EV, "SET_EV", store_nothing},
    {UDP_CTRL_CAM_GET_SHUTTER_ISO, "GET_SHUTTER_ISO", store_shutter_iso},
    {UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO, "SET_SHUTTER_ISO", store_nothing},
    {UDP_CTRL_CAM_GET_WB_MODE, "GET_WB", store<&Data::wb_mode>},
    {UDP_CTRL_CAM_SET_PARAMS_WB, "SET_WB", store_nothing},
    {UDP_CTRL_CAM_GET_PARAMS_VIDEO, "GET_VIDEO_RES",
     store<&Data::video_resolution_h, &Data::video_resolution_v, &Data::video_fps>},
    {UDP_CTRL_CAM_SET_PARAMS_VIDEO, "SET_VIDEO_RES", store_nothing},
    {UDP_CTRL_CAM_GET_METER_MODE, "GET_METER_MODE", store<&Data::meter_mode>},
    {UDP_CTRL_CAM_SET_METER_MODE, "SET_METER_MODE", store_nothing},
    {UDP_CTRL_CAM_GET_FLICKER_MODE, "GET_FLICKER_MODE", store<&Data::flicker_mode>},
    {UDP_CTRL_CAM_SET_FLICKER_MODE, "SET_FLICKER_MODE", store_nothing},
    {UDP_CTRL_CAM_GET_COLOR_MODE, "GET_COLOR_MODE", store<&Data::color_mode>},
    {UDP_CTRL_CAM_SET_COLOR_MODE, "SET_COLOR_MODE", store_nothing},
    {UDP_CTRL_CAM_GET_IMAGE_QUALITY, "GET_IMAGE_QUALITY", store<&Data::image_quality>},
    {UDP_CTRL_CAM_SET_IMAGE_QUALITY, "SET_IMAGE_QUALITY", store_nothing},
    {UDP_CTRL_CAM_GET_IMAGE_FORMAT, "GET_IMAGE_FORMAT", store<&Data::image_format>},
    {UDP_CTRL_CAM_SET_IMAGE_FORMAT, "SET_IMAGE_FORMAT", store_nothing},
    {UDP_CTRL_CAM_FORMAT_SDCARD, "FORMAT_SDCARD", store_nothing},
    {UDP_CTRL_CAM_RESET_CAMERA_SETTINGS, "RESET_CAMERA_SETTINGS", store_nothing},
    {UDP_CTRL_CAM_GET_RECORDING_TIME, "GET_RECORDING_TIME", store<&Data::recording_time>},
    {UDP_CTRL_CAM_GET_SDCARD_STORAGE, "GET_SDCARD_STORAGE", store<&Data::storage_info>},
    {UDP_CTRL_CAM_GET_CAMERA_VERSION, "GET_CAMERA_VERSION", store_version},
    {UDP_CTRL_CAM_SET_SYS_TIME, "SET_SYSTEM_TIME", store_nothing},
    {UDP_CTRL_CAM_UPGRADE_CAMERA, "UPGRADE_CAMERA", store_nothing},
    {UDP_CTRL_CAM_GET_MEDIA_FOLDER, "GET_MEDIA_FOLDER", store<&Data::enable_flag, &Data::folder>},
    {UDP_CTRL_CAM_SET_MEDIA_FOLDER, "SET_MEDIA_FOLDER", store_nothing},
    {UDP_CTRL_CAM_GET_SPOT_METERING_COORDS, "GET_SPOT_METERING_COORDS",
     store<&Data::x_ratio, &Data::y_ratio>},
    {UDP_CTRL_CAM_SET_SPOT_METERING_COORDS, "SET_SPOT_METERING_COORDS", store_nothing},
    {UDP_CTRL_CAM_TEST_T_CARD_SPEED, "TEST_T_CARD_SPEED", store_nothing},
    {UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE, "GET_T_CARD_ATTRIBUTE",
     store<&Data::speed_mbps, &Data::level, &Data::space_state>},
    {UDP_CTRL_CAM_GET_SYSTEM_MODE, "GET_COLOR_ENCODING_SYSTEM", store<&Data::system_mode>},
    {UDP_CTRL_CAM_SET_SYSTEM_MODE, "SET_COLOR_ENCODING_SYSTEM", store_nothing},
    {UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE, "GET_VIDEO_ENCODE_MODE", store<&Data::encode_mode>},
    {UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, "SET_VIDEO_ENCODE_MODE", store_nothing},
    {UDP_CTRL_CAM_SET_WIFI_PASSWORD, "SET_WIFI_PASSWORD", store_nothing},
    {UDP_CTRL_CAM_REBOOT_DEVICE, "REBOOT_CAMERA", store_nothing},
    {UDP_CTRL_CAM_GET_PHOTO_RATIO, "GET_PHOTO_RATIO", store<&Data::photo_ratio>},
    {UDP_CTRL_CAM_SET_PHOTO_RATIO, "SET_PHOTO_RATIO", store_nothing},
    {UDP_CTRL_CAM_GET_FILE_FORMAT, "GET_FILE_FORMAT", store<&Data::file_format>},
    {UDP_CTRL_CAM_SET_FILE_FORMAT, "SET_FILE_FORMAT", store_nothing},
    {UDP_CTRL_CAM_GET_PHOTO_MODE, "GET_CAPTURE_MODE", store<&Data::capture_mode>},
    {UDP_CTRL_CAM_SET_PHOTO_MODE, "SET_CAPTURE_MODE", store_nothing},
    {UDP_CTRL_CAM_GET_IMAGE_FLIP, "GET_IMAGE_FLIP", store<&Data::flip_type>},
    {UDP_CTRL_CAM_SET_IMAGE_FLIP, "SET_IMAGE_FLIP", store_nothing},
    {UDP_CTRL_CAM_SET_WIFI_SSID, "SET_WIFI_SSID", store_nothing},
    {UDP_CTRL_CAM_GET_LOWDELAY_STREAM, "GET_LOWDELAY_STREAM", store<&Data::low_delay_mode>},
    {UDP_CTRL_CAM_SET_LOWDELAY_STREAM, "SET_LOWDELAY_STREAM", store_nothing},
    {UDP_CTRL_CAM_GET_CUSTOM_WB, "GET_CUSTOM_WB", store<&Data::custom_wb>},
    {UDP_CTRL_CAM_SET_CUSTOM_WB, "SET_CUSTOM_WB", store_nothing},
    {UDP_CTRL_CAM_SET_SHUTTER, "SET_SHUTTER", store_nothing},
    {UDP_CTRL_CAM_SET_ISO, "SET_ISO", store_nothing},
    {UDP_CTRL_CAM_GET_WDR_MODE, "GET_WDR_MODE", store<&Data::wdr_mode>},
    {UDP_CTRL_CAM_SET_WDR_MODE, "SET_WDR_MODE", store_nothing},
    {UDP_CTRL_CAM_SET_DRONE_TYPE, "SET_DRONE_TYPE", store_nothing},
    {UDP_CTRL_CAM_STOP_PHOTO, "STOP_PHOTO", store_nothing},
    {UDP_CTRL_CAM_GET_IMAGE_DEWARP, "GET_IMAGE_DEWARP", store<&Data::dewarp_mode>},
    {UDP_CTRL_CAM_SET_IMAGE_DEWARP, "SET_IMAGE_DEWARP", store_nothing},
    {UDP_CTRL_CAM_GET_COUNTRY_CODE, "GET_COUNTRY_CODE", unknown},
    {UDP_CTRL_CAM_SET_COUNTRY_CODE, "SET_COUNTRY_CODE", store_nothing},
    {UDP_CTRL_CAM_SEND_WIFI_STATUS, "SEND_WIFI_STATUS", store_nothing},
    {UDP_CTRL_CAM_SEND_RC_BOARD_ID, "SEND_RC_BOARD_ID", store_nothing},
    {UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE, "SET_SECOND_STREAM_BITRATE", store_nothing},
    {UDP_CTRL_CAM_GET_WIFI_FREQ_SEL, "GET_WIFI_FREQ_SEL", unknown},
    {UDP_CTRL_CAM_SET_WIFI_FREQ_SEL, "SET_WIFI_FREQ_SEL", unknown},
    {UDP_CTRL_CAM_GET_WIFI_CHANNEL, "GET_WIFI_CHANNEL", unknown},
    {UDP_CTRL_CAM_SET_WIFI_CHANNEL, "SET_WIFI_CHANNEL", unknown},
    {UDP_CTRL_CAM_GET_EIS_STATUS, "GET_EIS_STATUS", store<&Data::eis_flag>},
    {UDP_CTRL_CAM_SET_EIS_STATUS, "SET_EIS_STATUS", store_nothing},
    {UDP_CTRL_CAM_GET_DIGITAL_ZOOM, "GET_DIGITAL_ZOOM", store_digital_zoom},
    {UDP_CTRL_CAM_SET_DIGITAL_ZOOM, "SET_DIGITAL_ZOOM", store_nothing},
    {UDP_CTRL_CAM_GET_ZOOM, "GET_ZOOM", store_zoom},
    {UDP_CTRL_CAM_SET_ZOOM, "SET_ZOOM", store_nothing},
    {UDP_CTRL_CAM_GET_PROPERTY, "GET_PROPERTY", store<&Data::property_str>},
    {UDP_CTRL_CAM_SET_PROPERTY, "SET_PROPERTY", store<&Data::property_str>},
    {UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG, "GET_SURVEY_MODE_FLAG", store_nothing},
    {UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG, "SET_SURVEY_MODE_FLAG", store_nothing},
    {UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION, "SET_SECOND_STREAM_RESOLUTION", store_nothing},
    {UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR, kNoName, store_nothing},
    {UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR, kNoName, store<&Data::framerate_divisor>},
    {UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION, kNoName, store<&Data::file_num_option>},
    {UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO, "GET_SDCARD_SUPPORT_INFO", store<&Data::sd_sp_info>},
    {UDP_CTRL_CAM_GET_PALETTE_TYPE, "GET_PALETTE_TYPE", store<&Data::palette_type>},
    {UDP_CTRL_CAM_SET_PALETTE_TYPE, "SET_PALETTE_TYPE", store_nothing},
    {UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO, "START_TIMED_TAKE_PHOTO", store_nothing},
    {UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO, "STOP_TIMED_TAKE_PHOTO", store_nothing},
    {UDP_CTRL_CAM_GET_AIR_PARAMS, "GET_AIR_PARAMS", store<&Data::air_params>},
    {UDP_CTRL_CAM_SET_AIR_PARAMS, "SET_AIR_PARAMS", store_nothing},
    {UDP_CTRL_CAM_GET_TEMPERATURE_BAR, "GET_TEMPERATURE_BAR", store<&Data::temp_bar>},
    {UDP_CTRL_CAM_SET_TEMPERATURE_BAR, "SET_TEMPERATURE_BAR", store_nothing},
    {UDP_CTRL_CAM_GET_LOCK_RANGE_STATE, "GET_LOCK_RANGE_STATE", store<&Data::lock_state>},
    {UDP_CTRL_CAM_SET_LOCK_RANGE_STATE, "SET_LOCK_RANGE_STATE", store_nothing},
    {UDP_CTRL_CAM_GET_RUN_FFC_MODE, "GET_RUN_FFC_MODE", store<&Data::run_mode>},
    {UDP_CTRL_CAM_SET_RUN_FFC_MODE, "SET_RUN_FFC_MODE", store_nothing},
    {UDP_CTRL_CAM_RUN_FFC_NORMALIZATION, "RUN_FFC_NORMALIZATION", store_nothing},
    {UDP_CTRL_CAM_GET_TEMPERATURE_STATUS, "GET_TEMPERATURE_STATUS", store<&Data::temp_status>},
    {UDP_CTRL_CAM_SET_RADIOMETRIC_POINT, "UDP_CTRL_CAM_SET_RADIOMETRIC_POINT", store_nothing},
    {UDP_CTRL_CAM_GET_RADIOMETRIC_POINT, "UDP_CTRL_CAM_GET_RADIOMETRIC_POINT",
     store<&Data::rad_point>},
    {UDP_CTRL_CAM_SET_RADIOMETRIC_AREA, "UDP_CTRL_CAM_SET_RADIOMETRIC_AREA", store_nothing},
    {UDP_CTRL_CAM_GET_RADIOMETRIC_AREA, "UDP_CTRL_CAM_GET_RADIOMETRIC_AREA",
     store<&Data::rad_area>},
    {UDP_CTRL_CAM_GET_CAMERA_PN_INFO, "GET_CAMERA_PN", store<&Data::pn_info>},
    {UDP_CTRL_CAM_GET_GAIN_MODE, "GET_GAINMODE", store<&Data::gain_mode>},
    {UDP_CTRL_CAM_SET_GAIN_MODE, "SET_GAINMODE", store_nothing},
    {UDP_CTRL_CAM_GET_SSO, "UDP_CTRL_CAM_GET_SSO", store<&Data::sso>},
    {UDP_CTRL_CAM_SET_SSO, "UDP_CTRL_CAM_SET_SSO", store_nothing},
    {UDP_CTRL_CAM_GET_ACE, "UDP_CTRL_CAM_GET_ACE", store<&Data::ace>},
    {UDP_CTRL_CAM_SET_ACE, "UDP_CTRL_CAM_SET_ACE", store_nothing},
    {UDP_CTRL_CAM_GET_DDE, "UDP_CTRL_CAM_GET_DDE", store<&Data::dde>},
    {UDP_CTRL_CAM_SET_DDE, "UDP_CTRL_CAM_SET_DDE", store_nothing},
    {UDP_CTRL_CAM_GET_ROI, "UDP_CTRL_CAM_GET_ROI", store<&Data::roi>},
    {UDP_CTRL_CAM_SET_ROI, "UDP_CTRL_CAM_SET_ROI", store_nothing},
    {UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM, "UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM", store<&Data::th_dzoom>},
    {UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM, "UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM", store_nothing},
    {UDP_CTRL_CAM_GET_TH_ENV_TEMP, "UDP_CTRL_CAM_GET_TH_ENV_TEMP", store<&Data::th_env_temp>},
    {UDP_CTRL_CAM_SET_TH_ENV_TEMP, "UDP_CTRL_CAM_SET_TH_ENV_TEMP", store_nothing},
    {UDP_CTRL_CAM_TH_SAVE_CONF, "UDP_CTRL_CAM_TH_SAVE_CONF", unknown},
    {UDP_CTRL_CAM_GET_TH_DEWARP, "UDP_CTRL_CAM_GET_TH_DEWARP", store<&Data::th_dewarp>},
    {UDP_CTRL_CAM_SET_TH_DEWARP, "UDP_CTRL_CAM_SET_TH_DEWARP", store_nothing},
    {UDP_CTRL_CAM_GET_STREAM_PROP, "UDP_CTRL_CAM_GET_STREAM_PROP", store<&Data::stream_prop>},
    {UDP_CTRL_CAM_SET_STREAM_PROP, "UDP_CTRL_CAM_SET_STREAM_PROP", store_nothing},
    {UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP, "ZOOM_TELE_WIDE_STOP", store_nothing},
    {UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP, "DZOOM_TELE_WIDE_STOP", unknown},
    {UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP, "FOCUS_FAR_NEAR_STOP", store_nothing},
    {UDP_CTRL_CAM_AUTO_FOCUS, kNoName, store_nothing},
    {UDP_CTRL_CAM_SET_FOCUS, kNoName, store_nothing},
    {UDP_CTRL_CAM_GET_FOCUS, kNoName, store_focus},
    {UDP_CTRL_CAM_SET_IRIS, "SET_IRIS", unknown},
    {UDP_CTRL_CAM_GET_IRIS, "GET_IRIS", store<&Data::iris>},
    {UDP_CTRL_CAM_GET_SHUTTER, "GET_SHUTTER", store<&Data::shutter>},
    {UDP_CTRL_CAM_GET_ISO, "GET_ISO", store<&Data::iso>},
    {UDP_CTRL_CAM_SET_FOCUS_MODE, "SET_FOCUS_MODE", store_nothing},
    {UDP_CTRL_CAM_SET_DEFOG_LEVEL, "DEFOG_LEVEL", store_nothing},
    {UDP_CTRL_CAM_GET_DEFOG_LEVEL, "GET_DEFOG_LEVEL", store_defog_level},
    {UDP_CTRL_CAM_CUSTOM_RECALL, kNoName, store_nothing},
    {UDP_CTRL_CAM_CUSTOM_SET, kNoName, store_nothing},
    {UDP_CTRL_CAM_GET_RGAIN_VALUE, "GET_RGAIN", store<&Data::rgain>},
    {UDP_CTRL_CAM_SET_BGAIN, "SET_BGAIN", store_nothing},
    {UDP_CTRL_CAM_GET_BGAIN_VALUE, "GET_BGAIN", store<&Data::bgain>},
    {UDP_CTRL_CAM_SET_RGAIN, "SET_RGAIN", store_nothing},
    {UDP_CTRL_CAM_SET_OSD_STATUS, "SET_OSD_STATUS", store_nothing},
    {UDP_CTRL_CAM_GET_OSD_STATUS, "GET_OSD_STATUS", store<&Data::osd_onoff>},
    {UDP_CTRL_CAM_GET_FOCUS_MODE, "GET_FOCUS_MODE", store<&Data::focus_mode>},
    {UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP, "SET_THERMAL_CALI_TEMP", store_nothing},
    {UDP_CTRL_CAM_RUN_THERMAL_CALI, "RUN_THERMAL_CALI", store_nothing},
    {UDP_CTRL_CAM_SET_FPA_THERMAL_CALI_TEMP, "SET_FPA_THERMAL_CALI_TEMP", store_nothing},
    {UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI, "RUN_FPA_THERMAL_CALI", store_nothing},
    {UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL, "USB_PASS_THROUGH_CTRL", store_nothing},
};
static_assert(is_ascending_by_code(kCommands));

}  // namespace

const char* vlm_strcmd(int cmd) {
  const Command* const command = find_by_code(kCommands, cmd);
  return command != nullptr ? command->name : kNoName;
}

void LcmRequest::save_lcm_result(const udp_ctrl_cam_t& reply) {
  const Command* const command = find_by_code(kCommands, reply.cmd_type);
  const Store store = command != nullptr ? command->store : unknown;
  if (store == unknown) {
    std::printf("unknown lcm type[%d]\n", reply.cmd_type);
  } else if (store != store_nothing) {
    store(_data, reply.cmd_params);
  }
}

void LcmRequest::convert_to_lcm_camera_status(u8& status) {
  switch (status) {
    case VLM_STATUS_ON_BUS_RECORDING: status = VLM_STATUS_RECORDING; break;
    case VLM_STATUS_ON_BUS_CAPTURING: status = VLM_STATUS_CAPTURING; break;
    default: status = VLM_STATUS_IDLE; break;
  }
}
