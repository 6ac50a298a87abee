// B of bare.h over MQTT, by libmosquitto: what a broker itself charges.
//
// Quality 0, which has no acknowledgements. Caller and peer have one thread each: a client without a
// thread of the library writes a message to the socket at once, and mosquitto_loop() blocks until the
// answer has come; with such a thread each message would be handed to it.
#ifndef BENCH_MQTT_EXCHANGE_H
#define BENCH_MQTT_EXCHANGE_H

#include <mosquitto.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "bare.h"

namespace vlm::bench {

class MqttExchange {
 public:
  /// Starts the peer, which goes through the broker at `host` and `port`; 0: `host` is a socket's path.
  MqttExchange(std::string host, int port) : _host(std::move(host)), _port(port) {
    check(mosquitto_lib_init(), "mosquitto_lib_init");
    start_peer([this] { serve(); });
  }

  /// Asks until there is an answer: the peer may not have subscribed yet. Then takes the rest of them.
  void start() {
    _client = connected(this, kAnswerTopic, take_answer);
    for (; _answered == 0; take_messages(kRetryMs)) ask();
    while (_answered != _asked) take_messages(-1);
  }

  void round_trip() {
    ask();
    while (_answered != _asked) take_messages(-1);
  }

 private:
  using Packet = std::array<unsigned char, kPacketSize>;
  using Take = void (*)(mosquitto* client, void* user, const mosquitto_message* message);
  static constexpr int kRetryMs = 10;
  static constexpr int kQuality = 0;
  static constexpr char kRequestTopic[] = "request";
  static constexpr char kAnswerTopic[] = "answer";

  /// Ends the program when a call of the library has failed.
  static void check(int result, const char* what) {
    if (result == MOSQ_ERR_SUCCESS) return;
    std::fprintf(stderr, "%s: %s\n", what, mosquitto_strerror(result));
    std::exit(1);
  }

  /// A client that has subscribed `topic`; the daemon may be starting still.
  mosquitto* connected(void* user, const char* topic, Take take) const {
    constexpr int kMostTries = 1000;
    constexpr int kKeepAliveSeconds = 3600;
    mosquitto* const client = mosquitto_new(nullptr, true, user);
    if (client == nullptr) give_up("mosquitto_new");
    if (_port != 0) mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_message_callback_set(client, take);
    for (int tries = 0;; ++tries) {
      const int result = mosquitto_connect(client, _host.c_str(), _port, kKeepAliveSeconds);
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
    auto& answered = static_cast<MqttExchange*>(user)->_answered;
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

  const std::string _host;
  const int _port;
  mosquitto* _client = nullptr;
  Packet _request{};
  long _asked = 0;
  long _answered = 0;
};

}  // namespace vlm::bench

#endif  // BENCH_MQTT_EXCHANGE_H
