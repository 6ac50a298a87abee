// Packets for tests of the bus: whether one arrived whole can be told from its sender and number.
#ifndef NUMBERED_PACKET_H
#define NUMBERED_PACKET_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "vlm_userlcm_control_camera.h"

constexpr unsigned int kHeaderSize = offsetof(userlcm_packet_t, msg_buf);

/// The length of the message `number`: short, long and all between.
inline unsigned int length_of(std::uint32_t number) {
  return static_cast<unsigned int>(sizeof number) + number * 7 % 1021;
}

/// The packet `number` of `sender`.
inline userlcm_packet_t numbered_packet(const std::string& sender, std::uint32_t number) {
  userlcm_packet_t packet{};
  std::memcpy(packet.channel, sender.data(), sender.size());
  std::memcpy(packet.msg_buf, &number, sizeof number);
  for (unsigned int i = sizeof number; i < length_of(number); ++i) {
    packet.msg_buf[i] =
        static_cast<u8>(number + i + sender.size() + static_cast<u8>(sender.back()));
  }
  return packet;
}

inline int publish(const std::string& channel, const std::string& sender, std::uint32_t number) {
  const userlcm_packet_t packet = numbered_packet(sender, number);
  return send_msg_to_lcm(&packet, length_of(number), channel.c_str());
}

/// "SENDER NUMBER" of the received packet, or "torn" when anything in the buffer, the part behind
/// the `size` received bytes included, is not as it was sent.
inline std::string description_of(const userlcm_packet_t& packet, unsigned int size) {
  const std::string sender(packet.channel, strnlen(packet.channel, sizeof packet.channel));
  std::uint32_t number = 0;
  std::memcpy(&number, packet.msg_buf, sizeof number);
  if (sender.empty() || size != kHeaderSize + length_of(number)) return "torn";
  const userlcm_packet_t sent = numbered_packet(sender, number);
  if (std::memcmp(&sent, &packet, sizeof sent) != 0) return "torn";
  return sender + ' ' + std::to_string(number);
}

#endif  // NUMBERED_PACKET_H
