// The result store: which bytes of which reply go to which field.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "lcm_request.h"

char LcmRequest::Data::module_name[8] = {};

namespace {

using Data = LcmRequest::Data;

template <auto Field>
void store(Data& data, const u8* bytes) {
  std::memcpy(&(data.*Field), bytes, sizeof(data.*Field));
}

/// A field that is a plain copy of payload bytes.
struct StoredField {
  int code;
  int offset;  // of its first byte in the payload
  void (*store)(Data& data, const u8* bytes);
};

// Ascending by code; a code may fill several fields.
constexpr StoredField kStoredFields[] = {
    {UDP_CTRL_CAM_GET_CAMERA_MODE, 0, store<&Data::cam_mode>},
    {UDP_CTRL_CAM_GET_AE_MODE, 0, store<&Data::ae_mode>},
    {UDP_CTRL_CAM_GET_PARAMS_EV, 0, store<&Data::ev_value>},
    {UDP_CTRL_CAM_GET_WB_MODE, 0, store<&Data::wb_mode>},
    {UDP_CTRL_CAM_GET_PARAMS_VIDEO, 0, store<&Data::video_resolution_h>},
    {UDP_CTRL_CAM_GET_PARAMS_VIDEO, 2, store<&Data::video_resolution_v>},
    {UDP_CTRL_CAM_GET_PARAMS_VIDEO, 4, store<&Data::video_fps>},
    {UDP_CTRL_CAM_GET_METER_MODE, 0, store<&Data::meter_mode>},
    {UDP_CTRL_CAM_GET_FLICKER_MODE, 0, store<&Data::flicker_mode>},
    {UDP_CTRL_CAM_GET_COLOR_MODE, 0, store<&Data::color_mode>},
    {UDP_CTRL_CAM_GET_IMAGE_QUALITY, 0, store<&Data::image_quality>},
    {UDP_CTRL_CAM_GET_IMAGE_FORMAT, 0, store<&Data::image_format>},
    {UDP_CTRL_CAM_GET_RECORDING_TIME, 0, store<&Data::recording_time>},
    {UDP_CTRL_CAM_GET_SDCARD_STORAGE, 0, store<&Data::storage_info>},
    {UDP_CTRL_CAM_GET_CAMERA_VERSION, 8, store<&Data::camera_version>},
    {UDP_CTRL_CAM_GET_MEDIA_FOLDER, 0, store<&Data::enable_flag>},
    {UDP_CTRL_CAM_GET_MEDIA_FOLDER, 1, store<&Data::folder>},
    {UDP_CTRL_CAM_GET_SPOT_METERING_COORDS, 0, store<&Data::x_ratio>},
    {UDP_CTRL_CAM_GET_SPOT_METERING_COORDS, 1, store<&Data::y_ratio>},
    {UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE, 0, store<&Data::speed_mbps>},
    {UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE, 2, store<&Data::level>},
    {UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE, 3, store<&Data::space_state>},
    {UDP_CTRL_CAM_GET_SYSTEM_MODE, 0, store<&Data::system_mode>},
    {UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE, 0, store<&Data::encode_mode>},
    {UDP_CTRL_CAM_GET_PHOTO_RATIO, 0, store<&Data::photo_ratio>},
    {UDP_CTRL_CAM_GET_FILE_FORMAT, 0, store<&Data::file_format>},
    {UDP_CTRL_CAM_GET_PHOTO_MODE, 0, store<&Data::capture_mode>},
    {UDP_CTRL_CAM_GET_IMAGE_FLIP, 0, store<&Data::flip_type>},
    {UDP_CTRL_CAM_GET_LOWDELAY_STREAM, 0, store<&Data::low_delay_mode>},
    {UDP_CTRL_CAM_GET_CUSTOM_WB, 0, store<&Data::custom_wb>},
    {UDP_CTRL_CAM_GET_WDR_MODE, 0, store<&Data::wdr_mode>},
    {UDP_CTRL_CAM_GET_IMAGE_DEWARP, 0, store<&Data::dewarp_mode>},
    {UDP_CTRL_CAM_GET_EIS_STATUS, 0, store<&Data::eis_flag>},
    {UDP_CTRL_CAM_GET_PROPERTY, 0, store<&Data::property_str>},
    {UDP_CTRL_CAM_SET_PROPERTY, 0, store<&Data::property_str>},
    {UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR, 0, store<&Data::framerate_divisor>},
    {UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION, 0, store<&Data::file_num_option>},
    {UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO, 0, store<&Data::sd_sp_info>},
    {UDP_CTRL_CAM_GET_PALETTE_TYPE, 0, store<&Data::palette_type>},
    {UDP_CTRL_CAM_GET_AIR_PARAMS, 0, store<&Data::air_params>},
    {UDP_CTRL_CAM_GET_TEMPERATURE_BAR, 0, store<&Data::temp_bar>},
    {UDP_CTRL_CAM_GET_LOCK_RANGE_STATE, 0, store<&Data::lock_state>},
    {UDP_CTRL_CAM_GET_RUN_FFC_MODE, 0, store<&Data::run_mode>},
    {UDP_CTRL_CAM_GET_TEMPERATURE_STATUS, 0, store<&Data::temp_status>},
    {UDP_CTRL_CAM_GET_RADIOMETRIC_POINT, 0, store<&Data::rad_point>},
    {UDP_CTRL_CAM_GET_RADIOMETRIC_AREA, 0, store<&Data::rad_area>},
    {UDP_CTRL_CAM_GET_CAMERA_PN_INFO, 0, store<&Data::pn_info>},
    {UDP_CTRL_CAM_GET_GAIN_MODE, 0, store<&Data::gain_mode>},
    {UDP_CTRL_CAM_GET_SSO, 0, store<&Data::sso>},
    {UDP_CTRL_CAM_GET_ACE, 0, store<&Data::ace>},
    {UDP_CTRL_CAM_GET_DDE, 0, store<&Data::dde>},
    {UDP_CTRL_CAM_GET_ROI, 0, store<&Data::roi>},
    {UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM, 0, store<&Data::th_dzoom>},
    {UDP_CTRL_CAM_GET_TH_ENV_TEMP, 0, store<&Data::th_env_temp>},
    {UDP_CTRL_CAM_GET_TH_DEWARP, 0, store<&Data::th_dewarp>},
    {UDP_CTRL_CAM_GET_STREAM_PROP, 0, store<&Data::stream_prop>},
    {UDP_CTRL_CAM_GET_IRIS, 0, store<&Data::iris>},
    {UDP_CTRL_CAM_GET_SHUTTER, 0, store<&Data::shutter>},
    {UDP_CTRL_CAM_GET_ISO, 0, store<&Data::iso>},
    {UDP_CTRL_CAM_GET_RGAIN_VALUE, 0, store<&Data::rgain>},
    {UDP_CTRL_CAM_GET_BGAIN_VALUE, 0, store<&Data::bgain>},
    {UDP_CTRL_CAM_GET_OSD_STATUS, 0, store<&Data::osd_onoff>},
    {UDP_CTRL_CAM_GET_FOCUS_MODE, 0, store<&Data::focus_mode>},
};

// Ascending: replies that carry no result.
constexpr int kSilentCodes[] = {
    2,   3,   4,   5,   8,   10,  12,  14,  16,  18,  20,  22,  24,  26,  27,  28,  32,
    33,  35,  37,  38,  41,  43,  44,  45,  47,  49,  51,  53,  54,  56,  58,  59,  60,
    62,  65,  66,  68,  70,  71,  72,  73,  79,  81,  83,  86,  87,  90,  91,  101, 102,
    103, 105, 107, 109, 111, 112, 114, 116, 122, 126, 128, 130, 132, 134, 136, 139, 141,
    200, 202, 204, 205, 216, 219, 233, 234, 236, 238, 239, 901, 902, 903, 904, 905};

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

void store_module_name(Data& data, const u8* payload) {
  std::memcpy(data.module_name, payload, sizeof data.module_name);
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

/// A reply that takes more than copies.
struct StoredReply {
  int code;
  void (*store)(Data& data, const u8* payload);
};

constexpr StoredReply kStoredReplies[] = {
    {UDP_CTRL_CAM_GET_ALL_REQUEST, store_request_list},
    {UDP_CTRL_CAM_GET_CAMERA_STATUS, store_camera_status},
    {UDP_CTRL_CAM_GET_SHUTTER_ISO, store_shutter_iso},
    {UDP_CTRL_CAM_GET_CAMERA_VERSION, store_module_name},
    {UDP_CTRL_CAM_GET_DIGITAL_ZOOM, store_digital_zoom},
    {UDP_CTRL_CAM_GET_ZOOM, store_zoom},
    {UDP_CTRL_CAM_GET_FOCUS, store_focus},
    {UDP_CTRL_CAM_GET_DEFOG_LEVEL, store_defog_level},
};

}  // namespace

void LcmRequest::save_lcm_result(const udp_ctrl_cam_t& reply) {
  const int code = reply.cmd_type;
  bool known = std::binary_search(std::begin(kSilentCodes), std::end(kSilentCodes), code);
  for (const StoredField& field : kStoredFields) {
    if (field.code != code) continue;
    field.store(_data, reply.cmd_params + field.offset);
    known = true;
  }
  for (const StoredReply& stored : kStoredReplies) {
    if (stored.code != code) continue;
    stored.store(_data, reply.cmd_params);
    known = true;
  }
  if (!known) std::printf("unknown lcm type[%d]\n", code);
}

void LcmRequest::convert_to_lcm_camera_status(u8& status) {
  if (status == 3) {
    status = 1;
  } else if (status != 2) {
    status = 0;
  }
}
