// Packets of the bus as entries of a recording, for tests of the monitor.
#ifndef BUS_PACKETS_H
#define BUS_PACKETS_H

#include <cstring>
#include <string>
#include <vector>

#include "entry.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::monitor {

constexpr std::int64_t kMsNs = 1'000'000;
/// 2026-01-02 03:04:05 UTC.
constexpr std::int64_t kStartNs = 1'767'323'045'000'000'000;

inline Entry bus_packet(std::int64_t at_ms, const std::string& channel, const std::string& sender,
                        const void* message, std::size_t size) {
  userlcm_packet_t packet{};
  std::memcpy(packet.channel, sender.data(), sender.size());
  std::memcpy(packet.msg_buf, message, size);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&packet);
  return {
      kStartNs + at_ms * kMsNs, channel, Bytes(bytes, bytes + sizeof packet.channel + size), {}};
}

inline Entry camera_packet(std::int64_t at_ms, bool is_reply, int code, const Bytes& payload,
                           int result) {
  udp_ctrl_cam_t record{};
  record.cmd_type = static_cast<u16>(code);
  record.err_code = static_cast<u16>(result);
  if (!payload.empty()) std::memcpy(record.cmd_params, payload.data(), payload.size());
  msg_from_rep_t message{};
  message.msg_type = LCM_CONTROL_CAMERA;
  std::memcpy(message.msg_data, &record, sizeof record);
  return bus_packet(at_ms, is_reply ? kReplyChannel : kRequestChannel,
                    is_reply ? kRequestChannel : kReplyChannel, &message, sizeof message);
}

inline Entry request(std::int64_t at_ms, int code, const Bytes& payload = {}) {
  return camera_packet(at_ms, false, code, payload, 0);
}

inline Entry reply(std::int64_t at_ms, int code, const Bytes& payload = {}, int result = 0) {
  return camera_packet(at_ms, true, code, payload, result);
}

inline Entry notification(std::int64_t at_ms, int type, const Bytes& data) {
  msg_from_rep_t message{};
  message.msg_type = static_cast<u8>(type);
  std::memcpy(message.msg_data, data.data(), data.size());
  return bus_packet(at_ms, kReplyChannel, kRequestChannel, &message, sizeof message);
}

inline Entry side_packet(std::int64_t at_ms, const char* channel, u32 code, u32 data) {
  lcm_udp_rtsp_msg_t message{};
  message.msg_cmd = static_cast<LCM_RTSP_UDP_CMD>(code);
  std::memcpy(message.msg_buf, &data, sizeof data);
  return bus_packet(at_ms, channel, kRtspReplyChannel, &message, sizeof message);
}

inline Entry note(std::int64_t at_ms, const std::string& text) {
  return {kStartNs + at_ms * kMsNs, kNotesChannel, {}, text};
}

}  // namespace vlm::monitor

#endif  // BUS_PACKETS_H
