// The other process in tests of the bus.
//
//   bus_peer listen CHANNEL                 prints a line for each packet; a packet from "exit"
//                                           makes it exit
//   bus_peer flood CHANNEL SENDER COUNT     publishes the packets 0 to COUNT - 1
//   bus_peer pace CHANNEL SENDER RATE       publishes packets from 0 on, RATE a second, to its end
//   bus_peer ask                            twice publishes what is no request, and the requests of a
//                                           client, to the camera and to the streaming process
//   bus_peer echo FROM TO                   publishes what comes on one channel on the other
#include <signal.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "numbered_packet.h"

namespace {

void print_packet(void* buf, unsigned int size, char*, void*) {
  userlcm_packet_t packet;
  std::memcpy(&packet, buf, sizeof packet);
  const std::string description = description_of(packet, size);
  std::puts(description.c_str());
  if (description.rfind("exit ", 0) == 0) std::exit(0);
}

int listen_to(const char* channel) {
  // A signal that interrupts calls, for the tests to send.
  struct sigaction interrupting {};
  interrupting.sa_handler = [](int) {};
  sigaction(SIGUSR1, &interrupting, nullptr);

  Receive_msg_t subscription{};
  std::snprintf(subscription.channel, sizeof subscription.channel, "%s", channel);
  subscription.f = print_packet;
  register_lcm_message(&subscription);
  return 1;
}

int flood(const char* channel, const char* sender, std::uint32_t count) {
  for (std::uint32_t number = 0; number < count; ++number) {
    if (publish(channel, sender, number) != 0) return 1;
  }
  return 0;
}

/// Packets that are late follow at once, so that the rate is kept.
int pace(const char* channel, const char* sender, std::uint32_t rate) {
  const auto start = std::chrono::steady_clock::now();
  for (std::uint32_t number = 0;; ++number) {
    std::this_thread::sleep_until(start +
                                  std::chrono::nanoseconds(1'000'000'000ULL * number / rate));
    if (publish(channel, sender, number) != 0) return 1;
  }
}

int ask() {
  for (std::uint32_t number = 0; number < 2; ++number) {
    publish(kRequestChannel, "a_server_that_starts", number);
    publish(kRequestChannel, kReplyChannel, number);
    publish(kRtspRequestChannel, kRtspReplyChannel, number);
    publish(kReplyChannel, kRequestChannel, number);
  }
  return 0;
}

const char* g_echo_to;

int echo(const char* from, const char* to) {
  g_echo_to = to;
  Receive_msg_t subscription{};
  std::snprintf(subscription.channel, sizeof subscription.channel, "%s", from);
  subscription.f = [](void* buf, unsigned int size, char*, void*) {
    send_msg_to_lcm(static_cast<userlcm_packet_t*>(buf), size - kHeaderSize, g_echo_to);
  };
  register_lcm_message(&subscription);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  const std::string action = argc > 1 ? argv[1] : "";
  if (action == "listen" && argc == 3) return listen_to(argv[2]);
  if (action == "flood" && argc == 5) {
    return flood(argv[2], argv[3], static_cast<std::uint32_t>(std::stoul(argv[4])));
  }
  if (action == "pace" && argc == 5) {
    return pace(argv[2], argv[3], static_cast<std::uint32_t>(std::stoul(argv[4])));
  }
  if (action == "ask" && argc == 2) return ask();
  if (action == "echo" && argc == 4) return echo(argv[2], argv[3]);
  return 2;
}
