#include "mosquitto_connection.h"

#include <mqtt_protocol.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

namespace vlm::fleet {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// A stopped bridge is seen as gone once this has passed one and a half times, and its will's delay.
constexpr int kKeepAliveS = 5;
/// From the first packet of the network to the broker's welcome.
constexpr milliseconds kConnectLimit{4000};
/// What has not reached the broker by then is not sent any more: a network that comes back after a cut
/// would deliver it, however late.
constexpr milliseconds kDeliveryLimit{3000};
/// A link that serves asks the broker for a sign of life so often, and takes what comes for late when
/// there was none for so long. Together no more than the age at which a request is refused.
constexpr milliseconds kBeatEvery{1000};
constexpr milliseconds kBeatLimit{1500};
/// A broker that takes nothing must not fill our memory.
constexpr std::size_t kMostUnsent = 256;
/// A broker that takes nothing is left without a goodbye.
constexpr int kMostGoodbyes = 10;
constexpr int kGoodbyeMs = 50;
/// What nobody subscribes.
constexpr char kMark[] = "vlm/1/mark";
constexpr int kNoPort = -1;
constexpr char kSystemAuthorities[] = "/etc/ssl/certs";

class Properties {
 public:
  Properties() = default;
  ~Properties() { mosquitto_property_free_all(&_list); }
  Properties(const Properties&) = delete;
  Properties& operator=(const Properties&) = delete;

  mosquitto_property** out() { return &_list; }
  const mosquitto_property* get() const { return _list; }
  mosquitto_property* release() { return std::exchange(_list, nullptr); }

 private:
  mosquitto_property* _list = nullptr;
};

void put_properties(const bus::BrokerMessage& message, Properties& properties) {
  mosquitto_property** const list = properties.out();
  if (message.expiry_s) {
    mosquitto_property_add_int32(list, MQTT_PROP_MESSAGE_EXPIRY_INTERVAL, *message.expiry_s);
  }
  if (!message.response_topic.empty()) {
    mosquitto_property_add_string(list, MQTT_PROP_RESPONSE_TOPIC, message.response_topic.c_str());
  }
  if (!message.correlation.empty()) {
    mosquitto_property_add_binary(list, MQTT_PROP_CORRELATION_DATA, message.correlation.data(),
                                  static_cast<uint16_t>(message.correlation.size()));
  }
  for (const auto& [name, value] : message.properties) {
    mosquitto_property_add_string_pair(list, MQTT_PROP_USER_PROPERTY, name.c_str(), value.c_str());
  }
}

/// A copy that the library has made, freed with the object.
template <typename T>
class Copy {
 public:
  Copy() = default;
  ~Copy() { std::free(_value); }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;
  T** out() { return &_value; }
  const T* get() const { return _value; }

 private:
  T* _value = nullptr;
};

void read_properties(const mosquitto_property* list, bus::BrokerMessage& message) {
  std::uint32_t expiry = 0;
  if (mosquitto_property_read_int32(list, MQTT_PROP_MESSAGE_EXPIRY_INTERVAL, &expiry, false)) {
    message.expiry_s = expiry;
  }
  Copy<char> topic;
  if (mosquitto_property_read_string(list, MQTT_PROP_RESPONSE_TOPIC, topic.out(), false)) {
    message.response_topic = topic.get();
  }
  Copy<void> correlation;
  std::uint16_t size = 0;
  if (mosquitto_property_read_binary(list, MQTT_PROP_CORRELATION_DATA, correlation.out(), &size,
                                     false)) {
    message.correlation.assign(static_cast<const char*>(correlation.get()), size);
  }
  bool again = false;
  const mosquitto_property* next = list;
  for (;; again = true) {
    Copy<char> name;
    Copy<char> value;
    next = mosquitto_property_read_string_pair(next, MQTT_PROP_USER_PROPERTY, name.out(),
                                               value.out(), again);
    if (next == nullptr) return;
    message.properties.emplace_back(name.get(), value.get());
  }
}

/// The first line of the file; none when it cannot be read.
std::optional<std::string> first_line(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  if (!file || !std::getline(file, line)) return std::nullopt;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

const char* path_or_null(const std::string& path) { return path.empty() ? nullptr : path.c_str(); }

std::string text_of_error(int error) {
  return error == MOSQ_ERR_ERRNO ? std::system_category().message(errno)
                                 : mosquitto_strerror(error);
}

/// How many addresses a name has; 0 where it is none.
int addresses_of(const std::string& host) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), nullptr, &wanted, &found) != 0) return 0;
  int count = 0;
  for (const addrinfo* each = found; each != nullptr; each = each->ai_next) ++count;
  freeaddrinfo(found);
  return count;
}

}  // namespace

