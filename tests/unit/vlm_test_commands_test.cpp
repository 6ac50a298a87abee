// The console's numbered commands: every number against every outcome, and every way to write a
// parameter. The operations themselves are rows of the operation catalogue; here stands what the
// console makes of them.

#include <sys/stat.h>
#include <unistd.h>

#include <cfloat>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <set>

#include "operation_matrix.h"
#include "vlm_test.h"

namespace {

// --- The command table ---

/// One operation of a command, and what the console prints around it. The texts take the code of
/// the outcome where they have conversions.
struct Step {
  Operation operation;
  std::string before;
  std::string done;
  std::string failed;
};

/// What one line does.
struct Command {
  std::string line;
  std::vector<Step> steps;
};

Step step(const char* operation, std::string done = "", std::string failed = "") {
  return {camera_operation(operation), "", std::move(done), std::move(failed)};
}

/// Prints its line whatever the operation returned.
Step always(const char* operation, const char* done, std::string failed) {
  return step(operation, done, std::move(failed));
}

/// Commands without parameters.
std::vector<Command> plain_commands() {
  return {
      {"0",
       {step("get_all_request_list",
             "cam_mode = 17\nwb = 51\nae_mode = 38\nx_ratio = 40, y_ratio = 41\n"
             "fps = 46, video_resolution_h = 11050,video_resolution_v = 11564\n"
             "recording_time_s = 926299444 s\navailable_mib = 970382.31 MB\n"
             "camera_status = 1\n")}},
      {"1", {step("get_camera_mode", "camera_mode = 183(1:video,2:photo)\n")}},
      {"3",
       {step("send_capture_cmd", "succeeded in taking a photo!\n",
             "failed to take a photo, erorr=0x%02x (%d).\n")}},
      {"4", {step("send_start_video_cmd")}},
      {"5", {step("send_stop_video_cmd")}},
      {"6", {step("get_camera_status", "video_status = 1 (0:idle,1:recording,2:capturing)\n")}},
      {"7", {step("get_camera_ae", "GET_AE_MODE:183(0:auto;1:manual)\n")}},
      {"9", {step("get_camera_ev", "GET_PARAMS_EV:value=beef;\n")}},
      {"11",
       {always("get_shutter_iso", "shutter_s = 0.01, iso_value = 200.00\n",
               "shutter_s = 0.00, iso_value = 0.00\n")}},
      {"13",
       {step("get_wb_mode",
             "wb = 183(0:AUTO,1:INCANDESCENT,2:SUNRISE,3:SUNSET,4:SUNNY,5:CLOUDY,\n"
             "        7:FLUORESCENT,99:LOCK,100:CUSTOM)\n")}},
      {"15",
       {always("get_video_params", "video_h = 1920,video_v = 1080,video_fps = 60\n",
               "video_h = 0,video_v = 0,video_fps = 0\n")}},
      {"17",
       {step("get_meter_mode",
             "meter_mode = 183(0:Center,1:Average,2:Spot,3:Partial,4:Evalnative)")}},
      {"19", {step("get_flicker_mode", "flicker_mode = 183(0:off,1:on)\n")}},
      {"21",
       {step("get_color_mode", "color_mode = 183(0:nature,1:saturation,2:raw,3:night,5:vivid)\n")}},
      {"23",
       {step("get_image_quality", "image_quality = 183(0:low,1:medium,2:high,3:ultra_high)\n")}},
      {"25", {step("get_image_format", "image_format = 183(1:jpg,130:dng,131:jpg+dng)\n")}},
      {"28", {step("reset_cam_settings_cmd")}},
      {"29", {step("get_recording_time", "recording_time_s = 305419896 s\n")}},
      {"30",
       {step("get_sdcard_storage",
             "storage 241: available_kib = 4160157172 KB,total_kib = 4227529208 KB\n")}},
      {"31",
       {always("get_camera_version", "camera_version: VLMCAM_3.14.159_r\n",
               std::string("camera_version: _0.0.0_\0\n", 25))}},
      {"33", {step("upgrade_camera")}},
      {"34",
       {step("get_media_folder", "GET_MEDIA_FOLDER info:enable_flag=183;folder_name=101MEDIA\n")}},
      {"36",
       {step("get_spot_metering_coords", "GET_SPOT_METERING_COORDS:x_ratio = 37, y_ratio = 62\n")}},
      {"38", {step("test_sdcard_speed")}},
      {"39",
       {step("get_sdcard_attribute",
             "GET_T_CARD_ATTRIBUTE:\nspeed = 48879,level = 1(0:low;1:high),"
             "space_state = 2(0:available;1:no space)\n")}},
      {"40", {step("get_color_encoding", "color_encoding_mode = 183(0:NTSC,1:PAL)\n")}},
      {"42", {step("get_video_encode_mode", "GET_VIDEO_ENCODE_MODE :183(1--H264;3--HEVC)\n")}},
      {"45", {step("reboot_camera")}},
      {"46", {step("get_photo_ratio", "photo_ratio = 183(4:3->2,16:9->3)\n")}},
      {"48", {step("get_file_format", "file_format = 183(MOV:0,MP4:1)\n")}},
      {"50",
       {step("get_capture_mode",
             "photo_mode = 3,photo_number = 48879,ev_num = -7,ev_dem = 200\n")}},
      {"52", {step("get_image_flip_type", "flip_type = 183(0->0,1->90,2->180,3->270 degree)\n")}},
      {"55", {step("get_low_delay_stream", "low_delay_mode = 0xb7(0x00:disable,0x11:enable)\n")}},
      {"57", {step("get_custom_wb", "custom_wb = 183\n")}},
      {"61", {step("get_wdr_mode", "wdr_mode = 183\n")}},
      {"66", {step("send_stop_capture_cmd")}},
      {"67", {step("get_image_dewarp", "dewarp_mode = 183\n")}},
      {"69", {step("get_country_code", "country_code = \n")}},
      {"78", {step("get_eis_status", "eis_status = 183\n")}},
      {"80", {always("get_digital_zoom", "zoom = 305419896\n", "zoom = 0\n")}},
      {"82", {always("get_zoom", "zoom = 12.5", "zoom = 0.0")}},
      {"92",
       {step("get_main_stream_framerate_divisor", "main stream framerate divisor  = 305419896\n")}},
      {"94",
       {step("get_media_filenum_option",
             "media file numbering option = 183 (0:auto-reset, 1:sequential)\n")}},
      {"97",
       {always("get_sdcard_support_info", "oemid= 48879,manufacturerID= 24, support_value=183\n",
               "oemid= 0,manufacturerID= 0, support_value=0\n")}},
      {"206", {always("get_focus", "focus = beef\n", "focus = 00\n")}},
      {"208", {always("get_iris", "iris = beef\n", "iris = 00\n")}},
      {"210", {always("get_iso_cmd", "iso value = 48879 \n", "iso value = 0 \n")}},
      {"220",
       {always("get_defog_level", "defog level value = 183 \n", "defog level value = 0 \n")}},
      {"235", {step("get_RGain_value", "get rgain value = 48879 \n")}},
      {"237", {step("get_BGain_value", "get bgain value = 48879 \n")}},
      {"240", {step("get_osd_status", "OSD status = 183(0:off,1:on)\n")}},
      {"241", {always("get_focus_mode", "focus_mode = 183\n", "focus_mode = 0\n")}},
  };
}

/// A command with one numeric parameter.
struct Setting {
  int number;
  const char* conversion;
  const char* operation;
  const char* before = "";  // of the value
  const char* done = "";
  const char* failed = "";
  std::vector<Step> next{};  // the command that it goes on with

