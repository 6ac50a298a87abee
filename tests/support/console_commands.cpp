#include "console_commands.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "operation_catalogue.h"

namespace {

/// A command without parameters.
struct PlainCommand {
  const char* line;
  const char* operation;
  std::string done{};
  std::string failed{};  // of commands that print their line whatever the operation returned
};

const PlainCommand kPlainCommands[] = {
    {"0", "get_all_request_list",
     "cam_mode = 17\nwb = 51\nae_mode = 38\nx_ratio = 40, y_ratio = 41\n"
     "fps = 46, video_resolution_h = 11050,video_resolution_v = 11564\n"
     "recording_time_s = 926299444 s\navailable_mib = 970382.31 MB\n"
     "camera_status = 1\n"},
    {"1", "get_camera_mode", "camera_mode = 183(1:video,2:photo)\n"},
    {"3", "send_capture_cmd", "succeeded in taking a photo!\n",
     "failed to take a photo, erorr=0x%02x (%d).\n"},
    {"4", "send_start_video_cmd"},
    {"5", "send_stop_video_cmd"},
    {"6", "get_camera_status", "video_status = 1 (0:idle,1:recording,2:capturing)\n"},
    {"7", "get_camera_ae", "GET_AE_MODE:183(0:auto;1:manual)\n"},
    {"9", "get_camera_ev", "GET_PARAMS_EV:value=beef;\n"},
    {"11", "get_shutter_iso", "shutter_s = 0.01, iso_value = 200.00\n",
     "shutter_s = 0.00, iso_value = 0.00\n"},
    {"13", "get_wb_mode",
     "wb = 183(0:AUTO,1:INCANDESCENT,2:SUNRISE,3:SUNSET,4:SUNNY,5:CLOUDY,\n"
     "        7:FLUORESCENT,99:LOCK,100:CUSTOM)\n"},
    {"15", "get_video_params", "video_h = 1920,video_v = 1080,video_fps = 60\n",
     "video_h = 0,video_v = 0,video_fps = 0\n"},
    {"17", "get_meter_mode", "meter_mode = 183(0:Center,1:Average,2:Spot,3:Partial,4:Evalnative)"},
    {"19", "get_flicker_mode", "flicker_mode = 183(0:off,1:on)\n"},
    {"21", "get_color_mode", "color_mode = 183(0:nature,1:saturation,2:raw,3:night,5:vivid)\n"},
    {"23", "get_image_quality", "image_quality = 183(0:low,1:medium,2:high,3:ultra_high)\n"},
    {"25", "get_image_format", "image_format = 183(1:jpg,130:dng,131:jpg+dng)\n"},
    {"28", "reset_cam_settings_cmd"},
    {"29", "get_recording_time", "recording_time_s = 305419896 s\n"},
    {"30", "get_sdcard_storage",
     "storage 241: available_kib = 4160157172 KB,total_kib = 4227529208 KB\n"},
    {"31", "get_camera_version", "camera_version: VLMCAM_3.14.159_r\n",
     std::string("camera_version: _0.0.0_\0\n", 25)},
    {"33", "upgrade_camera"},
    {"34", "get_media_folder", "GET_MEDIA_FOLDER info:enable_flag=183;folder_name=101MEDIA\n"},
    {"36", "get_spot_metering_coords", "GET_SPOT_METERING_COORDS:x_ratio = 37, y_ratio = 62\n"},
    {"38", "test_sdcard_speed"},
    {"39", "get_sdcard_attribute",
     "GET_T_CARD_ATTRIBUTE:\nspeed = 48879,level = 1(0:low;1:high),"
     "space_state = 2(0:available;1:no space)\n"},
    {"40", "get_color_encoding", "color_encoding_mode = 183(0:NTSC,1:PAL)\n"},
    {"42", "get_video_encode_mode", "GET_VIDEO_ENCODE_MODE :183(1--H264;3--HEVC)\n"},
    {"45", "reboot_camera"},
    {"46", "get_photo_ratio", "photo_ratio = 183(4:3->2,16:9->3)\n"},
    {"48", "get_file_format", "file_format = 183(MOV:0,MP4:1)\n"},
    {"50", "get_capture_mode", "photo_mode = 3,photo_number = 48879,ev_num = -7,ev_dem = 200\n"},
    {"52", "get_image_flip_type", "flip_type = 183(0->0,1->90,2->180,3->270 degree)\n"},
    {"55", "get_low_delay_stream", "low_delay_mode = 0xb7(0x00:disable,0x11:enable)\n"},
    {"57", "get_custom_wb", "custom_wb = 183\n"},
    {"61", "get_wdr_mode", "wdr_mode = 183\n"},
    {"66", "send_stop_capture_cmd"},
    {"67", "get_image_dewarp", "dewarp_mode = 183\n"},
    {"69", "get_country_code", "country_code = \n"},
    {"78", "get_eis_status", "eis_status = 183\n"},
    {"80", "get_digital_zoom", "zoom = 305419896\n", "zoom = 0\n"},
    {"82", "get_zoom", "zoom = 12.5", "zoom = 0.0"},
    {"92", "get_main_stream_framerate_divisor", "main stream framerate divisor  = 305419896\n"},
    {"94", "get_media_filenum_option",
     "media file numbering option = 183 (0:auto-reset, 1:sequential)\n"},
    {"97", "get_sdcard_support_info", "oemid= 48879,manufacturerID= 24, support_value=183\n",
     "oemid= 0,manufacturerID= 0, support_value=0\n"},
    {"206", "get_focus", "focus = beef\n", "focus = 00\n"},
    {"208", "get_iris", "iris = beef\n", "iris = 00\n"},
    {"210", "get_iso_cmd", "iso value = 48879 \n", "iso value = 0 \n"},
    {"220", "get_defog_level", "defog level value = 183 \n", "defog level value = 0 \n"},
    {"235", "get_RGain_value", "get rgain value = 48879 \n"},
    {"237", "get_BGain_value", "get bgain value = 48879 \n"},
    {"240", "get_osd_status", "OSD status = 183(0:off,1:on)\n"},
    {"241", "get_focus_mode", "focus_mode = 183\n", "focus_mode = 0\n"},
};

/// A usual value of each conversion.
const std::pair<const char*, u64> kUsual[] = {
    {"%3hhd", 183},  {"%3hhu", 183}, {"%3hu", 789},       {"%5hd", 48879},
    {"%5hu", 48879}, {"%hd", 48879}, {"%10d", 305419896}, {"%20llu", 12345678901234567890ULL},
};

Command usual(const Setting& setting) {
  for (const auto& [conversion, value] : kUsual) {
    if (conversion == setting.conversion)
      return setting.command(" " + std::to_string(value), value);
  }
  throw std::out_of_range(setting.conversion);
}

}  // namespace