MosquittoLink::MosquittoLink(const bus::BrokerPlan& plan, bus::BrokerListener& listener)
    : _plan(plan),
      _listener(listener),
      // A session outlives its connection for as long as the will waits: whoever comes back in time
      // has not been away.
      _handle(mosquitto_new(plan.client_id.c_str(), !plan.will, this)) {}

MosquittoLink::~MosquittoLink() = default;

std::string MosquittoLink::prepare() {
  if (!_handle) return "out of memory";
  mosquitto_int_option(_handle.get(), MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_int_option(_handle.get(), MOSQ_OPT_TCP_NODELAY, 1);
  mosquitto_connect_v5_callback_set(_handle.get(), on_connect);
  mosquitto_message_v5_callback_set(_handle.get(), on_message);
  mosquitto_publish_callback_set(_handle.get(), on_publish);
  mosquitto_subscribe_v5_callback_set(_handle.get(), on_subscribe);
  mosquitto_unsubscribe_v5_callback_set(_handle.get(), on_unsubscribe);
  mosquitto_disconnect_v5_callback_set(_handle.get(), on_disconnect);
  if (const int fault = set_will()) return text_of_error(fault);
  return set_identity();
}

int MosquittoLink::set_will() {
  if (!_plan.will) return MOSQ_ERR_SUCCESS;
  Properties properties;
  put_properties(*_plan.will, properties);
  mosquitto_property_add_int32(properties.out(), MQTT_PROP_WILL_DELAY_INTERVAL,
                               static_cast<std::uint32_t>(_plan.will_delay.count()));
  const std::string& payload = _plan.will->payload;
  const int fault = mosquitto_will_set_v5(_handle.get(), _plan.will->topic.c_str(),
                                          static_cast<int>(payload.size()), payload.data(), 1,
                                          _plan.will->retained, *properties.out());
  if (fault == MOSQ_ERR_SUCCESS) properties.release();  // it is the library's from then on
  return fault;
}

std::string MosquittoLink::set_identity() {
  const bus::BrokerFiles& files = _plan.files;
  const std::string& user = _plan.address.user;
  if (!files.password.empty() && user.empty()) {
    return "VLM_MQTT_PASSWORD_FILE is set, and the address names no user";
  }
  if (!user.empty()) {
    const auto password =
        files.password.empty() ? std::optional<std::string>("") : first_line(files.password);
    if (!password) {
      return "cannot read the password file " + files.password + ": " +
             std::system_category().message(errno);
    }
    mosquitto_username_pw_set(_handle.get(), user.c_str(), path_or_null(*password));
  }
  if (!_plan.address.tls) return {};
  if (files.certificate.empty() != files.key.empty()) {
    return "VLM_MQTT_CERT_FILE and VLM_MQTT_KEY_FILE go together";
  }
  const int fault = mosquitto_tls_set(
      _handle.get(), path_or_null(files.ca), files.ca.empty() ? kSystemAuthorities : nullptr,
      path_or_null(files.certificate), path_or_null(files.key), nullptr);
  if (fault == MOSQ_ERR_SUCCESS) return {};
  return "cannot use the files of the certificates (" +
         (files.ca.empty() ? std::string(kSystemAuthorities) : files.ca) +
         (files.certificate.empty() ? "" : ", " + files.certificate + ", " + files.key) +
         "): " + text_of_error(fault);
}

bool MosquittoLink::connect() {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    _state = State::kConnecting;
    _refusal.clear();
  }
  _begun = Clock::now();
  // Not under the lock, as it may take long: while connecting no other thread calls the library.
  const int fault = connect_now();
  if (fault != MOSQ_ERR_SUCCESS) {
    lose(text_of_error(fault));
    return false;
  }
  drop_what_is_late();
  return true;
}

int MosquittoLink::connect_now() {
  const char* const host = _plan.address.host.c_str();
  const int port = _plan.address.port;
  Properties properties;
  if (_plan.will) {
    mosquitto_property_add_int32(properties.out(), MQTT_PROP_SESSION_EXPIRY_INTERVAL,
                                 static_cast<std::uint32_t>(_plan.will_delay.count()) + 1);
  }
  const auto connect = [&](int to) {
    return mosquitto_connect_bind_v5(_handle.get(), host, to, kKeepAliveS, nullptr,
                                     properties.get());
  };
  if (addresses_of(host) > 1) return connect(port);
  // The call that does not wait takes no properties; it goes by those of the last one that did, which
  // fails at once as there is no such port.
  connect(kNoPort);
  return mosquitto_connect_bind_async(_handle.get(), host, port, kKeepAliveS, nullptr);
}

