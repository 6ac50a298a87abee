// What travels on the board's publish/subscribe bus: the camera control record, its two envelopes,
// the side-channel record of the streaming process, the channels, and the two functions of the bus
// library. All records are packed and little-endian; their memory layout is the wire layout.
//
//   userlcm_packet_t   channel[64] | msg_buf[1024]
//   msg_from_rep_t                 | msg_type[1] msg_data[256] ...
//   udp_ctrl_cam_t                 |             cmd_type[2] cmd_params[128] err_code[2] ...
#ifndef VLM_USERLCM_CONTROL_CAMERA_H
#define VLM_USERLCM_CONTROL_CAMERA_H

#include <cstddef>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"

/// The camera process listens here: requests of this program.
constexpr char kRequestChannel[] = "velmar_repeater_udp";
/// This program listens here: replies and notifications of the camera process.
constexpr char kReplyChannel[] = "velmar_udp_repeater";
/// The streaming process listens here.
constexpr char kRtspRequestChannel[] = "lcm_channel_to_rtsp";
/// Named as the sender's channel in requests to the streaming process.
constexpr char kRtspReplyChannel[] = "lcm_channel_from_udp";

/// Values of `msg_from_rep_t::msg_type`.
enum lcm_msg_type {
  LCM_INTERACTIVE_KEY = 1,
  LCM_BIND_CONTROL = 2,
  LCM_CONTROL_CAMERA = 3,  // a udp_ctrl_cam_t, request or reply
  LCM_BIND_MAC = 4,
  LCM_SDCARD_STATUS = 5,         // storage notification, one status byte
  LCM_MISC_IMAGE_INFO = 6,       // a udp_ctrl_cam_misc_image_info_t
  LCM_UPDATE_CAMERA_MODE = 7,    // camera mode has changed
  LCM_CAPTURE_IMAGE_RESULT = 8,  // image has been captured
};

/// Commands of the streaming process; each is acknowledged by the code one above its own.
enum LCM_RTSP_UDP_CMD : u32 {
  SEND_BITRATE = 1,
  SEND_BITRATE_ACK = 2,
  SEND_RESOLUTION = 3,
  SEND_RESOLUTION_ACK = 4,
  SEND_FPS = 5,  // u32 frames per second
  SEND_FPS_ACK = 6,
  SET_FLC_STATUS = 7,  // u8 flow-control flag; the acknowledgement carries the flag in force
  SET_FLC_STATUS_ACK = 8,
  GET_FLC_STATUS = 9,
  GET_FLC_STATUS_ACK = 10,
  SET_FLC_DEBUG_STATUS = 11,  // u8 debug flag, likewise
  SET_FLC_DEBUG_STATUS_ACK = 12,
  GET_FLC_DEBUG_STATUS = 13,
  GET_FLC_DEBUG_STATUS_ACK = 14,
  LCM_RTSP_UDP_COMMAND_MAX = 15,  // bound, never sent
};

#pragma pack(push, 1)

/// One camera request, or the reply that carries the same `cmd_type`.
struct udp_ctrl_cam_t {
  u16 cmd_type;        // a udp_ctrl_cam_cmds value
  u8 cmd_params[128];  // payload by command, zero behind it
  u16 err_code;        // reply: a vlm_err_t value, the payload holds only when 0; request: 0
};
static_assert(sizeof(udp_ctrl_cam_t) == 132);
static_assert(offsetof(udp_ctrl_cam_t, cmd_params) == 2);
static_assert(offsetof(udp_ctrl_cam_t, err_code) == 130);

struct msg_from_rep_t {
  u8 msg_type;  // an lcm_msg_type value
  u8 msg_data[256];
};
static_assert(sizeof(msg_from_rep_t) == 257);
static_assert(offsetof(msg_from_rep_t, msg_data) == 1);

struct userlcm_packet_t {
  char channel[64];  // NUL-padded: the channel on which the sender listens
  u8 msg_buf[1024];
};
static_assert(sizeof(userlcm_packet_t) == 1088);
static_assert(offsetof(userlcm_packet_t, msg_buf) == 64);

struct lcm_udp_rtsp_msg_t {
  LCM_RTSP_UDP_CMD msg_cmd;
  u8 msg_buf[64];
};
static_assert(sizeof(lcm_udp_rtsp_msg_t) == 68);
static_assert(offsetof(lcm_udp_rtsp_msg_t, msg_buf) == 4);

#pragma pack(pop)

extern "C" {

/// Runs for each received packet, on the thread that serves the subscription. `buf` holds `len`
/// bytes of a `userlcm_packet_t`, possibly fewer than all of it; `channel` is where it arrived.
/// Both belong to the bus and are valid only during the call.
typedef void (*ReceiveBufCallBack)(void* buf, unsigned int len, char* channel, void* user);

/// A subscription; owned by the caller, kept alive for as long as its thread serves it.
struct Receive_msg_t {
  char channel[64];      // NUL-terminated name of the channel to subscribe
  ReceiveBufCallBack f;  // run for each packet
  void* func;            // handed to `f` as its user pointer; null here
};
static_assert(sizeof(Receive_msg_t) == 64 + 2 * sizeof(void*));
static_assert(offsetof(Receive_msg_t, f) == 64);
static_assert(offsetof(Receive_msg_t, func) == 64 + sizeof(void*));

/// Publishes the first `length` bytes of `packet->msg_buf` with the packet's channel field on
/// `channel`. Returns 0, or -1 when nothing could be published; callable from any thread.
int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int length, const char* channel);

/// Thread body: subscribes and serves `subscription` for as long as the process lives. Returns
/// null only when it cannot subscribe.
void* register_lcm_message(Receive_msg_t* subscription);

}  // extern "C"

#endif  // VLM_USERLCM_CONTROL_CAMERA_H
