// Succeeds when the two bus functions are those of the fake board library.
#include "vlm_userlcm_control_camera.h"

int main() {
  const userlcm_packet_t packet{};
  Receive_msg_t subscription{};
  const bool sends = send_msg_to_lcm(&packet, 257, kRequestChannel) == 4257;
  const bool registers = register_lcm_message(&subscription) == &subscription;
  return sends && registers ? 0 : 1;
}