Step step(const char* operation, std::string done, std::string failed) {
  return {camera_operation(operation), "", std::move(done), std::move(failed)};
}

Command Setting::command(const std::string& rest, u64 value) const {
  Step first{camera_operation(operation)};
  Bytes payload = bytes_of(value);
  payload.resize(first.operation.payload.size());  // the width of the argument
  first.operation.sends(payload);
  first.before = formatted(before, number_in(payload));
  first.done = formatted(done, number_in(payload));
  first.failed = failed;
  Command command{std::to_string(number) + rest, {first}};
  command.steps.insert(command.steps.end(), next.begin(), next.end());
  return command;
}

int number_of(const Command& command) { return std::atoi(command.line.c_str()); }

const std::vector<Command>& plain_commands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all;
    for (const PlainCommand& row : kPlainCommands) {
      all.push_back({row.line, {step(row.operation, row.done, row.failed)}});
    }
    return all;
  }();
  return commands;
}

const std::vector<Setting>& settings() {
  static const std::vector<Setting> rows{
      {2, "%3hhd", "set_camera_mode", "", "succeeded in setting camera mode to %d\n",
       "failed to set camera mode, error = %d\n"},
      {8, "%3hhd", "set_camera_ae"},
      {10, "%hd", "set_camera_ev"},
      {14, "%3hhd", "send_wb_cmd"},
      {18, "%3hhd", "set_meter_mode"},
      {20, "%3hhd", "set_flicker_mode"},
      {22, "%3hhd", "set_color_mode"},
      {24, "%3hhd", "set_image_quality"},
      {26, "%3hhd", "set_image_format"},
      {27, "%3hhd", "send_format_sdcard_cmd"},
      {32, "%20llu", "set_rtos_time"},
      {41, "%3hhu", "set_color_encoding"},
      {43, "%3hhd", "set_video_encode_mode"},
      {47, "%3hhu", "set_photo_ratio"},
      {49, "%3hhu", "set_file_format"},
      {53, "%3hhu", "set_image_flip_type"},
      {56, "%3hhu", "set_low_delay_stream"},
      {58, "%3hhu", "set_custom_wb"},
      {60, "%3hu", "send_iso_cmd", "set iso value = %02x\n"},
      {62, "%3hhu", "set_wdr_mode"},
      {65,
       "%5hu",
       "set_drone_platform",
       "",
       "",
       "",
       {step("get_image_dewarp", "dewarp_mode = 183\n")}},
      {68, "%3hhu", "set_image_dewarp"},
      {71, "%3hhu", "send_wifi_status"},
      {73, "%10d", "set_2nd_stream_bitrate", "The input bitrate: %u\n"},
      {79, "%3hhu", "set_eis_status"},
      {81, "%10d", "set_digital_zoom", "dzoom = %d\n"},
      {87, "%3hhu", "set_survey_mode_flag"},
      {91,
       "%10d",
       "set_main_stream_framerate_divisor",
       "The input frame rate divisor: %u \n",
       "",
       "",
       {step("get_main_stream_framerate_divisor", "main stream framerate divisor  = 305419896\n")}},
      {93, "%3hhu", "set_media_filenum_option"},
      {200, "%10d", "set_zoom_control"},
      {201, "%10d", "set_dzoom_control"},
      {203, "%10d", "set_dzoom_onoff"},
      {205, "%10d", "set_focus"},
      {207, "%3hu", "set_iris", "iris = %02x\n"},
      {216, "%3hhu", "set_focus_mode"},
      {217, "%10d", "set_focus_limit"},
      {218, "%3hhu", "set_defog_onoff", "onoff = %02x\n"},
      {219, "%3hhu", "set_defog_level", "level = %02x\n"},
      {236, "%5hd", "set_BGain_value", "", "set bgain value = %d \n"},
      {238, "%5hd", "set_RGain_value", "", "set rgain value = %d \n"},
      {239, "%3hhd", "set_osd_status"},
  };
  return rows;
}