  /// The width of the operation's argument.
  std::size_t width() const { return camera_operation(operation).payload.size(); }

  /// The command that reads `text` as `value`.
  Command command(const std::string& text, u64 value) const {
    Bytes payload = bytes_of(value);
    payload.resize(width());
    const auto number_printed = static_cast<unsigned>(value & mask());
    Step first{camera_operation(operation).sends(payload), formatted(before, number_printed),
               formatted(done, number_printed), failed};
    Command command{std::to_string(number) + text, {first}};
    command.steps.insert(command.steps.end(), next.begin(), next.end());
    return command;
  }

 private:
  u64 mask() const { return width() == 8 ? ~u64{0} : (u64{1} << (8 * width())) - 1; }
};

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

/// A usual value of each conversion.
const std::pair<const char*, u64> kUsual[] = {
    {"%3hhd", 183},  {"%3hhu", 183}, {"%3hu", 789},       {"%5hd", 48879},
    {"%5hu", 48879}, {"%hd", 48879}, {"%10d", 305419896}, {"%20llu", 12345678901234567890ULL},
};

const Setting& setting(int number) {
  const auto row = std::find_if(settings().begin(), settings().end(),
                                [=](const Setting& each) { return each.number == number; });
  if (row == settings().end()) throw std::out_of_range(std::to_string(number));
  return *row;
}

Command usual(const Setting& row) {
  for (const auto& [conversion, value] : kUsual) {
    if (conversion == std::string(row.conversion)) {
      return row.command(" " + std::to_string(value), value);
    }
  }
  throw std::out_of_range(row.conversion);
}

/// The traces of a video setting.
std::string video_traces(int fps, int width, int height) {
  return "Set LCM video fps:    " + std::to_string(fps) +
         "\nSet LCM video width:  " + std::to_string(width) +
         "\nSet LCM video height: " + std::to_string(height) + "\n";
}

Command set_video(const char* line, u16 width, u16 height, u8 fps) {
  const Bytes payload = bytes_of(udp_ctrl_video_t{{width, height}, fps, -1});
  return {
      line,
      {{camera_operation("set_video_param").sends(payload).traces(video_traces(fps, width, height)),
        "", "", ""}}};
}

Command set_shutter_iso(const char* line, u16 numerator, u16 denominator, s32 iso) {
  const Bytes payload =
      bytes_of(udp_ctrl_cam_shutter_iso_t{0, numerator, denominator, static_cast<u32>(iso)});
  return {line,
          {{camera_operation("send_shutter_iso_cmd")
                .sends(payload)
                .traces("set sht_num: " + std::to_string(numerator) + ", sht_dem: " +
                        std::to_string(denominator) + ", iso ID: " + std::to_string(iso) + "\n"),
            "", "", ""}}};
}

Command set_spot(const char* line, u8 x, u8 y) {
  return {line,
          {{camera_operation("set_spot_metering_coords")
                .sends({x, y})
                .traces("set x_ratio  = " + std::to_string(x) + ",y_ratio = " + std::to_string(y) +
                        "\n"),
            "", "", ""}}};
}

Command set_photos(const char* line, const Bytes& payload) {
  return {line,
          {{camera_operation("set_capture_mode").sends(joined(payload, Bytes(6))), "", "", ""}}};
}

Command set_resolution(const char* line, u32 width, u32 height) {
  const Bytes payload = joined(bytes_of(width), bytes_of(height));
  return {line,
          {{camera_operation("set_2nd_stream_resolution").sends(payload),
            "The input resolution: " + std::to_string(width) + "*" + std::to_string(height) + "\n",
            "", ""}}};
}

Command set_folder(const char* line, const char* prefix) {
  return {line,
          {{camera_operation("set_media_folder").sends(joined({1}, bytes_of_text(prefix))), "", "",
            ""}}};
}

Command set_zoom(const char* line, float zoom) {
  return {line, {{camera_operation("set_zoom").with(zoom), "", "", ""}}};
}

Command set_focus_control(const char* line, u32 direction, u16 iris) {
  const Operation set_iris = camera_operation("set_iris").with(iris);
  return {line,
          {{camera_operation("set_focus_control").with(direction), "", "", ""},
           {set_iris, formatted("iris = %02x\n", iris), "", ""}}};
}

Command set_password(const char* line, const std::string& password) {
  return {line,
          {{camera_operation("set_wifi_passwd")
                .sends(bytes_of_text(password))
                .traces("set wifi_passwd  = " + password + "\n"),
            "", "", ""}}};
}

Command set_network(const char* line, const std::string& ssid) {
  return {line,
          {{camera_operation("set_wifi_ssid")
                .sends(bytes_of_text(ssid))
                .traces("set wifi_ssid  = " + ssid + "\n"),
            "", "", ""}}};
}

Command set_country(const char* line, const std::string& code) {
  return {line, {{camera_operation("set_country_code").sends(bytes_of_text(code)), "", "", ""}}};
}

Command set_board(const char* line, const std::string& id) {
  return {line,
          {{camera_operation("send_rc_board_id").sends(bytes_of_text(id)), "", "", ""},
           step("get_RGain_value", "get rgain value = 48879 \n")}};
}

Command get_property(const char* line) {
  return {line, {step("get_property", "property: short\n", "property exposure is not found.\n")}};
}

Command set_property(const char* line) {
  return {line,
          {{camera_operation("set_property"), "set property string: exposure=long\n",
            "set property to: exposure=long.\n the previous value: short\n",
            "set property failed.\n"}}};
}

/// Every command that asks the camera, with usual parameters.
std::vector<Command> every_command() {
  std::vector<Command> commands = plain_commands();
  for (const Setting& row : settings()) commands.push_back(usual(row));
  for (const Command& command :
       {set_shutter_iso("12 4660 48879 54321", 4660, 48879, 54321),
        set_video("16 1920 1080 60", 1920, 1080, 60), set_folder("35 101", "101"),
        set_spot("37 37 62", 37, 62), set_password("44 correct-horse", "correct-horse"),
        set_photos("51 3 48879 -7 200", {3, 0xEF, 0xBE, 0xF9, 200}),
        set_network("54 field-camera-7", "field-camera-7"), set_country("70 DE", "DE"),
        set_board("72 RC-0815", "RC-0815"), set_zoom("83 12.5", 12.5F), get_property("84 exposure"),
        set_property("85 exposure=long"), set_resolution("90 1280 305419896", 1280, 305419896),
        set_focus_control("202 305419896", 305419896, 305)}) {
    commands.push_back(command);
  }
  return commands;
}

/// The numbers that have no command.
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

// --- Running them ---

class Console : public ::testing::Test {
 protected:
  Console() {
    bus.reset();
    LcmRequestPeer::set_data(lcm_request, {});
    LcmRequestPeer::timeouts(lcm_request) = {};
    ctrlcmd = {};
    char directory[] = "/tmp/vlm_cardXXXXXX";
    if (mkdtemp(directory) == nullptr) throw std::runtime_error("mkdtemp");
    _card = directory;
    _default_card = g_OTA_DirList[0];
    std::strcpy(g_OTA_DirList[0], directory);
    put_on_card("firmware.bin");
  }

