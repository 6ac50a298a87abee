// The bus of a process whose VLM_BUS names a camera behind a broker: its three functions, as
// remote_bus.h describes them.
#ifndef FLEET_BROKER_BUS_H
#define FLEET_BROKER_BUS_H

#include "vlm_userlcm_control_camera.h"

namespace vlm::fleet {

int publish_remotely(const userlcm_packet_t* packet, unsigned int length, const char* channel);
void serve_remotely(const Receive_msg_t* subscription);
bool remote_has_subscriber(const char* channel, int timeout_ms);

}  // namespace vlm::fleet

#endif  // FLEET_BROKER_BUS_H
