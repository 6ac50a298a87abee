// What a command needs of those who send it.
#ifndef FLEET_SERVICE_COMMANDS_H
#define FLEET_SERVICE_COMMANDS_H

#include <cstddef>

#include "vlm_userlcm_control_camera.h"

namespace vlm::fleet {

/// Whether the request only reads.
bool only_reads(u16 code);

/// Whether the request with these parameters needs the right to serve the camera: the catalogue flags
/// what it changes as destructive or for service, or does not know it.
bool needs_service(const udp_ctrl_cam_t& request);

}  // namespace vlm::fleet

#endif  // FLEET_SERVICE_COMMANDS_H
