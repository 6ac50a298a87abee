#include "payload_values.h"

#include <algorithm>
#include <cstring>

namespace vlm::monitor {

namespace {

constexpr std::size_t kParametersAt = offsetof(userlcm_packet_t, msg_buf) +
                                      offsetof(msg_from_rep_t, msg_data) +
                                      offsetof(udp_ctrl_cam_t, cmd_params);

bool is_secret(int code) {
  return code == UDP_CTRL_CAM_SET_WIFI_PASSWORD || code == UDP_CTRL_CAM_SET_VIDEO_PASSWD ||
         code == UDP_CTRL_CAM_GET_VIDEO_PASSWD;
}

}  // namespace

std::vector<Value> payload_values(const udp_ctrl_cam_t& record, bool) {
  std::size_t size = sizeof record.cmd_params;
  while (size > 0 && record.cmd_params[size - 1] == 0) --size;
  if (size == 0) return {};
  return {{"payload", hexadecimal(record.cmd_params, size)}};
}

bool redact(Entry& entry) {
  const Decoded decoded = decode(entry);
  if (decoded.kind != Kind::kRequest && decoded.kind != Kind::kReply) return false;
  if (!is_secret(decoded.code) || entry.packet.size() <= kParametersAt) return false;
  const std::size_t end =
      std::min(entry.packet.size(), kParametersAt + sizeof(udp_ctrl_cam_t::cmd_params));
  const auto begin = entry.packet.begin();
  std::fill(begin + static_cast<std::ptrdiff_t>(kParametersAt),
            begin + static_cast<std::ptrdiff_t>(end), '\0');
  entry.comment = kRedacted;
  return true;
}

}  // namespace vlm::monitor
