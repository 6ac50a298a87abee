#include "bridge.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "catalogue_text.h"
#include "catalogue_value.h"
#include "envelope.h"
#include "json_writer.h"
#include "service_commands.h"

namespace vlm::fleet {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// mosquitto counts whole seconds, and sends a will up to 2 s after its delay (measured): with 5 s, a
/// bridge that was killed showed as offline after 6 to 7 s, with 3 s after 3 to 5.
constexpr seconds kWillDelay{3};
/// Then a will is out; a little more for the way.
constexpr seconds kWillLimit{7};
/// A claim comes back at once, unless the broker's access list keeps it.
constexpr seconds kClaimLimit{5};
constexpr seconds kAskAgain{2};
constexpr std::size_t kMostEchoes = 4096;
constexpr char kBridgeProperty[] = "bridge";

bool is_from(const char* packet, const char* channel) {
  return std::strncmp(packet, channel, sizeof(userlcm_packet_t::channel)) == 0;
}

/// The record of an answer of the camera; none when the packet holds none.
std::optional<udp_ctrl_cam_t> record_in(const std::string& packet) {
  constexpr std::size_t kRecord = bus::kEnvelopeSize + offsetof(msg_from_rep_t, msg_data);
  if (packet.size() <= bus::kEnvelopeSize || packet[bus::kEnvelopeSize] != LCM_CONTROL_CAMERA) {
    return std::nullopt;
  }
  return bus::read_record<udp_ctrl_cam_t>(packet.data(), packet.size(), kRecord);
}

std::string request_packet(u16 code) {
  udp_ctrl_cam_t record{};
  record.cmd_type = code;
  const userlcm_packet_t packet = bus::camera_packet_from(kReplyChannel, record);
  return {reinterpret_cast<const char*>(&packet), bus::kEnvelopeSize + sizeof(msg_from_rep_t)};
}

/// A command that only a camera with a thermal sensor takes.
u16 thermal_question() {
  for (const catalogue::Row& row : catalogue::rows()) {
    if (row.is(catalogue::kThermal) && row.readable() && row.parameters.empty()) {
      return static_cast<u16>(row.codes.get);
    }
  }
  return UDP_CTRL_CAM_GET_CAMERA_VERSION;
}

}  // namespace

struct Bridge::Doings {
  struct Local {
    std::string packet;
    const char* channel;
  };

  std::vector<Local> local;
  std::vector<std::string> lines;
  std::optional<std::string> over;
  bool settled = false;
};

Bridge::Bridge(Plan plan, Outlets outlets)
    : _plan(std::move(plan)),
      _outlets(std::move(outlets)),
      _topics(_plan.address),
      _gate(_plan.rules) {}

Bridge::~Bridge() {
  const std::lock_guard<std::mutex> guard(_mutex);
  // A bridge that another one has sent away leaves the presence to it.
  if (_stage == Stage::kServing) _connection->publish(presence_message(kOffline), 1);
  _stage = Stage::kOver;
}

bool Bridge::start(bus::BrokerLoop& loop, std::string& error) {
  bus::BrokerPlan plan;
  plan.address = _plan.address;
  plan.files = _plan.files;
  plan.client_id = "vlm-" + _plan.address.camera + '-' + _id;
  plan.will = presence_message(kOffline);
  plan.will_delay = kWillDelay;
  const std::lock_guard<std::mutex> guard(_mutex);  // it may connect before this returns
  _connection = loop.connect(plan, *this, error);
  return _connection != nullptr;
}

BridgeCounts Bridge::counts() const {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _counts;
}

bool Bridge::serving() const {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _stage == Stage::kServing;
}

// --- The broker's side, on its loop's thread ---

void Bridge::on_connected() {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (_stage == Stage::kOver) return;
  _stage = Stage::kAsking;
  _other.clear();
  _stalled = false;
  _connection->subscribe(_topics.presence, false, 1);
  _ticket = _connection->mark();
}

void Bridge::on_lost(const std::string& why) {
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_stage != Stage::kOver) _stage = Stage::kAway;
    complain("no connection to " + text_of(_plan.address) + ": " + why, doings);
  }
  do_all(doings);
}

void Bridge::on_acknowledged(int ticket, bool granted) {
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (!granted) {
      complain("the broker does not let this user read the topics of " + text_of(_plan.address),
               doings);
    } else if (ticket == _ticket && _stage == Stage::kAsking) {
      if (_other.empty()) {
        claim();
      } else {
        _stage = Stage::kWaiting;
        _judged_at = _outlets.now() + kWillLimit;
      }
      set_timer();
    } else if (ticket == _ticket) {
      _stalled = false;
    }
  }
  do_all(doings);
}

