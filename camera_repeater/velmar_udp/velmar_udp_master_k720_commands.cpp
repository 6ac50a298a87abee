// What the service does with a packet: the check, the table of commands and the replies.

#include <array>
#include <cstring>
#include <ctime>

#include "lcm_request.h"
#include "velmar_udp_master_k720.h"

namespace {

constexpr u8 kCameraType = 11;

/// The place that a command's messages show, whichever function of this file prints them.
constexpr SourcePlace at(unsigned line = __builtin_LINE()) {
  return udp_here(__builtin_FILE(), "process_camera_functions_and_reply", line);
}

/// One command under execution: the request's data bytes, and the reply under construction.
class Exchange {
 public:
  /// Data bytes that the request does not have read as zero.
  explicit Exchange(const camctrl_msg_t& request) {
    const int size = request.header.len - 2;
    if (size > 0) std::memcpy(_data, request.payload.params, static_cast<std::size_t>(size));
  }

  /// The request's data.
  u8 byte(std::size_t offset = 0) const { return _data[offset]; }
  template <typename Record>
  Record record() const {
    return camctrl_read<Record>(_data);
  }

  /// Appends to the reply's data.
  template <typename Record>
  void put(const Record& record) {
    std::memcpy(_reply.payload.params + _size, &record, sizeof record);
    _size = static_cast<u8>(_size + sizeof record);
  }

  camctrl_msg_t& reply() { return _reply; }
  u8 len() const { return static_cast<u8>(_size + 2); }

