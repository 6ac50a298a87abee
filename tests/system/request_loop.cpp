// Asks the camera on the bus for its mode N times, as the console does, and ends with status 1 when
// memory was allocated on the way. For request_cost_test.py, which counts the rest.
//
//   request_loop N          asks the camera that is on the bus
//   request_loop N camera   has a camera of its own, in another process: what is counted is what both
//                           sides take
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "camera_peer.h"
#include "lcm_request.h"
#include "velmar_output.h"
#include "vlm_bus.h"
#include "vlm_test_listener.h"

namespace {

/// What the processes of this program have allocated: in memory that they share.
std::atomic<long>* g_allocations = nullptr;

void count_allocation() {
  if (g_allocations != nullptr) ++*g_allocations;
}

void share_count() {
  void* const memory = mmap(nullptr, sizeof *g_allocations, PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::exit(2);
  g_allocations = new (memory) std::atomic<long>{0};
}

}  // namespace

// All ways to allocate end here, those of the C++ library included.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

extern "C" void* malloc(std::size_t size) {
  count_allocation();
  return __libc_malloc(size);
}
extern "C" void* calloc(std::size_t count, std::size_t size) {
  count_allocation();
  return __libc_calloc(count, size);
}
extern "C" void* realloc(void* memory, std::size_t size) {
  count_allocation();
  return __libc_realloc(memory, size);
}

namespace {

/// In a process that ends with this one.
void start_camera() {
  if (fork() != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  static vlm::sim::CameraPeer peer({}, {}, {send_msg_to_lcm, {}, {}, {}, {}});
  Receive_msg_t subscription{};
  std::memcpy(subscription.channel, kRequestChannel, sizeof kRequestChannel);
  subscription.f = [](void* packet, unsigned int length, char*, void*) {
    peer.receive(packet, length);
  };
  register_lcm_message(&subscription);
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
  share_count();
  if (argc > 2) start_camera();
  udp_start_receiving_messages();
  const bool ready = argc > 1 && vlm::bus::bus_has_subscriber(kReplyChannel, kWaitMs) &&
                     vlm::bus::bus_has_subscriber(kRequestChannel, kWaitMs) && ask(kWarmUp);
  const long before = *g_allocations;
  if (!ready || !ask(std::atoi(argv[1]))) {
    std::fputs("request_loop: a request failed\n", stderr);
    return 2;
  }
  const long allocations = *g_allocations - before;
  std::fprintf(stderr, "request_loop: %ld allocations\n", allocations);
  return allocations == 0 ? 0 : 1;
}