void Bridge::on_message(const bus::BrokerMessage& message) {
  listen();
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (message.topic == _topics.presence) {
      see_presence(message, doings);
    } else if (message.topic == _topics.request) {
      take_request(message, RequestGate::Kind::kCamera, doings);
    } else if (message.topic == _topics.service_request) {
      take_request(message, RequestGate::Kind::kService, doings);
    } else if (message.topic == _topics.rtsp) {
      take_request(message, RequestGate::Kind::kRtsp, doings);
    }
    set_timer();
  }
  do_all(doings);
}

void Bridge::on_due() {
  listen();
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    const TimePoint now = _outlets.now();
    _timer.reset();
    if (_stage == Stage::kWaiting && _judged_at <= now) {
      end("another bridge (" + _other + ") serves " + text_of(_plan.address), doings);
    }
    if (_stage == Stage::kClaiming && _judged_at <= now) {
      complain("the broker does not let this user write and read the topics of " +
                   text_of(_plan.address),
               doings);
      claim();
    }
    carry_out(_desk.pass(now), false, doings);
    carry_out(_rtsp_desk.pass(now), true, doings);
    if (_stage == Stage::kServing && _ask_at && *_ask_at <= now) ask_next_question(doings);
    set_timer();
  }
  do_all(doings);
}

/// What has gathered meanwhile comes before the mark.
void Bridge::on_stall(milliseconds gap) {
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_stage != Stage::kServing) return;
    _stalled = true;
    _ticket = _connection->mark();
    doings.lines.push_back("stood still for " + std::to_string(gap.count()) +
                           " ms; requests of that time are refused");
  }
  do_all(doings);
}

void Bridge::see_presence(const bus::BrokerMessage& message, Doings& doings) {
  const std::string bridge = message.property(kBridgeProperty);
  const bool present = message.payload == kOnline || message.payload == kSilent;
  if (bridge == _id) {
    if (_stage == Stage::kClaiming && present) begin_to_serve(doings);
    return;
  }
  switch (_stage) {
    case Stage::kAsking: _other = present ? bridge : ""; break;
    case Stage::kWaiting:
      _other = present ? bridge : "";
      if (!present) claim();
      break;
    case Stage::kClaiming:
      // Its claim came before ours.
      if (present) end("another bridge (" + bridge + ") serves " + text_of(_plan.address), doings);
      break;
    // The will of one that was here before, or one that is about to end.
    case Stage::kServing: _connection->publish(presence_message(_presence), 1); break;
    case Stage::kAway:
    case Stage::kOver: break;
  }
}

void Bridge::claim() {
  _stage = Stage::kClaiming;
  _judged_at = _outlets.now() + kClaimLimit;
  _connection->publish(presence_message(_presence), 1);
}

void Bridge::begin_to_serve(Doings& doings) {
  _stage = Stage::kServing;
  for (const std::string& topic : {_topics.request, _topics.service_request, _topics.rtsp}) {
    _connection->subscribe(topic, true, 1);
  }
  doings.lines.push_back("serves " + text_of(_plan.address));
  _told.clear();
  if (_question == Question::kNone) {
    _connection->publish(info_message(), 1);
  } else {
    ask_next_question(doings);
  }
}

void Bridge::end(const std::string& why, Doings& doings) {
  _stage = Stage::kOver;
  doings.over = why;
}

/// Tells what goes wrong over and over once.
void Bridge::complain(const std::string& trouble, Doings& doings) {
  if (std::exchange(_told, trouble) != trouble) doings.lines.push_back(trouble);
}

void Bridge::become(const char* presence) {
  if (_presence == presence) return;
  _presence = presence;
  if (presence == kOnline && _question == Question::kNone) _ask_at.reset();
  if (_stage == Stage::kServing) _connection->publish(presence_message(presence), 1);
}

void Bridge::settle(Doings& doings) {
  if (_stage == Stage::kServing && !std::exchange(_settled, true)) doings.settled = true;
}

void Bridge::take_request(const bus::BrokerMessage& message, RequestGate::Kind kind,
                          Doings& doings) {
  const TimePoint now = _outlets.now();
  RequestGate::Verdict verdict = _gate.judge(message, kind, _stalled, now);
  const bool rtsp = kind == RequestGate::Kind::kRtsp;
  switch (verdict.outcome) {
    case RequestGate::Verdict::kDrop: ++_counts.dropped; break;
    case RequestGate::Verdict::kRefuse:
      refuse(verdict.request, verdict.result, verdict.reason);
      break;
    case RequestGate::Verdict::kAdmit:
      carry_out((rtsp ? _rtsp_desk : _desk).submit(std::move(verdict.request), now), rtsp, doings);
      break;
  }
}

// --- The camera's side, any thread ---

