// Packets of the bus as programs build and read them, with either library.
#ifndef ENVELOPE_H
#define ENVELOPE_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

/// Bytes of a packet before its message.
constexpr std::size_t kEnvelopeSize = offsetof(userlcm_packet_t, msg_buf);

/// A packet without a message that names `sender` as its sender's channel, which is cut to the 63
/// bytes that fit.
inline userlcm_packet_t packet_from(std::string_view sender) {
  userlcm_packet_t packet{};
  std::memcpy(packet.channel, sender.data(), std::min(sender.size(), sizeof packet.channel - 1));
  return packet;
}

/// Likewise, with `message` in it.
template <typename Message>
userlcm_packet_t packet_from(std::string_view sender, const Message& message) {
  static_assert(std::is_trivially_copyable_v<Message> &&
                sizeof message <= sizeof(userlcm_packet_t::msg_buf));
  userlcm_packet_t packet = packet_from(sender);
  std::memcpy(packet.msg_buf, &message, sizeof message);
  return packet;
}

/// Likewise, with a request to the camera or its reply, whose message has sizeof(msg_from_rep_t).
inline userlcm_packet_t camera_packet_from(std::string_view sender, const udp_ctrl_cam_t& record) {
  msg_from_rep_t message{};
  message.msg_type = LCM_CONTROL_CAMERA;
  static_assert(sizeof record <= sizeof message.msg_data);
  std::memcpy(message.msg_data, &record, sizeof record);
  return packet_from(sender, message);
}

/// The record behind the first `offset` of `size` bytes, which need no alignment. What of it they do
/// not hold is 0.
template <typename Record>
Record read_record(const void* bytes, std::size_t size, std::size_t offset = 0) {
  static_assert(std::is_trivially_copyable_v<Record>);
  Record record{};
  if (offset < size) {
    std::memcpy(&record, static_cast<const char*>(bytes) + offset,
                std::min(size - offset, sizeof record));
  }
  return record;
}

}  // namespace vlm::bus

#endif  // ENVELOPE_H
