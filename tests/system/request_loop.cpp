// Asks the camera on the bus for its mode N times, as the console does, and ends with status 1 when
// memory was allocated on the way. For request_cost_test.py, which counts the rest.
//
//   request_loop N          asks the camera that is on the bus
//   request_loop N camera   plays that camera too: what is counted is what both sides take
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "camera_peer.h"
#include "lcm_request.h"
#include "velmar_output.h"
#include "vlm_bus.h"
#include "vlm_test_listener.h"

namespace {

std::atomic<long> g_allocations{0};

}  // namespace

// All ways to allocate end here, those of the C++ library included.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

extern "C" void* malloc(std::size_t size) {
  ++g_allocations;
  return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size) {
  ++g_allocations;
  return __libc_calloc(count, size);
}
extern "C" void* realloc(void* memory, std::size_t size) {
  ++g_allocations;
  return __libc_realloc(memory, size);
}

namespace {

/// Never destroyed: the bus thread serves to the end.
void play_camera() {
  static auto& peer = *new vlm::sim::CameraPeer({}, {}, {send_msg_to_lcm, {}, {}, {}, {}});
  static Receive_msg_t subscription{};
  std::memcpy(subscription.channel, kRequestChannel, sizeof kRequestChannel);
  subscription.f = [](void* packet, unsigned int length, char*, void*) {
    peer.receive(packet, length);
  };
  std::thread(register_lcm_message, &subscription).detach();
}

bool ask(int times) {
  for (int i = 0; i < times; ++i) {
    u8 mode = 0;
    if (!lcm_request.get_camera_mode(mode)) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int kWaitMs = 10000;
  constexpr int kWarmUp = 10;
  collect_output();
  udp_start_receiving_messages();
  if (argc > 2) play_camera();
  const bool ready = argc > 1 && vlm::bus::bus_has_subscriber(kReplyChannel, kWaitMs) &&
                     vlm::bus::bus_has_subscriber(kRequestChannel, kWaitMs) && ask(kWarmUp);
  const long before = g_allocations;
  if (!ready || !ask(std::atoi(argv[1]))) {
    std::fputs("request_loop: a request failed\n", stderr);
    return 2;
  }
  const long allocations = g_allocations - before;
  std::fprintf(stderr, "request_loop: %ld allocations\n", allocations);
  return allocations == 0 ? 0 : 1;
}
