// MQTT by libmosquitto over a private daemon, mosquitto, which listens on a socket of the system.
//
// Quality 0, which has no acknowledgements. Caller and peer have one thread each: a client without a
// thread of the library writes a message to the socket at once, and mosquitto_loop() blocks until the
// answer has come; with such a thread each message would be handed to it.
#include <mosquitto.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "peers.h"

namespace vlm::bench {
namespace {

constexpr char kRequestTopic[] = "request";
constexpr char kAnswerTopic[] = "answer";
constexpr int kQuality = 0;

/// Ends the program when a call of the library has failed.
void check(int result, const char* what) {
  if (result == MOSQ_ERR_SUCCESS) return;
  std::fprintf(stderr, "%s: %s\n", what, mosquitto_strerror(result));
  std::exit(1);
}

class Mqtt : public Contender {
 public:
  explicit Mqtt(const std::string& directory)
      : _socket(directory + "/mqtt"), _settings(_socket + ".conf") {
    // As root it would become a user of its own, who cannot write here.
    std::ofstream(_settings) << "listener 0 " << _socket
                             << "\nallow_anonymous true\nlog_type none\nuser root\n";
    start_peer([this] { run_daemon(VLM_PEER_MQTT, "-c", _settings.c_str()); });
    start_peer([this] { serve(); });
  }

  const char* name() const override { return "mqtt"; }

  /// Asks until there is an answer: the peer may not have subscribed yet. Then takes the rest of them.
  void start() override {
    _client = connected(this, kAnswerTopic, take_answer);
    for (; _answered == 0; take_messages(kRetryMs)) ask();
    while (_answered != _asked) take_messages(-1);
  }

  void round_trip() override {
    ask();
    while (_answered != _asked) take_messages(-1);
  }

 private:
  using Packet = std::array<unsigned char, kPacketSize>;
  using Take = void (*)(mosquitto* client, void* user, const mosquitto_message* message);
  static constexpr int kRetryMs = 10;

  /// A client that has subscribed `topic`; the daemon may be starting still.
  mosquitto* connected(void* user, const char* topic, Take take) const {
    constexpr int kMostTries = 1000;
    constexpr int kKeepAliveSeconds = 3600;
    mosquitto* const client = mosquitto_new(nullptr, true, user);
    if (client == nullptr) give_up("mosquitto_new");
    mosquitto_message_callback_set(client, take);
    for (int tries = 0;; ++tries) {
      const int result = mosquitto_connect(client, _socket.c_str(), 0, kKeepAliveSeconds);
      if (result == MOSQ_ERR_SUCCESS) break;
      if (tries == kMostTries) check(result, "mosquitto_connect");
      usleep(1000 * kRetryMs);
    }
    check(mosquitto_subscribe(client, nullptr, topic, kQuality), "mosquitto_subscribe");
    return client;
  }

  static void publish(mosquitto* client, const char* topic, const void* packet) {
    check(mosquitto_publish(client, nullptr, topic, kPacketSize, packet, kQuality, false),
          "mosquitto_publish");
  }

  /// A request has a number, by which its answer is known.
  void ask() {
    ++_asked;
    std::memcpy(_request.data(), &_asked, sizeof _asked);
    publish(_client, kRequestTopic, _request.data());
  }

  static void take_answer(mosquitto*, void* user, const mosquitto_message* message) {
    if (message->payloadlen != kPacketSize) give_up("a wrong answer");
    auto& answered = static_cast<Mqtt*>(user)->_answered;
    std::memcpy(&answered, message->payload, sizeof answered);
  }

  void take_messages(int timeout_ms) const {
    check(mosquitto_loop(_client, timeout_ms, 1), "mosquitto_loop");
  }

  void serve() const {
    mosquitto* const client = connected(
        nullptr, kRequestTopic, [](mosquitto* self, void*, const mosquitto_message* message) {
          publish(self, kAnswerTopic, message->payload);
        });
    check(mosquitto_loop_forever(client, -1, 1), "mosquitto_loop_forever");
  }

  const std::string _socket;
  const std::string _settings;
  mosquitto* _client = nullptr;
  Packet _request{};
  long _asked = 0;
  long _answered = 0;
};

}  // namespace

Contender* mqtt_peer(const std::string& directory) {
  check(mosquitto_lib_init(), "mosquitto_lib_init");
  return new Mqtt(directory);
}

}  // namespace vlm::bench