void Bridge::from_camera(const void* bytes, std::size_t length) {
  const std::string packet(static_cast<const char*>(bytes), length);
  if (packet.size() <= bus::kEnvelopeSize || !is_from(packet.data(), kRequestChannel)) return;
  if (has_waiting()) listen();
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (!_connection) return;
    const auto record = record_in(packet);
    if (!record) {
      const auto type = static_cast<u8>(packet[bus::kEnvelopeSize]);
      if (type < LCM_SDCARD_STATUS || type > LCM_CAPTURE_IMAGE_RESULT) return;
      bus::BrokerMessage event{_topics.event, packet, false, "", "", {}, {}};
      event.properties = {{kSequenceProperty, std::to_string(++_sequence)}, {kViaProperty, _id}};
      ++_counts.events;
      if (_stage == Stage::kServing) _connection->publish(event, 0);
    } else {
      bool asked = false;
      const auto steps = _desk.answered(record->cmd_type, _outlets.now(), asked);
      if (asked) {
        answer(steps.front().request, packet, kReplyChannel);
        settle(doings);
      } else {
        stray(packet);
      }
      carry_out(steps, false, doings);
    }
    set_timer();
  }
  do_all(doings);
}

void Bridge::from_rtsp(const void* bytes, std::size_t length) {
  const std::string packet(static_cast<const char*>(bytes), length);
  if (packet.size() < bus::kEnvelopeSize + sizeof(u32)) return;
  Doings doings;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (!_connection) return;
    const auto code = bus::read_record<u32>(packet.data(), packet.size(), bus::kEnvelopeSize);
    bool asked = false;
    const auto steps = _rtsp_desk.answered(static_cast<u16>(code), _outlets.now(), asked);
    if (asked) {
      answer(steps.front().request, packet, kRtspReplyChannel);
    } else {
      stray(packet);
    }
    carry_out(steps, true, doings);
    set_timer();
  }
  do_all(doings);
}

void Bridge::stray(const std::string& packet) {
  ++_counts.stray;
  if (_stage != Stage::kServing) return;
  bus::BrokerMessage message{_topics.stray, packet, false, "", "", {}, {{kViaProperty, _id}}};
  _connection->publish(message, 0);
}

bool Bridge::has_waiting() const {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _desk.waiting() > 0;
}

/// Before a request goes out: whose answer would be taken for its own is known then.
void Bridge::listen() {
  if (!_outlets.take_requests) return;
  _outlets.take_requests([this](const void* packet, std::size_t length, const auto& published) {
    overheard(packet, length, published);
  });
}

void Bridge::overheard(const void* bytes, std::size_t length,
                       const RequestDesk::Published& published) {
  const std::string packet(static_cast<const char*>(bytes), length);
  const auto record = record_in(packet);
  if (!record || !is_from(packet.data(), kReplyChannel)) return;
  const std::lock_guard<std::mutex> guard(_mutex);
  if (is_echo(packet, published)) return;
  _desk.overheard(record->cmd_type, patience_of(record->cmd_type), published, _outlets.now());
}

// --- What is done with requests ---

void Bridge::carry_out(RequestDesk::Steps steps, bool rtsp, Doings& doings) {
  for (RequestDesk::Step& step : steps) {
    switch (step.kind) {
      case RequestDesk::Step::kAsk:
        ++_counts.asked;
        if (!rtsp) note_echo(step.request.packet);
        doings.local.push_back(
            {std::move(step.request.packet), rtsp ? kRtspRequestChannel : kRequestChannel});
        break;
      case RequestDesk::Step::kRefuse:
        refuse(step.request, VLM_ERR_BUSY,
               step.refusal == RequestDesk::Refusal::kFull ? "too many wait" : "waited too long");
        break;
      case RequestDesk::Step::kGiveUp:
        ++_counts.silent;
        if (rtsp) break;
        become(kSilent);
        settle(doings);
        _ask_at = _outlets.now() + kAskAgain;
        break;
      case RequestDesk::Step::kAnswer: break;  // has been given
    }
  }
}

/// What we publish is overheard, too, maybe after its answer. Bounded: on some buses it is not, and a
/// tap may lose it.
void Bridge::note_echo(const std::string& packet) {
  const TimePoint now = _outlets.now();
  while (!_echoes.empty() &&
         (_echoes.size() == kMostEchoes || _echoes.front().sent + RequestDesk::kListen <= now)) {
    _echoes.pop_front();
  }
  _echoes.push_back({std::hash<std::string>()(packet), now});
}

bool Bridge::is_echo(const std::string& packet, const RequestDesk::Published& published) {
  const std::size_t hash = std::hash<std::string>()(packet);
  const auto echo = std::find_if(_echoes.begin(), _echoes.end(), [&](const Echo& each) {
    return each.hash == hash && each.sent <= published.latest;
  });
  if (echo == _echoes.end()) return false;
  _echoes.erase(echo);
  return true;
}