/// Of those who ask: what a bridge publishes is not done by anybody.
void MosquittoLink::drop_what_is_late() const {
  if (_plan.will) return;
  const auto limit = static_cast<unsigned>(kDeliveryLimit.count());
  setsockopt(mosquitto_socket(_handle.get()), IPPROTO_TCP, TCP_USER_TIMEOUT, &limit, sizeof limit);
}

void MosquittoLink::exchange(bool readable) {
  look_for_stall();
  const std::lock_guard<std::mutex> guard(_mutex);
  int fault = MOSQ_ERR_SUCCESS;
  if (mosquitto_want_write(_handle.get())) fault = mosquitto_loop_write(_handle.get(), 1);
  // One packet a call; what TLS has decrypted already makes no descriptor readable.
  for (int idle = 0; readable && idle < 2 && fault == MOSQ_ERR_SUCCESS;) {
    const std::size_t before = _events.size();
    fault = mosquitto_loop_read(_handle.get(), 1);
    idle = _events.size() == before ? idle + 1 : 0;
  }
  if (!mosquitto_want_write(_handle.get())) _unsent = 0;
  if (fault != MOSQ_ERR_SUCCESS && _refusal.empty()) _refusal = text_of_error(fault);
}

void MosquittoLink::keep() {
  const TimePoint now = Clock::now();
  int fault = MOSQ_ERR_SUCCESS;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_state == State::kDown) return;
    fault = mosquitto_loop_misc(_handle.get());
    beat(now);
  }
  if (fault != MOSQ_ERR_SUCCESS) return lose(text_of_error(fault));
  if (_state == State::kConnecting && now - _begun > kConnectLimit) {
    return lose("the broker does not answer");
  }
  exchange(true);
}

void MosquittoLink::tell() {
  std::string refusal;
  std::vector<Event> events;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    if (_state == State::kDown) return;
    refusal.swap(_refusal);
    events.swap(_events);
  }
  for (const Event& event : events) {
    switch (event.kind) {
      case Event::kConnected: _listener.on_connected(); break;
      case Event::kMessage: _listener.on_message(event.message); break;
      case Event::kAcknowledged: _listener.on_acknowledged(event.ticket, event.granted); break;
    }
  }
  if (!refusal.empty()) lose(refusal);
}

/// Whatever comes behind the acknowledgement was sent after this.
void MosquittoLink::beat(TimePoint now) {
  if (!_plan.will || _state != State::kUp || _beat != kNoBeat) return;
  if (now - _beat_at < kBeatEvery) return;
  _beat_at = now;
  _stalled = false;
  mosquitto_unsubscribe_v5(_handle.get(), &_beat, kMark, nullptr);
}

/// Before anything is read: what comes now may have been on its way since the last sign of life.
void MosquittoLink::look_for_stall() {
  const auto gap = std::chrono::duration_cast<milliseconds>(Clock::now() - _beat_at);
  if (_beat == kNoBeat || _stalled || gap < kBeatLimit) return;
  stall(gap);
}

void MosquittoLink::stall(milliseconds gap) {
  _stalled = true;
  _listener.on_stall(gap);
}

/// Lets the broker acknowledge what it has to keep; false when it does not in time. A socket that is
/// closed with something unread in it resets the connection, and what the broker had not read yet would
/// be lost.
bool MosquittoLink::finish() {
  for (int tries = 0; tries < kMostGoodbyes; ++tries) {
    if (_unacknowledged.empty()) return true;
    const bool writes = mosquitto_want_write(_handle.get());
    const auto wanted = static_cast<short>(writes ? POLLIN | POLLOUT : POLLIN);
    pollfd socket{mosquitto_socket(_handle.get()), wanted, 0};
    poll(&socket, 1, kGoodbyeMs);
    if (mosquitto_loop_write(_handle.get(), 1) != MOSQ_ERR_SUCCESS) return true;
    if (mosquitto_loop_read(_handle.get(), 1) != MOSQ_ERR_SUCCESS) return true;
  }
  return _unacknowledged.empty();
}

bool MosquittoLink::disconnect(bool patient) {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (_state == State::kDown) return true;
  const bool finished = patient && finish();
  mosquitto_disconnect_v5(_handle.get(), MQTT_RC_NORMAL_DISCONNECTION, nullptr);
  for (int tries = 0; tries < kMostGoodbyes && mosquitto_want_write(_handle.get()); ++tries) {
    pollfd socket{mosquitto_socket(_handle.get()), POLLOUT, 0};
    poll(&socket, 1, kGoodbyeMs);
    if (mosquitto_loop_write(_handle.get(), 1) != MOSQ_ERR_SUCCESS) break;
  }
  _state = State::kDown;
  return finished;
}