  ~Console() override {
    bus.reset();
    std::strcpy(g_OTA_DirList[0], _default_card.c_str());
    for (const char* name : {"firmware.bin", "._firmware.bin"}) unlink(on_card(name).c_str());
    rmdir(_card.c_str());
  }

  std::string on_card(const std::string& name) const { return _card + "/" + name; }
  void put_on_card(const std::string& name) const { std::ofstream(on_card(name)) << "x"; }

  /// What one line shows; durations left out.
  static std::string shown_by(std::string line) {
    return without_durations(transcript_of([&] { send_cmd_to_lcm(line.data()); }));
  }

  /// The camera answers each operation of `command` as that expects.
  void answer(const Command& command, udp_ctrl_cam_t (Operation::*reply)() const) {
    bus.answer([steps = command.steps, reply](const udp_ctrl_cam_t& request) {
      for (const Step& step : steps) {
        if (step.operation.code == request.cmd_type) return (step.operation.*reply)();
      }
      return camera_record(request.cmd_type, {}, VLM_ERR_UNSUPPORTED_COMMAND);
    });
  }

  void give_up_at_once() {
    bus.stay_silent();
    auto& timeouts = LcmRequestPeer::timeouts(lcm_request);
    timeouts.reply = timeouts.status_reply = std::chrono::milliseconds(1);
  }

  std::vector<Bytes> requests() const {
    std::vector<Bytes> requests;
    for (const Published& published : bus.published()) {
      requests.push_back(bytes_of(published.record()));
    }
    return requests;
  }

