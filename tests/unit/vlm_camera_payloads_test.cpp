// The payload records: size of each, and offset, width and type of every field.

#include "vlm_camera_payloads.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <string>
#include <type_traits>

namespace {

struct Size {
  const char* record;
  std::size_t actual;
  std::size_t expected;
};

#define SIZE(record, size) \
  { #record, sizeof(record), size }

const Size kSizes[] = {
    // clang-format off
    SIZE(udp_ctrl_cam_shutter_iso_t, 9),
    SIZE(udp_ctrl_cam_shutter_t, 4),
    SIZE(udp_ctrl_cam_iso_t, 4),
    SIZE(udp_ctrl_cam_res_t, 4),
    SIZE(vlm_res_t, 4),
    SIZE(udp_ctrl_video_t, 9),
    SIZE(udp_ctrl_cam_ev_t, 2),
    SIZE(udp_ctrl_cam_sdcard_storage_t, 13),
    SIZE(udp_ctrl_cam_media_folder_t, 65),
    SIZE(udp_ctrl_cam_coords_ratio_t, 2),
    SIZE(udp_ctrl_cam_t_card_attribute_t, 20),
    SIZE(udp_ctrl_cam_misc_image_info_t, 101),
    SIZE(udp_ctrl_cam_air_params_t, 5),
    SIZE(udp_ctrl_cam_area_temp_t, 16),
    SIZE(udp_ctrl_cam_lepton_area_temp_t, 40),
    SIZE(udp_ctrl_cam_temp_bar_range_t, 5),
    SIZE(udp_ctrl_cam_photo_mode_t, 11),
    SIZE(udp_ctrl_cam_request_list_t, 70),
    SIZE(udp_ctrl_cam_digital_zoom_params_t, 12),
    SIZE(udp_ctrl_sdcard_support_info_t, 4),
    SIZE(vlm_camera_pn_info_t, 66),
    SIZE(lepton_env_temp_t, 6),
    SIZE(vlm_thermal_dewarp_t, 5),
    SIZE(vlm_radiometric_point_settings_t, 8),
    SIZE(vlm_radiometric_area_coordinate_t, 8),
    SIZE(vlm_radiometric_area_settings_t, 12),
    SIZE(vlm_SSO_setting_t, 1),
    SIZE(vlm_ACE_setting_t, 2),
    SIZE(vlm_DDE_setting_t, 2),
    SIZE(vlm_second_stream_resolution_t, 8),
    SIZE(vlm_stream_prop_t, 20),
    // clang-format on
};
static_assert(std::size(kSizes) == 31);

struct Field {
  const char* record;
  const char* name;
  std::size_t actual_offset;
  std::size_t size;
  std::size_t expected_offset;
  bool has_its_type;
};

// clang-format off
// A macro, since only it can name a member for offsetof.
#define FIELD(record, field, offset, type)                                   \
  {#record, #field, offsetof(record, field), sizeof(record::field), offset,  \
   std::is_same_v<decltype(record::field), type>}

// Each record's fields stand together, in order.
const Field kFields[] = {
    FIELD(udp_ctrl_cam_shutter_iso_t, auto_enable, 0, u8),
    FIELD(udp_ctrl_cam_shutter_iso_t, sht_num, 1, u16),
    FIELD(udp_ctrl_cam_shutter_iso_t, sht_dem, 3, u16),
    FIELD(udp_ctrl_cam_shutter_iso_t, iso, 5, u32),
    FIELD(udp_ctrl_cam_shutter_t, sht_num, 0, u16),
    FIELD(udp_ctrl_cam_shutter_t, sht_dem, 2, u16),
    FIELD(udp_ctrl_cam_iso_t, iso, 0, u32),
    FIELD(udp_ctrl_cam_res_t, w, 0, u16),
    FIELD(udp_ctrl_cam_res_t, h, 2, u16),
    FIELD(udp_ctrl_video_t, res, 0, udp_ctrl_cam_res_t),
    FIELD(udp_ctrl_video_t, fps, 4, u8),
    FIELD(udp_ctrl_video_t, res_index, 5, s32),
    FIELD(udp_ctrl_cam_ev_t, ev_num, 0, s8),
    FIELD(udp_ctrl_cam_ev_t, ev_dem, 1, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, storage_id, 0, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, slave_storage, 1, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, status, 2, u8),
    FIELD(udp_ctrl_cam_sdcard_storage_t, available_capacity, 3, u32),
    FIELD(udp_ctrl_cam_sdcard_storage_t, total_capacity, 7, u32),
    FIELD(udp_ctrl_cam_sdcard_storage_t, storage_bitmap, 11, storage_bitmap_t),
    FIELD(udp_ctrl_cam_media_folder_t, enable_flag, 0, u8),
    FIELD(udp_ctrl_cam_media_folder_t, folder, 1, char[64]),
    FIELD(udp_ctrl_cam_coords_ratio_t, x_ratio, 0, u8),
    FIELD(udp_ctrl_cam_coords_ratio_t, y_ratio, 1, u8),
    FIELD(udp_ctrl_cam_t_card_attribute_t, speed_mbps, 0, u16),
    FIELD(udp_ctrl_cam_t_card_attribute_t, level, 2, u8),
    FIELD(udp_ctrl_cam_t_card_attribute_t, space_state, 3, u8),
    FIELD(udp_ctrl_cam_t_card_attribute_t, reserved, 4, u8[16]),
    FIELD(udp_ctrl_cam_misc_image_info_t, roll, 0, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, pitch, 4, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, yaw, 8, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, latitude, 12, double),
    FIELD(udp_ctrl_cam_misc_image_info_t, longitude, 20, double),
    FIELD(udp_ctrl_cam_misc_image_info_t, altitude, 28, float),
    FIELD(udp_ctrl_cam_misc_image_info_t, url, 32, char[64]),
    FIELD(udp_ctrl_cam_misc_image_info_t, image_index, 96, u32),
    FIELD(udp_ctrl_cam_misc_image_info_t, result, 100, s8),
    FIELD(udp_ctrl_cam_air_params_t, enable, 0, u8),
    FIELD(udp_ctrl_cam_air_params_t, scene_emissivity, 1, u8),
    FIELD(udp_ctrl_cam_air_params_t, conversion_ratio, 2, u8),
    FIELD(udp_ctrl_cam_air_params_t, atmosphere_temperature, 3, s16),
    FIELD(udp_ctrl_cam_area_temp_t, center_val, 0, s32),
    FIELD(udp_ctrl_cam_area_temp_t, max_val, 4, s32),
    FIELD(udp_ctrl_cam_area_temp_t, min_val, 8, s32),
    FIELD(udp_ctrl_cam_area_temp_t, avg_val, 12, s32),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, locked_max_temp, 0, s32),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, locked_min_temp, 4, s32),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, all_area, 8, udp_ctrl_cam_area_temp_t),
    FIELD(udp_ctrl_cam_lepton_area_temp_t, custom_area, 24, udp_ctrl_cam_area_temp_t),
    FIELD(udp_ctrl_cam_temp_bar_range_t, enable, 0, u8),
    FIELD(udp_ctrl_cam_temp_bar_range_t, max_temp, 1, s16),
    FIELD(udp_ctrl_cam_temp_bar_range_t, min_temp, 3, s16),
    FIELD(udp_ctrl_cam_photo_mode_t, capture_mode, 0, u8),
    FIELD(udp_ctrl_cam_photo_mode_t, photo_amount, 1, u16),
    FIELD(udp_ctrl_cam_photo_mode_t, ev_step, 3, udp_ctrl_cam_ev_t),
    FIELD(udp_ctrl_cam_photo_mode_t, interval_ms, 5, u32),
    FIELD(udp_ctrl_cam_photo_mode_t, reserved, 9, u8[2]),
    FIELD(udp_ctrl_cam_request_list_t, cam_mode, 0, u8),
    FIELD(udp_ctrl_cam_request_list_t, ev, 1, u16),
    FIELD(udp_ctrl_cam_request_list_t, shutter, 3, u16),
    FIELD(udp_ctrl_cam_request_list_t, iso, 5, u16),
    FIELD(udp_ctrl_cam_request_list_t, dzoom, 7, u32),
    FIELD(udp_ctrl_cam_request_list_t, zoom, 11, float),
    FIELD(udp_ctrl_cam_request_list_t, iris, 15, u16),
    FIELD(udp_ctrl_cam_request_list_t, osd_status, 17, u8),
    FIELD(udp_ctrl_cam_request_list_t, focus_mode, 18, u8),
    FIELD(udp_ctrl_cam_request_list_t, defog_level, 19, u8),
    FIELD(udp_ctrl_cam_request_list_t, flicker_mode, 20, u8),
    FIELD(udp_ctrl_cam_request_list_t, ae_mode, 21, u8),
    FIELD(udp_ctrl_cam_request_list_t, meter_mode, 22, u8),
    FIELD(udp_ctrl_cam_request_list_t, spot_coords_ratio, 23, udp_ctrl_cam_coords_ratio_t),
    FIELD(udp_ctrl_cam_request_list_t, video_res, 25, udp_ctrl_video_t),
    FIELD(udp_ctrl_cam_request_list_t, wb, 34, u8),
    FIELD(udp_ctrl_cam_request_list_t, recording_time_s, 35, u32),
    FIELD(udp_ctrl_cam_request_list_t, available_kib, 39, u32),
    FIELD(udp_ctrl_cam_request_list_t, camera_status, 43, u8),
    FIELD(udp_ctrl_cam_request_list_t, sdcard_storage_t, 44, udp_ctrl_cam_sdcard_storage_t[2]),
    FIELD(udp_ctrl_cam_digital_zoom_params_t, zoom, 0, u32),
    FIELD(udp_ctrl_cam_digital_zoom_params_t, xCenter, 4, u32),
    FIELD(udp_ctrl_cam_digital_zoom_params_t, yCenter, 8, u32),
    FIELD(udp_ctrl_sdcard_support_info_t, oemid, 0, u16),
    FIELD(udp_ctrl_sdcard_support_info_t, manufacturerID, 2, u8),
    FIELD(udp_ctrl_sdcard_support_info_t, is_support, 3, u8),
    FIELD(vlm_camera_pn_info_t, cameraSN, 0, u32),
    FIELD(vlm_camera_pn_info_t, ver_major, 4, u32),
    FIELD(vlm_camera_pn_info_t, ver_minor, 8, u32),
    FIELD(vlm_camera_pn_info_t, ver_patch, 12, u32),
    FIELD(vlm_camera_pn_info_t, resolution, 16, u16),
    FIELD(vlm_camera_pn_info_t, frameRate, 18, u8),
    FIELD(vlm_camera_pn_info_t, grade, 19, u8),
    FIELD(vlm_camera_pn_info_t, lenCoating, 20, u8),
    FIELD(vlm_camera_pn_info_t, HFOV, 21, u8),
    FIELD(vlm_camera_pn_info_t, fpa_temp_x10, 22, s16),
    FIELD(vlm_camera_pn_info_t, focalLength, 24, u16),
    FIELD(vlm_camera_pn_info_t, aperture, 26, u16),
    FIELD(vlm_camera_pn_info_t, DFOV, 28, u16),
    FIELD(vlm_camera_pn_info_t, cali_status, 30, u16),
    FIELD(vlm_camera_pn_info_t, cali_ver, 32, u16),
    FIELD(vlm_camera_pn_info_t, reserved, 34, u16[16]),
    FIELD(lepton_env_temp_t, enable, 0, s32),
    FIELD(lepton_env_temp_t, env_temp_x10, 4, s16),
    FIELD(vlm_thermal_dewarp_t, enabled, 0, u8),
    FIELD(vlm_thermal_dewarp_t, strength, 1, u32),
    FIELD(vlm_radiometric_point_settings_t, enable, 0, s32),
    FIELD(vlm_radiometric_point_settings_t, x, 4, u16),
    FIELD(vlm_radiometric_point_settings_t, y, 6, u16),
    FIELD(vlm_radiometric_area_coordinate_t, start_x, 0, u16),
    FIELD(vlm_radiometric_area_coordinate_t, start_y, 2, u16),
    FIELD(vlm_radiometric_area_coordinate_t, end_x, 4, u16),
    FIELD(vlm_radiometric_area_coordinate_t, end_y, 6, u16),
    FIELD(vlm_radiometric_area_settings_t, enable, 0, s32),
    FIELD(vlm_radiometric_area_settings_t, area, 4, vlm_radiometric_area_coordinate_t),
    FIELD(vlm_SSO_setting_t, SSO_value, 0, s8),
    FIELD(vlm_ACE_setting_t, ACE_value, 0, s16),
    FIELD(vlm_DDE_setting_t, DDE_value, 0, s16),
    FIELD(vlm_second_stream_resolution_t, width, 0, u32),
    FIELD(vlm_second_stream_resolution_t, height, 4, u32),
    FIELD(vlm_stream_prop_t, stream_id, 0, u32),
    FIELD(vlm_stream_prop_t, enable_mask, 4, u32),
    FIELD(vlm_stream_prop_t, bitrate, 8, u32),
    FIELD(vlm_stream_prop_t, res, 12, vlm_res_t),
    FIELD(vlm_stream_prop_t, fps, 16, u32),
    FIELD(storage_bitmap_t, slots, 0, u8),
    FIELD(storage_bitmap_t, storages, 1, u8),
};
// clang-format on

TEST(PayloadRecords, HaveTheirSizes) {
  for (const Size& size : kSizes) EXPECT_EQ(size.actual, size.expected) << size.record;
}

TEST(PayloadFields, StandAtTheirOffsetsInTheirTypes) {
  for (const Field& field : kFields) {
    EXPECT_EQ(field.actual_offset, field.expected_offset) << field.record << "::" << field.name;
    EXPECT_TRUE(field.has_its_type) << field.record << "::" << field.name;
  }
}

TEST(PayloadFields, FillTheirRecordsWithoutGaps) {
  std::map<std::string, std::size_t> ends;
  for (const Field& field : kFields) {
    EXPECT_EQ(field.expected_offset, ends[field.record]) << field.record << "::" << field.name;
    ends[field.record] += field.size;
  }
  ends["vlm_res_t"] = ends["udp_ctrl_cam_res_t"];
  for (const Size& size : kSizes) EXPECT_EQ(ends[size.record], size.expected) << size.record;
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
