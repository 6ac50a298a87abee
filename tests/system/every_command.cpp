// Asks the camera on the bus for everything, one thing after the other: each command of the catalogue
// with the values that a camera starts with, each command that is not in it, each message of the
// side channel. The camera is in photo mode from early on, so that it takes a photo.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>

#include "bus_inbox.h"
#include "catalogue_value.h"
#include "command_name.h"
#include "conversation.h"
#include "decode.h"

namespace {

using namespace vlm;
using monitor::Entry;

constexpr int kLastCode = 905;

Entry entry_of(const char* channel, const char* sender, const void* message, std::size_t size) {
  userlcm_packet_t packet{};
  std::strncpy(packet.channel, sender, sizeof packet.channel - 1);
  std::memcpy(packet.msg_buf, message, size);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&packet);
  return {0, channel, monitor::Bytes(bytes, bytes + sizeof packet.channel + size), {}};
}

Entry request_of(int code) {
  catalogue::Payload payload{};
  if (code == UDP_CTRL_CAM_SET_CAMERA_MODE) {
    payload[0] = 2;
  } else if (const catalogue::Row* const row = catalogue::find_by_code(code)) {
    if (code == row->codes.set) catalogue::put_initial(row->value, payload);
    std::string error;
    if (code != row->codes.set) catalogue::encode_parameters(*row, {}, payload, error);
  }
  udp_ctrl_cam_t record{};
  record.cmd_type = static_cast<u16>(code);
  std::memcpy(record.cmd_params, payload.data(), payload.size());
  msg_from_rep_t message{};
  message.msg_type = LCM_CONTROL_CAMERA;
  std::memcpy(message.msg_data, &record, sizeof record);
  return entry_of(kRequestChannel, kReplyChannel, &message, sizeof message);
}

Entry side_request_of(u32 code) {
  lcm_udp_rtsp_msg_t message{};
  message.msg_cmd = static_cast<LCM_RTSP_UDP_CMD>(code);
  message.msg_buf[0] = 1;
  return entry_of(kRtspRequestChannel, kRtspReplyChannel, &message, sizeof message);
}

/// Waits for the packet of that kind and code; no value when it does not come.
std::optional<monitor::Decoded> await(monitor::BusInbox& inbox, monitor::Kind kind, int code) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (const auto packet = inbox.next(deadline)) {
    const monitor::Decoded decoded = monitor::decode(*packet);
    if (decoded.kind == kind && decoded.code == code) return decoded;
  }
  return std::nullopt;
}

/// Asks for one thing. What comes after a photo depends on whether its capture has ended.
bool ask(monitor::BusInbox& inbox, int code) {
  monitor::publish(request_of(code));
  const auto answer = await(inbox, monitor::Kind::kReply, code);
  const bool captures = answer && code == UDP_CTRL_CAM_TAKE_PHOTO && answer->result == 0;
  return answer && (!captures || await(inbox, monitor::Kind::kNotification, LCM_MISC_IMAGE_INFO));
}

/// The camera does not do what it did before for a while.
bool ends_service(int code) {
  return code == UDP_CTRL_CAM_UPGRADE_CAMERA || code == UDP_CTRL_CAM_REBOOT_DEVICE;
}

}  // namespace

int main() {
  auto& inbox = *new monitor::BusInbox("every_command", {kReplyChannel, kRtspReplyChannel});
  if (!inbox.ready()) return 1;
  for (int code = 0; code <= kLastCode; ++code) {
    const bool is_named = monitor::command_name(code).rfind("COMMAND_", 0) != 0;
    if (is_named && !ends_service(code) && !ask(inbox, code)) return 1;
  }
  for (u32 code = SEND_BITRATE; code < LCM_RTSP_UDP_COMMAND_MAX; code += 2) {
    monitor::publish(side_request_of(code));
    if (!await(inbox, monitor::Kind::kSideReply, static_cast<int>(code) + 1)) return 1;
  }
  for (const int code : {UDP_CTRL_CAM_UPGRADE_CAMERA, UDP_CTRL_CAM_REBOOT_DEVICE}) {
    if (!ask(inbox, code)) return 1;
  }
  std::puts("all answered");
  return 0;
}
