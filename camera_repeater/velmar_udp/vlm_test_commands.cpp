// The console's numbered commands: number -> line of help, parameters, operation, printed outcome.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iterator>

#include "lcm_request.h"
#include "velmar_table.h"
#include "vlm_test.h"
#include "vlm_test_action.h"

udp_ctrl_cam_t ctrlcmd{};
char g_OTA_DirList[1][64] = {"/sdcard"};

namespace {

void get_all(const char* /*line*/) {
  udp_ctrl_cam_request_list_t list{};
  if (!lcm_request.get_all_request_list(&list)) return;
  std::printf("cam_mode = %d\n", list.cam_mode);
  std::printf("wb = %d\n", list.wb);
  std::printf("ae_mode = %d\n", list.ae_mode);
  std::printf("x_ratio = %d, y_ratio = %d\n", list.spot_coords_ratio.x_ratio,
              list.spot_coords_ratio.y_ratio);
  std::printf("fps = %d, video_resolution_h = %d,video_resolution_v = %d\n", list.video_res.fps,
              list.video_res.res.w, list.video_res.res.h);
  std::printf("recording_time_s = %d s\n", list.recording_time_s);
  const float available_mib = static_cast<float>(list.available_kib) / 1024.0F;
  std::printf("available_mib = %.02f MB\n", static_cast<double>(available_mib));
  std::printf("camera_status = %d\n", list.camera_status);
}

void set_camera_mode(const char* line) {
  int err = 0;
  const auto mode = scan<u8>(line, "%3hhd");
  lcm_request.set_camera_mode(mode, &err, nullptr);
  if (err != 0) {
    std::printf("failed to set camera mode, error = %d\n", err);
  } else {
    std::printf("succeeded in setting camera mode to %d\n", mode);
  }
}

void take_photo(const char* /*line*/) {
  int err = 0;
  lcm_request.send_capture_cmd(&err, nullptr);
  if (err != 0) {
    std::printf("failed to take a photo, erorr=0x%02x (%d).\n", static_cast<unsigned>(err), err);
  } else {
    std::puts("succeeded in taking a photo!");
  }
}

void get_shutter_iso(const char* /*line*/) {
  float shutter_s = 0;
  float iso = 0;
  lcm_request.get_shutter_iso(shutter_s, iso);
  std::printf("shutter_s = %.2f, iso_value = %.2f\n", static_cast<double>(shutter_s),
              static_cast<double>(iso));
}

void set_shutter_iso(const char* line) {
  s16 sht_num = 0;
  s16 sht_dem = 0;
  s32 iso = 0;
  scan(line, "%5hd %5hd %5d", &sht_num, &sht_dem, &iso);
  lcm_request.send_shutter_iso_cmd(static_cast<u16>(sht_num), static_cast<u16>(sht_dem),
                                   static_cast<u32>(iso));
}

void get_video(const char* /*line*/) {
  u8 fps = 0;
  u16 width = 0;
  u16 height = 0;
  lcm_request.get_video_params(fps, width, height);
  std::printf("video_h = %d,video_v = %d,video_fps = %d\n", width, height, fps);
}

void set_video(const char* line) {
  u16 width = 0;
  u16 height = 0;
  u8 fps = 0;
  scan(line, "%5hd %5hd %3hhd", &width, &height, &fps);
  lcm_request.set_video_param(fps, width, height);
}

void get_storage(const char* /*line*/) {
  constexpr u8 kEveryCard = 255;
  udp_ctrl_cam_sdcard_storage_t storage{};
  if (!lcm_request.get_sdcard_storage(kEveryCard, storage)) return;
  std::printf("storage %d: available_kib = %u KB,total_kib = %u KB\n", storage.storage_id,
              storage.available_capacity, storage.total_capacity);
}

void get_version(const char* /*line*/) {
  u32 version = 0;
  char name[8] = {};
  lcm_request.get_camera_version(version, name);
  const auto byte = [version](int index) {
    return static_cast<int>(version >> (8 * index) & 0xFF);
  };
  std::printf("camera_version: %.8s_%d.%d.%d_%c\n", name, byte(0), byte(1), byte(2), byte(3));
}

void upgrade_firmware(const char* /*line*/) {
  for (const auto& directory : g_OTA_DirList) {
    char firmware[100];
    char marker[100];
    std::snprintf(firmware, sizeof firmware, "%s/%s", directory, "firmware.bin");
    std::snprintf(marker, sizeof marker, "%s/%s", directory, "._firmware.bin");
    if (!file_exists(firmware)) {
      std::puts("No camera firmware in sdcard");
      continue;
    }
    if (file_exists(marker) && access(marker, F_OK) == 0) unlink(marker);
    lcm_request.upgrade_camera();
  }
}

void get_media_folder(const char* /*line*/) {
  udp_ctrl_cam_media_folder_t folder{};
  if (!lcm_request.get_media_folder(folder.enable_flag, folder.folder)) return;
  std::printf("GET_MEDIA_FOLDER info:enable_flag=%d;folder_name=%.64s\n", folder.enable_flag,
              folder.folder);
}

void set_media_folder(const char* line) {
  char text[64] = {};
  std::snprintf(text, sizeof text, "%d", scan<int>(line, "%3d"));
  lcm_request.set_media_folder(1, text);
}

void get_spot_metering(const char* /*line*/) {
  u8 x = 0;
  u8 y = 0;
  if (!lcm_request.get_spot_metering_coords(x, y)) return;
  std::printf("GET_SPOT_METERING_COORDS:x_ratio = %d, y_ratio = %d\n", x, y);
}

void set_spot_metering(const char* line) {
  u8 x = 0;
  u8 y = 0;
  scan(line, "%3hhd %3hhd", &x, &y);
  lcm_request.set_spot_metering_coords(x, y);
}

void get_card_attribute(const char* /*line*/) {
  u16 speed = 0;
  u8 level = 0;
  u8 space_state = 0;
  if (!lcm_request.get_sdcard_attribute(speed, level, space_state)) return;
  std::puts("GET_T_CARD_ATTRIBUTE:");
  std::printf("speed = %d,level = %d(0:low;1:high),space_state = %d(0:available;1:no space)\n",
              speed, level, space_state);
}

void get_capture_mode(const char* /*line*/) {
  udp_ctrl_cam_photo_mode_t mode{};
  if (!lcm_request.get_capture_mode(&mode)) return;
  std::printf("photo_mode = %d,photo_number = %d,ev_num = %d,ev_dem = %d\n", mode.capture_mode,
              mode.photo_amount, mode.ev_step.ev_num, mode.ev_step.ev_dem);
}

void set_capture_mode(const char* line) {
  u8 capture_mode = 0;
  u16 photo_amount = 0;
  s8 ev_num = 0;
  u8 ev_dem = 0;
  scan(line, "%3hhu %5hu %3hhd %3hhu", &capture_mode, &photo_amount, &ev_num, &ev_dem);
  const udp_ctrl_cam_photo_mode_t mode{capture_mode, photo_amount, {ev_num, ev_dem}, 0, {}};
  lcm_request.set_capture_mode(&mode);
}

void get_country_code(const char* /*line*/) {
  char code[12] = {};
  if (lcm_request.get_country_code(code)) std::printf("country_code = %.10s\n", code);
}

void get_property(const char* line) {
  char property[129] = {};
  scan(line, "%128s", property);
  if (lcm_request.get_property(property)) {
    std::printf("property: %.128s\n", property);
  } else {
    std::printf("property %s is not found.\n", property);
  }
}

void set_property(const char* line) {
  char property[128] = {};  // "name=value" in, the previous value out
  scan(line, "%127s", property);
  char sent[128];
  std::memcpy(sent, property, sizeof sent);
  std::printf("set property string: %s\n", property);
  if (lcm_request.set_property(property)) {
    std::printf("set property to: %s.\n the previous value: %.128s\n", sent, property);
  } else {
    std::puts("set property failed.");
  }
}

void set_2nd_stream_resolution(const char* line) {
  u32 width = 0;
  u32 height = 0;
  scan(line, "%10d %10d", &width, &height);
  const vlm_second_stream_resolution_t resolution{width, height};
  std::printf("The input resolution: %u*%u\n", width, height);
  lcm_request.set_2nd_stream_resolution(&resolution);
}

void get_zoom(const char* /*line*/) {
  float zoom = 0;
  lcm_request.get_zoom(zoom);
  std::printf("zoom = %0.1f", static_cast<double>(zoom));
}

void get_support_info(const char* /*line*/) {
  udp_ctrl_sdcard_support_info_t info{};
  lcm_request.get_sdcard_support_info(&info);
  std::printf("oemid= %d,manufacturerID= %d, support_value=%d\n", info.oemid, info.manufacturerID,
              info.is_support);
}

void set_framerate_divisor(const char* line) {
  const auto divisor = scan<u32>(line, "%10d");
  std::printf("The input frame rate divisor: %u \n", divisor);
  lcm_request.set_main_stream_framerate_divisor(&divisor);
}

void set_bgain(const char* line) {
  const auto gain = scan<u16>(line, "%5hd");
  if (lcm_request.set_BGain_value(gain)) std::printf("set bgain value = %d \n", gain);
}

void set_rgain(const char* line) {
  const auto gain = scan<u16>(line, "%5hd");
  if (lcm_request.set_RGain_value(gain)) std::printf("set rgain value = %d \n", gain);
}

using L = LcmRequest;

struct Command {
  int code;
  const char* usage;  // one line, or more, of the list; without the number
  Action action;
  int next = kNone;  // the command that it goes on with, after its own call

