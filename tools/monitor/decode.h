// What a packet of the bus says.
#ifndef MONITOR_DECODE_H
#define MONITOR_DECODE_H

#include <string>
#include <vector>

#include "entry.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::monitor {

enum class Kind {
  kRequest,       // to the camera
  kReply,         // of the camera
  kNotification,  // of the camera, unasked by nature
  kSideRequest,   // to the streaming process
  kSideReply,     // of the streaming process
  kProbe,         // a program that looks whether its own subscription serves
  kOther,         // on a channel, or of a form, that no program of the system uses
  kNote,          // no packet: a comment of the recording
};

/// "request", "reply" ... as outputs and filters call it.
const char* name_of(Kind kind);

/// One value of a payload.
struct Value {
  std::string name;
  std::string text;  // a JSON number when `is_number`
  bool is_number = false;
};

struct Decoded {
  Kind kind = Kind::kOther;
  int code = -1;     // command, message of the side channel, or type of message; -1: none
  std::string name;  // of the code
  int result = 0;    // of a reply
  std::vector<Value> values;
};

Decoded decode(const Entry& entry);

/// The packet as the system takes it: what is missing at its end is zero.
userlcm_packet_t packet_of(const Entry& entry);
/// The camera record of a request or reply.
udp_ctrl_cam_t record_of(const Entry& entry);

/// Two digits a byte.
std::string hexadecimal(const unsigned char* bytes, std::size_t size);
/// Without what a terminal must not get.
std::string printable(std::string_view text);

}  // namespace vlm::monitor

#endif  // MONITOR_DECODE_H
