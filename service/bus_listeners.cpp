#include "bus_listeners.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "bus_readiness.h"
#include "lcm_request.h"
#include "threads.h"
#include "vlm_test.h"

namespace vlm::service {

namespace {

constexpr std::chrono::seconds kReadinessLimit{5};

/// Never destroyed: the listener threads use it while the process exits.
bus::BusReadiness& readiness() {
  // What a console on the reply channel takes for a message of the camera, and does not know.
  static auto& instance =
      *new bus::BusReadiness(kRequestChannel, {kReplyChannel, kRtspReplyChannel});
  return instance;
}

extern "C" void on_reply(void* packet, unsigned int length, char* channel, void* user) {
  if (!readiness().is_probe(packet, length, channel)) TestGetLcmMsg(packet, length, channel, user);
}

/// A packet that is too short for its record is completed with zeros.
extern "C" void on_rtsp_answer(void* bytes, unsigned int length, char* channel, void*) {
  if (readiness().is_probe(bytes, length, channel)) return;
  userlcm_packet_t packet{};
  std::memcpy(&packet, bytes, std::min<std::size_t>(length, sizeof packet));
  lcm_udp_rtsp_msg_t answer;
  std::memcpy(&answer, packet.msg_buf, sizeof answer);
  lcm_request.receive_msg_from_rtsp(answer.msg_cmd, answer.msg_buf);
}

bool subscribe(const char* channel, ReceiveBufCallBack callback) {
  auto* subscription = new Receive_msg_t{};  // its thread's, for good
  std::snprintf(subscription->channel, sizeof subscription->channel, "%s", channel);
  subscription->f = callback;
  return start_thread("BUS", [subscription] {
    register_lcm_message(subscription);
    readiness().give_up();
  });
}

}  // namespace

bool start_bus_listeners() {
  if (!subscribe(kReplyChannel, on_reply)) return false;
  if (!subscribe(kRtspReplyChannel, on_rtsp_answer)) return false;
  const bool ready = readiness().wait(kReadinessLimit);
  errno = 0;
  return ready;
}

}  // namespace vlm::service
