// What this bus offers beside the two functions of vlm_userlcm_control_camera.h; with the board's
// library it is not there.
#ifndef VLM_BUS_H
#define VLM_BUS_H

namespace vlm::bus {

/// True when a live process subscribes `channel`; waits for one up to `timeout_ms`. Subscribers do
/// not notice. False also when the bus cannot be used, with a message on standard error.
bool bus_has_subscriber(const char* channel, int timeout_ms = 0);

}  // namespace vlm::bus

#endif  // VLM_BUS_H
