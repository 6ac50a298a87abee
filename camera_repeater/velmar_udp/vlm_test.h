// The console: what its sources share. `vlm_test` runs numbered commands given as arguments or at a
// prompt, or hands over to the UDP test client.
#ifndef VLM_TEST_H
#define VLM_TEST_H

#include "vlm_test_listener.h"
#include "vlm_udp_camctrl_defines.h"
#include "vlm_userlcm_control_camera.h"

/// The record of the console's current command; only `cmd_type` is used. A line that does not begin
/// with a number runs the previous command again.
extern udp_ctrl_cam_t ctrlcmd;

/// Where a firmware upgrade looks for "firmware.bin", the SD card.
extern char g_OTA_DirList[1][64];

// --- Numbered commands (vlm_test_commands.cpp) ---

/// Runs the command of one line, e.g. "16 1920 1080 30\n": prints its outcome and an empty line.
/// Blocks until the camera has answered or the time-out has passed.
void send_cmd_to_lcm(char* line);

/// Prints the list of commands, which also names numbers that are refused.
void print_usage();

/// True when send_cmd_to_lcm has a command of that number.
bool runs_command(int number);

/// True when `path` can be stat'ed.
bool file_exists(const char* path);

// --- UDP test client (vlm_test_udp.cpp) ---

/// Runs one word command against the UDP service on this machine, port 9528, and prints the reply:
/// `argv[2]` is the word, its arguments follow. Waits for the reply without a time limit. Usage
/// faults end the process with status 1.
void process_test_udp(int argc, char** argv);

/// Fills `request` with the packet of a word command, ready to be sent. False, after a message,
/// when the words do not make one. "settime" asks the shell's date tool.
bool build_test_udp_request(int argc, char** argv, camctrl_msg_t& request);

/// Prints the list of word commands.
void print_test_udp_usage();

/// Runs a shell command and leaves the first 255 bytes of its last line in `output`, which has room
/// for at least 255; a line that fills them has no terminator. Returns the status of pclose, or -1
/// after a message.
int my_test_system(const char* command, char* output);

#endif  // VLM_TEST_H
