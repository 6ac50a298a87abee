#include "command_name.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "velmar_cmd.h"
#include "velmar_err.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::monitor {

namespace {

constexpr std::string_view kPrefix = "UDP_CTRL_CAM_";
constexpr std::string_view kUnknown = "Unknown lcm cmd";
constexpr int kLastCode = 905;

struct Name {
  int code;
  const char* name;
};

/// The commands that vlm_strcmd() knows by no name, or by one that is not the command's.
constexpr Name kNames[] = {
    {UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR, "SET_MAIN_STREAM_FRAMERATE_DIVISOR"},
    {UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR, "GET_MAIN_STREAM_FRAMERATE_DIVISOR"},
    {UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION, "SET_MEDIA_FILENUM_OPTION"},
    {UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION, "GET_MEDIA_FILENUM_OPTION"},
    {UDP_CTRL_CAM_SET_CAM_MODE_LOCK, "SET_CAM_MODE_LOCK"},
    {UDP_CTRL_CAM_GET_CAM_MODE_LOCK, "GET_CAM_MODE_LOCK"},
    {UDP_CTRL_CAM_GET_MAX_GAIN, "GET_MAX_GAIN"},
    {UDP_CTRL_CAM_SET_MAX_GAIN, "SET_MAX_GAIN"},
    {UDP_CTRL_CAM_GET_VIDEO_ENCRYPT, "GET_VIDEO_ENCRYPT"},
    {UDP_CTRL_CAM_SET_VIDEO_ENCRYPT, "SET_VIDEO_ENCRYPT"},
    {UDP_CTRL_CAM_GET_VIDEO_PASSWD, "GET_VIDEO_PASSWD"},
    {UDP_CTRL_CAM_SET_VIDEO_PASSWD, "SET_VIDEO_PASSWD"},
    {UDP_CTRL_CAM_DZOOM_ONOFF, "DZOOM_ONOFF"},
    {UDP_CTRL_CAM_AUTO_FOCUS, "AUTO_FOCUS"},
    {UDP_CTRL_CAM_SET_FOCUS, "SET_FOCUS"},
    {UDP_CTRL_CAM_GET_FOCUS, "GET_FOCUS"},
    {UDP_CTRL_CAM_SET_FOCUS_LIMITE, "SET_FOCUS_LIMITE"},
    {UDP_CTRL_CAM_SET_DEFOG_ONOFF, "SET_DEFOG_ONOFF"},
    {UDP_CTRL_CAM_SET_DEFOG_LEVEL, "SET_DEFOG_LEVEL"},
    {UDP_CTRL_CAM_MEMORY_SAVE_SET, "MEMORY_SAVE_SET"},
    {UDP_CTRL_CAM_MEMORY_SAVE_INQ, "MEMORY_SAVE_INQ"},
    {UDP_CTRL_CAM_CUSTOM_RECALL, "CUSTOM_RECALL"},
    {UDP_CTRL_CAM_CUSTOM_SET, "CUSTOM_SET"},
};

constexpr const char* kSideNames[] = {
    "SEND_BITRATE",
    "SEND_BITRATE_ACK",
    "SEND_RESOLUTION",
    "SEND_RESOLUTION_ACK",
    "SEND_FPS",
    "SEND_FPS_ACK",
    "SET_FLC_STATUS",
    "SET_FLC_STATUS_ACK",
    "GET_FLC_STATUS",
    "GET_FLC_STATUS_ACK",
    "SET_FLC_DEBUG_STATUS",
    "SET_FLC_DEBUG_STATUS_ACK",
    "GET_FLC_DEBUG_STATUS",
    "GET_FLC_DEBUG_STATUS_ACK",
};

}  // namespace

std::string command_name(int code) {
  const auto* const own = std::find_if(std::begin(kNames), std::end(kNames),
                                       [&](const Name& name) { return name.code == code; });
  if (own != std::end(kNames)) return own->name;
  std::string_view name = vlm_strcmd(code);
  if (name == kUnknown) return "COMMAND_" + std::to_string(code);
  if (name.substr(0, kPrefix.size()) == kPrefix) name.remove_prefix(kPrefix.size());
  return std::string(name);
}

std::optional<int> command_code(std::string_view name) {
  int number = 0;
  const char* const end = name.data() + name.size();
  const auto [rest, fault] = std::from_chars(name.data(), end, number);
  if (fault == std::errc{} && rest == end) return number;
  if (name.substr(0, kPrefix.size()) == kPrefix) name.remove_prefix(kPrefix.size());
  for (int code = 0; code <= kLastCode; ++code) {
    if (vlm_strcmd(code) == name || command_name(code) == name) return code;
  }
  return std::nullopt;
}

std::string side_name(unsigned code) {
  if (code >= 1 && code <= std::size(kSideNames)) return kSideNames[code - 1];
  return "SIDE_" + std::to_string(code);
}

std::string notification_name(int type) {
  switch (type) {
    case LCM_SDCARD_STATUS: return "SDCARD_STATUS";
    case LCM_MISC_IMAGE_INFO: return "MISC_IMAGE_INFO";
    case LCM_UPDATE_CAMERA_MODE: return "UPDATE_CAMERA_MODE";
    case LCM_CAPTURE_IMAGE_RESULT: return "CAPTURE_IMAGE_RESULT";
    default: return "TYPE_" + std::to_string(type);
  }
}

std::string result_text(int result) {
  std::string text = vlm_strerr(result);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace vlm::monitor
