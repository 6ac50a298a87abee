#include "remote_camera.h"

#include <algorithm>

#include "envelope.h"
#include "report.h"
#include "service_commands.h"

namespace vlm::fleet {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kConnectLimit{5000};
constexpr std::uint32_t kRequestExpiryS = 3;

bool is_answer_channel(const std::string& channel) {
  return channel == kReplyChannel || channel == kRtspReplyChannel;
}

std::string bytes_of(const userlcm_packet_t& packet, unsigned int length) {
  return {reinterpret_cast<const char*>(&packet), bus::kEnvelopeSize + length};
}

udp_ctrl_cam_t camera_request_in(const std::string& packet) {
  return bus::read_record<udp_ctrl_cam_t>(packet.data(), packet.size(),
                                          bus::kEnvelopeSize + offsetof(msg_from_rep_t, msg_data));
}

}  // namespace

std::string ExpectedAnswers::expect(const std::string& channel, unsigned code) {
  _expected.erase(std::remove_if(_expected.begin(), _expected.end(),
                                 [&](const Expected& each) {
                                   return each.channel == channel && each.code == code;
                                 }),
                  _expected.end());
  if (_expected.size() == kMost) _expected.pop_front();
  _expected.push_back({_id + '-' + std::to_string(++_count), channel, code});
  return _expected.back().correlation;
}

bool ExpectedAnswers::holds(const std::string& correlation) const {
  return std::any_of(_expected.begin(), _expected.end(),
                     [&](const Expected& each) { return each.correlation == correlation; });
}

std::unique_ptr<BrokerCamera> BrokerCamera::reach(const bus::BrokerAddress& address,
                                                  const bus::BrokerFiles& files,
                                                  bus::LoopMaker make_loop, std::string& error) {
  std::unique_ptr<BrokerCamera> camera(new BrokerCamera(address));
  bus::BrokerPlan plan;
  plan.address = address;
  plan.files = files;
  plan.client_id = "vlm-" + camera->_id;
  const std::lock_guard<std::mutex> guard(camera->_mutex);  // it may connect before this returns
  camera->_loop = make_loop(error);
  if (!camera->_loop) return nullptr;
  camera->_connection = camera->_loop->connect(plan, *camera, error);
  return camera->_connection ? std::move(camera) : nullptr;
}

BrokerCamera::BrokerCamera(const bus::BrokerAddress& address)
    : _address(address), _topics(address), _reply_topic(reply_topic(address.user, _id)) {}

// On the loop's thread.

/// The answers' topic comes last: once it is acknowledged, the retained presence has come.
void BrokerCamera::on_connected() {
  const std::lock_guard<std::mutex> guard(_mutex);
  _tickets = {_connection->subscribe(_topics.presence, false, 1),
              _connection->subscribe(_topics.event, false, 1)};
  _last_ticket = _connection->subscribe(_reply_topic, false, 1);
  _tickets.push_back(_last_ticket);
  _presence.clear();
}

void BrokerCamera::on_lost(const std::string& why) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _state = State::kLost;
  _trouble = why;
  _presence.clear();
  _changed.notify_all();
}

void BrokerCamera::on_acknowledged(int ticket, bool granted) {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (std::find(_tickets.begin(), _tickets.end(), ticket) == _tickets.end()) return;
  if (!granted) {
    _state = State::kLost;
    _trouble = "the broker does not let this user read the camera's topics";
    _tickets.clear();
  } else if (ticket == _last_ticket) {
    _state = State::kServing;
    _told.clear();
  }
  _changed.notify_all();
}

void BrokerCamera::on_message(const bus::BrokerMessage& message) {
  if (message.topic == _topics.presence) {
    const std::lock_guard<std::mutex> guard(_mutex);
    _presence = message.payload;
    _changed.notify_all();
  } else if (message.topic == _topics.event) {
    deliver(kReplyChannel, message.payload);
  } else if (message.topic == _reply_topic) {
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      if (!_expected.holds(message.correlation)) return;
      // A copy of a request that the camera has: its own answer comes.
      if (message.property(kRefusedProperty) == "seen before") return;
    }
    deliver(message.property(kChannelProperty), message.payload);
  }
}