  static std::vector<Bytes> requests_of(const Command& command) {
    std::vector<Bytes> requests;
    for (const Step& step : command.steps) requests.push_back(step.operation.request());
    return requests;
  }

  /// The transcript of `command` when each of its operations ends with `result`.
  static std::string transcript(const Command& command, std::string (Operation::*operation)() const,
                                int result) {
    std::string text;
    for (const Step& step : command.steps) {
      const auto code = static_cast<unsigned>(result);
      text += step.before + (step.operation.*operation)() +
              (result == 0 ? step.done : formatted(step.failed, code));
    }
    return text + "\n";
  }

  /// Runs the line with a camera that answers; holds every byte sent and shown.
  void expect_success(const Command& command) {
    SCOPED_TRACE("\"" + command.line + "\"");
    bus.reset();
    answer(command, &Operation::success_reply);
    EXPECT_EQ(shown_by(command.line), transcript(command, &Operation::success_transcript, 0));
    EXPECT_EQ(requests(), requests_of(command));
  }

  ScriptedBus& bus = ScriptedBus::instance();

 private:
  std::string _card;
  std::string _default_card;
};

int number_of(const Command& command) { return std::atoi(command.line.c_str()); }

}  // namespace

// --- Every command against every outcome ---

TEST_F(Console, HasACommandForEveryNumberButTheUnsupportedOnes) {
  std::set<int> expected;
  for (int number = 0; number <= 241; ++number) expected.insert(number);
  for (const int number : unsupported_numbers()) expected.erase(number);
  std::set<int> numbers{86};  // asks no camera, and is tested on its own
  for (const Command& command : every_command()) numbers.insert(number_of(command));
  EXPECT_EQ(numbers, expected);
}

TEST_F(Console, ShowsWhatTheCameraAnswers) {
  for (const Command& command : every_command()) expect_success(command);
}

TEST_F(Console, ShowsTheErrorsOfTheCamera) {
  for (const Command& command : every_command()) {
    SCOPED_TRACE(command.line);
    bus.reset();
    LcmRequestPeer::set_data(lcm_request, {});
    answer(command, &Operation::error_reply);
    EXPECT_EQ(shown_by(command.line),
              transcript(command, &Operation::error_transcript, kCameraError));
    EXPECT_EQ(requests(), requests_of(command));
  }
}

TEST_F(Console, ShowsThatTheCameraStaysSilent) {
  give_up_at_once();
  for (const Command& command : every_command()) {
    SCOPED_TRACE(command.line);
    bus.reset();
    bus.stay_silent();
    EXPECT_EQ(shown_by(command.line),
              transcript(command, &Operation::time_out_transcript, kTimeOut));
    EXPECT_EQ(requests(), requests_of(command));
  }
}

TEST_F(Console, ShowsThatAnotherRequestIsPending) {
  bus.stay_silent();
  PendingRequest pending(lcm_request);
  const auto pending_request = requests();
  for (const Command& command : every_command()) {
    SCOPED_TRACE(command.line);
    EXPECT_EQ(shown_by(command.line), transcript(command, &Operation::busy_transcript, kBusy));
    EXPECT_EQ(requests(), pending_request);
  }
  EXPECT_TRUE(pending.finish());
}

TEST_F(Console, RefusesEveryOtherNumber) {
  for (const int number : unsupported_numbers()) {
    EXPECT_EQ(shown_by(std::to_string(number) + " 1 2 3"), "unsupported command type\n\n");
  }
  EXPECT_TRUE(bus.published().empty());
}

// --- The command number ---

TEST_F(Console, ReadsTheNumberInAnySpelling) {
  const Command command{"", {step("send_stop_video_cmd")}};
  for (const char* line : {"5", "5\n", "5 ", "05", "00005", "+5", "  5", "\t5", "\n5", "5abc",
                           "5.9", "5,6", "5\t6", "5-", "5 -1", "5 abc def", "5 6 7 8 9"}) {
    expect_success({line, command.steps});
  }
}

TEST_F(Console, TakesFiveCharactersForTheNumber) {
  for (const char* line : {"000056", "+00056", "000051 7"}) {
    expect_success({line, {step("send_stop_video_cmd")}});
  }
}

TEST_F(Console, TakesSixteenBitsOfTheNumber) {
  expect_success({"65541", {step("send_stop_video_cmd")}});
  for (const char* line : {"65535", "65778", "99999", "-65531"}) {
    EXPECT_EQ(shown_by(line), "unsupported command type\n\n");
  }
}

TEST_F(Console, RepeatsThePreviousCommandForALineWithoutANumber) {
  const Step all = step("get_all_request_list", plain_commands().front().steps.front().done);
  expect_success({"abc", {all}});
  expect_success({"5", {step("send_stop_video_cmd")}});
  for (const char* line : {"abc", "", "\n", " ", "-", "+", "x5", "abc 4"}) {
    expect_success({line, {step("send_stop_video_cmd")}});
  }
}

TEST_F(Console, GivesARepeatedCommandTheParametersOfItsOwnLine) {
  const Step eight{camera_operation("set_meter_mode").with(u8{8}), "", "", ""};
  expect_success({"18 8", {eight}});
  const Step nine{camera_operation("set_meter_mode").with(u8{9}), "", "", ""};
  expect_success({"again 9", {nine}});
}

