// What a camera can be asked for, everything, in the order in which it can be asked.
#ifndef EVERY_REQUEST_H
#define EVERY_REQUEST_H

#include <cstring>
#include <string>
#include <vector>

#include "catalogue_value.h"
#include "command_name.h"
#include "vlm_userlcm_control_camera.h"

/// The request of a command with the values that a camera starts with; of the camera's mode with
/// photo mode, so that it takes a photo.
inline udp_ctrl_cam_t request_with_initial_values(int code) {
  namespace catalogue = vlm::catalogue;
  catalogue::Payload payload{};
  if (code == UDP_CTRL_CAM_SET_CAMERA_MODE) {
    payload[0] = 2;
  } else if (const catalogue::Row* const row = catalogue::find_by_code(code)) {
    if (code == row->codes.set) catalogue::put_initial(row->value, payload);
    std::string error;
    if (code != row->codes.set) catalogue::encode_parameters(*row, {}, payload, error);
  }
  udp_ctrl_cam_t record{};
  record.cmd_type = static_cast<u16>(code);
  std::memcpy(record.cmd_params, payload.data(), payload.size());
  return record;
}

/// Every code that has a name; last those after which the camera serves no more for a while.
inline std::vector<int> every_code() {
  constexpr int kLastCode = 905;
  const std::vector<int> last{UDP_CTRL_CAM_UPGRADE_CAMERA, UDP_CTRL_CAM_REBOOT_DEVICE};
  std::vector<int> codes;
  for (int code = 0; code <= kLastCode; ++code) {
    const bool is_named = vlm::monitor::command_name(code).rfind("COMMAND_", 0) != 0;
    if (is_named && code != last[0] && code != last[1]) codes.push_back(code);
  }
  codes.insert(codes.end(), last.begin(), last.end());
  return codes;
}

/// The requests of the side channel.
inline std::vector<u32> every_side_code() {
  std::vector<u32> codes;
  for (u32 code = SEND_BITRATE; code < LCM_RTSP_UDP_COMMAND_MAX; code += 2) codes.push_back(code);
  return codes;
}

#endif  // EVERY_REQUEST_H
