// Datagrams of the service, or of whoever answers in its place, into vlmctl.
//
// Input: what is done to the CRC (odd: mended), the option that was asked, the datagram.
#include "camctrl_app.h"
#include "catalogue_text.h"
#include "fuzz_input.h"
#include "udp_link.h"
#include "velmar_udp_master_k720_crc.h"

using namespace vlm;

namespace {

constexpr std::size_t kData = 8;  // where the data begin

u16 crc_of(const ctl::UdpData& packet, std::size_t end) {
  return vlm_udp_getcrc16(packet.data() + 1, static_cast<int>(end) - 1);
}

u16 number_at(const ctl::UdpData& packet, std::size_t place) {
  return static_cast<u16>(packet[place] << 8 | packet[place + 1]);
}

/// Makes a whole, sound datagram of it; of a refusal, a whole record.
void mend(ctl::UdpData& packet, int option) {
  if (packet.size() < kData + 2) packet.resize(kData + 2);
  const bool refusal = packet.size() == sizeof(camctrl_msg_t);
  const std::size_t end = refusal ? kData : packet.size() - 2;
  packet[1] = static_cast<u8>(packet.size() - kData);
  packet[6] = static_cast<u8>(option >> 8);
  packet[7] = static_cast<u8>(option);
  const u16 crc = crc_of(packet, end);
  packet[end] = static_cast<u8>(crc >> 8);
  packet[end + 1] = static_cast<u8>(crc);
}

void show(int option, const client::Answer& answer) {
  const catalogue::Row* const row = catalogue::find_by_option(option);
  if (row == nullptr) return;
  const auto value = decode(row->value, answer.payload.data(), answer.payload.size());
  if (value) catalogue::format(row->value, *value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  const bool mended = (input.byte() & 1) != 0;
  const int option = input.word();
  ctl::UdpData packet = input.rest();
  if (mended) mend(packet, option);
  const auto answer = ctl::udp_answer(option, packet);
  if (!answer) return 0;
  must(packet.size() >= kData + 2, "an answer is whole");
  must(number_at(packet, 6) == option, "an answer is one to what was asked");
  must(number_at(packet, 4) == answer->error, "its result is the service's");
  const bool refusal = packet.size() == sizeof(camctrl_msg_t) && answer->error != 0;
  const std::size_t end = refusal ? kData : packet.size() - 2;
  must(number_at(packet, end) == crc_of(packet, end), "its CRC is right");
  show(option, *answer);
  return 0;
}