TEST_F(Console, RepeatsAnUnsupportedNumberAsSuch) {
  EXPECT_EQ(shown_by("999"), "unsupported command type\n\n");
  EXPECT_EQ(ctrlcmd.cmd_type, 999);
  EXPECT_EQ(shown_by("abc"), "unsupported command type\n\n");
  EXPECT_EQ(shown_by("-1"), "unsupported command type\n\n");
  EXPECT_EQ(ctrlcmd.cmd_type, 0xFFFF);
  EXPECT_EQ(shown_by("abc"), "unsupported command type\n\n");
}

TEST_F(Console, KeepsTheNumberOfAChainedLine) {
  expect_success(set_focus_control("202 4096", 4096, 409));
  EXPECT_EQ(ctrlcmd.cmd_type, 202);
}

// --- Parameters ---

namespace {

/// How a conversion reads a text behind the number.
struct Reading {
  const char* text;
  u64 value;
};

// Readings that all numeric conversions share.
const Reading kCommon[] = {
    {"", 0},      {" ", 0},      {"\n", 0},     {" \n", 0},    {"\t7", 0},  // no blank: no
    {"\n7", 0},   {" 7", 7},     {" 7\n", 7},   {"  7", 7},    {" \t7", 7},
    {" \n7", 7},  {" 7\t8", 7},  {" 7 8 9", 7}, {" 7abc", 7},  {" 7.9", 7},
    {" 7,8", 7},  {" +7", 7},    {" 007", 7},   {" 000", 0},   {" abc", 0},
    {" x7", 0},   {" -", 0},     {" +", 0},     {" --7", 0},   {" - 7", 0},
    {" 0x1F", 0}, {" \"7\"", 0}, {"x 7", 7},    {"\t\t 7", 7}, {"x\t7 8", 8},
};

/// A text that the conversions read differently.
struct Readings {
  const char* conversion;
  std::vector<Reading> readings;
};

constexpr u64 kAllOnes = ~u64{0};

/// What the C library makes of a number that an int does not hold: a long decides.
u64 beyond_int(const char* digits) { return static_cast<u32>(std::strtol(digits, nullptr, 10)); }

const std::vector<Readings>& readings() {
  static const std::vector<Reading> byte{
      {" 255", 255},  {" 256", 0},
      {" 300", 44},   {" 999", 231},
      {" 1000", 100}, {" 2559", 255},
      {" 0001", 0},   {" -1", 255},
      {" -7", 249},   {" -100", 246},
      {" -99", 157},  {" +100", 10},
      {" 128", 128},  {" 99999999999999999999", 231},
  };
  static const std::vector<Readings> rows{
      {"%3hhd", byte},
      {"%3hhu", byte},
      {"%3hu",
       {{" 255", 255},
        {" 256", 256},
        {" 999", 999},
        {" 1000", 100},
        {" 4096", 409},
        {" 0001", 0},
        {" -1", 0xFFFF},
        {" -100", 65536 - 10},
        {" +100", 10},
        {" 99999999999999999999", 999}}},
      {"%5hd",
       {{" 32767", 32767},
        {" 32768", 32768},
        {" 65535", 65535},
        {" 65536", 0},
        {" 99999", 34463},
        {" 123456", 12345},
        {" 000012", 1},
        {" -1", 0xFFFF},
        {" -32768", 65536 - 3276},
        {" +12345", 1234},
        {" 99999999999999999999", 34463}}},
      {"%5hu",
       {{" 1234", 1234},
        {" 65535", 65535},
        {" 65536", 0},
        {" 99999", 34463},
        {" 123456", 12345},
        {" 000012", 1},
        {" -1", 0xFFFF},
        {" -12345", 65536 - 1234},
        {" +12345", 1234},
        {" 99999999999999999999", 34463}}},
      {"%hd",
       {{" 32767", 32767},
        {" 32768", 32768},
        {" 65536", 0},
        {" 70000", 4464},
        {" 000012", 12},
        {" -1", 0xFFFF},
        {" -32768", 0x8000},
        {" -32769", 0x7FFF},
        {" 99999999999999999999", 0xFFFF},  // the greatest long
        {" -99999999999999999999", 0}}},    // the least
      {"%10d",
       {{" 2147483647", 2147483647},
        {" 12345678901", 1234567890},
        {" 00000000012", 1},
        {" 0000000012", 12},
        {" -1", 0xFFFFFFFF},
        {" -305419896", 0xEDCBA988},
        {" -3054198961", 0xEDCBA988},
        {" +305419896", 305419896},
        {" 4294967295", beyond_int("4294967295")},
        {" 9999999999", beyond_int("9999999999")},
        {" 99999999999999999999", beyond_int("9999999999")}}},
      {"%20llu",
       {{" 1700000000", 1700000000},
        {" 18446744073709551615", kAllOnes},
        {" 18446744073709551616", kAllOnes},
        {" 99999999999999999999", kAllOnes},
        {" 123456789012345678901", 12345678901234567890ULL},
        {" 000000000000000000012", 1},
        {" -1", kAllOnes},
        {" -1700000000", kAllOnes - 1699999999}}},
  };
  return rows;
}

}  // namespace

TEST_F(Console, ReadsEachParameterAsItsConversionSays) {
  for (const Setting& row : settings()) {
    for (const Reading& reading : kCommon) {
      expect_success(row.command(reading.text, reading.value));
    }
    for (const Readings& of_conversion : readings()) {
      if (of_conversion.conversion != std::string(row.conversion)) continue;
      for (const Reading& reading : of_conversion.readings) {
        expect_success(row.command(reading.text, reading.value));
      }
    }
  }
}

