#include "proven_subscriptions.h"

#include <pthread.h>

#include <cstdio>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace vlm::bus {

namespace {

std::vector<std::string> names_of(const std::vector<ProvenSubscriptions::Channel>& channels) {
  std::vector<std::string> names;
  names.reserve(channels.size());
  for (const auto& channel : channels) names.push_back(channel.name);
  return names;
}

}  // namespace

ProvenSubscriptions& ProvenSubscriptions::create(const std::string& sender,
                                                 std::vector<Channel> channels) {
  // Never freed, and neither is this list, which keeps those within reach whose threads have ended.
  static std::mutex mutex;
  static auto& all = *new std::vector<ProvenSubscriptions*>;
  const std::lock_guard<std::mutex> guard(mutex);
  all.push_back(new ProvenSubscriptions(sender, std::move(channels)));
  return *all.back();
}

ProvenSubscriptions::ProvenSubscriptions(const std::string& sender, std::vector<Channel> channels)
    : _readiness(sender, names_of(channels)) {
  for (Channel& channel : channels) {
    Served& served = _served.emplace_back(Served{this, std::move(channel.receive), {}});
    std::snprintf(served.subscription.channel, sizeof served.subscription.channel, "%s",
                  channel.name.c_str());
    served.subscription.f = on_packet;
    served.subscription.func = &served;
  }
}

bool ProvenSubscriptions::start(StartThread start_thread) {
  for (Served& served : _served) {
    const bool started = start_thread("BUS", [this, &served] {
      register_lcm_message(&served.subscription);
      _readiness.give_up();
    });
    if (!started) return false;
  }
  return true;
}

void ProvenSubscriptions::start() {
  start([](const char* name, std::function<void()> body) {
    std::thread thread(std::move(body));
    pthread_setname_np(thread.native_handle(), name);
    thread.detach();
    return true;
  });
}

void ProvenSubscriptions::on_packet(void* packet, unsigned int length, char* channel,
                                    void* served_channel) {
  if (packet == nullptr || channel == nullptr) return;
  const auto& served = *static_cast<const Served*>(served_channel);
  if (served.owner->_readiness.is_probe(packet, length, channel)) return;
  served.receive(packet, length, channel);
}

}  // namespace vlm::bus
