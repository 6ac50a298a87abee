// The parts of the pcapng format that recordings of the bus use.
//
//   section header     byte order, version, the program's name
//   interface          one a channel: link type "exported PDU", the channel's name, nanoseconds
//   enhanced packet    interface, time, bytes, comment
//
// The bytes of a packet are the tags of an exported PDU, which name the dissector, and the bus
// datagram as it is.
#ifndef MONITOR_PCAPNG_FORMAT_H
#define MONITOR_PCAPNG_FORMAT_H

#include <cstdint>

namespace vlm::monitor::pcapng {

enum BlockType : std::uint32_t {
  kInterface = 1,
  kEnhancedPacket = 6,
  kSectionHeader = 0x0A0D0D0A,
};

enum Option : std::uint16_t {
  kEndOfOptions = 0,
  kComment = 1,
  kInterfaceName = 2,
  kSectionApplication = 4,
  kTimeResolution = 9,
  kTimeOffset = 14,
};

constexpr std::uint32_t kByteOrder = 0x1A2B3C4D;
constexpr std::uint16_t kExportedPdu = 252;  // link type
constexpr std::uint16_t kDissectorTag = 12;  // of an exported PDU, whose tags are big-endian
constexpr std::uint16_t kEndOfTags = 0;
constexpr char kDissector[] = "vlm_bus";
constexpr std::uint32_t kMaxBlock = 16U << 20;

}  // namespace vlm::monitor::pcapng

#endif  // MONITOR_PCAPNG_FORMAT_H
