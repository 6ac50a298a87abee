// Payload records of the camera commands. Each starts at offset 0 of `udp_ctrl_cam_t::cmd_params`,
// is packed, and is little-endian like the machine: the wire layout is the memory layout. Move
// them with memcpy; their fields may be unaligned, so take no pointer or reference to a member.
#ifndef VLM_CAMERA_PAYLOADS_H
#define VLM_CAMERA_PAYLOADS_H

#include <cstddef>
#include <cstdint>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are copied in host order");

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using s8 = std::int8_t;
using s16 = std::int16_t;
using s32 = std::int32_t;

#pragma pack(push, 1)

// Shutter and exposure.

/// Exposure time is sht_num / sht_dem seconds.
struct udp_ctrl_cam_shutter_iso_t {
  u8 auto_enable;
  u16 sht_num;
  u16 sht_dem;
  u32 iso;  // ISO value or ISO identifier
};
static_assert(sizeof(udp_ctrl_cam_shutter_iso_t) == 9);
static_assert(offsetof(udp_ctrl_cam_shutter_iso_t, sht_num) == 1);
static_assert(offsetof(udp_ctrl_cam_shutter_iso_t, sht_dem) == 3);
static_assert(offsetof(udp_ctrl_cam_shutter_iso_t, iso) == 5);

struct udp_ctrl_cam_shutter_t {
  u16 sht_num;
  u16 sht_dem;
};
static_assert(sizeof(udp_ctrl_cam_shutter_t) == 4);
static_assert(offsetof(udp_ctrl_cam_shutter_t, sht_dem) == 2);

struct udp_ctrl_cam_iso_t {
  u32 iso;
};
static_assert(sizeof(udp_ctrl_cam_iso_t) == 4);

/// EV is ev_num / ev_dem.
struct udp_ctrl_cam_ev_t {
  s8 ev_num;
  u8 ev_dem;
};
static_assert(sizeof(udp_ctrl_cam_ev_t) == 2);
static_assert(offsetof(udp_ctrl_cam_ev_t, ev_dem) == 1);

// Video.

/// Pixels.
struct udp_ctrl_cam_res_t {
  u16 w;
  u16 h;
};
static_assert(sizeof(udp_ctrl_cam_res_t) == 4);
static_assert(offsetof(udp_ctrl_cam_res_t, h) == 2);

using vlm_res_t = udp_ctrl_cam_res_t;

using udp_ctrl_cam_fps_t = u8;

struct udp_ctrl_video_t {
  udp_ctrl_cam_res_t res;
  udp_ctrl_cam_fps_t fps;
  s32 res_index;  // -1: chosen by res and fps
};
static_assert(sizeof(udp_ctrl_video_t) == 9);
static_assert(offsetof(udp_ctrl_video_t, fps) == 4);
static_assert(offsetof(udp_ctrl_video_t, res_index) == 5);

/// Pixels.
struct vlm_second_stream_resolution_t {
  u32 width;
  u32 height;
};
static_assert(sizeof(vlm_second_stream_resolution_t) == 8);
static_assert(offsetof(vlm_second_stream_resolution_t, height) == 4);

struct vlm_stream_prop_t {
  u32 stream_id;
  u32 enable_mask;  // which of the following fields apply
  u32 bitrate;
  vlm_res_t res;
  u32 fps;
};
static_assert(sizeof(vlm_stream_prop_t) == 20);
static_assert(offsetof(vlm_stream_prop_t, enable_mask) == 4);
static_assert(offsetof(vlm_stream_prop_t, bitrate) == 8);
static_assert(offsetof(vlm_stream_prop_t, res) == 12);
static_assert(offsetof(vlm_stream_prop_t, fps) == 16);

// Storage.

struct storage_bitmap_t {
  u8 slots;
  u8 storages;
};
static_assert(sizeof(storage_bitmap_t) == 2);
static_assert(offsetof(storage_bitmap_t, storages) == 1);