 private:
  u8 _data[sizeof(udp_camctrl_packet_t::params)] = {};
  camctrl_msg_t _reply{};
  u8 _size = 0;
};

// How the commands are executed: each takes the format of its log line from the table. A set
// command says what it is about to do, a get command what it got.

template <bool (LcmRequest::*operation)()>
bool run(Exchange&, const char*) {
  return (lcm_request.*operation)();
}

/// One number in, in the machine's byte order.
template <typename T, bool (LcmRequest::*operation)(T)>
bool set(Exchange& exchange, const char* format) {
  const T value = exchange.record<T>();
  udp_say(at(), format, value);
  return (lcm_request.*operation)(value);
}

/// One number out, big-endian.
template <typename T, bool (LcmRequest::*operation)(T&)>
bool get(Exchange& exchange, const char* format) {
  T value = 0;
  if (!(lcm_request.*operation)(value)) return false;
  udp_say(at(), format, value);
  exchange.put(camctrl_be(value));
  return true;
}

/// One text in, terminated behind its 20 characters.
template <bool (LcmRequest::*operation)(const char*)>
bool set_text(Exchange& exchange, const char* format) {
  const auto wire = exchange.record<std::array<char, 20>>();
  char text[wire.size() + 1] = {};
  std::memcpy(text, wire.data(), wire.size());
  udp_say(at(), format, text);
  return (lcm_request.*operation)(text);
}

bool take_photo(Exchange&, const char*) { return lcm_request.send_capture_cmd(nullptr, nullptr); }

bool format_sdcard(Exchange&, const char*) {
  return lcm_request.send_format_sdcard_cmd(0);  // the one slot, whatever the request says
}

bool get_camera_type(Exchange& exchange, const char*) {
  exchange.put(kCameraType);
  return true;
}

bool set_camera_mode(Exchange& exchange, const char* format) {
  const SourcePlace place = at();
  udp_say(place, format, place.function, static_cast<int>(place.line), exchange.byte());
  return lcm_request.set_camera_mode(exchange.byte(), nullptr, nullptr);
}

bool set_video(Exchange& exchange, const char* format) {
  const auto video = exchange.record<udp_ctrl_video_t>();
  const u16 width = camctrl_be16(video.res.w);
  const u16 height = camctrl_be16(video.res.h);
  udp_say(at(), format, width, height, video.fps);
  return lcm_request.set_video_param(video.fps, width, height);
}

bool get_video(Exchange& exchange, const char* format) {
  u8 fps = 0;
  u16 width = 0;
  u16 height = 0;
  if (!lcm_request.get_video_params(fps, width, height)) return false;
  udp_say(at(), format, width, height, fps);
  udp_ctrl_video_t video{};
  video.res.w = camctrl_be16(width);
  video.res.h = camctrl_be16(height);
  video.fps = fps;
  exchange.put(video);
  return true;
}

bool set_photo_mode(Exchange& exchange, const char* format) {
  const auto wire = exchange.record<vlm_picture_mode_t>();
  udp_ctrl_cam_photo_mode_t mode{};
  mode.capture_mode = wire.mode;
  mode.photo_amount = camctrl_be16(wire.photo_amount);
  mode.ev_step.ev_num = wire.ev_step_num;
  mode.ev_step.ev_dem = wire.ev_step_dem;
  mode.interval_ms = camctrl_be32(wire.photo_msec_time);
  udp_say(at(), "0--SINGLE,3--BURST,4--AEB,5--PANO_HORIZON,6--PANO_HEMISPHERE\n");
  udp_say(at(), format, mode.capture_mode, mode.photo_amount, mode.ev_step.ev_num,
          mode.ev_step.ev_dem, mode.interval_ms);
  return lcm_request.set_capture_mode(&mode);
}

bool set_iso(Exchange& exchange, const char* format) {
  const u32 iso = camctrl_be32(exchange.record<u32>());
  udp_say(at(), format, static_cast<int>(iso));
  return lcm_request.send_iso_cmd(static_cast<u16>(iso));
}

bool set_shutter_iso(Exchange& exchange, const char* format) {
  const auto wire = exchange.record<vlm_shutter_iso_t>();
  const u16 numerator = camctrl_be16(wire.numerator);
  const u16 denominator = camctrl_be16(wire.denominator);
  const u32 iso = camctrl_be32(wire.iso);
  udp_say(at(), format, numerator, denominator, static_cast<int>(iso));
  return lcm_request.send_shutter_iso_cmd(numerator, denominator, iso);
}

bool say_awb_legend() {
  udp_say(at(), "0-AUTO,1-INCANDESCENT,3-SUNSET\n");
  udp_say(at(), "4-SUNNY,5-CLOUDY,7-FLUORESCENT,99-LOCK\n");
  return true;
}

bool set_awb_mode(Exchange& exchange, const char* format) {
  udp_say(at(), format, exchange.byte());
  say_awb_legend();
  return lcm_request.send_wb_cmd(exchange.byte());
}

bool get_awb_mode(Exchange& exchange, const char* format) {
  return get<u8, &LcmRequest::get_wb_mode>(exchange, format) && say_awb_legend();
}

bool get_iq_type(Exchange& exchange, const char* format) {
  if (!get<u8, &LcmRequest::get_color_mode>(exchange, format)) return false;
  udp_say(at(), "(0x00->nature,0x01->saturation,0x02->raw,0x03->night)\n");
  return true;
}

bool get_version(Exchange& exchange, const char* format) {
  u32 version = 0;
  char name[8] = {};
  if (!lcm_request.get_camera_version(version, name)) return false;
  vlm_camera_version_t wire{};
  std::memcpy(wire.moduleName, name, strnlen(name, sizeof name - 1));
  wire.majorVer = version & 0xF;
  wire.minorVer = version >> 8 & 0xF;
  wire.patchVer = version >> 16 & 0xF;
  wire.branch[0] = static_cast<char>(version >> 24);
  udp_say(at(), format, wire.moduleName, wire.majorVer, wire.minorVer, wire.patchVer, wire.branch);
  exchange.put(wire);
  return true;
}

bool set_time(Exchange& exchange, const char* format) {
  const u32 seconds = camctrl_be32(exchange.record<u32>());
  const auto time = static_cast<std::time_t>(seconds);
  char text[26] = "";
  ctime_r(&time, text);
  udp_say(at(), format, static_cast<int>(seconds), text);
  return lcm_request.set_rtos_time(seconds);
}

bool set_spot_metering_coords(Exchange& exchange, const char* format) {
  udp_say(at(), format, exchange.byte(0), exchange.byte(1));
  return lcm_request.set_spot_metering_coords(exchange.byte(0), exchange.byte(1));
}

bool get_spot_metering_coords(Exchange& exchange, const char* format) {
  u8 x = 0;
  u8 y = 0;
  if (!lcm_request.get_spot_metering_coords(x, y)) return false;
  udp_say(at(), format, x, y);
  exchange.put(x);
  exchange.put(y);
  return true;
}

struct Command {
  velmar_cmd_option option;
  bool (*execute)(Exchange&, const char* format);
  const char* format;  // of the log line; null: none
};

using L = LcmRequest;

constexpr Command kCommands[] = {
    {VELMAR_CAMERACTRL_RECORD_START, run<&L::send_start_video_cmd>, nullptr},
    {VELMAR_CAMERACTRL_RECORD_STOP, run<&L::send_stop_video_cmd>, nullptr},
    {VELMAR_CAMERACTRL_TAKE_PHOTO, take_photo, nullptr},
    {VELMAR_CAMERACTRL_STOP_PHOTO, run<&L::send_stop_capture_cmd>, nullptr},
    {VELMAR_CAMERACTRL_SET_CAMERA_MODE, set_camera_mode, "[%s][%d]:camera_mode = %d\n"},
    {VELMAR_CAMERACTRL_SET_VIDEO, set_video,
     "video_resolution_h(%d);video_resolution_v(%d);video_framerate(%d)\n"},
    {VELMAR_CAMERACTRL_SET_PHOTO_FORMAT, set<u8, &L::set_image_format>,
     "image_format = %d(1:jpg,131:jpg+dng)\n"},
    {VELMAR_CAMERACTRL_SET_PHOTO_MODE, set_photo_mode,
     "capture_mode(%d);photo_amount(%d);ev_step(%d/%d);interval_ms(%u)\n"},
    {VELMAR_CAMERACTRL_SET_AEMODE, set<u8, &L::set_camera_ae>, "aemode=%d(0--auto;1--manual)\n"},
    {VELMAR_CAMERACTRL_SET_EV, set<u16, &L::set_camera_ev>, "cam_ev(%02x)\n"},
    {VELMAR_CAMERACTRL_SET_SHUTTER, set<u16, &L::send_shutter_cmd>, "set cam_shutter(%02x)\n"},
    {VELMAR_CAMERACTRL_SET_ISO, set_iso, "set cam_iso(%d)\n"},
    {VELMAR_CAMERACTRL_SET_SHUTTER_ISO, set_shutter_iso, "shutter(%d/%d);ISO(%d)\n"},
    {VELMAR_CAMERACTRL_SET_METER_MODE, set<u8, &L::set_meter_mode>,
     "meter_mode = %d(0x00->Center,0x01->Average,0x02->Spot)\n"},
    {VELMAR_CAMERACTRL_SET_FLICKER_MODE, set<u8, &L::set_flicker_mode>,
     "flicker_mode = %d(0x00->Auto,0x01->60Hz,0x02->50Hz)\n"},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, set_awb_mode, "awb_mode = %d\n"},
    {VELMAR_CAMERACTRL_SET_IQ_TYPE, set<u8, &L::set_color_mode>,
     "iq_type=%d(0x00->nature,0x01->saturation,0x02->raw,0x03->night)\n"},
    {VELMAR_MISC_GET_VER, get_version, "camera version:%s_%d.%d.%d_%s\n"},
    {VELMAR_MISC_SET_TIME, set_time, "SET_TIME: %d(UTC %s)\n"},
    {VELMAR_MISC_FORMAT_SDCARD, format_sdcard, nullptr},
    {VELMAR_MISC_RESET_SETTINGS, run<&L::reset_cam_settings_cmd>, nullptr},
    {VELMAR_CAMERACTRL_SET_DRONE_NAME, set_text<&L::set_wifi_ssid>, "set ssid = %s\n"},
    {VELMAR_CAMERACTRL_SET_DRONE_PASSWORD, set_text<&L::set_wifi_passwd>, "set password = %s\n"},
    {VELMAR_MISC_REBOOT_DEVICE, run<&L::reboot_camera>, nullptr},
    {VELMAR_CAMERACTRL_SET_SPOT_METERING_COORDS, set_spot_metering_coords,
     "set x_ratio = %d;y_ratio = %d\n"},
    {VELMAR_CAMERACTRL_SET_MANUAL_WB, set<u8, &L::set_custom_wb>, "set manual_wb_type = %d\n"},
    {VELMAR_CAMERACTRL_SET_SYSTEM_MODE, set<u8, &L::set_color_encoding>, "set system mode = %d\n"},
    {VELMAR_CAMERACTRL_GET_SYSTEM_MODE, get<u8, &L::get_color_encoding>, "get system mode = %d\n"},
    {VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE, set<u8, &L::set_video_encode_mode>,
     "set video_encode_mode = %d\n"},
    {VELMAR_CAMERACTRL_SET_PHOTO_RATIO, set<u8, &L::set_photo_ratio>, "set photo_ratio = %d\n"},
    {VELMAR_CAMERACTRL_SET_FILE_TYPE, set<u8, &L::set_file_format>, "set file_format = %d\n"},
    {VELMAR_CAMERACTRL_GET_SPOT_METERING_COORDS, get_spot_metering_coords,
     "get x_ratio = %d;y_ratio = %d\n"},
    {VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, set<u8, &L::set_image_quality>,
     "photo_quality = %d(0x00->low,0x01->medium,0x02->high,0x03->ultra_high)\n"},
    {VELMAR_CAMERACTRL_GET_CAMERA_TYPE, get_camera_type, nullptr},
    {VELMAR_CAMERACTRL_GET_AWB_MODE, get_awb_mode, "get awb_mode = %d\n"},
    {VELMAR_CAMERACTRL_GET_VIDEO, get_video,
     "video_resolution_h(%d);video_resolution_v(%d);video_framerate(%d)\n"},
    {VELMAR_CAMERACTRL_GET_IQ_TYPE, get_iq_type, "get iq_type=%d\n"},
    {VELMAR_CAMERACTRL_GET_CAMERA_MODE, get<u8, &L::get_camera_mode>,
     "camera_mode = %d(1-video;2-photo)\n"},
    {VELMAR_CAMERACTRL_GET_VIDEO_ENCODE_MODE, get<u8, &L::get_video_encode_mode>,
     "get video_encode_mode = %d\n"},
    {VELMAR_CAMERACTRL_GET_PHOTO_RATIO, get<u8, &L::get_photo_ratio>, "get photo_ratio = %d\n"},
};

