// Printable names of the camera command codes. They stand in lcm_request_data.cpp, where the name
// and the reply of a code are one row.
#ifndef VELMAR_CMD_H
#define VELMAR_CMD_H

/// Name of a `udp_ctrl_cam_cmds` value, for transcripts and logs; "Unknown lcm cmd" for a code
/// without one, -1 and undefined codes included. The text is constant; callable from any thread.
const char* vlm_strcmd(int cmd);

#endif  // VELMAR_CMD_H
