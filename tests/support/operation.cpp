#include "operation.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "lcm_request_peer.h"
#include "scripted_bus.h"
#include "transcript.h"
#include "velmar_cmd.h"
#include "velmar_err.h"

namespace {

constexpr int kPendingCode = UDP_CTRL_CAM_REBOOT_DEVICE;

std::string took(int code, int err) {
  return std::string("LCM request ") + vlm_strcmd(code) + " took: N ms, error " +
         std::to_string(err) + "\n";
}

std::string finished(int code, int err) {
  return std::string("finish waiting for cmd ") + vlm_strcmd(code) +
         " response. error code: " + std::to_string(err) + "\n";
}

std::string request_failed(int code, int err) {
  return std::string("LCM request ") + vlm_strcmd(code) + " failed with: " + vlm_strerr(err) + "\n";
}

}  // namespace

Bytes bytes_of_text(const std::string& text, std::size_t size) {
  Bytes bytes(text.begin(), text.end());
  bytes.resize(std::max(size, bytes.size()));
  return bytes;
}

Bytes counting(std::size_t count, u8 first) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<u8>(first + i);
  return bytes;
}

std::string letters(std::size_t count) {
  std::string text(count, '\0');
  for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>('a' + i % 26);
  return text;
}

Bytes joined(Bytes front, const Bytes& back) {
  front.insert(front.end(), back.begin(), back.end());
  return front;
}

std::string formatted(const std::string& format, unsigned value) {
  if (format.find('%') == std::string::npos) return format;
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format.c_str(), value, value);
  return text.data();
}

unsigned number_in(const Bytes& payload) {
  unsigned value = 0;
  for (std::size_t i = 0; i < std::min(payload.size(), sizeof value); ++i) {
    value |= unsigned{payload[i]} << (8 * i);
  }
  return value;
}

Bytes request_bytes(int code, const Bytes& payload) {
  Bytes bytes{static_cast<u8>(code & 0xFF), static_cast<u8>(code >> 8)};
  bytes = joined(bytes, payload);
  bytes.resize(132);
  return bytes;
}

Operation& Operation::sends(Bytes bytes) {
  payload = std::move(bytes);
  return *this;
}

Operation& Operation::traces(std::string format) {
  trace = std::move(format);
  printed.clear();
  return *this;
}

Operation& Operation::prints(std::string lines) {
  printed = std::move(lines);
  trace.clear();
  return *this;
}

Operation& Operation::answered(Bytes bytes) {
  results = bytes;
  reply = std::move(bytes);
  return *this;
}

Operation& Operation::yields(Bytes bytes) {
  results = std::move(bytes);
  return *this;
}

Operation& Operation::keeps(Bytes bytes) {
  before = std::move(bytes);
  return *this;
}

Operation& Operation::stored_with(std::string lines) {
  stored = std::move(lines);
  return *this;
}

Operation& Operation::unknown_to_the_store() {
  results = Bytes(results.size());
  return stored_with("unknown lcm type[" + std::to_string(code) + "]\n");
}

Operation& Operation::says(std::string lines) {
  done = std::move(lines);
  return *this;
}

Operation& Operation::complains(std::string lines) {
  failed = std::move(lines);
  return *this;
}

Operation& Operation::ready_as(std::string caller) {
  ready_name = std::move(caller);
  return *this;
}

udp_ctrl_cam_t Operation::success_reply() const {
  Bytes noisy = reply;
  noisy.resize(sizeof(udp_ctrl_cam_t::cmd_params), 0x5A);
  return camera_record(code, noisy);
}

udp_ctrl_cam_t Operation::error_reply() const {
  udp_ctrl_cam_t record = success_reply();
  record.err_code = kCameraError;
  return record;
}

Bytes Operation::untouched() const {
  return before.empty() ? Bytes(results.size(), kUntouched) : before;
}

std::string Operation::sent_transcript() const {
  return ready_name + "() is ready.\n" + printed + formatted(trace, number_in(payload)) + "Send " +
         vlm_strcmd(code) + "\n";
}

std::string Operation::success_transcript() const {
  return sent_transcript() + took(code, 0) + stored + finished(code, 0) + "Recv " +
         vlm_strcmd(code) + " Ack OK\n" + done;
}

std::string Operation::error_transcript() const {
  return sent_transcript() + took(code, kCameraError) + finished(code, kCameraError) +
         request_failed(code, kCameraError) + failed;
}

std::string Operation::time_out_transcript() const {
  return sent_transcript() + "error: LCM request " + vlm_strcmd(code) +
         " timeout waiting for answer\n" + request_failed(code, kTimeOut) + failed;
}

std::string Operation::busy_transcript() const {
  return std::string("Error: a request is already pending:[1], last sent cmd: ") +
         vlm_strcmd(kPendingCode) + "\n " + ready_name + "() failed.\n";
}

void set_reply_timeout(LcmRequest& engine, std::chrono::milliseconds timeout) {
  auto& timeouts = LcmRequestPeer::timeouts(engine);
  timeouts.reply = timeouts.status_reply = timeout;
}

PendingRequest::PendingRequest(LcmRequest& engine) : _engine(engine) {
  LcmRequestPeer::timeouts(engine).ready = std::chrono::milliseconds(1);
  const Transcript hushed;
  auto& bus = ScriptedBus::instance();
  const std::size_t published = bus.published().size();
  _caller = std::thread([this] { _success = _engine.reboot_camera(); });
  bus.wait_for_published(published + 1);
  // The caller holds the lock until it waits: behind it, it has printed all its lines.
  LcmRequestPeer::state(engine);
}

PendingRequest::~PendingRequest() {
  if (_caller.joinable()) finish();
}

bool PendingRequest::finish() {
  const Transcript hushed;
  _engine.receive_msg(camera_record(kPendingCode));
  _caller.join();
  return _success;
}