void BrokerCamera::deliver(const std::string& channel, const std::string& packet) {
  if (packet.size() < bus::kEnvelopeSize || packet.size() > sizeof(userlcm_packet_t)) return;
  std::vector<Receiver> receivers;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    for (const auto& [name, receiver] : _receivers) {
      if (name == channel) receivers.push_back(receiver);
    }
  }
  for (const Receiver& receiver : receivers) receiver(packet.data(), packet.size());
}

// Any thread.

bool BrokerCamera::wait_until_serving(milliseconds limit, std::string& error) {
  std::unique_lock<std::mutex> lock(_mutex);
  _changed.wait_until(lock, Clock::now() + limit, [this] { return _state != State::kNew; });
  if (_state == State::kServing) return true;
  error = "cannot reach " + text_of(_address) + ": " +
          (_state == State::kLost ? _trouble : "the broker does not answer");
  return false;
}

bool BrokerCamera::publish(const userlcm_packet_t& packet, unsigned int length,
                           const std::string& channel) {
  bus::BrokerMessage message;
  message.payload = bytes_of(packet, length);
  if (is_answer_channel(channel)) return give_back(message, channel);
  unsigned code = 0;
  if (channel == kRequestChannel) {
    const udp_ctrl_cam_t request = camera_request_in(message.payload);
    code = request.cmd_type;
    message.topic = needs_service(request) ? _topics.service_request : _topics.request;
  } else if (channel == kRtspRequestChannel) {
    code = bus::read_record<lcm_udp_rtsp_msg_t>(packet.msg_buf, length).msg_cmd;
    message.topic = _topics.rtsp;
  } else {
    complain("nothing published on " + channel + ": over a broker a camera is asked, no more");
    return false;
  }
  if (!wait_until_connected()) return false;
  tell_missing_camera(channel);
  message.response_topic = _reply_topic;
  message.expiry_s = kRequestExpiryS;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    message.correlation = _expected.expect(channel, code);
  }
  return send(message);
}

bool BrokerCamera::send(const bus::BrokerMessage& message) {
  if (_connection->publish(message, 0)) return true;
  complain("nothing published: the broker takes nothing");
  return false;
}

/// Only the first connection is waited for: later a caller has better things to do.
bool BrokerCamera::wait_until_connected() {
  const auto left =
      std::max(kConnectLimit - std::chrono::duration_cast<milliseconds>(Clock::now() - _start),
               milliseconds(0));
  std::string error;
  if (wait_until_serving(left, error)) return true;
  complain(error);
  return false;
}

/// A packet on the channels of answers is this program's own, by which it learns that it is served.
bool BrokerCamera::give_back(const bus::BrokerMessage& message, const std::string& channel) {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_state != State::kServing) return false;
  }
  deliver(channel, message.payload);
  return true;
}

/// Says so, once: whatever else the operator reads then is a time-out.
void BrokerCamera::tell_missing_camera(const std::string& channel) {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_presence == kOnline || _presence == kSilent || channel != kRequestChannel) return;
    if (std::exchange(_told_missing, true)) return;
  }
  bus::report("no camera on bus " + text_of(_address) + ": it is offline");
}

/// Reports what goes wrong over and over once.
void BrokerCamera::complain(const std::string& trouble) {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_told == trouble) return;
    _told = trouble;
  }
  bus::report(trouble);
}

void BrokerCamera::listen(const std::string& channel, Receiver receiver) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _receivers.emplace_back(channel, std::move(receiver));
}

std::string BrokerCamera::presence() {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _presence;
}

bool BrokerCamera::wait_until_online(milliseconds limit) {
  const auto deadline = Clock::now() + std::max(limit, kConnectLimit);
  const auto asked_until = Clock::now() + limit;
  std::unique_lock<std::mutex> lock(_mutex);
  // Before the connection stands nothing is known.
  _changed.wait_until(lock, deadline, [this] { return _state != State::kNew; });
  return _changed.wait_until(lock, asked_until, [this] { return _presence == kOnline; });
}

}  // namespace vlm::fleet
