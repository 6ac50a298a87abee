// The simulated camera's state machine: requests, its operator's lines and time, in any order. Every
// request is answered by its own code.
//
// Input: steps: a byte that says what it is, a length, and as many bytes.
#include <cstring>

#include "fuzz_input.h"
#include "sim_console.h"
#include "sim_describe.h"

namespace {

struct Board {
  explicit Board(bool thermal) : camera(thermal) {}
  CameraModel camera;
  RtspModel rtsp;
  u64 now_ms = 0;
};

template <typename Record>
Record record_of(const std::vector<u8>& bytes) {
  Record record{};
  if (!bytes.empty()) std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof record));
  return record;
}

void request(Board& board, const std::vector<u8>& bytes) {
  const auto request = record_of<udp_ctrl_cam_t>(bytes);
  describe_request(request);
  const udp_ctrl_cam_t reply = board.camera.handle(request, board.now_ms);
  must(reply.cmd_type == request.cmd_type, "a reply carries its request's code");
  describe_reply(reply);
}

void stream(Board& board, const std::vector<u8>& bytes) {
  const auto request = record_of<lcm_udp_rtsp_msg_t>(bytes);
  describe_rtsp(request);
  if (const auto reply = board.rtsp.handle(request)) {
    must(reply->msg_cmd == request.msg_cmd + 1, "an acknowledgement carries the next code");
  }
}

void pass_time(Board& board, u16 ms) {
  board.now_ms += ms;
  Notification due;
  for (int taken = 0; board.camera.take_notification(board.now_ms, due); ++taken) {
    must(taken < 100'000, "the notifications end");
    describe_notification(due);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  Board board((input.byte() & 1) != 0);
  while (!input.empty()) {
    const u8 what = input.byte();
    const u16 amount = input.word();
    switch (what % 4) {
      case 0: request(board, input.bytes(amount % (sizeof(udp_ctrl_cam_t) + 1))); break;
      case 1: stream(board, input.bytes(amount % (sizeof(lcm_udp_rtsp_msg_t) + 1))); break;
      case 2: pass_time(board, amount); break;
      default: {
        const auto line = input.bytes(amount % (2 * kLongestLine));
        operate({board.camera, board.rtsp, board.now_ms}, {line.begin(), line.end()});
      }
    }
  }
  return 0;
}