/// Executes a command; the result code.
u16 execute(u16 option, Exchange& exchange) {
  for (const Command& command : kCommands) {
    if (command.option != option) continue;
    const bool done = command.execute(exchange, command.format);
    return done ? u16{VLM_ERR_NONE} : lcm_request.get_error_code();
  }
  return VLM_ERR_UNSUPPORTED_COMMAND;
}

}  // namespace

int UdpMasterK720::check_msg_from_apps(const camctrl_msg_t& msg) {
  const u8 len = msg.header.len;
  if (len == 0) {
    udp_say(udp_here(), "incorrect len field\n");
    return -1;
  }
  camctrl_msg_t expected = msg;
  feedback_fill_crc(expected, len);
  if (std::memcmp(&expected, &msg, sizeof msg) != 0) {
    udp_say(udp_here(), "CRC data error!\n");
    return -1;
  }
  return 0;
}

void UdpMasterK720::feedback_initial(camctrl_msg_t& reply, u8 len, u16 cmd) {
  reply.header.stx = kCamctrlReplyStart;
  reply.header.len = len;
  reply.payload.cmd = camctrl_be16(cmd);
}

void UdpMasterK720::feedback_fill_crc(camctrl_msg_t& reply, u16 len) {
  vlm_udp_fill_crc(reply, len);
}