Command set_shutter_iso(const char* line, u16 numerator, u16 denominator, s32 iso) {
  const udp_ctrl_cam_shutter_iso_t payload{0, numerator, denominator, static_cast<u32>(iso)};
  return {line,
          {{camera_operation("send_shutter_iso_cmd")
                .with(payload)
                .traces("set sht_num: " + std::to_string(numerator) + ", sht_dem: " +
                        std::to_string(denominator) + ", iso ID: " + std::to_string(iso) + "\n")}}};
}

Command set_video(const char* line, u16 width, u16 height, u8 fps) {
  return {line,
          {{camera_operation("set_video_param")
                .with(udp_ctrl_video_t{{width, height}, fps, -1})
                .traces("Set LCM video fps:    " + std::to_string(fps) +
                        "\nSet LCM video width:  " + std::to_string(width) +
                        "\nSet LCM video height: " + std::to_string(height) + "\n")}}};
}

Command set_folder(const char* line, const char* prefix) {
  return {line, {{camera_operation("set_media_folder").sends(joined({1}, bytes_of_text(prefix)))}}};
}

Command set_spot(const char* line, u8 x, u8 y) {
  return {line,
          {{camera_operation("set_spot_metering_coords")
                .sends({x, y})
                .traces("set x_ratio  = " + std::to_string(x) + ",y_ratio = " + std::to_string(y) +
                        "\n")}}};
}