  static constexpr int kNone = -1;
};

constexpr const char* kUnlisted = nullptr;

// Four commands go on with another one, which reads its parameter from the same line. That and the
// missing newlines are the interface, however they look: scripts rely on what each number prints.
constexpr Command kCommands[] = {
    {UDP_CTRL_CAM_GET_ALL_REQUEST, "get_all_request_list (all settings at once)", get_all},
    {UDP_CTRL_CAM_GET_CAMERA_MODE, "get_camera_mode",
     Query{&L::get_camera_mode, "camera_mode = %d(1:video,2:photo)\n"}},
    {UDP_CTRL_CAM_SET_CAMERA_MODE, "set_camera_mode [mode:u8(1:video,2:photo)]", set_camera_mode},
    {UDP_CTRL_CAM_TAKE_PHOTO, "send_capture_cmd (takes a photo)", take_photo},
    {UDP_CTRL_CAM_START_RECORD, "send_start_video_cmd", Run{&L::send_start_video_cmd}},
    {UDP_CTRL_CAM_STOP_RECORD, "send_stop_video_cmd", Run{&L::send_stop_video_cmd}},
    {UDP_CTRL_CAM_GET_CAMERA_STATUS, "get_camera_status (0:idle,1:recording,2:capturing)",
     Query{&L::get_camera_status, "video_status = %d (0:idle,1:recording,2:capturing)\n"}},
    {UDP_CTRL_CAM_GET_AE_MODE, "get_camera_ae",
     Query{&L::get_camera_ae, "GET_AE_MODE:%d(0:auto;1:manual)\n"}},
    {UDP_CTRL_CAM_SET_AE_MODE, "set_camera_ae [mode:u8(0:auto,1:manual)]",
     Set{"%3hhd", &L::set_camera_ae}},
    {UDP_CTRL_CAM_GET_PARAMS_EV, "get_camera_ev",
     Query{&L::get_camera_ev, "GET_PARAMS_EV:value=%02x;\n"}},
    {UDP_CTRL_CAM_SET_PARAMS_EV, "set_EV [ev_num:int8_t] [ev_dem:uint8_t]",
     Set{"%hd", &L::set_camera_ev}},
    {UDP_CTRL_CAM_GET_SHUTTER_ISO, "get_shutter_iso", get_shutter_iso},
    {UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO,
     "send_shutter_iso_cmd [sht_num:u16] [sht_dem:u16] [iso:u32] (exposure sht_num/sht_dem s)",
     set_shutter_iso},
    {UDP_CTRL_CAM_GET_WB_MODE, "get_wb_mode",
     Query{&L::get_wb_mode,
           "wb = %d(0:AUTO,1:INCANDESCENT,2:SUNRISE,3:SUNSET,4:SUNNY,5:CLOUDY,\n        "
           "7:FLUORESCENT,99:LOCK,100:CUSTOM)\n"}},
    {UDP_CTRL_CAM_SET_PARAMS_WB,
     "send_wb_cmd "
     "[mode:u8(0:auto,1:incandescent,2:sunrise,3:sunset,4:sunny,5:cloudy,7:fluorescent,99:lock,100:"
     "custom)]",
     Set{"%3hhd", &L::send_wb_cmd}},
    {UDP_CTRL_CAM_GET_PARAMS_VIDEO, "get_video_params", get_video},
    {UDP_CTRL_CAM_SET_PARAMS_VIDEO, "set_video_param [width:u16] [height:u16] [fps:u8]", set_video},
    {UDP_CTRL_CAM_GET_METER_MODE, "get_meter_mode",
     Query{&L::get_meter_mode,
           "meter_mode = %d(0:Center,1:Average,2:Spot,3:Partial,4:Evalnative)"}},
    {UDP_CTRL_CAM_SET_METER_MODE, "set_meter_mode [mode:u8(0:center,1:average,2:spot)]",
     Set{"%3hhd", &L::set_meter_mode}},
    {UDP_CTRL_CAM_GET_FLICKER_MODE, "get_flicker_mode",
     Query{&L::get_flicker_mode, "flicker_mode = %d(0:off,1:on)\n"}},
    {UDP_CTRL_CAM_SET_FLICKER_MODE, "set_flicker_mode [mode:u8(0:off,1:on)]",
     Set{"%3hhd", &L::set_flicker_mode}},
    {UDP_CTRL_CAM_GET_COLOR_MODE, "get_color_mode",
     Query{&L::get_color_mode, "color_mode = %d(0:nature,1:saturation,2:raw,3:night,5:vivid)\n"}},
    {UDP_CTRL_CAM_SET_COLOR_MODE,
     "set_color_mode [mode:u8(0:nature,1:saturation,2:raw,3:night,5:vivid)]",
     Set{"%3hhd", &L::set_color_mode}},
    {UDP_CTRL_CAM_GET_IMAGE_QUALITY, "get_image_quality",
     Query{&L::get_image_quality, "image_quality = %d(0:low,1:medium,2:high,3:ultra_high)\n"}},
    {UDP_CTRL_CAM_SET_IMAGE_QUALITY,
     "set_image_quality [quality:u8(0:low,1:medium,2:high,3:ultra_high)]",
     Set{"%3hhd", &L::set_image_quality}},
    {UDP_CTRL_CAM_GET_IMAGE_FORMAT, "get_image_format",
     Query{&L::get_image_format, "image_format = %d(1:jpg,130:dng,131:jpg+dng)\n"}},
    {UDP_CTRL_CAM_SET_IMAGE_FORMAT,
     "set_image_format [format:u8(1:jpg,130:dng(T63 only),131:jpg+dng)]",
     Set{"%3hhd", &L::set_image_format}},
    {UDP_CTRL_CAM_FORMAT_SDCARD,
     "send_format_sdcard_cmd [slot:u8(0:first external,3:first internal,7:all)]",
     Set{"%3hhd", &L::send_format_sdcard_cmd}},
    {UDP_CTRL_CAM_RESET_CAMERA_SETTINGS, "reset_cam_settings_cmd", Run{&L::reset_cam_settings_cmd}},
    {UDP_CTRL_CAM_GET_RECORDING_TIME, "get_recording_time",
     Query{&L::get_recording_time, "recording_time_s = %d s\n"}},
    {UDP_CTRL_CAM_GET_SDCARD_STORAGE, "get_sdcard_storage", get_storage},
    {UDP_CTRL_CAM_GET_CAMERA_VERSION, "get_camera_version", get_version},
    {UDP_CTRL_CAM_SET_SYS_TIME, "set_rtos_time [time:u64(seconds since 1970-01-01 UTC)]",
     Set{"%20llu", &L::set_rtos_time}},
    {UDP_CTRL_CAM_UPGRADE_CAMERA, "upgrade_camera (with firmware.bin on the SD card)",
     upgrade_firmware},
    {UDP_CTRL_CAM_GET_MEDIA_FOLDER, "get_media_folder", get_media_folder},
    {UDP_CTRL_CAM_SET_MEDIA_FOLDER, "set_media_folder [prefix:int(101~999)]", set_media_folder},
    {UDP_CTRL_CAM_GET_SPOT_METERING_COORDS, "get_spot_metering_coords", get_spot_metering},
    {UDP_CTRL_CAM_SET_SPOT_METERING_COORDS,
     "set_spot_metering_coords [x:u8(0~100 percent)] [y:u8(0~100 percent)]", set_spot_metering},
    {UDP_CTRL_CAM_TEST_T_CARD_SPEED, "test_sdcard_speed", Run{&L::test_sdcard_speed}},
    {UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE, "get_sdcard_attribute", get_card_attribute},
    {UDP_CTRL_CAM_GET_SYSTEM_MODE, "get_color_encoding",
     Query{&L::get_color_encoding, "color_encoding_mode = %d(0:NTSC,1:PAL)\n"}},
    {UDP_CTRL_CAM_SET_SYSTEM_MODE, "set_color_encoding [mode:u8(0:NTSC,1:PAL)]",
     Set{"%3hhu", &L::set_color_encoding}},
    {UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE, "get_video_encode_mode",
     Query{&L::get_video_encode_mode, "GET_VIDEO_ENCODE_MODE :%d(1--H264;3--HEVC)\n"}},
    {UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, "set_video_encode_mode [mode:u8(1:H.264,3:H.265)]",
     Set{"%3hhd", &L::set_video_encode_mode}},
    {UDP_CTRL_CAM_SET_WIFI_PASSWORD, "set_wifi_password [password:text(at most 19 characters)]",
     SendText{"%19s", &L::set_wifi_passwd}},
    {UDP_CTRL_CAM_REBOOT_DEVICE, "reboot_camera", Run{&L::reboot_camera}},
    {UDP_CTRL_CAM_GET_PHOTO_RATIO, "get_photo_ratio",
     Query{&L::get_photo_ratio, "photo_ratio = %d(4:3->2,16:9->3)\n"}},
    {UDP_CTRL_CAM_SET_PHOTO_RATIO, "set_photo_ratio [ratio:u8(2:4:3,3:16:9)]",
     Set{"%3hhu", &L::set_photo_ratio}},
    {UDP_CTRL_CAM_GET_FILE_FORMAT, "get_file_format",
     Query{&L::get_file_format, "file_format = %d(MOV:0,MP4:1)\n"}},
    {UDP_CTRL_CAM_SET_FILE_FORMAT, "set_file_format [format:u8(0:MOV,1:MP4)]",
     Set{"%3hhu", &L::set_file_format}},
    {UDP_CTRL_CAM_GET_PHOTO_MODE, "get_capture_mode", get_capture_mode},
    {UDP_CTRL_CAM_SET_PHOTO_MODE,
     "set_capture_mode [mode:u8(0:single,3:burst,4:AEB,5:horizontal,6:hemispherical panorama)] "
     "[pictures:u16] [ev_num:s8] [ev_dem:u8]",
     set_capture_mode},
    {UDP_CTRL_CAM_GET_IMAGE_FLIP, "get_image_flip_type",
     Query{&L::get_image_flip_type, "flip_type = %d(0->0,1->90,2->180,3->270 degree)\n"}},
    {UDP_CTRL_CAM_SET_IMAGE_FLIP, "set_image_flip_type [type:u8(0:0,1:90,2:180,3:270 degree)]",
     Set{"%3hhu", &L::set_image_flip_type}},
    {UDP_CTRL_CAM_SET_WIFI_SSID, "set_wifi_ssid [ssid:text(at most 19 characters)]",
     SendText{"%19s", &L::set_wifi_ssid}},
    {UDP_CTRL_CAM_GET_LOWDELAY_STREAM, "get_low_delay_stream",
     Query{&L::get_low_delay_stream, "low_delay_mode = %#x(0x00:disable,0x11:enable)\n"}},
    {UDP_CTRL_CAM_SET_LOWDELAY_STREAM, "set_low_delay_stream [mode:u8(0:disable,17:enable)]",
     Set{"%3hhu", &L::set_low_delay_stream}},
    {UDP_CTRL_CAM_GET_CUSTOM_WB, "get_custom_wb", Query{&L::get_custom_wb, "custom_wb = %d\n"}},
    {UDP_CTRL_CAM_SET_CUSTOM_WB, "set_custom_wb [custom_wb:u16(3000~8000)]",
     Set{"%3hhu", &L::set_custom_wb}},
    {UDP_CTRL_CAM_SET_ISO, " send_iso_cmd [iso:u16(at most 3 digits)]",
     Set{"%3hu", &L::send_iso_cmd, "set iso value = %02x\n"}},
    {UDP_CTRL_CAM_GET_WDR_MODE, "get_wdr_mode", Query{&L::get_wdr_mode, "wdr_mode = %d\n"}},
    {UDP_CTRL_CAM_SET_WDR_MODE, "set_wdr_mode [mode:u8(0:off,1:on)]",
     Set{"%3hhu", &L::set_wdr_mode}},
    {UDP_CTRL_CAM_SET_DRONE_TYPE,
     "set_drone_platform [product_id:u16] (then prints the dewarp mode)",
     Set{"%5hu", &L::set_drone_platform}, UDP_CTRL_CAM_GET_IMAGE_DEWARP},
    {UDP_CTRL_CAM_STOP_PHOTO, "send_stop_capture_cmd", Run{&L::send_stop_capture_cmd}},
    {UDP_CTRL_CAM_GET_IMAGE_DEWARP, "get_image_dewarp",
     Query{&L::get_image_dewarp, "dewarp_mode = %d\n"}},
    {UDP_CTRL_CAM_SET_IMAGE_DEWARP, "set_image_dewarp [mode:u8(0:off,1:on)]",
     Set{"%3hhu", &L::set_image_dewarp}},
    {UDP_CTRL_CAM_GET_COUNTRY_CODE, "get_country_code(Not implemented)", get_country_code},
    {UDP_CTRL_CAM_SET_COUNTRY_CODE, "set_country_code [code:text(at most 10 characters)]",
     SendText{"%10s", &L::set_country_code}},
    {UDP_CTRL_CAM_SEND_WIFI_STATUS, "send_wifi_status [status:u8(0:not ready,1:ready)]",
     Set{"%3hhu", &L::send_wifi_status}},
    {UDP_CTRL_CAM_SEND_RC_BOARD_ID,
     "set_remote_board_id [id:text(at most 10 characters)] (then prints the R gain)",
     SendText{"%10s", &L::send_rc_board_id}, UDP_CTRL_CAM_GET_RGAIN_VALUE},
    {UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE, "set_2nd_stream_bitrate [bitrate:u32]",
     Set{"%10d", &L::set_2nd_stream_bitrate, "The input bitrate: %u\n"}},
    {UDP_CTRL_CAM_GET_EIS_STATUS, "get_eis_status", Query{&L::get_eis_status, "eis_status = %d\n"}},
    {UDP_CTRL_CAM_SET_EIS_STATUS, "set_eis_status [status:u8(0:off,1:on)]",
     Set{"%3hhu", &L::set_eis_status}},
    {UDP_CTRL_CAM_GET_DIGITAL_ZOOM,
     "get_digital_zoom [none] (prints the value, 10~80)\nget_digital_zoom [none] (prints zoom:u32, "
     "0 when the query failed)",
     Query{&L::get_digital_zoom, "zoom = %d\n", kAlways}},
    {UDP_CTRL_CAM_SET_DIGITAL_ZOOM,
     "set_digital_zoom [zoom:u32(10~80)]\nset_digital_zoom [dzoom:u32(decimal, at most 10 digits)]",
     Set{"%10d", &L::set_digital_zoom, "dzoom = %d\n"}},
    {UDP_CTRL_CAM_GET_ZOOM,
     "get_zoom [none] (prints the optical factor, 1.0~30.0)\nget_zoom [none] (prints zoom:float, "
     "0.0 when the query failed)",
     get_zoom},
    {UDP_CTRL_CAM_SET_ZOOM,
     "set_zoom [zoom:float(1.0~30.0)]\nset_zoom [factor:float(optical factor, e.g. 2.5)]",
     Set{"%f", &L::set_zoom}},
    {UDP_CTRL_CAM_GET_PROPERTY, "get_property [name:text(1~16 characters)]", get_property},
    {UDP_CTRL_CAM_SET_PROPERTY,
     "set_property [name=value:text(name 1~16, value 1~46 characters; empty value: unset)]",
     set_property},
    {UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG,
     "store the RTSP flow control status (prints the survey mode flag)",
     Query{&L::get_survey_mode_flag, "survey mode flag = %d\n"}},
    {UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG,
     "read the RTSP flow control [flag:u8] (sets the survey mode flag)",
     Set{"%3hhu", &L::set_survey_mode_flag}},
    {UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION,
     "set_2nd_stream_resolution [width:u32] [height:u32]", set_2nd_stream_resolution},
    {UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR,
     "set_main_stream_framerate_divisor [divisor:u32] (then prints it as 92 does)",
     set_framerate_divisor, UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR},
    {UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR, "get_main_stream_framerate_divisor",
     Query{&L::get_main_stream_framerate_divisor, "main stream framerate divisor  = %d\n"}},
    {UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION,
     "set_media_filenum_option [option:u8(0:auto-reset,1:sequential)]",
     Set{"%3hhu", &L::set_media_filenum_option}},
    {UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION, "get_media_filenum_option",
     Query{&L::get_media_filenum_option,
           "media file numbering option = %d (0:auto-reset, 1:sequential)\n"}},
    {UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO, "get_sdcard_support_info", get_support_info},
    {UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP, "set_zoom_control [direction:u32(1:tele,2:wide,3:stop)]",
     Set{"%10d", &L::set_zoom_control}},
    {UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP, "set_dzoom_control [direction:u32(1:tele,2:wide,3:stop)]",
     Set{"%10d", &L::set_dzoom_control}},
    {UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP, kUnlisted, Set{"%10d", &L::set_focus_control},
     UDP_CTRL_CAM_SET_IRIS},
    {UDP_CTRL_CAM_DZOOM_ONOFF, "set_dzoom_onoff [onoff:u32(2:on,3:off)]",
     Set{"%10d", &L::set_dzoom_onoff}},
    {UDP_CTRL_CAM_SET_FOCUS, "set_focus [position:u32(4096:far end~61440:near end)]",
     Set{"%10d", &L::set_focus}},
    {UDP_CTRL_CAM_GET_FOCUS, "get_focus", Query{&L::get_focus, "focus = %02x\n", kAlways}},
    {UDP_CTRL_CAM_SET_IRIS,
     "set_iris [code:u16(0:closed,5:F14,6:F11,7:F9.6,8:F8,9:F6.8,10:F5.6,11:F4.8, ... to F1.6)]",
     Set{"%3hu", &L::set_iris, "iris = %02x\n"}},
    {UDP_CTRL_CAM_GET_IRIS, "get_iris", Query{&L::get_iris, "iris = %02x\n", kAlways}},
    {UDP_CTRL_CAM_GET_ISO, "get_iso_cmd", Query{&L::get_iso_cmd, "iso value = %d \n", kAlways}},
    {UDP_CTRL_CAM_SET_FOCUS_MODE,
     "set_focus_mode [mode:u8(2:auto,3:manual,4:one-shot trigger,5:infinity)]",
     Set{"%3hhu", &L::set_focus_mode}},
    {UDP_CTRL_CAM_SET_FOCUS_LIMITE, "set_focus_limit [position:u32(4096~61440)]",
     Set{"%10d", &L::set_focus_limit}},
    {UDP_CTRL_CAM_SET_DEFOG_ONOFF, "set_defog_onoff [onoff:u8(2:on,3:off)]",
     Set{"%3hhu", &L::set_defog_onoff, "onoff = %02x\n"}},
    {UDP_CTRL_CAM_SET_DEFOG_LEVEL, "set_defog_level [level:u8(1:low,2:middle,3:high)]",
     Set{"%3hhu", &L::set_defog_level, "level = %02x\n"}},
    {UDP_CTRL_CAM_GET_DEFOG_LEVEL, "get_defog_level",
     Query{&L::get_defog_level, "defog level value = %d \n", kAlways}},
    {UDP_CTRL_CAM_GET_RGAIN_VALUE, "get_RGain_value",
     Query{&L::get_RGain_value, "get rgain value = %d \n"}},
    {UDP_CTRL_CAM_SET_BGAIN, "set_BGain_value [gain:u16]", set_bgain},
    {UDP_CTRL_CAM_GET_BGAIN_VALUE, "get_BGain_value",
     Query{&L::get_BGain_value, "get bgain value = %d \n"}},
    {UDP_CTRL_CAM_SET_RGAIN, "set_RGain_value [gain:u16]", set_rgain},
    {UDP_CTRL_CAM_SET_OSD_STATUS, "set_osd_status [status:u8(0:off,1:on)]",
     Set{"%3hhd", &L::set_osd_status}},
    {UDP_CTRL_CAM_GET_OSD_STATUS, "get_osd_status",
     Query{&L::get_osd_status, "OSD status = %d(0:off,1:on)\n"}},
    {UDP_CTRL_CAM_GET_FOCUS_MODE, "get_focus_mode",
     Query{&L::get_focus_mode, "focus_mode = %u\n", kAlways}},
};
static_assert(is_ascending_by_code(kCommands));

struct ListedCommand {
  int code;
  const char* usage;
};

// Operations of programs that link the library: listed so that their numbers are known, but refused.
constexpr ListedCommand kListedOnly[] = {
    {UDP_CTRL_CAM_GET_PALETTE_TYPE, "ir_get_palette_type"},
    {UDP_CTRL_CAM_SET_PALETTE_TYPE, "ir_set_palette_type [type:u32]"},
    {UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO, "ir_start_timed_take_photo [interval:u32(seconds)]"},
    {UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO, "ir_stop_timed_take_photo"},
    {UDP_CTRL_CAM_GET_AIR_PARAMS, "ir_get_air_params"},
    {UDP_CTRL_CAM_SET_AIR_PARAMS,
     "ir_set_air_params [enable:u8] [emissivity:u8(percent)] [ratio:u8] [temperature:s16]"},
    {UDP_CTRL_CAM_GET_TEMPERATURE_BAR, "ir_get_temperature_bar"},
    {UDP_CTRL_CAM_SET_TEMPERATURE_BAR, "ir_set_temperature_bar [enable:u8] [max:s16] [min:s16]"},
    {UDP_CTRL_CAM_GET_LOCK_RANGE_STATE, "ir_get_lock_status"},
    {UDP_CTRL_CAM_SET_LOCK_RANGE_STATE, "ir_set_lock_status [status:u32(0:unlocked,1:locked)]"},
    {UDP_CTRL_CAM_GET_RUN_FFC_MODE, "ir_get_ffc_run_mode"},
    {UDP_CTRL_CAM_SET_RUN_FFC_MODE, "ir_set_ffc_run_mode [mode:u32(0:manual,1:auto,2:external)]"},
    {UDP_CTRL_CAM_RUN_FFC_NORMALIZATION, "ir_run_ffc_normalization"},
    {UDP_CTRL_CAM_GET_TEMPERATURE_STATUS, "ir_get_temperature_status"},
    {UDP_CTRL_CAM_SET_RADIOMETRIC_POINT, "ir_set_radiometric_point [enable:s32] [x:u16] [y:u16]"},
    {UDP_CTRL_CAM_GET_RADIOMETRIC_POINT, "ir_get_radiometric_point"},
    {UDP_CTRL_CAM_SET_RADIOMETRIC_AREA,
     "ir_set_radiometric_area [enable:s32] [start_x:u16] [start_y:u16] [end_x:u16] [end_y:u16]"},
    {UDP_CTRL_CAM_GET_RADIOMETRIC_AREA, "ir_get_radiometric_area"},
    {UDP_CTRL_CAM_GET_CAMERA_PN_INFO, "ir_get_camera_pn"},
    {UDP_CTRL_CAM_GET_GAIN_MODE, "ir_get_gain_mode"},
    {UDP_CTRL_CAM_SET_GAIN_MODE, "ir_set_gain_mode [mode:u32(0:high,1:low,2:auto)]"},
    {UDP_CTRL_CAM_GET_SSO, "ir_get_SSO"},
    {UDP_CTRL_CAM_SET_SSO, "ir_set_SSO [value:s8]"},
    {UDP_CTRL_CAM_GET_ACE, "ir_get_ACE"},
    {UDP_CTRL_CAM_SET_ACE, "ir_set_ACE [value:s16(hundredths)]"},
    {UDP_CTRL_CAM_GET_DDE, "ir_get_DDE"},
    {UDP_CTRL_CAM_SET_DDE, "ir_set_DDE [value:s16(hundredths)]"},
    {UDP_CTRL_CAM_GET_ROI, "ir_get_ROI"},
    {UDP_CTRL_CAM_SET_ROI, "ir_set_ROI [start_x:u16] [start_y:u16] [end_x:u16] [end_y:u16]"},
    {UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM, "ir_get_digital_zoom"},
    {UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM,
     "ir_set_digital_zoom [zoom:u32] [x_center:u32] [y_center:u32]"},
    {UDP_CTRL_CAM_GET_TH_ENV_TEMP, "ir_get_env_temp"},
    {UDP_CTRL_CAM_SET_TH_ENV_TEMP,
     "ir_set_env_temp [enable:s32] [temperature:s16(tenths of a degree)]"},
    {UDP_CTRL_CAM_TH_SAVE_CONF, "ir_save_conf"},
    {UDP_CTRL_CAM_GET_TH_DEWARP, "ir_get_dewarp"},
    {UDP_CTRL_CAM_SET_TH_DEWARP, "ir_set_dewarp [enable:u8(0:off,1:on)] [strength:u32]"},
    {UDP_CTRL_CAM_GET_STREAM_PROP, "get_stream_prop"},
    {UDP_CTRL_CAM_SET_STREAM_PROP,
     "set_stream_prop [stream:u32] [mask:u32] [bitrate:u32] [width:u16] [height:u16] [fps:u32]"},
    {UDP_CTRL_CAM_AUTO_FOCUS, "set_auto_focus"},
    {UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP, "ir_set_thermal_calibration_temp [temperature:s16]"},
    {UDP_CTRL_CAM_RUN_THERMAL_CALI, "ir_run_thermal_calibration"},
    {UDP_CTRL_CAM_SET_FPA_THERMAL_CALI_TEMP, "ir_set_fpa_calibration_temp [temperature:s16]"},
    {UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI, "ir_run_fpa_calibration"},
    {UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL, "ir_usb_pass_through_ctrl [mode:s32]"},
};
static_assert(is_ascending_by_code(kListedOnly));

/// Prints the lines of one command, each with its number.
void print_usage_lines(int code, const char* usage) {
  for (const char* line = usage; line != nullptr;) {
    const char* const end = std::strchr(line, '\n');
    const auto length =
        end != nullptr ? end - line : static_cast<std::ptrdiff_t>(std::strlen(line));
    std::printf("%d:%.*s\n", code, static_cast<int>(length), line);
    line = end != nullptr ? end + 1 : nullptr;
  }
}

template <typename Row>
void print_usage_of(const Row& row) {
  print_usage_lines(row.code, row.usage);
}

}  // namespace

