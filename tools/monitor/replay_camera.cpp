#include "replay_camera.h"

#include <cstdio>
#include <cstring>

namespace vlm::monitor {

namespace {

bool is_request(Kind kind) { return kind == Kind::kRequest || kind == Kind::kSideRequest; }

bool is_output(Kind kind) {
  return kind == Kind::kReply || kind == Kind::kSideReply || kind == Kind::kNotification;
}

/// The camera's word for a command that it does not know.
Entry unsupported(const Entry& request) {
  userlcm_packet_t packet{};
  std::memcpy(packet.channel, kRequestChannel, sizeof kRequestChannel);
  udp_ctrl_cam_t record = record_of(request);
  std::memset(record.cmd_params, 0, sizeof record.cmd_params);
  record.err_code = VLM_ERR_UNSUPPORTED_COMMAND;
  packet.msg_buf[0] = LCM_CONTROL_CAMERA;
  std::memcpy(packet.msg_buf + offsetof(msg_from_rep_t, msg_data), &record, sizeof record);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&packet);
  constexpr std::size_t kSize = offsetof(userlcm_packet_t, msg_buf) + sizeof(msg_from_rep_t);
  return {0, kReplyChannel, Bytes(bytes, bytes + kSize), {}};
}

}  // namespace

ReplayCamera::ReplayCamera(const ReplayOptions& options, const std::vector<Observation>& packets)
    : _options(options) {
  for (const Observation& packet : packets) {
    if (!is_request(packet.decoded.kind)) continue;
    Exchanges& exchanges = _exchanges[key_of(packet.entry, packet.entry.comment == kRedacted)];
    exchanges.all.push_back({packet.number, packet.decoded.name, {}});
  }
  learn_outputs(packets);
}

void ReplayCamera::learn_outputs(const std::vector<Observation>& packets) {
  std::map<std::uint64_t, Exchange*> by_number;
  for (auto& [key, exchanges] : _exchanges) {
    for (Exchange& exchange : exchanges.all) by_number[exchange.number] = &exchange;
  }
  std::map<std::uint64_t, std::int64_t> asked_ns;
  std::uint64_t last_request = 0;
  for (const Observation& packet : packets) {
    const Kind kind = packet.decoded.kind;
    if (kind == Kind::kRequest) last_request = packet.number;
    if (is_request(kind)) asked_ns[packet.number] = packet.time_ns;
    if (!is_output(kind)) continue;
    // A notification belongs to what was asked last.
    const std::uint64_t request =
        kind == Kind::kNotification ? last_request : packet.finding.request;
    const auto exchange = by_number.find(request);
    if (exchange == by_number.end()) continue;
    exchange->second->outputs.push_back({packet.time_ns - asked_ns[request], packet.entry});
  }
}

/// The channel and the message, of what the sender says of itself nothing.
std::string ReplayCamera::key_of(const Entry& request, bool by_code_alone) {
  const userlcm_packet_t packet = packet_of(request);
  const std::size_t size =
      by_code_alone ? offsetof(msg_from_rep_t, msg_data) + sizeof(u16) : sizeof(msg_from_rep_t);
  return request.channel + '\0' + std::string(packet.msg_buf, packet.msg_buf + size);
}

ReplayCamera::Exchanges* ReplayCamera::exchanges_for(const Entry& request) {
  for (const bool by_code_alone : {false, true}) {
    const auto found = _exchanges.find(key_of(request, by_code_alone));
    if (found != _exchanges.end()) return &found->second;
  }
  return nullptr;
}

void ReplayCamera::serve(BusInbox& inbox) {
  while (!inbox.has_ended()) {
    const auto next = _due.empty() ? Clock::now() + std::chrono::hours(1) : _due.begin()->first;
    if (const auto packet = inbox.next(next)) {
      if (is_request(decode(*packet).kind)) answer(*packet);
    }
    publish_due();
  }
}

void ReplayCamera::answer(const Entry& request) {
  const auto now = Clock::now();
  const Decoded decoded = decode(request);
  Exchanges* const exchanges = exchanges_for(request);
  if (exchanges != nullptr && _options.loop && exchanges->next == exchanges->all.size()) {
    exchanges->next = 0;
    exchanges->all_came = true;
  }
  if (exchanges == nullptr || exchanges->next == exchanges->all.size()) {
    refuse(request, decoded);
    return;
  }
  const Exchange& exchange = exchanges->all[exchanges->next++];
  _result.equal(exchange.number, exchange.name);
  for (const Exchange::Output& output : exchange.outputs) {
    _due.emplace(now + _options.paced(output.after_ns), output.packet);
  }
}

void ReplayCamera::refuse(const Entry& request, const Decoded& decoded) {
  std::string values;
  for (const Value& value : decoded.values) values += ' ' + value.name + '=' + value.text;
  std::fprintf(stderr, "vlm_bus_replay: not recorded: %s%s\n", decoded.name.c_str(),
               values.c_str());
  _result.differs(0, decoded.name, "a request came that was not recorded, or not that often");
  if (decoded.kind == Kind::kRequest) publish(unsupported(request));
}

void ReplayCamera::publish_due() {
  const auto now = Clock::now();
  while (!_due.empty() && _due.begin()->first <= now) {
    publish(_due.begin()->second);
    _due.erase(_due.begin());
  }
}

ReplayResult ReplayCamera::result() const {
  ReplayResult result = _result;
  if (!_options.expect) return result;
  for (const auto& [key, exchanges] : _exchanges) {
    if (exchanges.all_came) continue;
    for (std::size_t i = exchanges.next; i < exchanges.all.size(); ++i) {
      result.differs(exchanges.all[i].number, exchanges.all[i].name, "this request did not come");
    }
  }
  return result;
}

}  // namespace vlm::monitor
