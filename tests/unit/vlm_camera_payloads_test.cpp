// The payload records: type of every field, and that nothing else is in them. The header asserts sizes
// and offsets.

#include "vlm_camera_payloads.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>

namespace {

struct Field {
  const char* record;
  const char* name;
  std::size_t record_size;
  std::size_t offset;
  std::size_t size;
  bool has_its_type;
};

// clang-format off
// A macro, since only it can name a member for offsetof.
#define FIELD(record, field, type)                                                        \
  {#record, #field, sizeof(record), offsetof(record, field), sizeof(record::field),       \
   std::is_same_v<decltype(record::field), type>}

// Each record's fields stand together, in order.
const Field kFields[] = {
    FIELD(udp_ctrl_cam_shutter_iso_t, auto_enable, u8),
    FIELD(udp_ctrl_cam_shutter_iso_t, sht_num, u16),
    FIELD(udp_ctrl_cam_shutter_iso_t, sht_dem, u16),
    FIELD(udp_ctrl_cam_shutter_iso_t, iso, u32),
    FIELD(udp_ctrl_cam_shutter_t, sht_num, u16),
    FIELD(udp_ctrl_cam_shutter_t, sht_dem, u16),
    FIELD(udp_ctrl_cam_iso_t, iso, u32),
    FIELD(udp_ctrl_cam_res_t, w, u16),
    FIELD(udp_ctrl_cam_res_t, h, u16),
    FIELD(udp_ctrl_video_t, res, udp_ctrl_cam_res_t),
    FIELD(udp_ctrl_video_t, fps, u8),
    FIELD(udp_ctrl_video_t, res_index, s32),
    FIELD(udp_ctrl_cam_ev_t, ev_num, s8),
    FIELD(udp_ctrl_cam_ev_t, ev_dem, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, storage_id, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, slave_storage, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, status, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, available_capacity, u32),
    FIELD(udp_ctrl_cam_sdcard_storage_t, total_capacity, u32),
    FIELD(udp_ctrl_cam_sdcard_storage_t, storage_bitmap, storage_bitmap_t),
    FIELD(udp_ctrl_cam_media_folder_t, enable_flag, u8),
    FIELD(udp_ctrl_cam_media_folder_t, folder, char[64]),
    FIELD(udp_ctrl_cam_coords_ratio_t, x_ratio, u8),
    FIELD(udp_ctrl_cam_coords_ratio_t, y_ratio, u8),
    FIELD(udp_ctrl_cam_t_card_attribute_t, speed_mbps, u16),
    FIELD(udp_ctrl_cam_t_card_attribute_t, level, u8),
    FIELD(udp_ctrl_cam_t_card_attribute_t, space_state, u8),
    FIELD(udp_ctrl_cam_t_card_attribute_t, reserved, u8[16]),
    FIELD(udp_ctrl_cam_misc_image_info_t, roll, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, pitch, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, yaw, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, latitude, double),
    FIELD(udp_ctrl_cam_misc_image_info_t, longitude, double),
    FIELD(udp_ctrl_cam_misc_image_info_t, altitude, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, url, char[64]),
    FIELD(udp_ctrl_cam_misc_image_info_t, image_index, u32),
    FIELD(udp_ctrl_cam_misc_image_info_t, result, s8),
    FIELD(udp_ctrl_cam_air_params_t, enable, u8),
    FIELD(udp_ctrl_cam_air_params_t, scene_emissivity, u8),
    FIELD(udp_ctrl_cam_air_params_t, conversion_ratio, u8),
    FIELD(udp_ctrl_cam_air_params_t, atmosphere_temperature, s16),
    FIELD(udp_ctrl_cam_area_temp_t, center_val, s32),
    FIELD(udp_ctrl_cam_area_temp_t, max_val, s32),
    FIELD(udp_ctrl_cam_area_temp_t, min_val, s32),
    FIELD(udp_ctrl_cam_area_temp_t, avg_val, s32),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, locked_max_temp, s32),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, locked_min_temp, s32),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, all_area, udp_ctrl_cam_area_temp_t),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, custom_area, udp_ctrl_cam_area_temp_t),
    FIELD(udp_ctrl_cam_temp_bar_range_t, enable, u8),
    FIELD(udp_ctrl_cam_temp_bar_range_t, max_temp, s16),
    FIELD(udp_ctrl_cam_temp_bar_range_t, min_temp, s16),
    FIELD(udp_ctrl_cam_photo_mode_t, capture_mode, u8),
    FIELD(udp_ctrl_cam_photo_mode_t, photo_amount, u16),
    FIELD(udp_ctrl_cam_photo_mode_t, ev_step, udp_ctrl_cam_ev_t),
    FIELD(udp_ctrl_cam_photo_mode_t, interval_ms, u32),
    FIELD(udp_ctrl_cam_photo_mode_t, reserved, u8[2]),
    FIELD(udp_ctrl_cam_request_list_t, cam_mode, u8),
    FIELD(udp_ctrl_cam_request_list_t, ev, u16),
    FIELD(udp_ctrl_cam_request_list_t, shutter, u16),
    FIELD(udp_ctrl_cam_request_list_t, iso, u16),
    FIELD(udp_ctrl_cam_request_list_t, dzoom, u32),
    FIELD(udp_ctrl_cam_request_list_t, zoom, float),
    FIELD(udp_ctrl_cam_request_list_t, iris, u16),
    FIELD(udp_ctrl_cam_request_list_t, osd_status, u8),
    FIELD(udp_ctrl_cam_request_list_t, focus_mode, u8),
    FIELD(udp_ctrl_cam_request_list_t, defog_level, u8),
    FIELD(udp_ctrl_cam_request_list_t, flicker_mode, u8),
    FIELD(udp_ctrl_cam_request_list_t, ae_mode, u8),
    FIELD(udp_ctrl_cam_request_list_t, meter_mode, u8),
    FIELD(udp_ctrl_cam_request_list_t, spot_coords_ratio, udp_ctrl_cam_coords_ratio_t),
    FIELD(udp_ctrl_cam_request_list_t, video_res, udp_ctrl_video_t),
    FIELD(udp_ctrl_cam_request_list_t, wb, u8),
    FIELD(udp_ctrl_cam_request_list_t, recording_time_s, u32),
    FIELD(udp_ctrl_cam_request_list_t, available_kib, u32),
    FIELD(udp_ctrl_cam_request_list_t, camera_status, u8),
    FIELD(udp_ctrl_cam_request_list_t, sdcard_storage_t, udp_ctrl_cam_sdcard_storage_t[2]),
    FIELD(udp_ctrl_cam_digital_zoom_params_t, zoom, u32),
    FIELD(udp_ctrl_cam_digital_zoom_params_t, xCenter, u32),
    FIELD(udp_ctrl_cam_digital_zoom_params_t, yCenter, u32),
    FIELD(udp_ctrl_sdcard_support_info_t, oemid, u16),
    FIELD(udp_ctrl_sdcard_support_info_t, manufacturerID, u8),
    FIELD(udp_ctrl_sdcard_support_info_t, is_support, u8),
    FIELD(vlm_camera_pn_info_t, cameraSN, u32),
    FIELD(vlm_camera_pn_info_t, ver_major, u32),
    FIELD(vlm_camera_pn_info_t, ver_minor, u32),
    FIELD(vlm_camera_pn_info_t, ver_patch, u32),
    FIELD(vlm_camera_pn_info_t, resolution, u16),
    FIELD(vlm_camera_pn_info_t, frameRate, u8),
    FIELD(vlm_camera_pn_info_t, grade, u8),
    FIELD(vlm_camera_pn_info_t, lenCoating, u8),
    FIELD(vlm_camera_pn_info_t, HFOV, u8),
    FIELD(vlm_camera_pn_info_t, fpa_temp_x10, s16),
    FIELD(vlm_camera_pn_info_t, focalLength, u16),
    FIELD(vlm_camera_pn_info_t, aperture, u16),
    FIELD(vlm_camera_pn_info_t, DFOV, u16),
    FIELD(vlm_camera_pn_info_t, cali_status, u16),
    FIELD(vlm_camera_pn_info_t, cali_ver, u16),
    FIELD(vlm_camera_pn_info_t, reserved, u16[16]),
    FIELD(lepton_env_temp_t, enable, s32),
    FIELD(lepton_env_temp_t, env_temp_x10, s16),
    FIELD(vlm_thermal_dewarp_t, enabled, u8),
    FIELD(vlm_thermal_dewarp_t, strength, u32),
    FIELD(vlm_radiometric_point_settings_t, enable, s32),
    FIELD(vlm_radiometric_point_settings_t, x, u16),
    FIELD(vlm_radiometric_point_settings_t, y, u16),
    FIELD(vlm_radiometric_area_coordinate_t, start_x, u16),
    FIELD(vlm_radiometric_area_coordinate_t, start_y, u16),
    FIELD(vlm_radiometric_area_coordinate_t, end_x, u16),
    FIELD(vlm_radiometric_area_coordinate_t, end_y, u16),
    FIELD(vlm_radiometric_area_settings_t, enable, s32),
    FIELD(vlm_radiometric_area_settings_t, area, vlm_radiometric_area_coordinate_t),
    FIELD(vlm_SSO_setting_t, SSO_value, s8),
    FIELD(vlm_ACE_setting_t, ACE_value, s16),
    FIELD(vlm_DDE_setting_t, DDE_value, s16),
    FIELD(vlm_second_stream_resolution_t, width, u32),
    FIELD(vlm_second_stream_resolution_t, height, u32),
    FIELD(vlm_stream_prop_t, stream_id, u32),
    FIELD(vlm_stream_prop_t, enable_mask, u32),
    FIELD(vlm_stream_prop_t, bitrate, u32),
    FIELD(vlm_stream_prop_t, res, vlm_res_t),
    FIELD(vlm_stream_prop_t, fps, u32),
    FIELD(storage_bitmap_t, slots, u8),
    FIELD(storage_bitmap_t, storages, u8),
};
// clang-format on

TEST(PayloadFields, HaveTheirTypes) {
  for (const Field& field : kFields) {
    EXPECT_TRUE(field.has_its_type) << field.record << "::" << field.name;
  }
}

TEST(PayloadFields, FillTheirRecordsWithoutGaps) {
  std::map<std::string, std::size_t> ends;
  for (const Field& field : kFields) {
    EXPECT_EQ(field.offset, ends[field.record]) << field.record << "::" << field.name;
    ends[field.record] += field.size;
  }
  for (const Field& field : kFields) {
    EXPECT_EQ(ends[field.record], field.record_size) << field.record;
  }
  EXPECT_EQ(ends.size(), 31U);
}

TEST(StorageStatus, NamesShareTheirValues) {
  EXPECT_EQ(VLM_STORAGE_REMOVED, 0);
  EXPECT_EQ(VLM_STORAGE_ERRSTATUS, 0);
  EXPECT_EQ(VLM_STORAGE_UNRECOGNIZED, 1);
  EXPECT_EQ(VLM_STORAGE_OK, 2);
  EXPECT_EQ(VLM_STORAGE_INSERTED, 2);
  EXPECT_EQ(VLM_STORAGE_FORMATTED, 2);
}

}  // namespace