/// Capacities in KiB.
struct udp_ctrl_cam_sdcard_storage_t {
  u8 storage_id;
  u8 slave_storage;
  u8 status;  // a vlm_storage_status_value
  u32 available_capacity;
  u32 total_capacity;
  storage_bitmap_t storage_bitmap;
};
static_assert(sizeof(udp_ctrl_cam_sdcard_storage_t) == 13);
static_assert(offsetof(udp_ctrl_cam_sdcard_storage_t, slave_storage) == 1);
static_assert(offsetof(udp_ctrl_cam_sdcard_storage_t, status) == 2);
static_assert(offsetof(udp_ctrl_cam_sdcard_storage_t, available_capacity) == 3);
static_assert(offsetof(udp_ctrl_cam_sdcard_storage_t, total_capacity) == 7);
static_assert(offsetof(udp_ctrl_cam_sdcard_storage_t, storage_bitmap) == 11);

struct udp_ctrl_cam_media_folder_t {
  u8 enable_flag;
  char folder[64];  // NUL-padded; a full field has no terminator
};
static_assert(sizeof(udp_ctrl_cam_media_folder_t) == 65);
static_assert(offsetof(udp_ctrl_cam_media_folder_t, folder) == 1);

struct udp_ctrl_cam_t_card_attribute_t {
  u16 speed_mbps;
  u8 level;        // 0 low, 1 high
  u8 space_state;  // 0 available, 1 no space
  u8 reserved[16];
};
static_assert(sizeof(udp_ctrl_cam_t_card_attribute_t) == 20);
static_assert(offsetof(udp_ctrl_cam_t_card_attribute_t, level) == 2);
static_assert(offsetof(udp_ctrl_cam_t_card_attribute_t, space_state) == 3);
static_assert(offsetof(udp_ctrl_cam_t_card_attribute_t, reserved) == 4);

struct udp_ctrl_sdcard_support_info_t {
  u16 oemid;
  u8 manufacturerID;
  u8 is_support;
};
static_assert(sizeof(udp_ctrl_sdcard_support_info_t) == 4);
static_assert(offsetof(udp_ctrl_sdcard_support_info_t, manufacturerID) == 2);
static_assert(offsetof(udp_ctrl_sdcard_support_info_t, is_support) == 3);

// Picture.

/// Position in percent of width and height, 0 to 100.
struct udp_ctrl_cam_coords_ratio_t {
  u8 x_ratio;
  u8 y_ratio;
};
static_assert(sizeof(udp_ctrl_cam_coords_ratio_t) == 2);
static_assert(offsetof(udp_ctrl_cam_coords_ratio_t, y_ratio) == 1);

struct udp_ctrl_cam_photo_mode_t {
  u8 capture_mode;   // a vlm_capture_mode_value
  u16 photo_amount;  // pictures of a burst or bracket
  udp_ctrl_cam_ev_t ev_step;
  u32 interval_ms;  // time lapse
  u8 reserved[2];
};
static_assert(sizeof(udp_ctrl_cam_photo_mode_t) == 11);
static_assert(offsetof(udp_ctrl_cam_photo_mode_t, photo_amount) == 1);
static_assert(offsetof(udp_ctrl_cam_photo_mode_t, ev_step) == 3);
static_assert(offsetof(udp_ctrl_cam_photo_mode_t, interval_ms) == 5);
static_assert(offsetof(udp_ctrl_cam_photo_mode_t, reserved) == 9);

/// The EXIF data of a captured image; angles in degrees.
struct udp_ctrl_cam_misc_image_info_t {
  float roll;
  float pitch;
  float yaw;
  double latitude;
  double longitude;
  float altitude;
  char url[64];
  u32 image_index;
  s8 result;
};
static_assert(sizeof(udp_ctrl_cam_misc_image_info_t) == 101);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, pitch) == 4);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, yaw) == 8);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, latitude) == 12);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, longitude) == 20);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, altitude) == 28);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, url) == 32);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, image_index) == 96);
static_assert(offsetof(udp_ctrl_cam_misc_image_info_t, result) == 100);

