#include "velmar_udp_master_k720_crc.h"

#include <cstddef>

namespace {

constexpr u32 kPolynomial = 0x8408;  // 0x1021 with its bits reversed
constexpr u32 kInitial = 0xFFFF;
constexpr u32 kGoodResidue = 0xF0B8;

constexpr u32 register_after(u32 byte) {
  for (int bit = 0; bit < 8; ++bit) byte = (byte & 1) != 0 ? byte >> 1 ^ kPolynomial : byte >> 1;
  return byte;
}

constexpr std::array<u32, 256> crc_table() {
  std::array<u32, 256> table{};
  for (u32 byte = 0; byte < table.size(); ++byte) table[byte] = register_after(byte);
  return table;
}

}  // namespace

constexpr std::array<u32, 256> udp_crc16_ccitt_table = crc_table();

u16 vlm_udp_getcrc16(const u8* data, int length) {
  u32 crc = kInitial;
  for (int i = 0; i < length; ++i) crc = udp_crc16_ccitt_table[(crc ^ data[i]) & 0xFF] ^ crc >> 8;
  return static_cast<u16>(crc);
}

int vlm_udp_iscrc16good(const u8* data, int length) {
  return vlm_udp_getcrc16(data, length) == kGoodResidue ? 0 : -1;
}

void vlm_udp_fill_crc(camctrl_msg_t& msg, u16 len) {
  if (len + sizeof msg.header + sizeof msg.payload.cmd > sizeof msg) return;
  u8* bytes = reinterpret_cast<u8*>(&msg);
  const u16 crc = vlm_udp_getcrc16(bytes + offsetof(vlm_packet_header_t, len), len + 5);
  bytes[len + 6] = static_cast<u8>(crc >> 8);
  bytes[len + 7] = static_cast<u8>(crc);
}
