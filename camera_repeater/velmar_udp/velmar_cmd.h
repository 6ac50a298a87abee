// Printable names of the camera command codes.
#ifndef VELMAR_CMD_H
#define VELMAR_CMD_H

/// Name of a `udp_ctrl_cam_cmds` value, for transcripts and logs; "Unknown lcm cmd" for a code
/// without one, -1 and undefined codes included. The text is constant; callable from any thread.
const char* vlm_strcmd(int cmd);

#endif  // VELMAR_CMD_H
