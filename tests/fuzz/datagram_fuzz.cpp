// Datagrams into the service: check, execution and reply, over the loopback. Each is answered: a
// wrong one by the error reply, a right one by a whole reply to its command.
//
// Input: a byte whose lowest bit asks for the CRC to be mended, the camera's result code, the number
// of bytes of its answer and these, then the datagram.
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "camctrl_app.h"
#include "fuzz_bus.h"
#include "fuzz_input.h"
#include "velmar_udp_master_k720.h"

namespace {

const UdpSocket& app() {
  static const UdpSocket& socket = *new UdpSocket;
  return socket;
}

Bytes answer_to(const Bytes& datagram) {
  app().send(datagram, vlm_udp_master_k720_port());
  Bytes reply(2 * sizeof(camctrl_msg_t));
  ssize_t size;
  do {  // the fuzzer's own alarm interrupts
    size = recv(app().fd(), reply.data(), reply.size(), 0);
  } while (size < 0 && errno == EINTR);
  must(size >= 0, "an answer comes");
  reply.resize(static_cast<std::size_t>(size));
  return reply;
}

/// Where the CRC of a packet of that `len` covers, and stands behind.
std::size_t crc_at(u8 len) { return std::size_t{6} + len; }

u16 crc_of(const Bytes& packet) {
  return camctrl_crc(
      Bytes(packet.begin() + 1, packet.begin() + static_cast<std::ptrdiff_t>(crc_at(packet[1]))));
}

bool is_right(const Bytes& packet) {
  const std::size_t at = crc_at(packet[1]);
  return packet[1] != 0 && (packet[at] << 8 | packet[at + 1]) == crc_of(packet);
}

void mend(Bytes& datagram) {
  datagram.resize(sizeof(camctrl_msg_t));
  const std::size_t at = crc_at(datagram[1]);
  const u16 crc = crc_of(datagram);
  datagram[at] = static_cast<u8>(crc >> 8);
  datagram[at + 1] = static_cast<u8>(crc);
  datagram.resize(at + 2);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  be_quiet();
  must(vlm_udp_master_k720_init(0) == 0, "the service starts");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  const bool mended = (input.byte() & 1) != 0;
  const u16 err = input.word();
  const u8 payload_size = input.byte();
  FuzzBus::instance().answer(answer_with(input.bytes(payload_size), err));
  Bytes datagram = input.bytes(sizeof(camctrl_msg_t));
  if (datagram.empty()) return 0;
  if (mended) mend(datagram);

  // Behind a short datagram stands what the slot held: zeros.
  const Bytes zeros(sizeof(camctrl_msg_t));
  must(answer_to(zeros) == camctrl_error_reply(zeros, VLM_ERR_PROTOCOL), "zeros are refused");

  Bytes packet = datagram;
  packet.resize(sizeof(camctrl_msg_t));
  const Bytes reply = answer_to(datagram);
  if (!is_right(packet)) {
    must(reply == camctrl_error_reply(packet, VLM_ERR_PROTOCOL), "a wrong packet is refused");
    return 0;
  }
  must(reply.size() >= 10 && reply.size() == reply[1] + std::size_t{8}, "the reply is whole");
  must(reply[0] == 0xFE && is_right(reply), "the reply is right");
  must(reply[6] == packet[6] && reply[7] == packet[7], "the reply echoes its command");
  return 0;
}
