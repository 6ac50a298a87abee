// The smallest library that provides the two bus functions: every camera request is answered with
// success by the process itself. It stands for the board's own library in tests of the link.

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>

#include "vlm_userlcm_control_camera.h"

namespace {

struct Queue {
  std::mutex mutex;
  std::condition_variable published;
  std::deque<userlcm_packet_t> packets;
};

// Never destroyed: the subscription's thread still waits in it while the process exits.
Queue& queue = *new Queue;

userlcm_packet_t next_packet() {
  std::unique_lock<std::mutex> lock(queue.mutex);
  queue.published.wait(lock, [] { return !queue.packets.empty(); });
  const userlcm_packet_t packet = queue.packets.front();
  queue.packets.pop_front();
  return packet;
}

}  // namespace

int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int /*length*/,
                    const char* /*channel*/) {
  const std::lock_guard<std::mutex> guard(queue.mutex);
  queue.packets.push_back(*packet);
  queue.published.notify_one();
  return 0;
}

void* register_lcm_message(Receive_msg_t* subscription) {
  for (;;) {
    userlcm_packet_t packet = next_packet();
    std::memset(packet.channel, 0, sizeof packet.channel);
    std::memcpy(packet.channel, kRequestChannel, sizeof kRequestChannel);
    subscription->f(&packet, sizeof packet, subscription->channel, subscription->func);
  }
}
