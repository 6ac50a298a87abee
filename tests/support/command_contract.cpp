#include "command_contract.h"

#include <algorithm>
#include <utility>

#include "lcm_request.h"

namespace {

using Data = LcmRequest::Data;

// A macro, since only it can name a member for offsetof.
#define FIELD(field) #field, offsetof(Data, field), sizeof(Data::field)

ReplyContract stores(std::vector<StoredBytes> stored) {
  return {ReplyContract::kStores, std::move(stored)};
}
ReplyContract computes() { return {ReplyContract::kComputes}; }
ReplyContract stores_nothing() { return {ReplyContract::kStoresNothing}; }
ReplyContract unknown() { return {ReplyContract::kUnknown}; }

ConsoleContract of_kind(ConsoleContract::Kind kind) {
  ConsoleContract console{};
  console.kind = kind;
  return console;
}
ConsoleContract absent() { return of_kind(ConsoleContract::kAbsent).unlisted(); }
ConsoleContract listed() { return of_kind(ConsoleContract::kListed); }
ConsoleContract runs() { return of_kind(ConsoleContract::kRuns); }

ConsoleContract shows(const char* operation, std::string done = "", std::string failed = "") {
  ConsoleContract console = of_kind(ConsoleContract::kShows);
  console.operation = operation;
  console.done = std::move(done);
  console.failed = std::move(failed);
  return console;
}

ConsoleContract sets(const char* conversion, const char* operation, std::string before = "",
                     std::string done = "", std::string failed = "") {
  ConsoleContract console = of_kind(ConsoleContract::kSets);
  console.conversion = conversion;
  console.operation = operation;
  console.before = std::move(before);
  console.done = std::move(done);
  console.failed = std::move(failed);
  return console;
}

}  // namespace

ConsoleContract& ConsoleContract::unlisted() {
  listed = false;
  return *this;
}

ConsoleContract& ConsoleContract::goes_on_with(udp_ctrl_cam_cmds code) {
  next = code;
  return *this;
}