void MosquittoLink::lose(const std::string& why) {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    _state = State::kDown;
    _events.clear();
    _unsent = 0;
    _unacknowledged.clear();
    // Refused, it may still be open.
    if (mosquitto_socket(_handle.get()) >= 0) mosquitto_disconnect(_handle.get());
  }
  _listener.on_lost(why);
}

int MosquittoLink::descriptor() const {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _state == State::kDown ? -1 : mosquitto_socket(_handle.get());
}

bool MosquittoLink::wants_to_write() const {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _state != State::kDown && mosquitto_want_write(_handle.get());
}

bool MosquittoLink::publish(const bus::BrokerMessage& message, int qos) {
  Properties properties;
  put_properties(message, properties);
  const std::lock_guard<std::mutex> guard(_mutex);
  if (_state != State::kUp || _unsent == kMostUnsent) return false;
  int ticket = 0;
  const int fault = mosquitto_publish_v5(
      _handle.get(), &ticket, message.topic.c_str(), static_cast<int>(message.payload.size()),
      message.payload.data(), qos, message.retained, properties.get());
  if (mosquitto_want_write(_handle.get())) ++_unsent;
  if (fault == MOSQ_ERR_SUCCESS && qos > 0) _unacknowledged.insert(ticket);
  return fault == MOSQ_ERR_SUCCESS;
}

int MosquittoLink::subscribe(const std::string& topic, bool no_local, int qos) {
  const std::lock_guard<std::mutex> guard(_mutex);
  int ticket = -1;
  const int options = no_local ? MQTT_SUB_OPT_NO_LOCAL : 0;
  if (_state != State::kUp) return ticket;
  mosquitto_subscribe_v5(_handle.get(), &ticket, topic.c_str(), qos, options, nullptr);
  return ticket;
}

/// Giving up what is not subscribed changes nothing, and is acknowledged in its turn.
int MosquittoLink::mark() {
  const std::lock_guard<std::mutex> guard(_mutex);
  int ticket = -1;
  if (_state != State::kUp) return ticket;
  mosquitto_unsubscribe_v5(_handle.get(), &ticket, kMark, nullptr);
  return ticket;
}

// The library's callbacks: the lock is held.

void MosquittoLink::on_connect(mosquitto*, void* self, int code, int, const mosquitto_property*) {
  auto& link = *static_cast<MosquittoLink*>(self);
  if (code != 0) {
    link._refusal =
        std::string("the broker refuses the connection: ") + mosquitto_reason_string(code);
    return;
  }
  link._state = State::kUp;
  link._beat = kNoBeat;
  link._beat_at = Clock::now();
  link._stalled = false;
  link._events.push_back({Event::kConnected, 0, false, {}});
}

void MosquittoLink::on_message(mosquitto*, void* self, const mosquitto_message* message,
                               const mosquitto_property* properties) {
  Event event{Event::kMessage, 0, false, {}};
  event.message.topic = message->topic;
  event.message.payload.assign(static_cast<const char*>(message->payload),
                               static_cast<std::size_t>(message->payloadlen));
  event.message.retained = message->retain;
  read_properties(properties, event.message);
  static_cast<MosquittoLink*>(self)->_events.push_back(std::move(event));
}

void MosquittoLink::on_publish(mosquitto*, void* self, int ticket) {
  static_cast<MosquittoLink*>(self)->_unacknowledged.erase(ticket);
}

void MosquittoLink::on_subscribe(mosquitto*, void* self, int ticket, int count, const int* granted,
                                 const mosquitto_property*) {
  constexpr int kLastQos = 2;
  const bool all = count > 0 && granted[0] <= kLastQos;
  static_cast<MosquittoLink*>(self)->_events.push_back({Event::kAcknowledged, ticket, all, {}});
}

void MosquittoLink::on_unsubscribe(mosquitto*, void* self, int ticket, const mosquitto_property*) {
  auto& link = *static_cast<MosquittoLink*>(self);
  if (ticket == link._beat) {
    link._beat = kNoBeat;
    link._stalled = false;
    return;
  }
  link._events.push_back({Event::kAcknowledged, ticket, true, {}});
}

void MosquittoLink::on_disconnect(mosquitto*, void* self, int code, const mosquitto_property*) {
  auto& link = *static_cast<MosquittoLink*>(self);
  if (code != 0 && link._refusal.empty()) {
    const bool stood = link._state == State::kUp;
    link._refusal = std::string(stood ? "the broker ended the connection: " : "") +
                    (code < 0x80 ? mosquitto_strerror(code) : mosquitto_reason_string(code));
  }
}

}  // namespace vlm::fleet
