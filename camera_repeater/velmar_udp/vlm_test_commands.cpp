// The console's numbered commands: number -> parameters, operation, printed outcome.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <variant>

#include "lcm_request.h"
#include "vlm_test.h"

udp_ctrl_cam_t ctrlcmd{};
char g_OTA_DirList[1][64] = {"/sdcard"};

namespace {

/// Reads parameters with scanf `conversions`, from behind the first token of `line`. A parameter
/// that is missing leaves its variable as it was.
template <typename... T>
void scan(const char* line, const char* conversions, T*... variables) {
  char format[64];
  std::snprintf(format, sizeof format, "%%*[^ ]%s", conversions);
  std::sscanf(line, format, variables...);
}

/// The one parameter of most commands.
template <typename T>
T scan(const char* line, const char* conversion) {
  T value{};
  scan(line, conversion, &value);
  return value;
}

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

/// A row that is a function of its own.
using Function = void (*)(const char* line);

/// An operation without parameters.
struct Run {
  bool (LcmRequest::*operation)();

  void operator()(const char* /*line*/) const { (lcm_request.*operation)(); }
};

enum PrintWhen { kWhenTrue, kAlways };

/// A query with one result, which is 0 where a failed query is printed too.
template <typename T>
struct Query {
  bool (LcmRequest::*operation)(T&);
  const char* format;
  PrintWhen when = kWhenTrue;

  void operator()(const char* /*line*/) const {
    T value{};
    if ((lcm_request.*operation)(value) || when == kAlways) std::printf(format, value);
  }
};

template <typename T>
Query(bool (LcmRequest::*)(T&), const char*, PrintWhen = kWhenTrue) -> Query<T>;

/// An operation with one numeric parameter, which may be printed before the call or after a success.
template <typename T>
struct Set {
  const char* conversion;
  bool (LcmRequest::*operation)(T);
  const char* before = nullptr;
  const char* done = nullptr;

  void operator()(const char* line) const {
    const T value = scan<T>(line, conversion);
    if (before != nullptr) std::printf(before, value);
    if ((lcm_request.*operation)(value) && done != nullptr) std::printf(done, value);
  }
};

template <typename T>
Set(const char*, bool (LcmRequest::*)(T), const char* = nullptr, const char* = nullptr) -> Set<T>;

/// An operation with one word as parameter, at most 19 characters.
struct SendText {
  const char* conversion;
  bool (LcmRequest::*operation)(const char*);