/// Snapshot of all settings.
struct udp_ctrl_cam_request_list_t {
  u8 cam_mode;  // 1 video, 2 photo
  u16 ev;
  u16 shutter;
  u16 iso;
  u32 dzoom;
  float zoom;
  u16 iris;
  u8 osd_status;
  u8 focus_mode;
  u8 defog_level;
  u8 flicker_mode;
  u8 ae_mode;
  u8 meter_mode;
  udp_ctrl_cam_coords_ratio_t spot_coords_ratio;
  udp_ctrl_video_t video_res;
  u8 wb;
  u32 recording_time_s;
  u32 available_kib;
  u8 camera_status;  // a vlm_camera_status_value
  udp_ctrl_cam_sdcard_storage_t sdcard_storage_t[2];
};
static_assert(sizeof(udp_ctrl_cam_request_list_t) == 70);
static_assert(offsetof(udp_ctrl_cam_request_list_t, ev) == 1);
static_assert(offsetof(udp_ctrl_cam_request_list_t, shutter) == 3);
static_assert(offsetof(udp_ctrl_cam_request_list_t, iso) == 5);
static_assert(offsetof(udp_ctrl_cam_request_list_t, dzoom) == 7);
static_assert(offsetof(udp_ctrl_cam_request_list_t, zoom) == 11);
static_assert(offsetof(udp_ctrl_cam_request_list_t, iris) == 15);
static_assert(offsetof(udp_ctrl_cam_request_list_t, osd_status) == 17);
static_assert(offsetof(udp_ctrl_cam_request_list_t, focus_mode) == 18);
static_assert(offsetof(udp_ctrl_cam_request_list_t, defog_level) == 19);
static_assert(offsetof(udp_ctrl_cam_request_list_t, flicker_mode) == 20);
static_assert(offsetof(udp_ctrl_cam_request_list_t, ae_mode) == 21);
static_assert(offsetof(udp_ctrl_cam_request_list_t, meter_mode) == 22);
static_assert(offsetof(udp_ctrl_cam_request_list_t, spot_coords_ratio) == 23);
static_assert(offsetof(udp_ctrl_cam_request_list_t, video_res) == 25);
static_assert(offsetof(udp_ctrl_cam_request_list_t, wb) == 34);
static_assert(offsetof(udp_ctrl_cam_request_list_t, recording_time_s) == 35);
static_assert(offsetof(udp_ctrl_cam_request_list_t, available_kib) == 39);
static_assert(offsetof(udp_ctrl_cam_request_list_t, camera_status) == 43);
static_assert(offsetof(udp_ctrl_cam_request_list_t, sdcard_storage_t) == 44);

// Thermal sensor.

struct udp_ctrl_cam_air_params_t {
  u8 enable;
  u8 scene_emissivity;  // percent
  u8 conversion_ratio;
  s16 atmosphere_temperature;
};
static_assert(sizeof(udp_ctrl_cam_air_params_t) == 5);
static_assert(offsetof(udp_ctrl_cam_air_params_t, scene_emissivity) == 1);
static_assert(offsetof(udp_ctrl_cam_air_params_t, conversion_ratio) == 2);
static_assert(offsetof(udp_ctrl_cam_air_params_t, atmosphere_temperature) == 3);

struct udp_ctrl_cam_area_temp_t {
  s32 center_val;
  s32 max_val;
  s32 min_val;
  s32 avg_val;
};
static_assert(sizeof(udp_ctrl_cam_area_temp_t) == 16);
static_assert(offsetof(udp_ctrl_cam_area_temp_t, max_val) == 4);
static_assert(offsetof(udp_ctrl_cam_area_temp_t, min_val) == 8);
static_assert(offsetof(udp_ctrl_cam_area_temp_t, avg_val) == 12);

