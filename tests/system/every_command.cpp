// Asks the camera on the bus for everything, one thing after the other: each command of the catalogue
// with the values that a camera starts with, each command that is not in it, each message of the
// side channel. The camera is in photo mode from early on, so that it takes a photo.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>

#include "bus_inbox.h"
#include "decode.h"
#include "every_request.h"

namespace {

using namespace vlm;
using monitor::Entry;

Entry entry_of(const char* channel, const char* sender, const void* message, std::size_t size) {
  userlcm_packet_t packet{};
  std::strncpy(packet.channel, sender, sizeof packet.channel - 1);
  std::memcpy(packet.msg_buf, message, size);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&packet);
  return {0, channel, monitor::Bytes(bytes, bytes + sizeof packet.channel + size), {}};
}

Entry request_of(int code) {
  const udp_ctrl_cam_t record = request_with_initial_values(code);
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

bool ask_side(monitor::BusInbox& inbox) {
  for (const u32 code : every_side_code()) {
    monitor::publish(side_request_of(code));
    if (!await(inbox, monitor::Kind::kSideReply, static_cast<int>(code) + 1)) return false;
  }
  return true;
}

}  // namespace

int main() {
  auto& inbox = *new monitor::BusInbox("every_command", {kReplyChannel, kRtspReplyChannel});
  if (!inbox.ready()) return 1;
  const std::vector<int> codes = every_code();
  const auto side_at = codes.end() - 2;  // before the camera ends its service
  for (auto code = codes.begin(); code != codes.end(); ++code) {
    if (code == side_at && !ask_side(inbox)) return 1;
    if (!ask(inbox, *code)) return 1;
  }
  std::puts("all answered");
  return 0;
}
