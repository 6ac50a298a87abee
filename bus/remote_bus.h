// The bus of this process where VLM_BUS names a camera behind a broker.
#ifndef REMOTE_BUS_H
#define REMOTE_BUS_H

#include "broker.h"

namespace vlm::bus {

/// True when VLM_BUS is set, and names no directory: the bus is a broker's, or cannot be used.
bool bus_is_remote();

/// The camera that VLM_BUS names; connects in the background. Null, with a message once, when it
/// cannot be reached that way.
RemoteCamera* remote_camera();

/// As register_lcm_message, over `camera`. Never returns.
[[noreturn]] void serve_remotely(RemoteCamera& camera, const Receive_msg_t& subscription);

}  // namespace vlm::bus

#endif  // REMOTE_BUS_H
