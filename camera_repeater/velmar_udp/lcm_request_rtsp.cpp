// The side channel to the streaming process: live-view frame rate and flow control.

#include <cstdio>
#include <cstring>

#include "lcm_request.h"
#include "time_helper.h"
#include "velmar_output.h"

bool LcmRequest::send_msg_to_rtsp(LCM_RTSP_UDP_CMD cmd, const void* data, unsigned int len) {
  if (cmd < SEND_BITRATE || cmd >= LCM_RTSP_UDP_COMMAND_MAX) {
    std::printf("The command_id is invalid %d\n", static_cast<int>(cmd));
    return false;
  }
  lcm_udp_rtsp_msg_t message{};
  message.msg_cmd = cmd;
  if (len > sizeof message.msg_buf) {
    std::puts("error: input_len too big for lcm_udp_rtsp_msg buffer");
    return false;
  }
  if (data != nullptr) std::memcpy(message.msg_buf, data, len);

  userlcm_packet_t packet{};
  std::memcpy(packet.channel, kRtspReplyChannel, sizeof kRtspReplyChannel);
  std::memcpy(packet.msg_buf, &message, sizeof message);
  _rtsp_lcm_request_time_start = time_ms();
  send_msg_to_lcm(&packet, sizeof message, kRtspRequestChannel);
  return true;
}

bool LcmRequest::send_msg_rtsp_and_wait(LCM_RTSP_UDP_CMD cmd, const void* data, unsigned int len) {
  show_output();  // another request may have the turn
  // The wait gives _rtsp_mutex back; a second request must not begin meanwhile.
  const MutexLock turn(_rtsp_turn);
  MutexLock lock(_rtsp_mutex);
  if (!send_msg_to_rtsp(cmd, data, len)) {
    std::puts("send_msg_to_rtsp failed");
    return false;
  }
  const int awaited = static_cast<int>(cmd) + 1;
  const bool answered = lock.wait_at_most(
      _rtsp_cond, _timeouts.rtsp_reply,
      [&]() VLM_REQUIRES(_rtsp_mutex) { return _last_rtsp_command_id_received == awaited; });
  if (!answered) {
    std::printf("error: set command_id %d timeout waiting for answer\n", static_cast<int>(cmd));
  }
  _last_rtsp_command_id_received = -1;
  return answered;
}

void LcmRequest::receive_msg_from_rtsp(LCM_RTSP_UDP_CMD cmd, const void* data) {
  const MutexLock guard(_rtsp_mutex);
  save_lcm_rtsp_result(cmd, data);
  _last_rtsp_command_id_received = static_cast<int>(cmd);
  _rtsp_cond.notify_all();
}

void LcmRequest::save_lcm_rtsp_result(LCM_RTSP_UDP_CMD cmd, const void* data) {
  const auto* const flag = static_cast<const u8*>(data);
  if (flag == nullptr) return;
  switch (cmd) {
    case SET_FLC_STATUS_ACK:
    case GET_FLC_STATUS_ACK: _rtsp_data.rtsp_fc_flag = *flag; break;
    case SET_FLC_DEBUG_STATUS_ACK:
    case GET_FLC_DEBUG_STATUS_ACK: _rtsp_data.rtsp_fc_debug_flag = *flag; break;
    // The others may carry no byte at all.
    default: break;
  }
}

bool LcmRequest::send_rtsp_live_view_fps(unsigned int fps) {
  const u32 rate = fps;
  return send_msg_rtsp_and_wait(SEND_FPS, &rate, sizeof rate) ||
         !say("The send_rtsp_live_view_fps failed\n");
}

bool LcmRequest::set_rtsp_flag(LCM_RTSP_UDP_CMD cmd, u8 flag, u8 rtsp_data::*echoed,
                               const char* name, const char* caller) {
  std::printf("%s: %s %u\n", caller, name, flag);
  if (!send_msg_rtsp_and_wait(cmd, &flag, sizeof flag)) return !say("%s timeout\n", caller);
  const MutexLock guard(_rtsp_mutex);
  return _rtsp_data.*echoed == flag || !say("The %s result is NOT expected\n", name);
}

bool LcmRequest::get_rtsp_flag(LCM_RTSP_UDP_CMD cmd, u8& flag, u8 rtsp_data::*stored,
                               const char* name, const char* caller) {
  std::printf("%s:\n", caller);
  if (!send_msg_rtsp_and_wait(cmd, nullptr, 0)) return !say("%s timeout\n", caller);
  const MutexLock guard(_rtsp_mutex);
  flag = _rtsp_data.*stored;
  return say("%s %d\n", name, flag);
}

bool LcmRequest::set_rtsp_flow_control(u8 flag) {
  return set_rtsp_flag(SET_FLC_STATUS, flag, &rtsp_data::rtsp_fc_flag, "rtsp_fc_flag");
}

bool LcmRequest::set_rtsp_flow_control_debug(u8 flag) {
  return set_rtsp_flag(SET_FLC_DEBUG_STATUS, flag, &rtsp_data::rtsp_fc_debug_flag,
                       "rtsp_fc_debug_flag");
}

bool LcmRequest::get_rtsp_flow_control(u8& flag) {
  return get_rtsp_flag(GET_FLC_STATUS, flag, &rtsp_data::rtsp_fc_flag, "rtsp_fc_flag");
}

bool LcmRequest::get_rtsp_flow_control_debug(u8& flag) {
  return get_rtsp_flag(GET_FLC_DEBUG_STATUS, flag, &rtsp_data::rtsp_fc_debug_flag,
                       "rtsp_fc_debug_flag");
}
