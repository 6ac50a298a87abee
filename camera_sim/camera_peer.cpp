// The way of a prompt reply takes no allocation and no other thread: record and packet live on the
// stack, and texts are made only for a trace.
#include "camera_peer.h"

#include <algorithm>
#include <utility>

#include "envelope.h"
#include "faulty_packets.h"
#include "payload_bytes.h"
#include "sim_describe.h"

namespace vlm::sim {

namespace {

using vlm::bus::kEnvelopeSize;
using vlm::bus::packet_from;

/// Whether the packet names `sender` as its sender's channel; the field may have no terminator.
bool is_from(const void* packet, const char* sender) {
  const char* channel = static_cast<const char*>(packet);
  return std::strncmp(channel, sender, sizeof(userlcm_packet_t::channel)) == 0;
}

}  // namespace

CameraPeer::CameraPeer(const CameraTraits& traits, FaultPlan faults, Outlets outlets)
    : _outlets(std::move(outlets)),
      _camera(traits),
      _faults(std::move(faults), traits.seed),
      _sender([this] { serve(); }) {}

void CameraPeer::receive(const void* packet, unsigned int length) {
  constexpr std::size_t kRecordAt = kEnvelopeSize + offsetof(msg_from_rep_t, msg_data);
  if (length < kRecordAt + sizeof(udp_ctrl_cam_t)) return ignore("too short");
  if (!is_from(packet, kReplyChannel)) return ignore("not from the camera's client");
  const u8* bytes = static_cast<const u8*>(packet);
  if (bytes[kEnvelopeSize] != LCM_CONTROL_CAMERA) return ignore("no camera request");
  answer(load<udp_ctrl_cam_t>(bytes + kRecordAt));
}

void CameraPeer::receive_rtsp(const void* packet, unsigned int length) {
  if (length < kEnvelopeSize + sizeof(lcm_udp_rtsp_msg_t)) return ignore("too short");
  const u8* bytes = static_cast<const u8*>(packet);
  const std::string reply_channel = load_text(bytes, sizeof(userlcm_packet_t::channel));
  if (reply_channel.empty()) return ignore("names no channel for the answer");
  const auto request = load<lcm_udp_rtsp_msg_t>(bytes + kEnvelopeSize);
  if (_outlets.trace) _outlets.trace("-> " + describe_rtsp(request));
  std::optional<lcm_udp_rtsp_msg_t> reply;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    reply = _rtsp.handle(request);
  }
  if (!reply) return ignore("no command of the streaming process");
  if (_outlets.trace) _outlets.trace("<- " + describe_rtsp(*reply));
  userlcm_packet_t answer = packet_from(kRtspRequestChannel);
  store(answer.msg_buf, *reply);
  _outlets.publish(&answer, sizeof *reply, reply_channel.c_str());
}

OperatorAnswer CameraPeer::operate(const std::string& line) {
  const std::lock_guard<std::mutex> guard(_mutex);
  OperatorAnswer answer = sim::operate(board(), line);
  wake_sender();
  return answer;
}

void CameraPeer::stop() {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    _stopping = true;
  }
  _changed.notify_all();
  if (_sender.joinable()) _sender.join();
}

/// Decides, carries out and schedules under the lock; publishes a prompt reply without it.
void CameraPeer::answer(const udp_ctrl_cam_t& request) {
  if (_outlets.trace) _outlets.trace("-> " + describe_request(request));
  std::unique_lock<std::mutex> lock(_mutex);
  const Fate fate = _faults.next(request.cmd_type);
  if (fate.muted) return ignore("muted");
  if (fate.restart) {
    _camera.power_cycle(now_ms());
    return ignore("the camera restarts");
  }
  const udp_ctrl_cam_t reply = reply_to(request, fate);
  const bool at_once = may_answer_at_once(fate);
  if (!at_once) schedule(reply, fate);
  wake_sender();
  lock.unlock();
  if (fate.copies == 0 && _outlets.trace) _outlets.trace("<- lost: " + describe_reply(reply));
  if (at_once) {
    send_all(reply, fate, [this](const OutgoingPacket& packet) { publish(packet); });
  }
}

/// The camera's reply, or the error that the faults ask for. Under the lock.
udp_ctrl_cam_t CameraPeer::reply_to(const udp_ctrl_cam_t& request, const Fate& fate) {
  if (!fate.error) return _camera.handle(request, now_ms());
  udp_ctrl_cam_t reply{};
  reply.cmd_type = request.cmd_type;
  reply.err_code = *fate.error;
  return reply;
}

/// The packet of a reply, with its trace where one is wanted.
OutgoingPacket CameraPeer::outgoing(const udp_ctrl_cam_t& reply) const {
  OutgoingPacket made{packet_from(kRequestChannel), sizeof(msg_from_rep_t), {}};
  made.packet.msg_buf[0] = LCM_CONTROL_CAMERA;
  store(made.packet.msg_buf + 1, reply);
  if (_outlets.trace) made.trace = "<- " + describe_reply(reply);
  return made;
}

