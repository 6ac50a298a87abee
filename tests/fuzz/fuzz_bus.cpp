#include "fuzz_bus.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

#include "lcm_request.h"

FuzzBus& FuzzBus::instance() {
  // Never destroyed: its thread lives as long as the process.
  static FuzzBus& bus = *new FuzzBus;
  return bus;
}

FuzzBus::FuzzBus() {
  std::thread([this] { serve(); }).detach();
}

void FuzzBus::answer(Answer answer) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _answer = std::move(answer);
}

void FuzzBus::settle() {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [this] { return !_request; });
}

Receive_msg_t* FuzzBus::subscription(const std::string& channel) {
  const std::lock_guard<std::mutex> guard(_mutex);
  const auto found = _subscriptions.find(channel);
  return found == _subscriptions.end() ? nullptr : found->second;
}

/// Requests go to the bus' thread, all else to its subscription at once.
void FuzzBus::publish(const userlcm_packet_t& packet, unsigned int length,
                      const std::string& channel) {
  if (channel == kRequestChannel) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return !_request; });
    _request.emplace();
    std::memcpy(&*_request, packet.msg_buf + 1, sizeof *_request);
    _changed.notify_all();
  } else if (Receive_msg_t* const target = subscription(channel)) {
    userlcm_packet_t copy = packet;
    target->f(&copy, static_cast<unsigned int>(sizeof copy.channel) + length, target->channel,
              target->func);
  }
}

void FuzzBus::subscribe(Receive_msg_t* subscription) {
  std::unique_lock<std::mutex> lock(_mutex);
  _subscriptions[subscription->channel] = subscription;
  _changed.wait(lock, [] { return false; });
}

void FuzzBus::serve() {
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    _changed.wait(lock, [this] { return _request.has_value(); });
    const udp_ctrl_cam_t request = *_request;
    const Answer answer = _answer;
    lock.unlock();
    answer(request);
    lock.lock();
    _request.reset();
    _changed.notify_all();
  }
}

FuzzBus::Answer answer_with(std::vector<u8> payload, u16 err) {
  return [payload = std::move(payload), err](const udp_ctrl_cam_t& request) {
    udp_ctrl_cam_t reply{};
    reply.cmd_type = request.cmd_type;
    reply.err_code = err;
    const std::size_t size = std::min(payload.size(), sizeof reply.cmd_params);
    if (size > 0) std::memcpy(reply.cmd_params, payload.data(), size);
    lcm_request.receive_msg(reply);
  };
}

int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
  FuzzBus::instance().publish(*packet, length, channel);
  return 0;
}

void* register_lcm_message(Receive_msg_t* subscription) {
  FuzzBus::instance().subscribe(subscription);
  return nullptr;
}
