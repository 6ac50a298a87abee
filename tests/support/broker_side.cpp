#include "broker_side.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <thread>

namespace {

/// One that was free a moment ago.
int free_port() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(socket, reinterpret_cast<sockaddr*>(&address), size);
  getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
  close(socket);
  return ntohs(address.sin_port);
}

bool asks_cameras(const std::string& program) {
  static const std::array<const char*, 3> kPrograms{"/vlm_test", "/vlm_udp_service", "/vlmctl"};
  for (const std::string name : kPrograms) {
    if (program.size() >= name.size() &&
        program.compare(program.size() - name.size(), name.size(), name) == 0) {
      return true;
    }
  }
  return false;
}

std::string bus_in(const std::vector<std::string>& environment) {
  const std::string name = "VLM_BUS_DIR=";
  for (const std::string& variable : environment) {
    if (variable.rfind(name, 0) == 0) return variable.substr(name.size());
  }
  return {};
}

/// One broker for the tests of this process, and a bridge for each bus that they use.
class BrokerBetween {
 public:
  std::string address_of(const std::string& bus) {
    for (auto bridge = _bridges.begin(); bridge != _bridges.end();) {
      bridge = std::filesystem::exists(bridge->first) || bridge->first == bus
                   ? std::next(bridge)
                   : _bridges.erase(bridge);
    }
    auto& bridge = _bridges[bus];
    if (bridge.address.empty()) {
      bridge.address = _broker.address("cam-" + std::to_string(++_count));
      bridge.process = std::make_unique<Process>(
          std::vector<std::string>{program("vlm_bus_bridge"), "--broker", bridge.address},
          std::vector<std::string>{"VLM_BUS_DIR=" + bus});
      bridge.process->read_until("serves ");
    }
    // A camera that is there has been heard before its first client asks.
    if (probe("VLM_BUS_DIR=" + bus, "0") == 0) probe("VLM_BUS=" + bridge.address, "10000");
    return bridge.address;
  }

 private:
  struct Bridge {
    std::string address;
    std::unique_ptr<Process> process;
  };

  static int probe(const std::string& bus, const std::string& wait_ms) {
    Process probe({program("vlm_bus_probe"), kRequests, "--wait", wait_ms}, {bus});
    return probe.wait();
  }

  static constexpr char kRequests[] = "velmar_repeater_udp";

  Broker _broker;
  int _count = 0;
  std::map<std::string, Bridge> _bridges;
};

}  // namespace

Broker::Broker(std::vector<std::string> extra) : _extra(std::move(extra)) {
  constexpr int kMostTries = 20;  // another process may take the port first
  for (int tries = 0; tries < kMostTries; ++tries) {
    _port = free_port();
    if (start()) return;
  }
  throw std::runtime_error("mosquitto does not start: " + _process->errors());
}

bool Broker::start() {
  std::string text = "listener " + std::to_string(_port) + " 127.0.0.1\n";
  for (const std::string& line : _extra) text += line + "\n";
  text += "set_tcp_nodelay true\nlog_dest stderr\nlog_type information\nlog_type error\n";
  _directory.write("mosquitto.conf", text);
  _process = std::make_unique<Process>(
      std::vector<std::string>{"/usr/sbin/mosquitto", "-c", _directory / "mosquitto.conf"});
  // Its standard output would be buffered.
  for (std::string told;;) {
    told = _process->errors();
    if (told.find(" running\n") != told.npos) return true;
    if (told.find("Error") != told.npos) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::string Broker::address(const std::string& camera) const {
  return "mqtt://127.0.0.1:" + std::to_string(_port) + "/test" +
         (camera.empty() ? "" : "/" + camera);
}

void Broker::kill() {
  _process->signal(SIGKILL);
  _process->wait();
}

void Broker::stop() const { _process->stop(); }

void Broker::resume() const { _process->resume(); }

void Broker::start_again() {
  if (!start()) throw std::runtime_error("mosquitto does not start again: " + _process->errors());
}

long Broker::memory_kib() const {
  std::ifstream status("/proc/" + std::to_string(_process->pid()) + "/status");
  for (std::string word; status >> word;) {
    long kib = 0;
    if (word == "VmRSS:" && status >> kib) return kib;
  }
  return 0;
}

std::vector<std::string> with_broker_between(const std::string& program,
                                             std::vector<std::string> environment) {
  const std::string bus = bus_in(environment);
  if (std::getenv("VLM_TEST_OVER_BROKER") == nullptr || !asks_cameras(program) || bus.empty()) {
    return environment;
  }
  static BrokerBetween between;
  environment.push_back("VLM_BUS=" + between.address_of(bus));
  return environment;
}
