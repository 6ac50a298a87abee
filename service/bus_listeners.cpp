#include "bus_listeners.h"

#include <cerrno>
#include <chrono>

#include "envelope.h"
#include "lcm_request.h"
#include "proven_subscriptions.h"
#include "threads.h"
#include "vlm_test_listener.h"

namespace vlm::service {

namespace {

constexpr std::chrono::seconds kReadinessLimit{5};

void on_reply(void* packet, unsigned int length, char* channel) {
  TestGetLcmMsg(packet, length, channel, nullptr);
}

/// A packet that is too short for its record is completed with zeros.
void on_rtsp_answer(const void* packet, unsigned int length, const char*) {
  auto answer = bus::read_record<lcm_udp_rtsp_msg_t>(packet, length, bus::kEnvelopeSize);
  lcm_request.receive_msg_from_rtsp(answer.msg_cmd, answer.msg_buf);
}

}  // namespace

bool start_bus_listeners() {
  // As its sender probes name what a console on the reply channel takes for the camera.
  auto& listeners = bus::ProvenSubscriptions::create(
      kRequestChannel, {{kReplyChannel, on_reply}, {kRtspReplyChannel, on_rtsp_answer}});
  if (!listeners.start(start_thread)) return false;
  const bool ready = listeners.wait(kReadinessLimit);
  errno = 0;
  return ready;
}

}  // namespace vlm::service
