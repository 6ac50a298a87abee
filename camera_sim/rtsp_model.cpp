#include "rtsp_model.h"

#include "payload_bytes.h"

namespace vlm::sim {

std::optional<lcm_udp_rtsp_msg_t> RtspModel::handle(const lcm_udp_rtsp_msg_t& request) {
  lcm_udp_rtsp_msg_t reply{};
  const u32 code = request.msg_cmd;
  reply.msg_cmd = static_cast<LCM_RTSP_UDP_CMD>(code + 1);
  switch (code) {
    // The bit rate and resolution of the live view have no data, and so nothing to keep.
    case SEND_BITRATE:
    case SEND_RESOLUTION: break;
    case SEND_FPS: _fps = load<u32>(request.msg_buf); break;
    case SET_FLC_STATUS: _flow_control = request.msg_buf[0]; [[fallthrough]];
    case GET_FLC_STATUS: reply.msg_buf[0] = _flow_control; break;
    case SET_FLC_DEBUG_STATUS: _flow_control_debug = request.msg_buf[0]; [[fallthrough]];
    case GET_FLC_DEBUG_STATUS: reply.msg_buf[0] = _flow_control_debug; break;
    default: return std::nullopt;
  }
  return reply;
}

}  // namespace vlm::sim
