#include "scripted_bus.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "lcm_request.h"

udp_ctrl_cam_t Published::record() const {
  udp_ctrl_cam_t record;
  std::memcpy(&record, packet.msg_buf + 1, sizeof record);
  return record;
}

udp_ctrl_cam_t camera_record(int code, const std::vector<u8>& payload, int err) {
  udp_ctrl_cam_t record{};
  record.cmd_type = static_cast<u16>(code);
  record.err_code = static_cast<u16>(err);
  if (payload.size() > sizeof record.cmd_params) throw std::length_error("payload too long");
  if (!payload.empty()) std::memcpy(record.cmd_params, payload.data(), payload.size());
  return record;
}

userlcm_packet_t camera_packet(const udp_ctrl_cam_t& record) {
  userlcm_packet_t packet{};
  std::memcpy(packet.channel, kRequestChannel, sizeof kRequestChannel);
  packet.msg_buf[0] = LCM_CONTROL_CAMERA;
  std::memcpy(packet.msg_buf + 1, &record, sizeof record);
  return packet;
}

ScriptedBus& ScriptedBus::instance() {
  // Never destroyed: its thread lives as long as the process.
  static ScriptedBus& bus = *new ScriptedBus;
  return bus;
}

ScriptedBus::ScriptedBus() {
  reset();
  _thread = std::thread([this] { deliver(); });
}

void ScriptedBus::reset() {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [this] { return !_delivering; });
  _deliveries.clear();
  _published.clear();
  _script = [](const udp_ctrl_cam_t& request) { return camera_record(request.cmd_type); };
  _sink = [](const udp_ctrl_cam_t& reply) { lcm_request.receive_msg(reply); };
  _rtsp_sink = nullptr;
}

void ScriptedBus::answer(Script script) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _script = std::move(script);
}

void ScriptedBus::answer(const std::vector<u8>& payload, int err) {
  answer(
      [=](const udp_ctrl_cam_t& request) { return camera_record(request.cmd_type, payload, err); });
}

void ScriptedBus::stay_silent() {
  answer([](const udp_ctrl_cam_t&) { return std::nullopt; });
}

void ScriptedBus::deliver_to(Sink sink) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _sink = std::move(sink);
}

void ScriptedBus::deliver_rtsp_to(RtspSink sink) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _rtsp_sink = std::move(sink);
}

std::vector<Published> ScriptedBus::published() const {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _published;
}

udp_ctrl_cam_t ScriptedBus::only_record() const {
  const auto all = published();
  if (all.size() != 1) throw std::logic_error(std::to_string(all.size()) + " packets published");
  return all.front().record();
}

void ScriptedBus::wait_for_published(std::size_t count) {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [&] { return _published.size() >= count; });
}

void ScriptedBus::settle() {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [this] { return _deliveries.empty() && !_delivering; });
}

Receive_msg_t* ScriptedBus::wait_for_subscription() {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait(lock, [this] { return _subscription != nullptr; });
  return _subscription;
}

void ScriptedBus::publish(const userlcm_packet_t& packet, unsigned int length,
                          const char* channel) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _published.push_back({channel, packet, length});
  if (_published.back().channel == kRequestChannel) {
    if (auto reply = _script(_published.back().record())) {
      queue([sink = _sink, reply = *reply] { sink(reply); });
    }
  } else if (_rtsp_sink) {
    lcm_udp_rtsp_msg_t request;
    std::memcpy(&request, packet.msg_buf, sizeof request);
    queue([sink = _rtsp_sink, request] { sink(request); });
  }
  _changed.notify_all();
}

void ScriptedBus::subscribe(Receive_msg_t* subscription) {
  std::unique_lock<std::mutex> lock(_mutex);
  _subscription = subscription;
  _changed.notify_all();
  _changed.wait(lock, [] { return false; });
}

void ScriptedBus::queue(std::function<void()> delivery) {
  _deliveries.push_back(std::move(delivery));
}

void ScriptedBus::deliver() {
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    _changed.wait(lock, [this] { return !_deliveries.empty(); });
    auto delivery = std::move(_deliveries.front());
    _deliveries.pop_front();
    _delivering = true;
    lock.unlock();
    delivery();
    lock.lock();
    _delivering = false;
    _changed.notify_all();
  }
}

int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int length, const char* channel) {
  ScriptedBus::instance().publish(*packet, length, channel);
  return 0;
}

void* register_lcm_message(Receive_msg_t* subscription) {
  ScriptedBus::instance().subscribe(subscription);
  return nullptr;
}
