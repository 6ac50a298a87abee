#include "request_gate.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "envelope.h"
#include "service_commands.h"
#include "topics.h"

namespace vlm::fleet {

namespace {

using Verdict = RequestGate::Verdict;

constexpr std::size_t kMostCorrelation = 64;
constexpr std::chrono::milliseconds kReplyPatience{3000};
constexpr std::chrono::milliseconds kStatusPatience{500};
constexpr std::chrono::milliseconds kRtspPatience{200};

bool names_sender(const std::string& packet, const char* channel) {
  return std::strncmp(packet.data(), channel, sizeof(userlcm_packet_t::channel)) == 0;
}

/// What a request is, whatever packet it came in.
struct Content {
  u16 code;
  u16 answer;  // the code of its answer
  std::chrono::milliseconds patience;
  bool reads;    // and does no more
  bool service;  // needs the right to serve
};

/// None when the packet holds something else.
std::optional<Content> camera_content(const std::string& packet) {
  constexpr std::size_t kRecord = bus::kEnvelopeSize + offsetof(msg_from_rep_t, msg_data);
  if (packet.size() < kRecord + sizeof(udp_ctrl_cam_t)) return std::nullopt;
  if (!names_sender(packet, kReplyChannel)) return std::nullopt;
  if (packet[bus::kEnvelopeSize] != LCM_CONTROL_CAMERA) return std::nullopt;
  const auto record = bus::read_record<udp_ctrl_cam_t>(packet.data(), packet.size(), kRecord);
  const u16 code = record.cmd_type;
  return Content{code, code, patience_of(code), only_reads(code), needs_service(record)};
}

std::optional<Content> rtsp_content(const std::string& packet) {
  if (packet.size() < bus::kEnvelopeSize + sizeof(lcm_udp_rtsp_msg_t)) return std::nullopt;
  if (!names_sender(packet, kRtspReplyChannel)) return std::nullopt;
  const auto code = bus::read_record<u32>(packet.data(), packet.size(), bus::kEnvelopeSize);
  const bool reads = code == GET_FLC_STATUS || code == GET_FLC_DEBUG_STATUS;
  return Content{static_cast<u16>(code), static_cast<u16>(code + 1), kRtspPatience, reads, false};
}

std::optional<Content> content_of(const std::string& packet, RequestGate::Kind kind) {
  if (packet.size() > sizeof(userlcm_packet_t)) return std::nullopt;
  return kind == RequestGate::Kind::kRtsp ? rtsp_content(packet) : camera_content(packet);
}

Verdict refuse(Verdict verdict, vlm_err_t result, const char* reason) {
  verdict.outcome = Verdict::kRefuse;
  verdict.result = result;
  verdict.reason = reason;
  return verdict;
}

}  // namespace

bool SeenRequests::note(const std::string& client, const std::string& correlation, TimePoint now) {
  while (!_order.empty() && (_order.front().forgotten <= now || _order.size() == kMost)) {
    _keys.erase(_order.front().key);
    _order.pop_front();
  }
  std::string key = client + '\n' + correlation;
  if (!_keys.insert(key).second) return false;
  _order.push_back({now + kMemory, std::move(key)});
  return true;
}

std::chrono::milliseconds patience_of(u16 code) {
  return code == UDP_CTRL_CAM_GET_CAMERA_STATUS ? kStatusPatience : kReplyPatience;
}

Verdict RequestGate::judge(const bus::BrokerMessage& message, Kind kind, bool stalled,
                           TimePoint now) {
  Verdict verdict{Verdict::kDrop, {}};
  const bool passed_a_bridge = !message.property(kViaProperty).empty();
  if (passed_a_bridge || !is_reply_topic(message.response_topic)) return verdict;
  RequestDesk::Request& request = verdict.request;
  request.client = message.response_topic;
  request.correlation = message.correlation;
  request.packet = message.payload;
  const auto content = content_of(message.payload, kind);
  if (!content) return refuse(verdict, VLM_ERR_PROTOCOL, "no request of the bus");
  request.code = content->code;
  request.answer = content->answer;
  request.patience = content->patience;
  if (message.correlation.empty() || message.correlation.size() > kMostCorrelation) {
    return refuse(verdict, VLM_ERR_PROTOCOL, "no correlation data of 1 to 64 bytes");
  }
  // Without an age nothing tells a request of today from one of yesterday.
  if (message.retained || !message.expiry_s || *message.expiry_s > kOldest.count()) {
    return refuse(verdict, VLM_ERR_PROTOCOL, "no message expiry of at most 3 s");
  }
  if (stalled || *message.expiry_s == 0) return refuse(verdict, VLM_ERR_IS_TIMEOUT, "too old");
  if (!_seen.note(request.client, request.correlation, now)) {
    return refuse(verdict, VLM_ERR_PROTOCOL, "seen before");
  }
  const bool denied = kind != Kind::kRtsp && _rules.denied.count(request.code) != 0;
  if (denied || (_rules.read_only && !content->reads)) {
    return refuse(verdict, VLM_ERR_PERMISSION_DENIED, "denied here");
  }
  if (kind == Kind::kCamera && content->service) {
    return refuse(verdict, VLM_ERR_PERMISSION_DENIED, "to be sent to req/service");
  }
  request.expires = now + std::chrono::seconds(*message.expiry_s);
  verdict.outcome = Verdict::kAdmit;
  return verdict;
}

}  // namespace vlm::fleet
