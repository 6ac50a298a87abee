// The values in the payload of a camera command, as the catalogue tells them.
#ifndef MONITOR_PAYLOAD_VALUES_H
#define MONITOR_PAYLOAD_VALUES_H

#include <bitset>
#include <string>
#include <vector>

#include "decode.h"

namespace vlm::monitor {

/// What a request carries, or a reply whose result is 0, by the catalogue's names. Secrets are not
/// shown.
std::vector<Value> payload_values(const udp_ctrl_cam_t& record, bool is_reply);

/// Blanks the secrets in the packet of a request or reply, and says so in its comment. True when
/// there was one.
bool redact(Entry& entry);

/// Whether the command loses data or settings, or interrupts the camera.
bool is_destructive(const udp_ctrl_cam_t& request);

/// Bytes of a reply's parameters.
using PayloadMask = std::bitset<sizeof(udp_ctrl_cam_t::cmd_params)>;

/// The bytes of the reply that change by themselves.
PayloadMask volatile_bytes(const udp_ctrl_cam_t& reply);
/// The bytes of the reply that hold the row or the group's field of that full name; none when the
/// reply has no such.
PayloadMask bytes_of(const std::string& name, const udp_ctrl_cam_t& reply);
/// Whether the catalogue has a row or a group's field of that full name.
bool is_value_name(const std::string& name);

}  // namespace vlm::monitor

#endif  // MONITOR_PAYLOAD_VALUES_H
