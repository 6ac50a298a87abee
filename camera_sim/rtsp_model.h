// The simulated streaming process: it acknowledges the commands of the side channel.
#ifndef CAMERA_SIM_RTSP_MODEL_H
#define CAMERA_SIM_RTSP_MODEL_H

#include <optional>

#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

/// A pure state machine, not synchronised.
class RtspModel {
 public:
  /// The acknowledgement of `request`: the code above its own, and for the flag commands the flag
  /// in force as the first byte. No value for what is no command.
  std::optional<lcm_udp_rtsp_msg_t> handle(const lcm_udp_rtsp_msg_t& request);

  u32 fps() const { return _fps; }
  u8 flow_control() const { return _flow_control; }
  u8 flow_control_debug() const { return _flow_control_debug; }

 private:
  u32 _fps = 30;
  u8 _flow_control = 0;
  u8 _flow_control_debug = 0;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_RTSP_MODEL_H
