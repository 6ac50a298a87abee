// The camera's commands by name and number, and back.
#ifndef MONITOR_COMMAND_NAME_H
#define MONITOR_COMMAND_NAME_H

#include <optional>
#include <string>
#include <string_view>

namespace vlm::monitor {

/// "SET_ZOOM" of 83; "COMMAND_63" of a code that is not defined.
std::string command_name(int code);
/// The code of that name, or of that decimal number; with or without UDP_CTRL_CAM_ before it.
std::optional<int> command_code(std::string_view name);

/// "SEND_FPS" of a message of the side channel.
std::string side_name(unsigned code);

/// "SDCARD_STATUS" of a message type.
std::string notification_name(int type);

/// The camera's text for a result, without the line end that one of them has.
std::string result_text(int result);

}  // namespace vlm::monitor

#endif  // MONITOR_COMMAND_NAME_H
