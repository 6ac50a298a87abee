// The values in the payload of a camera command, by the catalogue's names.
#ifndef MONITOR_PAYLOAD_VALUES_H
#define MONITOR_PAYLOAD_VALUES_H

#include <vector>

#include "decode.h"

namespace vlm::monitor {

/// What a request carries, or a reply whose result is 0.
std::vector<Value> payload_values(const udp_ctrl_cam_t& record, bool is_reply);

/// Blanks the secrets in the packet of a request or reply. True when there was one.
bool redact(Entry& entry);

}  // namespace vlm::monitor

#endif  // MONITOR_PAYLOAD_VALUES_H