void UdpMasterK720::error_info_to_apps(const camctrl_msg_t& request, vlm_err_t err) {
  camctrl_msg_t reply{};
  reply.header.stx = request.header.stx;
  reply.header.len = request.header.len;
  reply.header.vb = camctrl_be16(static_cast<u16>(err));
  reply.payload.cmd = request.payload.cmd;
  feedback_fill_crc(reply, 2);  // whatever the copied length says: applications expect this form
  send_to_client(reply, sizeof reply);
}

int UdpMasterK720::process_camera_functions_and_reply() {
  const Reply reply = process_camera_functions();
  send_to_client(reply.msg, reply.size);
  return 0;
}

/// Executes what is to be executed next and makes its reply; the mutex is held.
UdpMasterK720::Reply UdpMasterK720::process_camera_functions() {
  const camctrl_msg_t request = next_message();
  const u16 cmd = camctrl_be16(request.payload.cmd);
  udp_say_number(at(), "camera_cmd = ", cmd);
  Exchange exchange(request);
  const u16 err = execute(cmd, exchange);
  udp_say_number(at(), "err_code = ", err);

  camctrl_msg_t& reply = exchange.reply();
  feedback_initial(reply, exchange.len(), cmd);
  reply.header.vb = camctrl_be16(err);
  feedback_fill_crc(reply, exchange.len());
  const std::size_t size = exchange.len() + std::size_t{8};
  udp_print_bytes("To send msg:\n", reinterpret_cast<const u8*>(&reply), size);
  m_unanswered = m_count - 1;
  return {reply, size};
}
