// For the board's own bus, which is no directory.
#include <unistd.h>

#include <atomic>

#include "bus_role.h"
#include "role_inquiry.h"

namespace vlm::bus {

namespace {

constexpr std::chrono::milliseconds kAnswerLimit{500};

/// Set before the channel is subscribed; never destroyed: the bus threads use it.
std::atomic<RoleInquiry*> g_inquiry{nullptr};

}  // namespace

std::string serve_in_role(const std::string& role, const std::string& channel, bool force,
                          const std::function<bool()>& subscribe) {
  auto* inquiry = new RoleInquiry(role, channel, getpid(), send_msg_to_lcm);
  g_inquiry = inquiry;
  if (!subscribe()) return "the bus does not deliver";
  const long other = inquiry->ask(kAnswerLimit);
  if (other != 0 && !force) {
    return "process " + std::to_string(other) + " serves the bus already; --force goes on";
  }
  inquiry->serve();
  return {};
}

bool is_role_packet(const void* packet, unsigned int length) {
  RoleInquiry* inquiry = g_inquiry;
  return inquiry != nullptr && inquiry->receive(packet, length);
}

}  // namespace vlm::bus
