// One-line texts of what passes over the bus.
#ifndef CAMERA_SIM_SIM_DESCRIBE_H
#define CAMERA_SIM_SIM_DESCRIBE_H

#include <string>

#include "camera_notifications.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

/// "82 GET_ZOOM" and the payload: in hexadecimal without its trailing zeros, or quoted where the
/// command carries a text.
std::string describe_request(const udp_ctrl_cam_t& request);

/// Likewise, with the result and its text in between.
std::string describe_reply(const udp_ctrl_cam_t& reply);

std::string describe_notification(const Notification& notification);

std::string describe_rtsp(const lcm_udp_rtsp_msg_t& message);

}  // namespace vlm::sim

#endif  // CAMERA_SIM_SIM_DESCRIBE_H
