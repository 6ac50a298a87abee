#include "decode.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "command_name.h"
#include "payload_values.h"

namespace vlm::monitor {

namespace {

/// Type of the messages by which programs find out whether their own subscriptions serve.
constexpr u8 kProbeType = 0xFF;

Value integer(const char* name, std::int64_t value) { return {name, std::to_string(value), true}; }

Value real(const char* name, double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", value);
  const bool finite = std::isdigit(static_cast<unsigned char>(text[std::strlen(text) - 1])) != 0;
  return {name, text, finite};
}

std::string text_in(const char* bytes, std::size_t size) {
  return printable({bytes, strnlen(bytes, size)});
}

std::vector<Value> notification_values(int type, const u8* data) {
  if (type == LCM_SDCARD_STATUS) {
    return {integer("status", data[0] & 7), integer("storage_id", data[0] >> 3 & 7),
            integer("count", (data[0] >> 6) + 1)};
  }
  if (type == LCM_MISC_IMAGE_INFO) {
    udp_ctrl_cam_misc_image_info_t info;
    std::memcpy(&info, data, sizeof info);
    return {real("roll", double{info.roll}),
            real("pitch", double{info.pitch}),
            real("yaw", double{info.yaw}),
            real("latitude", info.latitude),
            real("longitude", info.longitude),
            real("altitude", double{info.altitude}),
            {"url", text_in(info.url, sizeof info.url)},
            integer("image_index", info.image_index),
            integer("result", info.result)};
  }
  return {};
}

std::vector<Value> side_values(const lcm_udp_rtsp_msg_t& message) {
  if (message.msg_cmd == SEND_FPS) {
    u32 fps = 0;
    std::memcpy(&fps, message.msg_buf, sizeof fps);
    return {integer("fps", fps)};
  }
  const bool has_flag =
      message.msg_cmd >= SET_FLC_STATUS && message.msg_cmd <= GET_FLC_DEBUG_STATUS_ACK &&
      message.msg_cmd != GET_FLC_STATUS && message.msg_cmd != GET_FLC_DEBUG_STATUS;
  if (has_flag) return {integer("flag", message.msg_buf[0])};
  return {};
}

Decoded decode_camera(Kind kind, const Entry& entry) {
  const udp_ctrl_cam_t record = record_of(entry);
  Decoded decoded{kind, record.cmd_type, command_name(record.cmd_type), 0, {}};
  const bool is_reply = kind == Kind::kReply;
  if (is_reply) decoded.result = record.err_code;
  if (decoded.result == 0) decoded.values = payload_values(record, is_reply);
  return decoded;
}

Decoded decode_side(Kind kind, const userlcm_packet_t& packet) {
  lcm_udp_rtsp_msg_t message;
  std::memcpy(&message, packet.msg_buf, sizeof message);
  return {kind, static_cast<int>(message.msg_cmd), side_name(message.msg_cmd), 0,
          side_values(message)};
}

Decoded decode_other(const Entry& entry) {
  const std::size_t begin = std::min(entry.packet.size(), sizeof(userlcm_packet_t::channel));
  return {Kind::kOther,
          -1,
          printable(entry.channel),
          0,
          {{"bytes", hexadecimal(entry.packet.data() + begin, entry.packet.size() - begin)}}};
}

bool is_notification(int type) {
  return type >= LCM_SDCARD_STATUS && type <= LCM_CAPTURE_IMAGE_RESULT;
}

}  // namespace

const char* name_of(Kind kind) {
  switch (kind) {
    case Kind::kRequest: return "request";
    case Kind::kReply: return "reply";
    case Kind::kNotification: return "notification";
    case Kind::kSideRequest: return "side-request";
    case Kind::kSideReply: return "side-reply";
    case Kind::kProbe: return "probe";
    case Kind::kNote: return "note";
    default: return "other";
  }
}

userlcm_packet_t packet_of(const Entry& entry) {
  userlcm_packet_t packet{};
  if (!entry.packet.empty()) {
    std::memcpy(&packet, entry.packet.data(), std::min(entry.packet.size(), sizeof packet));
  }
  return packet;
}

udp_ctrl_cam_t record_of(const Entry& entry) {
  const userlcm_packet_t packet = packet_of(entry);
  udp_ctrl_cam_t record;
  std::memcpy(&record, packet.msg_buf + offsetof(msg_from_rep_t, msg_data), sizeof record);
  return record;
}

Decoded decode(const Entry& entry) {
  if (entry.packet.empty()) return {Kind::kNote, -1, printable(entry.comment), 0, {}};
  const userlcm_packet_t packet = packet_of(entry);
  const u8 type = packet.msg_buf[0];
  const bool has_type = entry.packet.size() > offsetof(userlcm_packet_t, msg_buf);
  if (has_type && type == kProbeType) return {Kind::kProbe, type, "PROBE", 0, {}};
  if (entry.channel == kRtspRequestChannel) return decode_side(Kind::kSideRequest, packet);
  if (entry.channel == kRtspReplyChannel) return decode_side(Kind::kSideReply, packet);
  const bool to_camera = entry.channel == kRequestChannel;
  const bool from_camera = entry.channel == kReplyChannel;
  if (has_type && type == LCM_CONTROL_CAMERA && (to_camera || from_camera)) {
    return decode_camera(to_camera ? Kind::kRequest : Kind::kReply, entry);
  }
  if (from_camera && is_notification(type)) {
    return {Kind::kNotification, type, notification_name(type), 0,
            notification_values(type, packet.msg_buf + offsetof(msg_from_rep_t, msg_data))};
  }
  return decode_other(entry);
}

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * size);
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

std::string printable(std::string_view text) {
  std::string result(text);
  const auto hidden = [](unsigned char c) { return std::isprint(c) == 0; };
  std::replace_if(result.begin(), result.end(), hidden, '.');
  return result;
}

}  // namespace vlm::monitor
