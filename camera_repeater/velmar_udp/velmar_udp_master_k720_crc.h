// CRC-16/MCRF4XX of camctrl packets: reflected, polynomial 0x1021, started at 0xFFFF, no final XOR.
// Service and client use it alike.
#ifndef VELMAR_UDP_MASTER_K720_CRC_H
#define VELMAR_UDP_MASTER_K720_CRC_H

#include <array>

#include "vlm_udp_camctrl_defines.h"

/// Table of the reflected CRC-16 with polynomial 0x1021: the register after each byte value.
extern const std::array<u32, 256> udp_crc16_ccitt_table;

/// CRC-16/MCRF4XX of `length` bytes; 0xFFFF when `length` is 0 or less.
u16 vlm_udp_getcrc16(const u8* data, int length);

/// 0 when `length` bytes end in their own complemented CRC, low byte first, else -1. Camctrl packets
/// carry the plain CRC, high byte first: this is not the test for them.
int vlm_udp_iscrc16good(const u8* data, int length);

/// Stores the CRC of a packet with `len` - 2 data bytes behind them. Does nothing when there is no
/// room for it, that is when `len` exceeds 256.
void vlm_udp_fill_crc(camctrl_msg_t& msg, u16 len);

#endif  // VELMAR_UDP_MASTER_K720_CRC_H