TEST_F(Console, ReadsNoParameterBehindALeadingBlank) {
  for (const Setting& row : settings()) {
    Command command = row.command("", 0);
    command.line = " " + command.line + " 7";
    expect_success(command);
  }
}

TEST_F(Console, IgnoresMoreParametersThanNeeded) {
  for (Command command : every_command()) {
    command.line += " 7 -8 nine 1e9";
    expect_success(command);
  }
}

TEST_F(Console, TakesNoParameterFromALineThatNeedsNone) {
  for (const Command& command : plain_commands()) {
    for (const char* rest :
         {"\n", " \n", " 5", " -1", " abc", "\t5", "x", " 99999999999999999999"}) {
      expect_success({command.line + rest, command.steps});
    }
  }
}

TEST_F(Console, ReadsAShutterAndAnIso) {
  for (const Command& command :
       {set_shutter_iso("12", 0, 0, 0), set_shutter_iso("12\t1 2 3", 2, 3, 0),
        set_shutter_iso("12 1", 1, 0, 0), set_shutter_iso("12 1 100", 1, 100, 0),
        set_shutter_iso("12 1 100 200\n", 1, 100, 200),
        set_shutter_iso("12 1\t100\n200", 1, 100, 200), set_shutter_iso("12 1 x 200", 1, 0, 0),
        set_shutter_iso("12 -1 -2 -3", 65535, 65534, -3),
        set_shutter_iso("12 65536 99999 99999", 0, 34463, 99999),
        set_shutter_iso("12 123456 7", 12345, 6, 7),  // the sixth digit is the next number
        set_shutter_iso("12 1 100 -12345", 1, 100, -1234), set_shutter_iso("12 1,2,3", 1, 0, 0),
        set_shutter_iso("12 1 100 200 300", 1, 100, 200)}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsAVideoSetting) {
  for (const Command& command :
       {set_video("16", 0, 0, 0), set_video("16\t1 2 3", 2, 3, 0), set_video("16 1920", 1920, 0, 0),
        set_video("16 1920 1080", 1920, 1080, 0), set_video("16 1920 1080 1000", 1920, 1080, 100),
        set_video("16 1920x1080 60", 1920, 0, 0), set_video("16 -1 65536 300", 65535, 0, 44),
        set_video("16 123456 60", 12345, 6, 60), set_video("16 3840\t2160\t30\n", 3840, 2160, 30),
        set_video("16 abc 1080 60", 0, 0, 0)}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsASpot) {
  for (const Command& command :
       {set_spot("37", 0, 0), set_spot("37\t1 2", 2, 0), set_spot("37 50", 50, 0),
        set_spot("37 1000 7", 100, 0), set_spot("37 -1 300", 255, 44),
        set_spot("37 50% 50%", 50, 0), set_spot("37 50\t50", 50, 50), set_spot("37 x 50", 0, 0)}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsACaptureMode) {
  for (const Command& command :
       {set_photos("51", {0, 0, 0, 0, 0}), set_photos("51\t1 2", {2, 0, 0, 0, 0}),
        set_photos("51 3", {3, 0, 0, 0, 0}), set_photos("51 3 7", {3, 7, 0, 0, 0}),
        set_photos("51 4 5 -1", {4, 5, 0, 0xFF, 0}),
        set_photos("51 4 5 -1 3\n", {4, 5, 0, 0xFF, 3}), set_photos("51 1000 7", {100, 0, 0, 7, 0}),
        set_photos("51 -1 65536 300 -1", {255, 0, 0, 44, 255}),
        set_photos("51 x 5 1 3", {0, 0, 0, 0, 0}),
        set_photos("51 4 99999 127 128", {4, 0x9F, 0x86, 127, 128})}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsAResolution) {
  for (const Command& command :
       {set_resolution("90", 0, 0), set_resolution("90\t1 2", 2, 0),
        set_resolution("90 1280", 1280, 0), set_resolution("90 1280 720\n", 1280, 720),
        set_resolution("90 1280*720", 1280, 0), set_resolution("90 -1 -2", 0xFFFFFFFF, 0xFFFFFFFE),
        set_resolution("90 12345678901 7", 1234567890, 1), set_resolution("90 x 720", 0, 0)}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsAFolderPrefixAsANumber) {
  for (const Command& command :
       {set_folder("35", "0"), set_folder("35\t101", "0"), set_folder("35 abc", "0"),
        set_folder("35 7", "7"), set_folder("35 007", "7"), set_folder("35 0007", "0"),
        set_folder("35 999\n", "999"), set_folder("35 1000", "100"), set_folder("35 -5", "-5"),
        set_folder("35 -100", "-10"), set_folder("35 +42", "42"), set_folder("35 101 102", "101"),
        set_folder("35 0x65", "0"), set_folder("35 1.5", "1")}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsAZoomFactor) {
  const float infinite = std::numeric_limits<float>::infinity();
  for (const Command& command : {set_zoom("83", 0),
                                 set_zoom("83\t2", 0),
                                 set_zoom("83 abc", 0),
                                 set_zoom("83 30", 30),
                                 set_zoom("83 2.5\n", 2.5F),
                                 set_zoom("83 -2.5", -2.5F),
                                 set_zoom("83 +2.5", 2.5F),
                                 set_zoom("83 .5", 0.5F),
                                 set_zoom("83 5.", 5),
                                 set_zoom("83 1e1", 10),
                                 set_zoom("83 0x10", 16),
                                 set_zoom("83 2,5", 2),
                                 set_zoom("83 2.5.5", 2.5F),
                                 set_zoom("83 1.0 2.0", 1),
                                 set_zoom("83 0.1", 0.1F),
                                 set_zoom("83 1e99", infinite),
                                 set_zoom("83 -inf", -infinite),
                                 set_zoom("83 123456789012345678901234567890", 1.2345679e29F),
                                 set_zoom("83 -", 0),
                                 set_zoom("83 1e-99", 0)}) {
    expect_success(command);
  }
}

TEST_F(Console, ReadsAPasswordAndANetworkOfUpTo19Characters) {
  const std::pair<const char*, const char*> texts[] = {
      {"", ""},
      {" ", ""},
      {"\tsecret", ""},
      {" secret\n", "secret"},
      {" two words", "two"},
      {" two\twords", "two"},
      {" -1", "-1"},
      {" a", "a"},
      {" 123456789012345678", "123456789012345678"},
      {" 1234567890123456789", "1234567890123456789"},
      {" 12345678901234567890", "1234567890123456789"},
      {" 12345678901234567890123", "1234567890123456789"},
      {" 100%d", "100%d"}};
  for (const auto& [rest, text] : texts) {
    // A trace is a format in the catalogue.
    const std::string shown = text == std::string("100%d") ? "100%%d" : text;
    Command password = set_password("", shown);
    Command network = set_network("", shown);
    password.line = std::string("44") + rest;
    network.line = std::string("54") + rest;
    password.steps[0].operation.sends(bytes_of_text(text));
    network.steps[0].operation.sends(bytes_of_text(text));
    expect_success(password);
    expect_success(network);
  }
}

TEST_F(Console, ReadsACountryCodeAndABoardOfUpTo10Characters) {
  const std::pair<const char*, const char*> texts[] = {
      {"", ""},
      {"\tDE", ""},
      {" DE\n", "DE"},
      {" DE FR", "DE"},
      {" -1", "-1"},
      {" 123456789", "123456789"},
      {" 1234567890", "1234567890"},
      {" 12345678901", "1234567890"},
      {" 123456789012345678901234567890", "1234567890"}};
  for (const auto& [rest, text] : texts) {
    expect_success(set_country((std::string("70") + rest).c_str(), text));
    expect_success(set_board((std::string("72") + rest).c_str(), text));
  }
}

TEST_F(Console, GoesOnFromFocusToIrisWithTheSameParameter) {
  for (const Command& command :
       {set_focus_control("202 4096", 4096, 409), set_focus_control("202", 0, 0),
        set_focus_control("202\t3", 0, 0), set_focus_control("202 3\n", 3, 3),
        set_focus_control("202 1 2", 1, 1), set_focus_control("202 -1", 0xFFFFFFFF, 0xFFFF),
        set_focus_control("202 -100", 0xFFFFFF9C, 65536 - 10), set_focus_control("202 abc", 0, 0),
        set_focus_control("202 12345678901", 1234567890, 123)}) {
    expect_success(command);
  }
}

TEST_F(Console, GoesOnFromAPlatformToTheDewarpModeOnlyWithItsParameter) {
  expect_success(setting(65).command(" 1234", 1234));
}

TEST_F(Console, GoesOnWithTheNextCommandWhateverTheFirstReturned) {
  const Command command = usual(setting(65));
  const Step& platform = command.steps[0];
  const Step& dewarp = command.steps[1];
  bus.answer([&](const udp_ctrl_cam_t& request) {
    return request.cmd_type == platform.operation.code ? platform.operation.error_reply()
                                                       : dewarp.operation.success_reply();
  });
  EXPECT_EQ(shown_by(command.line), platform.operation.error_transcript() +
                                        dewarp.operation.success_transcript() + dewarp.done + "\n");
}

// --- Properties ---

TEST_F(Console, ReadsAPropertyNameOfUpTo128Characters) {
  bus.answer(bytes_of_text("value"));
  for (const std::size_t size : {1U, 16U, 17U, 127U, 128U, 129U, 300U}) {
    SCOPED_TRACE(size);
    const std::string name = letters(std::min<std::size_t>(size, 128));
    bus.reset();
    bus.answer(bytes_of_text("value"));
    const Operation operation = camera_operation("get_property")
                                    .traces("get property:" + name + "\n")
                                    .says("get property:value\n");
    EXPECT_EQ(shown_by("84 " + letters(size)),
              operation.success_transcript() + "property: value\n\n");
    EXPECT_EQ(requests(), std::vector<Bytes>{request_bytes(84, bytes_of_text(name))});
  }
}

TEST_F(Console, ReadsAPropertyAssignmentOfUpTo127Characters) {
  for (const std::size_t size : {1U, 11U, 58U, 122U, 123U, 124U, 300U}) {
    SCOPED_TRACE(size);
    const std::string text = ("name=" + letters(size)).substr(0, 127);
    bus.reset();
    bus.answer(bytes_of_text("value"));
    const Operation operation =
        camera_operation("set_property")
            .traces("LcmRequest::set_property set prop: " + text + "\n")
            .says("set property: new value: " + text + ", previous value: value\n");
    EXPECT_EQ(shown_by("85 name=" + letters(size)),
              "set property string: " + text + "\n" + operation.success_transcript() +
                  "set property to: " + text + ".\n the previous value: value\n\n");
    EXPECT_EQ(requests(), std::vector<Bytes>{request_bytes(85, bytes_of_text(text))});
  }
}

TEST_F(Console, UnsetsAPropertyWithAnEmptyValue) {
  shown_by("85 name=");
  EXPECT_EQ(requests(), std::vector<Bytes>{request_bytes(85, bytes_of_text("name="))});
}

TEST_F(Console, RefusesBadProperties) {
  EXPECT_EQ(shown_by("84"), "LcmRequest::get_property bad prop: \nproperty  is not found.\n\n");
  EXPECT_EQ(shown_by("84\tname"),
            "LcmRequest::get_property bad prop: \nproperty  is not found.\n\n");
  EXPECT_EQ(shown_by("84 name=value\n"),
            "LcmRequest::get_property bad prop: name=value\nproperty name=value is not found.\n\n");
  EXPECT_EQ(shown_by("85"),
            "set property string: \nLcmRequest::set_property bad prop: \nset property failed.\n\n");
  EXPECT_EQ(shown_by("85 name value=1\n"),
            "set property string: name\nLcmRequest::set_property bad prop: name\n"
            "set property failed.\n\n");
  EXPECT_TRUE(bus.published().empty());
}

TEST_F(Console, ShowsAPropertyThatFillsTheRecordBounded) {
  bus.answer(bytes_of_text(letters(128)));
  const std::string got = shown_by("84 exposure");
  EXPECT_EQ(got.substr(got.find("Ack OK\n")),
            "Ack OK\nget property:" + letters(128) + "\nproperty: " + letters(128) + "\n\n");
  const std::string set = shown_by("85 exposure=long");
  EXPECT_EQ(set.substr(set.find("\nset property to: ")),
            "\nset property to: exposure=long.\n the previous value: " + letters(128) + "\n\n");
}

// --- Answers that fill their fields ---

TEST_F(Console, ShowsTextsThatFillTheirFieldsBounded) {
  bus.answer(joined({1}, bytes_of_text(letters(64) + "behind")));
  EXPECT_NE(shown_by("34").find("folder_name=" + letters(64) + "\n\n"), std::string::npos);

  bus.answer(bytes_of_text("VLMCAM63\1\2\3r"));
  EXPECT_NE(shown_by("31").find("\ncamera_version: VLMCAM63_1.2.3_r\n\n"), std::string::npos);

  LcmRequest::Data data{};
  std::memcpy(data.country_code, "0123456789", sizeof data.country_code);
  LcmRequestPeer::set_data(lcm_request, data);
  EXPECT_NE(shown_by("69").find("\ncountry_code = 0123456789\n\n"), std::string::npos);
}

TEST_F(Console, ShowsTheLargestValuesOfTheSnapshot) {
  udp_ctrl_cam_request_list_t list{};
  std::memset(&list, 0xFF, sizeof list);
  list.camera_status = 2;
  bus.answer(bytes_of(list));
  const std::string shown = shown_by("0");
  EXPECT_EQ(shown.substr(shown.find("cam_mode")),
            "cam_mode = 255\nwb = 255\nae_mode = 255\nx_ratio = 255, y_ratio = 255\n"
            "fps = 255, video_resolution_h = 65535,video_resolution_v = 65535\n"
            "recording_time_s = -1 s\navailable_mib = 4194304.00 MB\ncamera_status = 2\n\n");
}

TEST_F(Console, ShowsAZoomWithoutANewlineOfItsOwn) {
  bus.answer(bytes_of(1.0F));
  const std::string shown = shown_by("82");
  EXPECT_EQ(shown.substr(shown.rfind("zoom = ")), "zoom = 1.0\n");
}

TEST_F(Console, ShowsTheSurveyModeFlagWithoutAskingTheCamera) {
  EXPECT_EQ(shown_by("86 7"),
            "get_survey_mode_flag(),L2552 survey_flag is not the real value, reserved it for "
            "future\nsurvey mode flag = 0\n\n");
  EXPECT_TRUE(bus.published().empty());
}

// --- Firmware upgrade ---

TEST_F(Console, UpgradesOnlyWithAFirmwareFile) {
  unlink(on_card("firmware.bin").c_str());
  put_on_card("._firmware.bin");
  EXPECT_EQ(shown_by("33"), "No camera firmware in sdcard\n\n");
  EXPECT_TRUE(bus.published().empty());
  EXPECT_TRUE(file_exists(on_card("._firmware.bin").c_str()));
}

TEST_F(Console, RemovesTheMarkerBeforeTheUpgrade) {
  put_on_card("._firmware.bin");
  bool marker_at_request = true;
  bus.answer([&](const udp_ctrl_cam_t& request) {
    marker_at_request = file_exists(on_card("._firmware.bin").c_str());
    return camera_record(request.cmd_type);
  });
  EXPECT_EQ(shown_by("33"), camera_operation("upgrade_camera").success_transcript() + "\n");
  EXPECT_FALSE(marker_at_request);
  EXPECT_TRUE(file_exists(on_card("firmware.bin").c_str()));
}

TEST(TheFirmware, IsLookedForOnTheCard) { EXPECT_STREQ(g_OTA_DirList[0], "/sdcard"); }

TEST(AFile, ExistsWhenItCanBeStatted) {
  EXPECT_TRUE(file_exists("/"));
  EXPECT_TRUE(file_exists("/dev/null"));
  EXPECT_FALSE(file_exists(""));
  EXPECT_FALSE(file_exists("/dev/null/nothing"));
}