struct udp_ctrl_cam_lepton_area_temp_t {
  s32 locked_max_temp;
  s32 locked_min_temp;
  udp_ctrl_cam_area_temp_t all_area;
  udp_ctrl_cam_area_temp_t custom_area;
};
static_assert(sizeof(udp_ctrl_cam_lepton_area_temp_t) == 40);
static_assert(offsetof(udp_ctrl_cam_lepton_area_temp_t, locked_min_temp) == 4);
static_assert(offsetof(udp_ctrl_cam_lepton_area_temp_t, all_area) == 8);
static_assert(offsetof(udp_ctrl_cam_lepton_area_temp_t, custom_area) == 24);

struct udp_ctrl_cam_temp_bar_range_t {
  u8 enable;
  s16 max_temp;
  s16 min_temp;
};
static_assert(sizeof(udp_ctrl_cam_temp_bar_range_t) == 5);
static_assert(offsetof(udp_ctrl_cam_temp_bar_range_t, max_temp) == 1);
static_assert(offsetof(udp_ctrl_cam_temp_bar_range_t, min_temp) == 3);

struct udp_ctrl_cam_digital_zoom_params_t {
  u32 zoom;
  u32 xCenter;
  u32 yCenter;
};
static_assert(sizeof(udp_ctrl_cam_digital_zoom_params_t) == 12);
static_assert(offsetof(udp_ctrl_cam_digital_zoom_params_t, xCenter) == 4);
static_assert(offsetof(udp_ctrl_cam_digital_zoom_params_t, yCenter) == 8);

struct vlm_camera_pn_info_t {
  u32 cameraSN;
  u32 ver_major;
  u32 ver_minor;
  u32 ver_patch;
  u16 resolution;
  u8 frameRate;
  u8 grade;
  u8 lenCoating;
  u8 HFOV;
  s16 fpa_temp_x10;  // focal-plane temperature, tenths of a degree
  u16 focalLength;
  u16 aperture;
  u16 DFOV;
  u16 cali_status;
  u16 cali_ver;
  u16 reserved[16];
};
static_assert(sizeof(vlm_camera_pn_info_t) == 66);
static_assert(offsetof(vlm_camera_pn_info_t, ver_major) == 4);
static_assert(offsetof(vlm_camera_pn_info_t, ver_minor) == 8);
static_assert(offsetof(vlm_camera_pn_info_t, ver_patch) == 12);
static_assert(offsetof(vlm_camera_pn_info_t, resolution) == 16);
static_assert(offsetof(vlm_camera_pn_info_t, frameRate) == 18);
static_assert(offsetof(vlm_camera_pn_info_t, grade) == 19);
static_assert(offsetof(vlm_camera_pn_info_t, lenCoating) == 20);
static_assert(offsetof(vlm_camera_pn_info_t, HFOV) == 21);
static_assert(offsetof(vlm_camera_pn_info_t, fpa_temp_x10) == 22);
static_assert(offsetof(vlm_camera_pn_info_t, focalLength) == 24);
static_assert(offsetof(vlm_camera_pn_info_t, aperture) == 26);
static_assert(offsetof(vlm_camera_pn_info_t, DFOV) == 28);
static_assert(offsetof(vlm_camera_pn_info_t, cali_status) == 30);
static_assert(offsetof(vlm_camera_pn_info_t, cali_ver) == 32);
static_assert(offsetof(vlm_camera_pn_info_t, reserved) == 34);

struct lepton_env_temp_t {
  s32 enable;
  s16 env_temp_x10;  // tenths of a degree
};
static_assert(sizeof(lepton_env_temp_t) == 6);
static_assert(offsetof(lepton_env_temp_t, env_temp_x10) == 4);

struct vlm_thermal_dewarp_t {
  u8 enabled;
  u32 strength;
};
static_assert(sizeof(vlm_thermal_dewarp_t) == 5);
static_assert(offsetof(vlm_thermal_dewarp_t, strength) == 1);