/// Likewise, with the damage of its fate.
OutgoingPacket CameraPeer::outgoing(const udp_ctrl_cam_t& reply, const Fate& fate) const {
  OutgoingPacket made = outgoing(reply);
  damage(made, fate);
  if (_outlets.trace && fate.length)
    made.trace += ", of " + std::to_string(*fate.length) + " bytes";
  if (_outlets.trace && fate.bit) made.trace += ", bit " + std::to_string(*fate.bit) + " flipped";
  return made;
}

/// Hands the copies of a reply to `send`, and right behind them the one that nobody asked for.
template <typename Send>
void CameraPeer::send_all(const udp_ctrl_cam_t& reply, const Fate& fate, Send send) const {
  for (int copy = 0; copy < fate.copies; ++copy) send(outgoing(reply, fate));
  if (fate.stray) send(outgoing(stray_reply(reply.cmd_type, *fate.stray)));
}

/// Lines up the copies of a reply that is not prompt. Under the lock.
void CameraPeer::schedule(const udp_ctrl_cam_t& reply, const Fate& fate) {
  const u64 due_us = now_us() + fate.delay_us;
  send_all(reply, fate, [&](OutgoingPacket packet) {
    account_for(fate.held ? _schedule.add(due_us, std::move(packet))
                          : _schedule.add_in_order(due_us, std::move(packet)));
  });
}

/// Whether the reply is due now and overtakes nothing. Under the lock.
bool CameraPeer::may_answer_at_once(const Fate& fate) const {
  return fate.delay_us == 0 && !_schedule.holds_ordered() && !_sender_publishes;
}

/// Tells when packets begin to find no room, and when they find room again. Under the lock.
void CameraPeer::account_for(bool scheduled) {
  if (!scheduled) ++_drops;
  if (scheduled != _dropping) return;
  _dropping = !scheduled;
  if (!_outlets.complain) return;
  const std::string most = std::to_string(PacketSchedule::kMostPackets);
  _outlets.complain((_dropping ? most + " packets wait, no more fit; dropped so far: "
                               : "packets fit again; dropped in all: ") +
                    std::to_string(_drops));
}

/// Tells, and keeps a picture, before it publishes: whoever has the packet finds both. Not under the
/// lock.
void CameraPeer::publish(const OutgoingPacket& outgoing) const {
  const u8* message = outgoing.packet.msg_buf;
  if (_outlets.keep_picture && message[0] == LCM_MISC_IMAGE_INFO) {
    _outlets.keep_picture(load<udp_ctrl_cam_misc_image_info_t>(message + 1));
  }
  if (_outlets.trace) _outlets.trace(outgoing.trace);
  _outlets.publish(&outgoing.packet, outgoing.length, kReplyChannel);
}

/// Body of the sender thread: publishes what is due, and sleeps until more will be.
void CameraPeer::serve() {
  std::unique_lock<std::mutex> lock(_mutex);
  while (!_stopping) {
    carry_out_agenda();
    collect_notifications();
    if (const auto due = _schedule.take(now_us())) {
      _sender_publishes = true;
      lock.unlock();
      publish(*due);
      lock.lock();
      _sender_publishes = false;
      continue;
    }
    _sender_wakes_us = next_due_us();
    const auto sooner = [this] { return _stopping || next_due_us() < _sender_wakes_us; };
    if (_sender_wakes_us == kNever) {
      _changed.wait(lock, sooner);
    } else {
      _changed.wait_until(lock, _start + std::chrono::microseconds(_sender_wakes_us), sooner);
    }
  }
}

/// Notifications line up behind the replies that are waiting, so that none overtakes its own.
void CameraPeer::collect_notifications() {
  Notification due;
  while (_camera.take_notification(now_ms(), due)) {
    OutgoingPacket made{packet_from(kRequestChannel), sizeof(msg_from_rep_t), {}};
    made.packet.msg_buf[0] = static_cast<u8>(due.type);
    store(made.packet.msg_buf + 1, due.data);
    if (_outlets.trace) made.trace = "<- " + describe_notification(due);
    account_for(_schedule.add_in_order(now_us(), std::move(made)));
  }
}

/// What the operator let wait. Under the lock.
void CameraPeer::carry_out_agenda() {
  while (const auto line = _agenda.take(now_ms())) {
    const OperatorAnswer answer = sim::operate(board(), *line);
    if (_outlets.tell) _outlets.tell(answer.text);
  }
}

/// To be called under the lock after each change; needed only when something is due sooner.
void CameraPeer::wake_sender() {
  if (next_due_us() < _sender_wakes_us) _changed.notify_one();
}

/// When a packet or a notification is due next. Under the lock.
u64 CameraPeer::next_due_us() const {
  const auto in_us = [](std::optional<u64> ms) { return ms ? *ms * 1000 : kNever; };
  return std::min({_schedule.next_due_us().value_or(kNever), in_us(_camera.next_due_ms()),
                   in_us(_agenda.next_due_ms())});
}

/// Microseconds since the peer was made.
u64 CameraPeer::now_us() const {
  return static_cast<u64>(
      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - _start).count());
}

void CameraPeer::ignore(const char* why) const {
  if (_outlets.trace) _outlets.trace(std::string("ignored: ") + why);
}

}  // namespace vlm::sim
