// MQTT over a private daemon, mosquitto, which listens on a socket of the system.
#include <fstream>

#include "mqtt_exchange.h"
#include "peers.h"

namespace vlm::bench {
namespace {

/// Starts the daemon and returns its socket.
std::string start_daemon(const std::string& directory) {
  const std::string socket = directory + "/mqtt";
  const std::string settings = socket + ".conf";
  // As root it would become a user of its own, who cannot write here.
  std::ofstream(settings) << "listener 0 " << socket
                          << "\nallow_anonymous true\nlog_type none\nuser root\n";
  start_peer([&] { run_daemon(VLM_PEER_MQTT, "-c", settings.c_str()); });
  return socket;
}

class Mqtt : public Contender {
 public:
  explicit Mqtt(const std::string& directory) : _exchange(start_daemon(directory), 0) {}

  const char* name() const override { return "mqtt"; }
  void start() override { _exchange.start(); }
  void round_trip() override { _exchange.round_trip(); }

 private:
  MqttExchange _exchange;
};

}  // namespace

Contender* mqtt_peer(const std::string& directory) { return new Mqtt(directory); }

}  // namespace vlm::bench
