// How a publisher hands copies of its packets to a tap.
//
// A tap is a listening SOCK_SEQPACKET socket in the bus directory, named tap-PID-SERIAL: without a
// dot, so that it belongs to no channel. A publisher connects to it and sends one TapGreeting with
// two descriptors: the reading end of a pipe, and a file that holds a TapTally. From then on it
// writes one record into the pipe for each packet that it publishes:
//
//   TapRecord | channel[channel_size] | packet[packet_size]
//
// In between stand notes, of which the packet is a text: what the publisher has to say of packets
// that subscribers did not take. They have no number of their own.
//
// A record fits into PIPE_BUF, so it is written whole or not at all. A pipe of 1 MiB holds more
// than 2800 requests or replies, 100 ms at 20000 a second with some to spare; a socket's buffer is
// limited by the system to a tenth of that.
#ifndef TAP_COPY_H
#define TAP_COPY_H

#include <cstdint>

namespace vlm::bus {

constexpr std::uint32_t kTapVersion = 0x31504154;  // "TAP1"
constexpr int kTapPipeSize = 1 << 20;
constexpr std::size_t kTapMaxChannel = 63;
constexpr std::size_t kTapMaxPacket = 1088;

struct TapGreeting {
  std::uint32_t version;
  std::int32_t pid;  // of the publisher
};

enum class TapRecordKind : std::uint32_t { kPacket, kNote };

struct TapRecord {
  std::uint64_t sequence;  // of this publisher for this tap; what is missing has been lost
  std::uint64_t time_ns;   // on the steady clock, before the packet was delivered to anyone
  std::uint16_t channel_size;
  std::uint16_t packet_size;
  TapRecordKind kind;
};
static_assert(sizeof(TapRecord) == 24);

/// How many records the publisher has written or lost by now: tells of losses that no record follows.
struct TapTally {
  std::uint64_t offered;
};

}  // namespace vlm::bus

#endif  // TAP_COPY_H
