// What the console makes of its numbered commands, as test data: the line, the operations that it
// runs, and what it prints around them. The operations are rows of the operation catalogue.
#ifndef CONSOLE_COMMANDS_H
#define CONSOLE_COMMANDS_H

#include <string>
#include <vector>

#include "operation.h"

/// One operation of a command, and what the console prints around it.
struct Step {
  Operation operation;
  std::string before{};
  std::string done{};    // after a success
  std::string failed{};  // after a failure, of whose code it may hold conversions
};

/// What one line does.
struct Command {
  std::string line;
  std::vector<Step> steps;
};

/// A command with one numeric parameter; its texts may hold a conversion of the value.
struct Setting {
  int number;
  std::string conversion;
  const char* operation;
  std::string before{};
  std::string done{};
  std::string failed{};
  std::vector<Step> next{};  // the command that it goes on with

  /// The command of the line "number" + `rest`, which reads `value`.
  Command command(const std::string& rest, u64 value) const;
};

/// The commands without parameters that ask the camera.
const std::vector<Command>& plain_commands();

const std::vector<Setting>& settings();

/// Every command that asks the camera, with usual parameters.
std::vector<Command> every_command();

/// Numbers that have no command: all from 0 to 1000, and others outside.
std::vector<int> unsupported_numbers();

int number_of(const Command& command);

/// A step without texts, or with those of its outcomes.
Step step(const char* operation, std::string done = "", std::string failed = "");

// Commands with several parameters or other than numbers, by the line and what it is read as.
Command set_shutter_iso(const char* line, u16 numerator, u16 denominator, s32 iso);
Command set_video(const char* line, u16 width, u16 height, u8 fps);
Command set_folder(const char* line, const char* prefix);
Command set_spot(const char* line, u8 x, u8 y);
Command set_password(const std::string& line, const std::string& password);
Command set_photos(const char* line, const Bytes& payload);  // its first five bytes
Command set_network(const std::string& line, const std::string& ssid);
Command set_country(const std::string& line, const std::string& code);
Command set_board(const std::string& line, const std::string& id);
Command set_zoom(const char* line, float zoom);
Command get_property(const std::string& line, const std::string& name);
Command set_property(const std::string& line, const std::string& assignment);
Command set_resolution(const char* line, u32 width, u32 height);
Command set_focus_control(const char* line, u32 direction, u16 iris);

#endif  // CONSOLE_COMMANDS_H
