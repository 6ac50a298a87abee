// Packets from the bus into the simulated camera, and what arrives on its operator's descriptor.
//
// Input: a byte whose lowest bit gives it a thermal sensor, then steps: a byte that says what it is,
// a length, and as many bytes.
#include <atomic>
#include <cstring>

#include "camera_peer.h"
#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  const bool thermal = (input.byte() & 1) != 0;
  const auto publish = [](const userlcm_packet_t* packet, unsigned int length, const char*) {
    must(length <= sizeof packet->msg_buf, "a packet fits its record");
    must(std::memchr(packet->channel, 0, sizeof packet->channel) != nullptr, "and has a sender");
    return 0;
  };
  const auto trace = [](const std::string& line) {
    must(line.find('\n') == std::string::npos, "a trace is one line");
  };
  CameraPeer camera(thermal, {}, 1, publish, trace);
  LineBuffer keyboard;
  while (!input.empty()) {
    const u8 what = input.byte();
    const std::vector<u8> step = input.bytes(input.word() % (sizeof(userlcm_packet_t) + 1));
    const auto length = static_cast<unsigned int>(step.size());
    switch (what % 3) {
      case 0: camera.receive(step.data(), length); break;
      case 1: camera.receive_rtsp(step.data(), length); break;
      default:
        for (const auto& line : keyboard.feed(reinterpret_cast<const char*>(step.data()), length)) {
          camera.operate(line);
        }
    }
  }
  return 0;
}
