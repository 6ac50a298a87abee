// Stands for the board's bus library: its answers are unlike those of the bus of this repository.
#include "vlm_userlcm_control_camera.h"

int send_msg_to_lcm(const userlcm_packet_t*, unsigned int length, const char*) {
  return static_cast<int>(length) + 4000;
}

void* register_lcm_message(Receive_msg_t* subscription) { return subscription; }
