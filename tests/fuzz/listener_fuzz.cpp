// Bus packets into the listeners of console and service, with a request pending whose reply comes
// last: the request ends, and the engine is idle again.
//
// Input: the request's code, then packets: a byte that says where it arrives, its length, its bytes.
#include <cstring>

#include "bus_listeners.h"
#include "fuzz_bus.h"
#include "fuzz_input.h"
#include "lcm_request.h"
#include "lcm_request_peer.h"
#include "vlm_test.h"

namespace {

void receive(FuzzInput& input) {
  const u8 where = input.byte();
  std::vector<u8> packet = input.bytes(input.word() % (sizeof(userlcm_packet_t) + 1));
  const auto size = static_cast<unsigned int>(packet.size());
  char name[16] = "elsewhere";
  char reply_channel[64] = {};
  std::memcpy(reply_channel, kReplyChannel, sizeof kReplyChannel);
  switch (where % 4) {
    case 0: TestGetLcmMsg(packet.data(), size, reply_channel, nullptr); break;
    case 1: TestGetLcmMsg(packet.data(), size, name, nullptr); break;
    default: {
      Receive_msg_t* const target =
          FuzzBus::instance().subscription(where % 4 == 2 ? kReplyChannel : kRtspReplyChannel);
      if (size > 0) target->f(packet.data(), size, target->channel, target->func);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  be_quiet();
  must(start_bus_listeners(), "the listeners start");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  udp_ctrl_cam_t request{};
  request.cmd_type = input.word();
  FuzzBus& bus = FuzzBus::instance();
  bus.answer([&input](const udp_ctrl_cam_t& pending) {
    while (!input.empty()) receive(input);
    answer_with({})(pending);
  });

  must(lcm_request.get_ready("fuzz"), "the engine is free");
  int result = -1;
  const bool success = lcm_request.send_and_wait(request, &result);
  must(success == (result == VLM_ERR_NONE), "the outcome agrees with its code");
  bus.settle();
  must(LcmRequestPeer::state(lcm_request) == LcmRequest::IDLE, "the engine is idle again");
  must(LcmRequestPeer::last_sent(lcm_request) == -1, "nothing is in flight");
  must(LcmRequestPeer::last_received(lcm_request) == -1, "no reply is left over");
  return 0;
}