void send_cmd_to_lcm(char* line) {
  // A line without a number keeps the number of the previous command.
  auto number = static_cast<s16>(ctrlcmd.cmd_type);
  std::sscanf(line, "%5hd%*[^ ]", &number);
  ctrlcmd.cmd_type = static_cast<u16>(number);

  const Command* command = find_by_code(kCommands, ctrlcmd.cmd_type);
  if (command == nullptr) std::puts("unsupported command type");
  for (; command != nullptr; command = find_by_code(kCommands, command->next)) {
    std::visit([line](const auto& action) { action(line); }, command->action);
  }
  std::printf("\n");
}

bool file_exists(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0;
}

bool runs_command(int number) { return find_by_code(kCommands, number) != nullptr; }

void print_usage() {
  const ListedCommand* listed = std::begin(kListedOnly);
  for (const Command& command : kCommands) {
    for (; listed != std::end(kListedOnly) && listed->code < command.code; ++listed) {
      print_usage_of(*listed);
    }
    // The network's name stands behind its password, where operators look for it.
    if (command.code == UDP_CTRL_CAM_SET_WIFI_SSID) continue;
    print_usage_of(command);
    if (command.code == UDP_CTRL_CAM_SET_WIFI_PASSWORD) {
      print_usage_of(*find_by_code(kCommands, UDP_CTRL_CAM_SET_WIFI_SSID));
    }
  }
  for (; listed != std::end(kListedOnly); ++listed) print_usage_of(*listed);
}