const std::vector<CommandContract>& command_contract() {
  static const std::vector<CommandContract> rows{
      {0, UDP_CTRL_CAM_GET_ALL_REQUEST, "GET_ALL_REQUEST", stores({{FIELD(request_list), 0, 69}}),
       shows("get_all_request_list",
             "cam_mode = 17\nwb = 51\nae_mode = 38\nx_ratio = 40, y_ratio = 41\n"
             "fps = 46, video_resolution_h = 11050,video_resolution_v = 11564\n"
             "recording_time_s = 926299444 s\navailable_mib = 970382.31 MB\n"
             "camera_status = 1\n")},
      {1, UDP_CTRL_CAM_GET_CAMERA_MODE, "GET_CAMERA_MODE", stores({{FIELD(cam_mode), 0, 0}}),
       shows("get_camera_mode", "camera_mode = 183(1:video,2:photo)\n")},
      {2, UDP_CTRL_CAM_SET_CAMERA_MODE, "SET_CAMERA_MODE", stores_nothing(),
       sets("%3hhd", "set_camera_mode", "", "succeeded in setting camera mode to %d\n",
            "failed to set camera mode, error = %d\n")},
      {3, UDP_CTRL_CAM_TAKE_PHOTO, "TAKE_PHOTO", stores_nothing(),
       shows("send_capture_cmd", "succeeded in taking a photo!\n",
             "failed to take a photo, erorr=0x%02x (%d).\n")},
      {4, UDP_CTRL_CAM_START_RECORD, "START_RECORD", stores_nothing(),
       shows("send_start_video_cmd")},
      {5, UDP_CTRL_CAM_STOP_RECORD, "STOP_RECORD", stores_nothing(), shows("send_stop_video_cmd")},
      {6, UDP_CTRL_CAM_GET_CAMERA_STATUS, "GET_CAMERA_STATUS",
       stores({{FIELD(video_status), 0, 0}}),
       shows("get_camera_status", "video_status = 1 (0:idle,1:recording,2:capturing)\n")},
      {7, UDP_CTRL_CAM_GET_AE_MODE, "GET_AE", stores({{FIELD(ae_mode), 0, 0}}),
       shows("get_camera_ae", "GET_AE_MODE:183(0:auto;1:manual)\n")},
      {8, UDP_CTRL_CAM_SET_AE_MODE, "SET_AE", stores_nothing(), sets("%3hhd", "set_camera_ae")},
      {9, UDP_CTRL_CAM_GET_PARAMS_EV, "GET_EV", stores({{FIELD(ev_value), 0, 1}}),
       shows("get_camera_ev", "GET_PARAMS_EV:value=beef;\n")},
      {10, UDP_CTRL_CAM_SET_PARAMS_EV, "SET_EV", stores_nothing(), sets("%hd", "set_camera_ev")},
      {11, UDP_CTRL_CAM_GET_SHUTTER_ISO, "GET_SHUTTER_ISO", computes(),
       shows("get_shutter_iso", "shutter_s = 0.01, iso_value = 200.00\n",
             "shutter_s = 0.00, iso_value = 0.00\n")},
      {12, UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO, "SET_SHUTTER_ISO", stores_nothing(), runs()},
      {13, UDP_CTRL_CAM_GET_WB_MODE, "GET_WB", stores({{FIELD(wb_mode), 0, 0}}),
       shows("get_wb_mode",
             "wb = 183(0:AUTO,1:INCANDESCENT,2:SUNRISE,3:SUNSET,4:SUNNY,5:CLOUDY,\n"
             "        7:FLUORESCENT,99:LOCK,100:CUSTOM)\n")},
      {14, UDP_CTRL_CAM_SET_PARAMS_WB, "SET_WB", stores_nothing(), sets("%3hhd", "send_wb_cmd")},
      {15, UDP_CTRL_CAM_GET_PARAMS_VIDEO, "GET_VIDEO_RES",
       stores({{FIELD(video_resolution_h), 0, 1},
               {FIELD(video_resolution_v), 2, 3},
               {FIELD(video_fps), 4, 4}}),
       shows("get_video_params", "video_h = 1920,video_v = 1080,video_fps = 60\n",
             "video_h = 0,video_v = 0,video_fps = 0\n")},
      {16, UDP_CTRL_CAM_SET_PARAMS_VIDEO, "SET_VIDEO_RES", stores_nothing(), runs()},
      {17, UDP_CTRL_CAM_GET_METER_MODE, "GET_METER_MODE", stores({{FIELD(meter_mode), 0, 0}}),
       shows("get_meter_mode",
             "meter_mode = 183(0:Center,1:Average,2:Spot,3:Partial,4:Evalnative)")},
      {18, UDP_CTRL_CAM_SET_METER_MODE, "SET_METER_MODE", stores_nothing(),
       sets("%3hhd", "set_meter_mode")},
      {19, UDP_CTRL_CAM_GET_FLICKER_MODE, "GET_FLICKER_MODE", stores({{FIELD(flicker_mode), 0, 0}}),
       shows("get_flicker_mode", "flicker_mode = 183(0:off,1:on)\n")},
      {20, UDP_CTRL_CAM_SET_FLICKER_MODE, "SET_FLICKER_MODE", stores_nothing(),
       sets("%3hhd", "set_flicker_mode")},
      {21, UDP_CTRL_CAM_GET_COLOR_MODE, "GET_COLOR_MODE", stores({{FIELD(color_mode), 0, 0}}),
       shows("get_color_mode", "color_mode = 183(0:nature,1:saturation,2:raw,3:night,5:vivid)\n")},
      {22, UDP_CTRL_CAM_SET_COLOR_MODE, "SET_COLOR_MODE", stores_nothing(),
       sets("%3hhd", "set_color_mode")},
      {23, UDP_CTRL_CAM_GET_IMAGE_QUALITY, "GET_IMAGE_QUALITY",
       stores({{FIELD(image_quality), 0, 0}}),
       shows("get_image_quality", "image_quality = 183(0:low,1:medium,2:high,3:ultra_high)\n")},
      {24, UDP_CTRL_CAM_SET_IMAGE_QUALITY, "SET_IMAGE_QUALITY", stores_nothing(),
       sets("%3hhd", "set_image_quality")},
      {25, UDP_CTRL_CAM_GET_IMAGE_FORMAT, "GET_IMAGE_FORMAT", stores({{FIELD(image_format), 0, 0}}),
       shows("get_image_format", "image_format = 183(1:jpg,130:dng,131:jpg+dng)\n")},
      {26, UDP_CTRL_CAM_SET_IMAGE_FORMAT, "SET_IMAGE_FORMAT", stores_nothing(),
       sets("%3hhd", "set_image_format")},
      {27, UDP_CTRL_CAM_FORMAT_SDCARD, "FORMAT_SDCARD", stores_nothing(),
       sets("%3hhd", "send_format_sdcard_cmd")},
      {28, UDP_CTRL_CAM_RESET_CAMERA_SETTINGS, "RESET_CAMERA_SETTINGS", stores_nothing(),
       shows("reset_cam_settings_cmd")},
      {29, UDP_CTRL_CAM_GET_RECORDING_TIME, "GET_RECORDING_TIME",
       stores({{FIELD(recording_time), 0, 3}}),
       shows("get_recording_time", "recording_time_s = 305419896 s\n")},
      {30, UDP_CTRL_CAM_GET_SDCARD_STORAGE, "GET_SDCARD_STORAGE",
       stores({{FIELD(storage_info), 0, 12}}),
       shows("get_sdcard_storage",
             "storage 241: available_kib = 4160157172 KB,total_kib = 4227529208 KB\n")},
      {31, UDP_CTRL_CAM_GET_CAMERA_VERSION, "GET_CAMERA_VERSION",
       stores({{FIELD(camera_version), 8, 11}}),
       shows("get_camera_version", "camera_version: VLMCAM_3.14.159_r\n",
             std::string("camera_version: _0.0.0_\0\n", 25))},
      {32, UDP_CTRL_CAM_SET_SYS_TIME, "SET_SYSTEM_TIME", stores_nothing(),
       sets("%20llu", "set_rtos_time")},
      {33, UDP_CTRL_CAM_UPGRADE_CAMERA, "UPGRADE_CAMERA", stores_nothing(),
       shows("upgrade_camera")},
      {34, UDP_CTRL_CAM_GET_MEDIA_FOLDER, "GET_MEDIA_FOLDER",
       stores({{FIELD(enable_flag), 0, 0}, {FIELD(folder), 1, 64}}),
       shows("get_media_folder", "GET_MEDIA_FOLDER info:enable_flag=183;folder_name=101MEDIA\n")},
      {35, UDP_CTRL_CAM_SET_MEDIA_FOLDER, "SET_MEDIA_FOLDER", stores_nothing(), runs()},
      {36, UDP_CTRL_CAM_GET_SPOT_METERING_COORDS, "GET_SPOT_METERING_COORDS",
       stores({{FIELD(x_ratio), 0, 0}, {FIELD(y_ratio), 1, 1}}),
       shows("get_spot_metering_coords", "GET_SPOT_METERING_COORDS:x_ratio = 37, y_ratio = 62\n")},
      {37, UDP_CTRL_CAM_SET_SPOT_METERING_COORDS, "SET_SPOT_METERING_COORDS", stores_nothing(),
       runs()},
      {38, UDP_CTRL_CAM_TEST_T_CARD_SPEED, "TEST_T_CARD_SPEED", stores_nothing(),
       shows("test_sdcard_speed")},
      {39, UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE, "GET_T_CARD_ATTRIBUTE",
       stores({{FIELD(speed_mbps), 0, 1}, {FIELD(level), 2, 2}, {FIELD(space_state), 3, 3}}),
       shows("get_sdcard_attribute",
             "GET_T_CARD_ATTRIBUTE:\nspeed = 48879,level = 1(0:low;1:high),"
             "space_state = 2(0:available;1:no space)\n")},
      {40, UDP_CTRL_CAM_GET_SYSTEM_MODE, "GET_COLOR_ENCODING_SYSTEM",
       stores({{FIELD(system_mode), 0, 0}}),
       shows("get_color_encoding", "color_encoding_mode = 183(0:NTSC,1:PAL)\n")},
      {41, UDP_CTRL_CAM_SET_SYSTEM_MODE, "SET_COLOR_ENCODING_SYSTEM", stores_nothing(),
       sets("%3hhu", "set_color_encoding")},
      {42, UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE, "GET_VIDEO_ENCODE_MODE",
       stores({{FIELD(encode_mode), 0, 0}}),
       shows("get_video_encode_mode", "GET_VIDEO_ENCODE_MODE :183(1--H264;3--HEVC)\n")},
      {43, UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, "SET_VIDEO_ENCODE_MODE", stores_nothing(),
       sets("%3hhd", "set_video_encode_mode")},
      {44, UDP_CTRL_CAM_SET_WIFI_PASSWORD, "SET_WIFI_PASSWORD", stores_nothing(), runs()},
      {45, UDP_CTRL_CAM_REBOOT_DEVICE, "REBOOT_CAMERA", stores_nothing(), shows("reboot_camera")},
      {46, UDP_CTRL_CAM_GET_PHOTO_RATIO, "GET_PHOTO_RATIO", stores({{FIELD(photo_ratio), 0, 0}}),
       shows("get_photo_ratio", "photo_ratio = 183(4:3->2,16:9->3)\n")},
      {47, UDP_CTRL_CAM_SET_PHOTO_RATIO, "SET_PHOTO_RATIO", stores_nothing(),
       sets("%3hhu", "set_photo_ratio")},
      {48, UDP_CTRL_CAM_GET_FILE_FORMAT, "GET_FILE_FORMAT", stores({{FIELD(file_format), 0, 0}}),
       shows("get_file_format", "file_format = 183(MOV:0,MP4:1)\n")},
      {49, UDP_CTRL_CAM_SET_FILE_FORMAT, "SET_FILE_FORMAT", stores_nothing(),
       sets("%3hhu", "set_file_format")},
      {50, UDP_CTRL_CAM_GET_PHOTO_MODE, "GET_CAPTURE_MODE", stores({{FIELD(capture_mode), 0, 10}}),
       shows("get_capture_mode", "photo_mode = 3,photo_number = 48879,ev_num = -7,ev_dem = 200\n")},
      {51, UDP_CTRL_CAM_SET_PHOTO_MODE, "SET_CAPTURE_MODE", stores_nothing(), runs()},
      {52, UDP_CTRL_CAM_GET_IMAGE_FLIP, "GET_IMAGE_FLIP", stores({{FIELD(flip_type), 0, 0}}),
       shows("get_image_flip_type", "flip_type = 183(0->0,1->90,2->180,3->270 degree)\n")},
      {53, UDP_CTRL_CAM_SET_IMAGE_FLIP, "SET_IMAGE_FLIP", stores_nothing(),
       sets("%3hhu", "set_image_flip_type")},
      {54, UDP_CTRL_CAM_SET_WIFI_SSID, "SET_WIFI_SSID", stores_nothing(), runs()},
      {55, UDP_CTRL_CAM_GET_LOWDELAY_STREAM, "GET_LOWDELAY_STREAM",
       stores({{FIELD(low_delay_mode), 0, 0}}),
       shows("get_low_delay_stream", "low_delay_mode = 0xb7(0x00:disable,0x11:enable)\n")},
      {56, UDP_CTRL_CAM_SET_LOWDELAY_STREAM, "SET_LOWDELAY_STREAM", stores_nothing(),
       sets("%3hhu", "set_low_delay_stream")},
      {57, UDP_CTRL_CAM_GET_CUSTOM_WB, "GET_CUSTOM_WB", stores({{FIELD(custom_wb), 0, 0}}),
       shows("get_custom_wb", "custom_wb = 183\n")},
      {58, UDP_CTRL_CAM_SET_CUSTOM_WB, "SET_CUSTOM_WB", stores_nothing(),
       sets("%3hhu", "set_custom_wb")},
      {59, UDP_CTRL_CAM_SET_SHUTTER, "SET_SHUTTER", stores_nothing(), absent()},
      {60, UDP_CTRL_CAM_SET_ISO, "SET_ISO", stores_nothing(),
       sets("%3hu", "send_iso_cmd", "set iso value = %02x\n")},
      {61, UDP_CTRL_CAM_GET_WDR_MODE, "GET_WDR_MODE", stores({{FIELD(wdr_mode), 0, 0}}),
       shows("get_wdr_mode", "wdr_mode = 183\n")},
      {62, UDP_CTRL_CAM_SET_WDR_MODE, "SET_WDR_MODE", stores_nothing(),
       sets("%3hhu", "set_wdr_mode")},
      {65, UDP_CTRL_CAM_SET_DRONE_TYPE, "SET_DRONE_TYPE", stores_nothing(),
       sets("%5hu", "set_drone_platform").goes_on_with(UDP_CTRL_CAM_GET_IMAGE_DEWARP)},
      {66, UDP_CTRL_CAM_STOP_PHOTO, "STOP_PHOTO", stores_nothing(), shows("send_stop_capture_cmd")},
      {67, UDP_CTRL_CAM_GET_IMAGE_DEWARP, "GET_IMAGE_DEWARP", stores({{FIELD(dewarp_mode), 0, 0}}),
       shows("get_image_dewarp", "dewarp_mode = 183\n")},
      {68, UDP_CTRL_CAM_SET_IMAGE_DEWARP, "SET_IMAGE_DEWARP", stores_nothing(),
       sets("%3hhu", "set_image_dewarp")},
      {69, UDP_CTRL_CAM_GET_COUNTRY_CODE, "GET_COUNTRY_CODE", unknown(),
       shows("get_country_code", "country_code = \n")},
      {70, UDP_CTRL_CAM_SET_COUNTRY_CODE, "SET_COUNTRY_CODE", stores_nothing(), runs()},
      {71, UDP_CTRL_CAM_SEND_WIFI_STATUS, "SEND_WIFI_STATUS", stores_nothing(),
       sets("%3hhu", "send_wifi_status")},
      {72, UDP_CTRL_CAM_SEND_RC_BOARD_ID, "SEND_RC_BOARD_ID", stores_nothing(), runs()},
      {73, UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE, "SET_SECOND_STREAM_BITRATE", stores_nothing(),
       sets("%10d", "set_2nd_stream_bitrate", "The input bitrate: %u\n")},
      {74, UDP_CTRL_CAM_GET_WIFI_FREQ_SEL, "GET_WIFI_FREQ_SEL", unknown(), absent(), kNeverSent},
      {75, UDP_CTRL_CAM_SET_WIFI_FREQ_SEL, "SET_WIFI_FREQ_SEL", unknown(), absent(), kNeverSent},
      {76, UDP_CTRL_CAM_GET_WIFI_CHANNEL, "GET_WIFI_CHANNEL", unknown(), absent(), kNeverSent},
      {77, UDP_CTRL_CAM_SET_WIFI_CHANNEL, "SET_WIFI_CHANNEL", unknown(), absent(), kNeverSent},
      {78, UDP_CTRL_CAM_GET_EIS_STATUS, "GET_EIS_STATUS", stores({{FIELD(eis_flag), 0, 0}}),
       shows("get_eis_status", "eis_status = 183\n")},
      {79, UDP_CTRL_CAM_SET_EIS_STATUS, "SET_EIS_STATUS", stores_nothing(),
       sets("%3hhu", "set_eis_status")},
      {80, UDP_CTRL_CAM_GET_DIGITAL_ZOOM, "GET_DIGITAL_ZOOM", stores({{FIELD(dzoom), 0, 3}}),
       shows("get_digital_zoom", "zoom = 305419896\n", "zoom = 0\n")},
      {81, UDP_CTRL_CAM_SET_DIGITAL_ZOOM, "SET_DIGITAL_ZOOM", stores_nothing(),
       sets("%10d", "set_digital_zoom", "dzoom = %d\n")},
      {82, UDP_CTRL_CAM_GET_ZOOM, "GET_ZOOM", stores({{FIELD(zoom), 0, 3}}),
       shows("get_zoom", "zoom = 12.5", "zoom = 0.0")},
      {83, UDP_CTRL_CAM_SET_ZOOM, "SET_ZOOM", stores_nothing(), runs()},
      {84, UDP_CTRL_CAM_GET_PROPERTY, "GET_PROPERTY", stores({{FIELD(property_str), 0, 127}}),
       runs()},
      {85, UDP_CTRL_CAM_SET_PROPERTY, "SET_PROPERTY", stores({{FIELD(property_str), 0, 127}}),
       runs()},
      {86, UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG, "GET_SURVEY_MODE_FLAG", stores_nothing(), runs(),
       kNeverSent},
      {87, UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG, "SET_SURVEY_MODE_FLAG", stores_nothing(),
       sets("%3hhu", "set_survey_mode_flag")},
      {90, UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION, "SET_SECOND_STREAM_RESOLUTION",
       stores_nothing(), runs()},
      {91, UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR, kNoName, stores_nothing(),
       sets("%10d", "set_main_stream_framerate_divisor", "The input frame rate divisor: %u \n")
           .goes_on_with(UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR)},
      {92, UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR, kNoName,
       stores({{FIELD(framerate_divisor), 0, 3}}),
       shows("get_main_stream_framerate_divisor", "main stream framerate divisor  = 305419896\n")},
      {93, UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION, kNoName, unknown(),
       sets("%3hhu", "set_media_filenum_option")},
      {94, UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION, kNoName, stores({{FIELD(file_num_option), 0, 0}}),
       shows("get_media_filenum_option",
             "media file numbering option = 183 (0:auto-reset, 1:sequential)\n")},
      {95, UDP_CTRL_CAM_SET_CAM_MODE_LOCK, kNoName, unknown(), absent()},
      {96, UDP_CTRL_CAM_GET_CAM_MODE_LOCK, kNoName, unknown(), absent()},
      {97, UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO, "GET_SDCARD_SUPPORT_INFO",
       stores({{FIELD(sd_sp_info), 0, 3}}),
       shows("get_sdcard_support_info", "oemid= 48879,manufacturerID= 24, support_value=183\n",
             "oemid= 0,manufacturerID= 0, support_value=0\n")},
      {100, UDP_CTRL_CAM_GET_PALETTE_TYPE, "GET_PALETTE_TYPE",
       stores({{FIELD(palette_type), 0, 3}}), listed()},
      {101, UDP_CTRL_CAM_SET_PALETTE_TYPE, "SET_PALETTE_TYPE", stores_nothing(), listed()},
      {102, UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO, "START_TIMED_TAKE_PHOTO", stores_nothing(),
       listed()},
      {103, UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO, "STOP_TIMED_TAKE_PHOTO", stores_nothing(),
       listed()},
      {104, UDP_CTRL_CAM_GET_AIR_PARAMS, "GET_AIR_PARAMS", stores({{FIELD(air_params), 0, 4}}),
       listed()},
      {105, UDP_CTRL_CAM_SET_AIR_PARAMS, "SET_AIR_PARAMS", stores_nothing(), listed()},
      {106, UDP_CTRL_CAM_GET_TEMPERATURE_BAR, "GET_TEMPERATURE_BAR",
       stores({{FIELD(temp_bar), 0, 4}}), listed()},
      {107, UDP_CTRL_CAM_SET_TEMPERATURE_BAR, "SET_TEMPERATURE_BAR", stores_nothing(), listed()},
      {108, UDP_CTRL_CAM_GET_LOCK_RANGE_STATE, "GET_LOCK_RANGE_STATE",
       stores({{FIELD(lock_state), 0, 3}}), listed()},
      {109, UDP_CTRL_CAM_SET_LOCK_RANGE_STATE, "SET_LOCK_RANGE_STATE", stores_nothing(), listed()},
      {110, UDP_CTRL_CAM_GET_RUN_FFC_MODE, "GET_RUN_FFC_MODE", stores({{FIELD(run_mode), 0, 3}}),
       listed()},
      {111, UDP_CTRL_CAM_SET_RUN_FFC_MODE, "SET_RUN_FFC_MODE", stores_nothing(), listed()},
      {112, UDP_CTRL_CAM_RUN_FFC_NORMALIZATION, "RUN_FFC_NORMALIZATION", stores_nothing(),
       listed()},
      {113, UDP_CTRL_CAM_GET_TEMPERATURE_STATUS, "GET_TEMPERATURE_STATUS",
       stores({{FIELD(temp_status), 0, 39}}), listed()},
      {114, UDP_CTRL_CAM_SET_RADIOMETRIC_POINT, "UDP_CTRL_CAM_SET_RADIOMETRIC_POINT",
       stores_nothing(), listed()},
      {115, UDP_CTRL_CAM_GET_RADIOMETRIC_POINT, "UDP_CTRL_CAM_GET_RADIOMETRIC_POINT",
       stores({{FIELD(rad_point), 0, 7}}), listed()},
      {116, UDP_CTRL_CAM_SET_RADIOMETRIC_AREA, "UDP_CTRL_CAM_SET_RADIOMETRIC_AREA",
       stores_nothing(), listed()},
      {117, UDP_CTRL_CAM_GET_RADIOMETRIC_AREA, "UDP_CTRL_CAM_GET_RADIOMETRIC_AREA",
       stores({{FIELD(rad_area), 0, 11}}), listed()},
      {118, UDP_CTRL_CAM_GET_CAMERA_PN_INFO, "GET_CAMERA_PN", stores({{FIELD(pn_info), 0, 65}}),
       listed()},
      {121, UDP_CTRL_CAM_GET_GAIN_MODE, "GET_GAINMODE", stores({{FIELD(gain_mode), 0, 3}}),
       listed()},
      {122, UDP_CTRL_CAM_SET_GAIN_MODE, "SET_GAINMODE", stores_nothing(), listed()},
      {123, UDP_CTRL_CAM_GET_MAX_GAIN, kNoName, unknown(), absent(), kNeverSent},
      {124, UDP_CTRL_CAM_SET_MAX_GAIN, kNoName, unknown(), absent(), kNeverSent},
      {125, UDP_CTRL_CAM_GET_SSO, "UDP_CTRL_CAM_GET_SSO", stores({{FIELD(sso), 0, 0}}), listed()},
      {126, UDP_CTRL_CAM_SET_SSO, "UDP_CTRL_CAM_SET_SSO", stores_nothing(), listed()},
      {127, UDP_CTRL_CAM_GET_ACE, "UDP_CTRL_CAM_GET_ACE", stores({{FIELD(ace), 0, 1}}), listed()},
      {128, UDP_CTRL_CAM_SET_ACE, "UDP_CTRL_CAM_SET_ACE", stores_nothing(), listed()},
      {129, UDP_CTRL_CAM_GET_DDE, "UDP_CTRL_CAM_GET_DDE", stores({{FIELD(dde), 0, 1}}), listed()},
      {130, UDP_CTRL_CAM_SET_DDE, "UDP_CTRL_CAM_SET_DDE", stores_nothing(), listed()},
      {131, UDP_CTRL_CAM_GET_ROI, "UDP_CTRL_CAM_GET_ROI", stores({{FIELD(roi), 0, 7}}), listed()},
      {132, UDP_CTRL_CAM_SET_ROI, "UDP_CTRL_CAM_SET_ROI", stores_nothing(), listed()},
      {133, UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM, "UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM",
       stores({{FIELD(th_dzoom), 0, 11}}), listed()},
      {134, UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM, "UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM", stores_nothing(),
       listed()},
      {135, UDP_CTRL_CAM_GET_TH_ENV_TEMP, "UDP_CTRL_CAM_GET_TH_ENV_TEMP",
       stores({{FIELD(th_env_temp), 0, 5}}), listed()},
      {136, UDP_CTRL_CAM_SET_TH_ENV_TEMP, "UDP_CTRL_CAM_SET_TH_ENV_TEMP", stores_nothing(),
       listed()},
      {137, UDP_CTRL_CAM_TH_SAVE_CONF, "UDP_CTRL_CAM_TH_SAVE_CONF", unknown(), listed()},
      {138, UDP_CTRL_CAM_GET_TH_DEWARP, "UDP_CTRL_CAM_GET_TH_DEWARP",
       stores({{FIELD(th_dewarp), 0, 4}}), listed()},
      {139, UDP_CTRL_CAM_SET_TH_DEWARP, "UDP_CTRL_CAM_SET_TH_DEWARP", stores_nothing(), listed()},
      {140, UDP_CTRL_CAM_GET_STREAM_PROP, "UDP_CTRL_CAM_GET_STREAM_PROP",
       stores({{FIELD(stream_prop), 0, 19}}), listed()},
      {141, UDP_CTRL_CAM_SET_STREAM_PROP, "UDP_CTRL_CAM_SET_STREAM_PROP", stores_nothing(),
       listed()},
      {142, UDP_CTRL_CAM_GET_VIDEO_ENCRYPT, kNoName, unknown(), absent(), kNeverSent},
      {143, UDP_CTRL_CAM_SET_VIDEO_ENCRYPT, kNoName, unknown(), absent(), kNeverSent},
      {144, UDP_CTRL_CAM_GET_VIDEO_PASSWD, kNoName, unknown(), absent(), kNeverSent},
      {145, UDP_CTRL_CAM_SET_VIDEO_PASSWD, kNoName, unknown(), absent(), kNeverSent},
      {200, UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP, "ZOOM_TELE_WIDE_STOP", stores_nothing(),
       sets("%10d", "set_zoom_control")},
      {201, UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP, "DZOOM_TELE_WIDE_STOP", unknown(),
       sets("%10d", "set_dzoom_control")},
      {202, UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP, "FOCUS_FAR_NEAR_STOP", stores_nothing(),
       runs().unlisted()},
      {203, UDP_CTRL_CAM_DZOOM_ONOFF, kNoName, unknown(), sets("%10d", "set_dzoom_onoff")},
      {204, UDP_CTRL_CAM_AUTO_FOCUS, kNoName, stores_nothing(), listed(), kNeverSent},
      {205, UDP_CTRL_CAM_SET_FOCUS, kNoName, stores_nothing(), sets("%10d", "set_focus")},
      {206, UDP_CTRL_CAM_GET_FOCUS, kNoName,
       stores({{FIELD(focus), 0, 1}, {"dzoom, low half", offsetof(Data, dzoom), 2, 2, 3}}),
       shows("get_focus", "focus = beef\n", "focus = 00\n")},
      {207, UDP_CTRL_CAM_SET_IRIS, "SET_IRIS", unknown(),
       sets("%3hu", "set_iris", "iris = %02x\n")},
      {208, UDP_CTRL_CAM_GET_IRIS, "GET_IRIS", stores({{FIELD(iris), 0, 1}}),
       shows("get_iris", "iris = beef\n", "iris = 00\n")},
      {209, UDP_CTRL_CAM_GET_SHUTTER, "GET_SHUTTER", stores({{FIELD(shutter), 0, 1}}), absent()},
      {210, UDP_CTRL_CAM_GET_ISO, "GET_ISO", stores({{FIELD(iso), 0, 1}}),
       shows("get_iso_cmd", "iso value = 48879 \n", "iso value = 0 \n")},
      {216, UDP_CTRL_CAM_SET_FOCUS_MODE, "SET_FOCUS_MODE", stores_nothing(),
       sets("%3hhu", "set_focus_mode")},
      {217, UDP_CTRL_CAM_SET_FOCUS_LIMITE, kNoName, unknown(), sets("%10d", "set_focus_limit")},
      {218, UDP_CTRL_CAM_SET_DEFOG_ONOFF, kNoName, unknown(),
       sets("%3hhu", "set_defog_onoff", "onoff = %02x\n")},
      {219, UDP_CTRL_CAM_SET_DEFOG_LEVEL, "DEFOG_LEVEL", stores_nothing(),
       sets("%3hhu", "set_defog_level", "level = %02x\n")},
      {220, UDP_CTRL_CAM_GET_DEFOG_LEVEL, "GET_DEFOG_LEVEL", stores({{FIELD(deflog_onoff), 0, 0}}),
       shows("get_defog_level", "defog level value = 183 \n", "defog level value = 0 \n")},
      {231, UDP_CTRL_CAM_MEMORY_SAVE_SET, kNoName, unknown(), absent()},
      {232, UDP_CTRL_CAM_MEMORY_SAVE_INQ, kNoName, unknown(), absent()},
      {233, UDP_CTRL_CAM_CUSTOM_RECALL, kNoName, stores_nothing(), absent()},
      {234, UDP_CTRL_CAM_CUSTOM_SET, kNoName, stores_nothing(), absent()},
      {235, UDP_CTRL_CAM_GET_RGAIN_VALUE, "GET_RGAIN", stores({{FIELD(rgain), 0, 1}}),
       shows("get_RGain_value", "get rgain value = 48879 \n")},
      {236, UDP_CTRL_CAM_SET_BGAIN, "SET_BGAIN", stores_nothing(),
       sets("%5hd", "set_BGain_value", "", "set bgain value = %d \n")},
      {237, UDP_CTRL_CAM_GET_BGAIN_VALUE, "GET_BGAIN", stores({{FIELD(bgain), 0, 1}}),
       shows("get_BGain_value", "get bgain value = 48879 \n")},
      {238, UDP_CTRL_CAM_SET_RGAIN, "SET_RGAIN", stores_nothing(),
       sets("%5hd", "set_RGain_value", "", "set rgain value = %d \n")},
      {239, UDP_CTRL_CAM_SET_OSD_STATUS, "SET_OSD_STATUS", stores_nothing(),
       sets("%3hhd", "set_osd_status")},
      {240, UDP_CTRL_CAM_GET_OSD_STATUS, "GET_OSD_STATUS", stores({{FIELD(osd_onoff), 0, 0}}),
       shows("get_osd_status", "OSD status = 183(0:off,1:on)\n")},
      {241, UDP_CTRL_CAM_GET_FOCUS_MODE, "GET_FOCUS_MODE", stores({{FIELD(focus_mode), 0, 0}}),
       shows("get_focus_mode", "focus_mode = 183\n", "focus_mode = 0\n")},
      {901, UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP, "SET_THERMAL_CALI_TEMP", stores_nothing(),
       listed()},
      {902, UDP_CTRL_CAM_RUN_THERMAL_CALI, "RUN_THERMAL_CALI", stores_nothing(), listed()},
      {903, UDP_CTRL_CAM_SET_FPA_THERMAL_CALI_TEMP, "SET_FPA_THERMAL_CALI_TEMP", stores_nothing(),
       listed()},
      {904, UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI, "RUN_FPA_THERMAL_CALI", stores_nothing(), listed()},
      {905, UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL, "USB_PASS_THROUGH_CTRL", stores_nothing(),
       listed()},
  };
  return rows;
}

const CommandContract* find_contract(int code) {
  const auto& rows = command_contract();
  const auto row = std::find_if(rows.begin(), rows.end(),
                                [=](const CommandContract& r) { return r.code == code; });
  return row != rows.end() ? &*row : nullptr;
}

bool console_runs(int number) {
  const CommandContract* const row = find_contract(number);
  return row != nullptr && row->console.kind >= ConsoleContract::kRuns;
}