struct vlm_radiometric_point_settings_t {
  s32 enable;
  u16 x;
  u16 y;
};
static_assert(sizeof(vlm_radiometric_point_settings_t) == 8);
static_assert(offsetof(vlm_radiometric_point_settings_t, x) == 4);
static_assert(offsetof(vlm_radiometric_point_settings_t, y) == 6);

struct vlm_radiometric_area_coordinate_t {
  u16 start_x;
  u16 start_y;
  u16 end_x;
  u16 end_y;
};
static_assert(sizeof(vlm_radiometric_area_coordinate_t) == 8);
static_assert(offsetof(vlm_radiometric_area_coordinate_t, start_y) == 2);
static_assert(offsetof(vlm_radiometric_area_coordinate_t, end_x) == 4);
static_assert(offsetof(vlm_radiometric_area_coordinate_t, end_y) == 6);

struct vlm_radiometric_area_settings_t {
  s32 enable;
  vlm_radiometric_area_coordinate_t area;
};
static_assert(sizeof(vlm_radiometric_area_settings_t) == 12);
static_assert(offsetof(vlm_radiometric_area_settings_t, area) == 4);

struct vlm_SSO_setting_t {
  s8 SSO_value;
};
static_assert(sizeof(vlm_SSO_setting_t) == 1);

/// Hundredths.
struct vlm_ACE_setting_t {
  s16 ACE_value;
};
static_assert(sizeof(vlm_ACE_setting_t) == 2);

/// Hundredths.
struct vlm_DDE_setting_t {
  s16 DDE_value;
};
static_assert(sizeof(vlm_DDE_setting_t) == 2);

#pragma pack(pop)

/// What `capture_mode` of a photo mode holds.
enum vlm_capture_mode_value : u8 {
  VLM_CAPTURE_SINGLE = 0,  // with an interval: a time lapse
  VLM_CAPTURE_BURST = 3,
  VLM_CAPTURE_AEB = 4,
  VLM_CAPTURE_HORIZONTAL_PANORAMA = 5,
  VLM_CAPTURE_HEMISPHERICAL_PANORAMA = 6,
};

/// What the camera says that it does, and what the result store makes of it: see
/// LcmRequest::convert_to_lcm_camera_status.
enum vlm_camera_status_value : u8 {
  VLM_STATUS_ON_BUS_CAPTURING = 2,
  VLM_STATUS_ON_BUS_RECORDING = 3,
  VLM_STATUS_IDLE = 0,
  VLM_STATUS_RECORDING = 1,
  VLM_STATUS_CAPTURING = 2,
};

/// The words that drive zoom, digital zoom and focus.
enum vlm_drive_value : u32 {
  VLM_DRIVE_TELE = 1,  // far, of the focus
  VLM_DRIVE_WIDE = 2,  // near, of the focus
  VLM_DRIVE_STOP = 3,
};

/// Where the lens ends.
enum vlm_lens_limit_value : u32 {
  VLM_FOCUS_FAR_END = 0x1000,
  VLM_FOCUS_NEAR_END = 0xF000,
  VLM_ZOOM_LEAST = 1,  // optical factor
  VLM_ZOOM_MOST = 30,
  VLM_DIGITAL_ZOOM_LEAST = 10,
  VLM_DIGITAL_ZOOM_MOST = 80,
};

/// Values of `udp_ctrl_cam_sdcard_storage_t::status`; several names share a value on purpose.
enum vlm_storage_status_value {
  VLM_STORAGE_REMOVED = 0,
  VLM_STORAGE_ERRSTATUS = 0,
  VLM_STORAGE_UNRECOGNIZED = 1,
  VLM_STORAGE_OK = 2,
  VLM_STORAGE_INSERTED = 2,
  VLM_STORAGE_FORMATTED = 2,
};

#endif  // VLM_CAMERA_PAYLOADS_H
