#include "console_commands.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "command_contract.h"
#include "operation_catalogue.h"

namespace {

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

Step shown_step(const ConsoleContract& console) {
  return step(console.operation, console.done, console.failed);
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
    for (const CommandContract& row : command_contract()) {
      if (row.console.kind != ConsoleContract::kShows) continue;
      all.push_back({std::to_string(row.code), {shown_step(row.console)}});
    }
    return all;
  }();
  return commands;
}

const std::vector<Setting>& settings() {
  static const std::vector<Setting> rows = [] {
    std::vector<Setting> all;
    for (const CommandContract& row : command_contract()) {
      const ConsoleContract& console = row.console;
      if (console.kind != ConsoleContract::kSets) continue;
      Setting setting{row.code,       console.conversion, console.operation,
                      console.before, console.done,       console.failed};
      if (console.next >= 0) setting.next = {shown_step(find_contract(console.next)->console)};
      all.push_back(setting);
    }
    return all;
  }();
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
  std::vector<int> numbers{-1, -2, -32, -100, -999, -9999, 9999, 32767};
  for (int number = 0; number <= 1000; ++number) {
    if (!console_runs(number)) numbers.push_back(number);
  }
  return numbers;
}
