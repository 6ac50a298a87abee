#include "faulty_packets.h"

#include <algorithm>

namespace vlm::sim {

/// What a packet is lengthened by are ones: unlike the zeros behind a short one, they show.
void damage(OutgoingPacket& reply, const Fate& fate) {
  u8* message = reply.packet.msg_buf;
  if (fate.bit) message[*fate.bit / 8] ^= static_cast<u8>(1U << *fate.bit % 8);
  if (!fate.length) return;
  if (*fate.length > reply.length) std::fill(message + reply.length, message + *fate.length, 0xFF);
  reply.length = *fate.length;
}

udp_ctrl_cam_t stray_reply(u16 code, u64 seed) {
  constexpr u64 kCodes = 242;
  std::mt19937_64 random(seed);
  udp_ctrl_cam_t reply{};
  reply.cmd_type = static_cast<u16>(random() % kCodes);
  if (reply.cmd_type == code) reply.cmd_type = static_cast<u16>((code + 1) % kCodes);
  for (u8& byte : reply.cmd_params) byte = static_cast<u8>(random());
  return reply;
}

}  // namespace vlm::sim
