// The console program: its UDP test client.
#ifndef VLM_TEST_H
#define VLM_TEST_H

#include "vlm_udp_camctrl_defines.h"

/// Runs one request against the camera-control service on 127.0.0.1, port 9528, and prints the
/// reply: `argv[2]` is the word command, its arguments follow. Waits for the reply without a time
/// limit. Ends the process with status 1 on a usage fault, after a message.
void process_test_udp(int argc, char** argv);

/// Fills `request` with the packet of a word command, ready to be sent. False, after a message,
/// when the words do not make one; "settime" asks the shell's date tool.
bool build_test_udp_request(int argc, char** argv, camctrl_msg_t& request);

/// Prints the list of word commands.
void print_test_udp_usage();

/// Runs a shell command. `output`, which has room for 255 bytes, receives the beginning of each line
/// in turn, thus ends up with the last; a longer line has no terminator in it. Returns the status
/// of pclose, or -1 after a message.
int my_test_system(const char* command, char* output);

#endif  // VLM_TEST_H
