// The fields of the catalogue's groups, in the order of their records, every byte accounted for,
// and the parameters of actions and readings.
#ifndef VLM_CATALOGUE_FIELDS_H
#define VLM_CATALOGUE_FIELDS_H

#include "catalogue_build.h"
#include "catalogue_choices.h"

namespace vlm::catalogue {

/// Whether `fields` fill a record of `size` bytes without gap or overlap.
constexpr bool fill(List<Field> fields, std::size_t size) {
  std::size_t next = 0;
  for (const Field& field : fields) {
    if (field.offset != next) return false;
    next += field.width;
  }
  return next == size;
}

/// Reserved bytes.
constexpr NewField reserved(std::size_t place, std::size_t width) {
  return bytes("", width).at(place).fixed();
}

// Exposure and colour.

/// The time in seconds as a fraction.
inline constexpr Field kExposure[] = {
    number<u8>("").at(offsetof(udp_ctrl_cam_shutter_iso_t, auto_enable)).fixed(),
    ratio<u16>("shutter")
        .at(offsetof(udp_ctrl_cam_shutter_iso_t, sht_num))
        .in("s")
        .from(1, 65535)
        .starts(1 + 100 * 65536.0)
        .tells("Exposure time"),
    number<u32>("iso")
        .at(offsetof(udp_ctrl_cam_shutter_iso_t, iso))
        .from(0, 65535)
        .starts(100)
        .refuses(VLM_ERR_IS_INVALID_ISO)
        .tells("Sensitivity"),
};
static_assert(fill(kExposure, sizeof(udp_ctrl_cam_shutter_iso_t)));

inline constexpr Field kSpot[] = {
    number<u8>("x")
        .at(offsetof(udp_ctrl_cam_coords_ratio_t, x_ratio))
        .in("%")
        .from(0, 100)
        .starts(50)
        .tells("Of the width"),
    number<u8>("y")
        .at(offsetof(udp_ctrl_cam_coords_ratio_t, y_ratio))
        .in("%")
        .from(0, 100)
        .starts(50)
        .tells("Of the height"),
};
static_assert(fill(kSpot, sizeof(udp_ctrl_cam_coords_ratio_t)));

// Pictures and video.

inline constexpr Field kPhoto[] = {
    choice<u8>("mode", kPhotoModes)
        .at(offsetof(udp_ctrl_cam_photo_mode_t, capture_mode))
        .tells("What one capture takes"),
    number<u16>("count")
        .at(offsetof(udp_ctrl_cam_photo_mode_t, photo_amount))
        .tells("Pictures of a burst (1 to 100) or a bracket (3, 5, 7 or 9)"),
    ratio<s8>("ev_step")
        .at(offsetof(udp_ctrl_cam_photo_mode_t, ev_step))
        .in("EV")
        .tells("Between the pictures of a bracket"),
    number<u32>("interval")
        .at(offsetof(udp_ctrl_cam_photo_mode_t, interval_ms))
        .in("ms")
        .tells("Between pictures; of single ones, makes a time lapse of them"),
    reserved(offsetof(udp_ctrl_cam_photo_mode_t, reserved), 2),
};
static_assert(fill(kPhoto, sizeof(udp_ctrl_cam_photo_mode_t)));

inline constexpr Field kVideo[] = {
    number<u16>("width")
        .at(offsetof(udp_ctrl_video_t, res) + offsetof(udp_ctrl_cam_res_t, w))
        .in("px")
        .from(1, 4096)
        .starts(1920),
    number<u16>("height")
        .at(offsetof(udp_ctrl_video_t, res) + offsetof(udp_ctrl_cam_res_t, h))
        .in("px")
        .from(1, 2160)
        .starts(1080),
    number<u8>("fps").at(offsetof(udp_ctrl_video_t, fps)).in("1/s").from(1, 120).starts(30),
    // Chosen by size and rate.
    number<s32>("").at(offsetof(udp_ctrl_video_t, res_index)).fixed(-1),
};
static_assert(fill(kVideo, sizeof(udp_ctrl_video_t)));

// Bits of `vlm_stream_prop_t::enable_mask`.
constexpr u32 kSelectsBitrate = 1;
constexpr u32 kSelectsSize = 2;
constexpr u32 kSelectsFps = 4;
constexpr u32 kSelectsAll = kSelectsBitrate | kSelectsSize | kSelectsFps;

constexpr NewField stream_id(u32 stream) {
  return number<u32>("").at(offsetof(vlm_stream_prop_t, stream_id)).fixed(stream);
}
constexpr NewField stream_mask() {
  return number<u32>("")
      .at(offsetof(vlm_stream_prop_t, enable_mask))
      .fixed(kSelectsAll)
      .flagged(kMask);
}
constexpr NewField stream_bitrate(u32 initial) {
  return number<u32>("bitrate")
      .at(offsetof(vlm_stream_prop_t, bitrate))
      .in("bit/s")
      .from(1, 4294967295.0)
      .starts(initial)
      .selected_by(kSelectsBitrate);
}
constexpr NewField stream_width(u16 initial) {
  return number<u16>("width")
      .at(offsetof(vlm_stream_prop_t, res) + offsetof(vlm_res_t, w))
      .in("px")
      .from(1, 65535)
      .starts(initial)
      .selected_by(kSelectsSize)
      .refuses(VLM_ERR_UNSUPPORTED_VFMT);
}
constexpr NewField stream_height(u16 initial) {
  return number<u16>("height")
      .at(offsetof(vlm_stream_prop_t, res) + offsetof(vlm_res_t, h))
      .in("px")
      .from(1, 65535)
      .starts(initial)
      .selected_by(kSelectsSize)
      .refuses(VLM_ERR_UNSUPPORTED_VFMT);
}
constexpr NewField stream_fps() {
  return number<u32>("fps")
      .at(offsetof(vlm_stream_prop_t, fps))
      .in("1/s")
      .from(1, 4294967295.0)
      .starts(30)
      .selected_by(kSelectsFps);
}

inline constexpr Field kMainStream[] = {
    stream_id(0),       stream_mask(),       stream_bitrate(16000000),
    stream_width(1920), stream_height(1080), stream_fps()};
inline constexpr Field kSecondStream[] = {
    stream_id(1),       stream_mask(),      stream_bitrate(2000000),
    stream_width(1280), stream_height(720), stream_fps()};
static_assert(fill(kMainStream, sizeof(vlm_stream_prop_t)));
static_assert(fill(kSecondStream, sizeof(vlm_stream_prop_t)));

inline constexpr Field kSecondStreamSize[] = {
    number<u32>("width")
        .at(offsetof(vlm_second_stream_resolution_t, width))
        .in("px")
        .from(1, 65535)
        .starts(1280),
    number<u32>("height")
        .at(offsetof(vlm_second_stream_resolution_t, height))
        .in("px")
        .from(1, 65535)
        .starts(720),
};
static_assert(fill(kSecondStreamSize, sizeof(vlm_second_stream_resolution_t)));

// Which stream is asked for.
inline constexpr Field kAskMainStream[] = {number<u32>("").fixed(0)};
inline constexpr Field kAskSecondStream[] = {number<u32>("").fixed(1)};

// The camera.

inline constexpr Field kVersion[] = {
    text("module", 8).tells("Model"),
    number<u8>("major").at(8),
    number<u8>("minor").at(9),
    number<u8>("patch").at(10),
    text("branch", 1).at(11).tells("A letter"),
};
static_assert(fill(kVersion, sizeof(char[8]) + sizeof(u32)));

constexpr std::size_t snapshot_spot(std::size_t place) {
  return offsetof(udp_ctrl_cam_request_list_t, spot_coords_ratio) + place;
}
constexpr std::size_t snapshot_video(std::size_t place) {
  return offsetof(udp_ctrl_cam_request_list_t, video_res) + place;
}
constexpr std::size_t snapshot_slot(std::size_t slot, std::size_t place) {
  return offsetof(udp_ctrl_cam_request_list_t, sdcard_storage_t) +
         slot * sizeof(udp_ctrl_cam_sdcard_storage_t) + place;
}

inline constexpr Field kSnapshot[] = {
    choice<u8>("mode", kCameraModes).at(offsetof(udp_ctrl_cam_request_list_t, cam_mode)),
    ratio<s8>("ev").at(offsetof(udp_ctrl_cam_request_list_t, ev)).in("EV"),
    number<u16>("shutter_code").at(offsetof(udp_ctrl_cam_request_list_t, shutter)),
    number<u16>("iso_code").at(offsetof(udp_ctrl_cam_request_list_t, iso)),
    number<u32>("digital_zoom").at(offsetof(udp_ctrl_cam_request_list_t, dzoom)),
    number<float>("zoom").at(offsetof(udp_ctrl_cam_request_list_t, zoom)).in("x"),
    choice<u16>("iris", kIrises).at(offsetof(udp_ctrl_cam_request_list_t, iris)),
    on_off<u8>("osd").at(offsetof(udp_ctrl_cam_request_list_t, osd_status)),
    choice<u8>("focus_mode", kFocusModes).at(offsetof(udp_ctrl_cam_request_list_t, focus_mode)),
    choice<u8>("defog_level", kLevels).at(offsetof(udp_ctrl_cam_request_list_t, defog_level)),
    choice<u8>("flicker", kFlickerModes).at(offsetof(udp_ctrl_cam_request_list_t, flicker_mode)),
    choice<u8>("exposure_mode", kExposureModes).at(offsetof(udp_ctrl_cam_request_list_t, ae_mode)),
    choice<u8>("metering_mode", kMeteringModes)
        .at(offsetof(udp_ctrl_cam_request_list_t, meter_mode)),
    number<u8>("spot_x").at(snapshot_spot(offsetof(udp_ctrl_cam_coords_ratio_t, x_ratio))).in("%"),
    number<u8>("spot_y").at(snapshot_spot(offsetof(udp_ctrl_cam_coords_ratio_t, y_ratio))).in("%"),
    number<u16>("video_width").at(snapshot_video(0)).in("px"),
    number<u16>("video_height").at(snapshot_video(2)).in("px"),
    number<u8>("video_fps").at(snapshot_video(offsetof(udp_ctrl_video_t, fps))).in("1/s"),
    number<s32>("video_index").at(snapshot_video(offsetof(udp_ctrl_video_t, res_index))),
    choice<u8>("white_balance", kWhiteBalances).at(offsetof(udp_ctrl_cam_request_list_t, wb)),
    number<u32>("recording_time")
        .at(offsetof(udp_ctrl_cam_request_list_t, recording_time_s))
        .in("s")
        .flagged(kVolatile),
    number<u32>("storage_free")
        .at(offsetof(udp_ctrl_cam_request_list_t, available_kib))
        .in("KiB")
        .flagged(kVolatile),
    choice<u8>("status", kCameraStatuses)
        .at(offsetof(udp_ctrl_cam_request_list_t, camera_status))
        .flagged(kVolatile),
    choice<u8>("slot_0.id", kSlots).at(snapshot_slot(0, 0)),
    number<u8>("slot_0.slave").at(snapshot_slot(0, 1)),
    choice<u8>("slot_0.status", kStorageStatuses).at(snapshot_slot(0, 2)).flagged(kVolatile),
    number<u32>("slot_0.free").at(snapshot_slot(0, 3)).in("KiB").flagged(kVolatile),
    number<u32>("slot_0.total").at(snapshot_slot(0, 7)).in("KiB").flagged(kVolatile),
    number<u8>("slot_0.slots").at(snapshot_slot(0, 11)),
    number<u8>("slot_0.storages").at(snapshot_slot(0, 12)).flagged(kVolatile),
    choice<u8>("slot_1.id", kSlots).at(snapshot_slot(1, 0)),
    number<u8>("slot_1.slave").at(snapshot_slot(1, 1)),
    choice<u8>("slot_1.status", kStorageStatuses).at(snapshot_slot(1, 2)).flagged(kVolatile),
    number<u32>("slot_1.free").at(snapshot_slot(1, 3)).in("KiB").flagged(kVolatile),
    number<u32>("slot_1.total").at(snapshot_slot(1, 7)).in("KiB").flagged(kVolatile),
    number<u8>("slot_1.slots").at(snapshot_slot(1, 11)),
    number<u8>("slot_1.storages").at(snapshot_slot(1, 12)).flagged(kVolatile),
};
static_assert(fill(kSnapshot, sizeof(udp_ctrl_cam_request_list_t)));

inline constexpr Field kAskProperty[] = {
    text("name", 128).from(1, 127).tells("Without an equals sign"),
};
inline constexpr Field kAssignProperty[] = {
    text("assignment", 128).from(2, 127).tells("name=value; an empty value unsets it"),
};

// Lens.

inline constexpr Field kDriveZoom[] = {choice<u32>("direction", kZoomDrives)};
inline constexpr Field kDriveFocus[] = {choice<u32>("direction", kFocusDrives)};

// Storage.

inline constexpr Field kStorage[] = {
    choice<u8>("slot", kSlots).at(offsetof(udp_ctrl_cam_sdcard_storage_t, storage_id)),
    number<u8>("slave").at(offsetof(udp_ctrl_cam_sdcard_storage_t, slave_storage)),
    choice<u8>("status", kStorageStatuses).at(offsetof(udp_ctrl_cam_sdcard_storage_t, status)),
    number<u32>("free")
        .at(offsetof(udp_ctrl_cam_sdcard_storage_t, available_capacity))
        .in("KiB")
        .tells("Space left"),
    number<u32>("total")
        .at(offsetof(udp_ctrl_cam_sdcard_storage_t, total_capacity))
        .in("KiB")
        .tells("Size of the card"),
    number<u8>("slots")
        .at(offsetof(udp_ctrl_cam_sdcard_storage_t, storage_bitmap) +
            offsetof(storage_bitmap_t, slots))
        .tells("A bit for each slot"),
    number<u8>("storages")
        .at(offsetof(udp_ctrl_cam_sdcard_storage_t, storage_bitmap) +
            offsetof(storage_bitmap_t, storages))
        .tells("A bit for each card that is ready"),
};
static_assert(fill(kStorage, sizeof(udp_ctrl_cam_sdcard_storage_t)));

inline constexpr Field kAskSlot[] = {choice<u8>("slot", kQueriedSlots).starts(255).open()};
inline constexpr Field kFormatSlot[] = {choice<u8>("slot", kFormattedSlots).starts(-1)};

inline constexpr Field kFolder[] = {
    on_off<u8>("enabled").at(offsetof(udp_ctrl_cam_media_folder_t, enable_flag)).open(),
    text("name", sizeof(udp_ctrl_cam_media_folder_t::folder))
        .at(offsetof(udp_ctrl_cam_media_folder_t, folder))
        .starts("101")
        .tells("Prefix of the folder, 101 to 999"),
};
static_assert(fill(kFolder, sizeof(udp_ctrl_cam_media_folder_t)));

inline constexpr Field kCard[] = {
    number<u16>("speed").at(offsetof(udp_ctrl_cam_t_card_attribute_t, speed_mbps)).in("mbps"),
    choice<u8>("level", kSpeedLevels).at(offsetof(udp_ctrl_cam_t_card_attribute_t, level)),
    choice<u8>("space", kSpaces).at(offsetof(udp_ctrl_cam_t_card_attribute_t, space_state)),
    reserved(offsetof(udp_ctrl_cam_t_card_attribute_t, reserved), 16),
};
static_assert(fill(kCard, sizeof(udp_ctrl_cam_t_card_attribute_t)));

inline constexpr Field kMaker[] = {
    number<u16>("oem").at(offsetof(udp_ctrl_sdcard_support_info_t, oemid)),
    number<u8>("manufacturer").at(offsetof(udp_ctrl_sdcard_support_info_t, manufacturerID)),
    on_off<u8>("supported").at(offsetof(udp_ctrl_sdcard_support_info_t, is_support)),
};
static_assert(fill(kMaker, sizeof(udp_ctrl_sdcard_support_info_t)));

// Thermal sensor.

inline constexpr Field kInterval[] = {
    number<u32>("interval").in("s").from(1, 4294967295.0).tells("Between pictures"),
};

inline constexpr Field kAir[] = {
    on_off<u8>("enabled").at(offsetof(udp_ctrl_cam_air_params_t, enable)).open(),
    number<u8>("emissivity")
        .at(offsetof(udp_ctrl_cam_air_params_t, scene_emissivity))
        .in("%")
        .from(0, 100)
        .starts(95)
        .tells("Of the scene"),
    number<u8>("conversion_ratio")
        .at(offsetof(udp_ctrl_cam_air_params_t, conversion_ratio))
        .starts(100),
    number<s16>("temperature")
        .at(offsetof(udp_ctrl_cam_air_params_t, atmosphere_temperature))
        .starts(25)
        .tells("Of the atmosphere"),
};
static_assert(fill(kAir, sizeof(udp_ctrl_cam_air_params_t)));

inline constexpr Field kTemperatureBar[] = {
    on_off<u8>("enabled").at(offsetof(udp_ctrl_cam_temp_bar_range_t, enable)).open(),
    number<s16>("max").at(offsetof(udp_ctrl_cam_temp_bar_range_t, max_temp)).starts(100),
    number<s16>("min").at(offsetof(udp_ctrl_cam_temp_bar_range_t, min_temp)),
};
static_assert(fill(kTemperatureBar, sizeof(udp_ctrl_cam_temp_bar_range_t)));

inline constexpr Field kPoint[] = {
    on_off<s32>("enabled").at(offsetof(vlm_radiometric_point_settings_t, enable)).open(),
    number<u16>("x").at(offsetof(vlm_radiometric_point_settings_t, x)).in("px"),
    number<u16>("y").at(offsetof(vlm_radiometric_point_settings_t, y)).in("px"),
};
static_assert(fill(kPoint, sizeof(vlm_radiometric_point_settings_t)));

constexpr NewField coordinate(const char* name, std::size_t place) {
  return number<u16>(name).at(place).in("px");
}

inline constexpr Field kRoi[] = {
    coordinate("start_x", offsetof(vlm_radiometric_area_coordinate_t, start_x)),
    coordinate("start_y", offsetof(vlm_radiometric_area_coordinate_t, start_y)),
    coordinate("end_x", offsetof(vlm_radiometric_area_coordinate_t, end_x)),
    coordinate("end_y", offsetof(vlm_radiometric_area_coordinate_t, end_y)),
};
static_assert(fill(kRoi, sizeof(vlm_radiometric_area_coordinate_t)));

constexpr std::size_t area_place(std::size_t place) {
  return offsetof(vlm_radiometric_area_settings_t, area) + place;
}

inline constexpr Field kArea[] = {
    on_off<s32>("enabled").at(offsetof(vlm_radiometric_area_settings_t, enable)).open(),
    coordinate("start_x", area_place(offsetof(vlm_radiometric_area_coordinate_t, start_x))),
    coordinate("start_y", area_place(offsetof(vlm_radiometric_area_coordinate_t, start_y))),
    coordinate("end_x", area_place(offsetof(vlm_radiometric_area_coordinate_t, end_x))),
    coordinate("end_y", area_place(offsetof(vlm_radiometric_area_coordinate_t, end_y))),
};
static_assert(fill(kArea, sizeof(vlm_radiometric_area_settings_t)));

inline constexpr Field kThermalZoom[] = {
    number<u32>("zoom").at(offsetof(udp_ctrl_cam_digital_zoom_params_t, zoom)).starts(10),
    number<u32>("x").at(offsetof(udp_ctrl_cam_digital_zoom_params_t, xCenter)).in("px"),
    number<u32>("y").at(offsetof(udp_ctrl_cam_digital_zoom_params_t, yCenter)).in("px"),
};
static_assert(fill(kThermalZoom, sizeof(udp_ctrl_cam_digital_zoom_params_t)));

inline constexpr Field kEnvironment[] = {
    on_off<s32>("enabled").at(offsetof(lepton_env_temp_t, enable)).open(),
    number<s16>("temperature").at(offsetof(lepton_env_temp_t, env_temp_x10)).in("degC", 10),
};
static_assert(fill(kEnvironment, sizeof(lepton_env_temp_t)));

inline constexpr Field kThermalDewarp[] = {
    on_off<u8>("enabled").at(offsetof(vlm_thermal_dewarp_t, enabled)),
    number<u32>("strength").at(offsetof(vlm_thermal_dewarp_t, strength)),
};
static_assert(fill(kThermalDewarp, sizeof(vlm_thermal_dewarp_t)));

constexpr NewField temperature(const char* name, std::size_t place) {
  return number<s32>(name).at(place);
}
constexpr std::size_t whole_place(std::size_t place) {
  return offsetof(udp_ctrl_cam_lepton_area_temp_t, all_area) + place;
}
constexpr std::size_t custom_place(std::size_t place) {
  return offsetof(udp_ctrl_cam_lepton_area_temp_t, custom_area) + place;
}

inline constexpr Field kTemperatures[] = {
    temperature("locked_max", offsetof(udp_ctrl_cam_lepton_area_temp_t, locked_max_temp)),
    temperature("locked_min", offsetof(udp_ctrl_cam_lepton_area_temp_t, locked_min_temp)),
    temperature("all.center", whole_place(offsetof(udp_ctrl_cam_area_temp_t, center_val))),
    temperature("all.max", whole_place(offsetof(udp_ctrl_cam_area_temp_t, max_val))),
    temperature("all.min", whole_place(offsetof(udp_ctrl_cam_area_temp_t, min_val))),
    temperature("all.average", whole_place(offsetof(udp_ctrl_cam_area_temp_t, avg_val))),
    temperature("area.center", custom_place(offsetof(udp_ctrl_cam_area_temp_t, center_val))),
    temperature("area.max", custom_place(offsetof(udp_ctrl_cam_area_temp_t, max_val))),
    temperature("area.min", custom_place(offsetof(udp_ctrl_cam_area_temp_t, min_val))),
    temperature("area.average", custom_place(offsetof(udp_ctrl_cam_area_temp_t, avg_val))),
};
static_assert(fill(kTemperatures, sizeof(udp_ctrl_cam_lepton_area_temp_t)));

inline constexpr Field kSensor[] = {
    number<u32>("serial").at(offsetof(vlm_camera_pn_info_t, cameraSN)),
    number<u32>("version_major").at(offsetof(vlm_camera_pn_info_t, ver_major)),
    number<u32>("version_minor").at(offsetof(vlm_camera_pn_info_t, ver_minor)),
    number<u32>("version_patch").at(offsetof(vlm_camera_pn_info_t, ver_patch)),
    number<u16>("resolution").at(offsetof(vlm_camera_pn_info_t, resolution)),
    number<u8>("frame_rate").at(offsetof(vlm_camera_pn_info_t, frameRate)),
    number<u8>("grade").at(offsetof(vlm_camera_pn_info_t, grade)),
    number<u8>("lens_coating").at(offsetof(vlm_camera_pn_info_t, lenCoating)),
    number<u8>("horizontal_view").at(offsetof(vlm_camera_pn_info_t, HFOV)),
    number<s16>("temperature")
        .at(offsetof(vlm_camera_pn_info_t, fpa_temp_x10))
        .in("degC", 10)
        .flagged(kVolatile)
        .tells("Of the focal plane"),
    number<u16>("focal_length").at(offsetof(vlm_camera_pn_info_t, focalLength)),
    number<u16>("aperture").at(offsetof(vlm_camera_pn_info_t, aperture)),
    number<u16>("diagonal_view").at(offsetof(vlm_camera_pn_info_t, DFOV)),
    number<u16>("calibration_status").at(offsetof(vlm_camera_pn_info_t, cali_status)),
    number<u16>("calibration_version").at(offsetof(vlm_camera_pn_info_t, cali_ver)),
    reserved(offsetof(vlm_camera_pn_info_t, reserved), 32),
};
static_assert(fill(kSensor, sizeof(vlm_camera_pn_info_t)));

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_FIELDS_H