void Bridge::answer(const RequestDesk::Request& request, const std::string& packet,
                    const char* channel) {
  if (channel == kReplyChannel) become(kOnline);
  if (request.client.empty()) return learn(packet);
  ++_counts.answered;
  bus::BrokerMessage message{request.client, packet, false, "", request.correlation, {}, {}};
  message.properties = {{kChannelProperty, channel}, {kViaProperty, _id}};
  _connection->publish(message, 0);
}

void Bridge::refuse(const RequestDesk::Request& request, vlm_err_t result, const char* reason) {
  if (request.client.empty()) {  // a question of our own: it comes again
    _ask_at = _outlets.now() + kAskAgain;
    return;
  }
  ++_counts.refused;
  const bool rtsp = request.answer != request.code;
  bus::BrokerMessage message{request.client, "", false, "", request.correlation, {}, {}};
  // The streaming process' records know no error.
  if (!rtsp) message.payload = reply_packet(request, result);
  message.properties = {{kChannelProperty, rtsp ? kRtspReplyChannel : kReplyChannel},
                        {kViaProperty, _id},
                        {kRefusedProperty, reason}};
  _connection->publish(message, 0);
}

std::string Bridge::reply_packet(const RequestDesk::Request& request, vlm_err_t result) const {
  udp_ctrl_cam_t record{};
  record.cmd_type = request.code;
  record.err_code = static_cast<u16>(result);
  const userlcm_packet_t packet = bus::camera_packet_from(kRequestChannel, record);
  return {reinterpret_cast<const char*>(&packet), bus::kEnvelopeSize + sizeof(msg_from_rep_t)};
}

// --- What the bridge asks for itself: whether the camera answers, and what it is ---

void Bridge::ask_next_question(Doings& doings) {
  _ask_at.reset();
  // Known already, the camera is asked for its version only to see whether it answers again.
  const u16 code =
      _question == Question::kThermal ? thermal_question() : u16{UDP_CTRL_CAM_GET_CAMERA_VERSION};
  const TimePoint now = _outlets.now();
  RequestDesk::Request request;
  request.packet = request_packet(code);
  request.code = request.answer = code;
  request.expires = now + RequestGate::kOldest;
  request.patience = patience_of(code);
  carry_out(_desk.submit(std::move(request), now), false, doings);
}

void Bridge::learn(const std::string& packet) {
  const auto record = record_in(packet);
  if (!record || _question == Question::kNone) return;
  if (_question == Question::kVersion) {
    const catalogue::Row& row = *catalogue::find("camera.version")->row;
    const auto value = catalogue::decode_reply(row, record->cmd_params, sizeof record->cmd_params);
    if (value) _camera_version = catalogue::format(row.value, *value);
    _question = Question::kThermal;
    _ask_at = _outlets.now();
    return;
  }
  _thermal = record->err_code == VLM_ERR_NONE;
  _question = Question::kNone;
  if (_stage == Stage::kServing) _connection->publish(info_message(), 1);
}

bus::BrokerMessage Bridge::presence_message(const char* presence) const {
  return {_topics.presence, presence, true, "", "", {}, {{kBridgeProperty, _id}}};
}

bus::BrokerMessage Bridge::info_message() const {
  char hash[2 * sizeof(u64) + 1];
  std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(catalogue::hash()));
  host::JsonBlock json = host::json_object();
  json.text("bridge", _plan.version)
      .text("camera", _camera_version)
      .boolean("thermal", _thermal)
      .text("catalogue", hash);
  return {_topics.info, json.str(), true, "", "", {}, {{kViaProperty, _id}}};
}

void Bridge::set_timer() {
  const TimePoint now = _outlets.now();
  std::optional<TimePoint> first;
  const auto consider = [&first](std::optional<TimePoint> time) {
    if (time && (!first || *time < *first)) first = time;
  };
  consider(_desk.due(now));
  consider(_rtsp_desk.due(now));
  if (_stage == Stage::kServing) consider(_ask_at);
  if (_stage == Stage::kWaiting || _stage == Stage::kClaiming) consider(_judged_at);
  if (!first || (_timer && *_timer <= *first)) return;
  _timer = first;
  _connection->wake_at(*first);
}

// --- Outside the lock ---

void Bridge::do_all(Doings& doings) {
  for (const auto& line : doings.lines) _outlets.tell(line);
  if (doings.settled && _outlets.settled) _outlets.settled();
  if (doings.over) _outlets.over(*doings.over);
  // Last: an answer may come within the call.
  for (const Doings::Local& local : doings.local) {
    userlcm_packet_t packet{};
    std::memcpy(&packet, local.packet.data(), local.packet.size());
    const auto length = static_cast<unsigned int>(local.packet.size() - bus::kEnvelopeSize);
    _outlets.publish(&packet, length, local.channel);
  }
}

}  // namespace vlm::fleet