  void operator()(const char* line) const {
    char text[20] = {};
    scan(line, conversion, text);
    (lcm_request.*operation)(text);
  }
};

using Action = std::variant<Function, Run, SendText, Query<u8>, Query<u16>, Query<u32>, Set<u8>,
                            Set<u16>, Set<u32>, Set<unsigned long long>, Set<float>>;

struct Command {
  int number;
  Action action;
  int next = -1;  // the command that it goes on with, after its own call
};

using L = LcmRequest;

constexpr Command kCommands[] = {
    {0, get_all},
    {1, Query{&L::get_camera_mode, "camera_mode = %d(1:video,2:photo)\n"}},
    {2, set_camera_mode},
    {3, take_photo},
    {4, Run{&L::send_start_video_cmd}},
    {5, Run{&L::send_stop_video_cmd}},
    {6, Query{&L::get_camera_status, "video_status = %d (0:idle,1:recording,2:capturing)\n"}},
    {7, Query{&L::get_camera_ae, "GET_AE_MODE:%d(0:auto;1:manual)\n"}},
    {8, Set{"%3hhd", &L::set_camera_ae}},
    {9, Query{&L::get_camera_ev, "GET_PARAMS_EV:value=%02x;\n"}},
    {10, Set{"%hd", &L::set_camera_ev}},
    {11, get_shutter_iso},
    {12, set_shutter_iso},
    {13, Query{&L::get_wb_mode,
               "wb = %d(0:AUTO,1:INCANDESCENT,2:SUNRISE,3:SUNSET,4:SUNNY,5:CLOUDY,\n        "
               "7:FLUORESCENT,99:LOCK,100:CUSTOM)\n"}},
    {14, Set{"%3hhd", &L::send_wb_cmd}},
    {15, get_video},
    {16, set_video},
    {17, Query{&L::get_meter_mode,
               "meter_mode = %d(0:Center,1:Average,2:Spot,3:Partial,4:Evalnative)"}},
    {18, Set{"%3hhd", &L::set_meter_mode}},
    {19, Query{&L::get_flicker_mode, "flicker_mode = %d(0:off,1:on)\n"}},
    {20, Set{"%3hhd", &L::set_flicker_mode}},
    {21,
     Query{&L::get_color_mode, "color_mode = %d(0:nature,1:saturation,2:raw,3:night,5:vivid)\n"}},
    {22, Set{"%3hhd", &L::set_color_mode}},
    {23, Query{&L::get_image_quality, "image_quality = %d(0:low,1:medium,2:high,3:ultra_high)\n"}},
    {24, Set{"%3hhd", &L::set_image_quality}},
    {25, Query{&L::get_image_format, "image_format = %d(1:jpg,130:dng,131:jpg+dng)\n"}},
    {26, Set{"%3hhd", &L::set_image_format}},
    {27, Set{"%3hhd", &L::send_format_sdcard_cmd}},
    {28, Run{&L::reset_cam_settings_cmd}},
    {29, Query{&L::get_recording_time, "recording_time_s = %d s\n"}},
    {30, get_storage},
    {31, get_version},
    {32, Set{"%20llu", &L::set_rtos_time}},
    {33, upgrade_firmware},
    {34, get_media_folder},
    {35, set_media_folder},
    {36, get_spot_metering},
    {37, set_spot_metering},
    {38, Run{&L::test_sdcard_speed}},
    {39, get_card_attribute},
    {40, Query{&L::get_color_encoding, "color_encoding_mode = %d(0:NTSC,1:PAL)\n"}},
    {41, Set{"%3hhu", &L::set_color_encoding}},
    {42, Query{&L::get_video_encode_mode, "GET_VIDEO_ENCODE_MODE :%d(1--H264;3--HEVC)\n"}},
    {43, Set{"%3hhd", &L::set_video_encode_mode}},
    {44, SendText{"%19s", &L::set_wifi_passwd}},
    {45, Run{&L::reboot_camera}},
    {46, Query{&L::get_photo_ratio, "photo_ratio = %d(4:3->2,16:9->3)\n"}},
    {47, Set{"%3hhu", &L::set_photo_ratio}},
    {48, Query{&L::get_file_format, "file_format = %d(MOV:0,MP4:1)\n"}},
    {49, Set{"%3hhu", &L::set_file_format}},
    {50, get_capture_mode},
    {51, set_capture_mode},
    {52, Query{&L::get_image_flip_type, "flip_type = %d(0->0,1->90,2->180,3->270 degree)\n"}},
    {53, Set{"%3hhu", &L::set_image_flip_type}},
    {54, SendText{"%19s", &L::set_wifi_ssid}},
    {55, Query{&L::get_low_delay_stream, "low_delay_mode = %#x(0x00:disable,0x11:enable)\n"}},
    {56, Set{"%3hhu", &L::set_low_delay_stream}},
    {57, Query{&L::get_custom_wb, "custom_wb = %d\n"}},
    {58, Set{"%3hhu", &L::set_custom_wb}},
    {60, Set{"%3hu", &L::send_iso_cmd, "set iso value = %02x\n"}},
    {61, Query{&L::get_wdr_mode, "wdr_mode = %d\n"}},
    {62, Set{"%3hhu", &L::set_wdr_mode}},
    {65, Set{"%5hu", &L::set_drone_platform}, 67},
    {66, Run{&L::send_stop_capture_cmd}},
    {67, Query{&L::get_image_dewarp, "dewarp_mode = %d\n"}},
    {68, Set{"%3hhu", &L::set_image_dewarp}},
    {69, get_country_code},
    {70, SendText{"%10s", &L::set_country_code}},
    {71, Set{"%3hhu", &L::send_wifi_status}},
    {72, SendText{"%10s", &L::send_rc_board_id}, 235},
    {73, Set{"%10d", &L::set_2nd_stream_bitrate, "The input bitrate: %u\n"}},
    {78, Query{&L::get_eis_status, "eis_status = %d\n"}},
    {79, Set{"%3hhu", &L::set_eis_status}},
    {80, Query{&L::get_digital_zoom, "zoom = %d\n", kAlways}},
    {81, Set{"%10d", &L::set_digital_zoom, "dzoom = %d\n"}},
    {82, get_zoom},
    {83, Set{"%f", &L::set_zoom}},
    {84, get_property},
    {85, set_property},
    {86, Query{&L::get_survey_mode_flag, "survey mode flag = %d\n"}},
    {87, Set{"%3hhu", &L::set_survey_mode_flag}},
    {90, set_2nd_stream_resolution},
    {91, set_framerate_divisor, 92},
    {92, Query{&L::get_main_stream_framerate_divisor, "main stream framerate divisor  = %d\n"}},
    {93, Set{"%3hhu", &L::set_media_filenum_option}},
    {94, Query{&L::get_media_filenum_option,
               "media file numbering option = %d (0:auto-reset, 1:sequential)\n"}},
    {97, get_support_info},
    {200, Set{"%10d", &L::set_zoom_control}},
    {201, Set{"%10d", &L::set_dzoom_control}},
    {202, Set{"%10d", &L::set_focus_control}, 207},
    {203, Set{"%10d", &L::set_dzoom_onoff}},
    {205, Set{"%10d", &L::set_focus}},
    {206, Query{&L::get_focus, "focus = %02x\n", kAlways}},
    {207, Set{"%3hu", &L::set_iris, "iris = %02x\n"}},
    {208, Query{&L::get_iris, "iris = %02x\n", kAlways}},
    {210, Query{&L::get_iso_cmd, "iso value = %d \n", kAlways}},
    {216, Set{"%3hhu", &L::set_focus_mode}},
    {217, Set{"%10d", &L::set_focus_limit}},
    {218, Set{"%3hhu", &L::set_defog_onoff, "onoff = %02x\n"}},
    {219, Set{"%3hhu", &L::set_defog_level, "level = %02x\n"}},
    {220, Query{&L::get_defog_level, "defog level value = %d \n", kAlways}},
    {235, Query{&L::get_RGain_value, "get rgain value = %d \n"}},
    {236, Set{"%5hd", &L::set_BGain_value, nullptr, "set bgain value = %d \n"}},
    {237, Query{&L::get_BGain_value, "get bgain value = %d \n"}},
    {238, Set{"%5hd", &L::set_RGain_value, nullptr, "set rgain value = %d \n"}},
    {239, Set{"%3hhd", &L::set_osd_status}},
    {240, Query{&L::get_osd_status, "OSD status = %d(0:off,1:on)\n"}},
    {241, Query{&L::get_focus_mode, "focus_mode = %u\n", kAlways}},
};

const Command* find_command(int number) {
  const auto* const command =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [number](const Command& row) { return row.number == number; });
  return command != std::end(kCommands) ? command : nullptr;
}

}  // namespace

void send_cmd_to_lcm(char* line) {
  // A line without a number keeps the number of the previous command.
  auto number = static_cast<s16>(ctrlcmd.cmd_type);
  std::sscanf(line, "%5hd%*[^ ]", &number);
  ctrlcmd.cmd_type = static_cast<u16>(number);

  const Command* command = find_command(ctrlcmd.cmd_type);
  if (command == nullptr) std::puts("unsupported command type");
  for (; command != nullptr; command = find_command(command->next)) {
    std::visit([line](const auto& action) { action(line); }, command->action);
  }
  std::printf("\n");
}

bool file_exists(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0;
}