Command set_password(const std::string& line, const std::string& password) {
  return {line,
          {{camera_operation("set_wifi_passwd")
                .sends(bytes_of_text(password))
                .prints("set wifi_passwd  = " + password + "\n")}}};
}

Command set_photos(const char* line, const Bytes& payload) {
  return {line, {{camera_operation("set_capture_mode").sends(joined(payload, Bytes(6)))}}};
}

Command set_network(const std::string& line, const std::string& ssid) {
  return {line,
          {{camera_operation("set_wifi_ssid")
                .sends(bytes_of_text(ssid))
                .prints("set wifi_ssid  = " + ssid + "\n")}}};
}

Command set_country(const std::string& line, const std::string& code) {
  return {line, {{camera_operation("set_country_code").sends(bytes_of_text(code))}}};
}

Command set_board(const std::string& line, const std::string& id) {
  return {line,
          {{camera_operation("send_rc_board_id").sends(bytes_of_text(id))},
           step("get_RGain_value", "get rgain value = 48879 \n")}};
}

Command set_zoom(const char* line, float zoom) {
  return {line, {{camera_operation("set_zoom").with(zoom)}}};
}

Command get_property(const std::string& line, const std::string& name) {
  const Operation operation = camera_operation("get_property")
                                  .sends(bytes_of_text(name))
                                  .prints("get property:" + name + "\n");
  return {line, {{operation, "", "property: short\n", "property " + name + " is not found.\n"}}};
}

Command set_property(const std::string& line, const std::string& assignment) {
  const Operation operation =
      camera_operation("set_property")
          .sends(bytes_of_text(assignment))
          .prints("LcmRequest::set_property set prop: " + assignment + "\n")
          .says("set property: new value: " + assignment + ", previous value: short\n")
          .complains("set_propery " + assignment + " failed\n");
  return {line,
          {{operation, "set property string: " + assignment + "\n",
            "set property to: " + assignment + ".\n the previous value: short\n",
            "set property failed.\n"}}};
}

Command set_resolution(const char* line, u32 width, u32 height) {
  return {
      line,
      {{camera_operation("set_2nd_stream_resolution")
            .with(vlm_second_stream_resolution_t{width, height}),
        "The input resolution: " + std::to_string(width) + "*" + std::to_string(height) + "\n"}}};
}

Command set_focus_control(const char* line, u32 direction, u16 iris) {
  return {line,
          {{camera_operation("set_focus_control").with(direction)},
           {camera_operation("set_iris").with(iris), formatted("iris = %02x\n", iris)}}};
}

std::vector<Command> every_command() {
  std::vector<Command> commands = plain_commands();
  for (const Setting& setting : settings()) commands.push_back(usual(setting));
  for (const Command& command :
       {set_shutter_iso("12 4660 48879 54321", 4660, 48879, 54321),
        set_video("16 1920 1080 60", 1920, 1080, 60), set_folder("35 101", "101"),
        set_spot("37 37 62", 37, 62), set_password("44 correct-horse", "correct-horse"),
        set_photos("51 3 48879 -7 200", {3, 0xEF, 0xBE, 0xF9, 200}),
        set_network("54 field-camera-7", "field-camera-7"), set_country("70 DE", "DE"),
        set_board("72 RC-0815", "RC-0815"), set_zoom("83 12.5", 12.5F),
        get_property("84 exposure", "exposure"), set_property("85 exposure=long", "exposure=long"),
        set_resolution("90 1280 305419896", 1280, 305419896),
        set_focus_control("202 305419896", 305419896, 305)}) {
    commands.push_back(command);
  }
  return commands;
}

std::vector<int> unsupported_numbers() {
  const std::vector<std::pair<int, int>> gaps{
      {59, 59},   {63, 64},   {74, 77},   {88, 89},   {95, 96},   {98, 199},
      {204, 204}, {209, 209}, {211, 215}, {221, 234}, {242, 300},
  };
  std::vector<int> numbers{-1, -2, -32, -100, -999, -9999, 301, 901, 905, 906, 999, 9999, 32767};
  for (const auto& [first, last] : gaps) {
    for (int number = first; number <= last; ++number) numbers.push_back(number);
  }
  return numbers;
}
