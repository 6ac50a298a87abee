// What a camera's status costs that is asked over a broker, and what of it is the bridge's. Everything
// runs on one core, the broker included:
//
//   broker_bare     321 bytes there and back between two clients of the broker, as mqtt_exchange.h says
//   broker_bus      a program asks a camera over the bus of its machine
//   broker_camera   the same program asks a camera that is the broker's client itself, as those of
//                   camera_sim --fleet are
//   broker_bridge   the same through vlm_bus_bridge, whose camera is on a bus of the two alone
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bare.h"
#include "broker_side.h"
#include "bus_transport.h"
#include "camera_client.h"
#include "contender.h"
#include "contest.h"
#include "mqtt_exchange.h"
#include "remote_transport.h"

namespace {

using namespace vlm::bench;
namespace client = vlm::client;

constexpr std::chrono::seconds kServingLimit{10};

/// What else the machine does may hold an answer up, which then counts.
client::Options patient() {
  client::Options options;
  options.status_reply = kServingLimit;
  return options;
}

class BareMqtt : public Contender {
 public:
  explicit BareMqtt(int port) : _exchange("127.0.0.1", port) {}

  const char* name() const override { return "broker_bare"; }
  void start() override { _exchange.start(); }
  void round_trip() override { _exchange.round_trip(); }

 private:
  MqttExchange _exchange;
};

/// Asks a camera for its status. `reach` makes the way to it.
class StatusRequest : public Contender {
 public:
  using Reach = std::function<client::Transport*()>;

  StatusRequest(const char* name, client::Scheduler& scheduler, Reach reach)
      : _name(name), _scheduler(scheduler), _reach(std::move(reach)) {}

  const char* name() const override { return _name; }
  void start() override { _client = new client::CameraClient(*_reach(), _scheduler, patient()); }
  void round_trip() override {
    const auto answer = client::await(
        [this](const client::CameraClient::Done& done) { _client->get(_status, done); });
    if (answer.done()) return;
    std::fprintf(stderr, "%s: %s, %d\n", _name, text(answer.outcome), answer.error);
    std::exit(1);
  }

 private:
  const char* const _name;
  client::Scheduler& _scheduler;
  const Reach _reach;
  const vlm::catalogue::Row& _status = *vlm::catalogue::find("camera.status")->row;
  client::CameraClient* _client = nullptr;
};

client::Transport* over_the_bus() {
  await_subscriber(kRequestChannel);
  auto* const transport = new client::BusTransport;
  if (!transport->wait_until_serving(kServingLimit)) give_up("the bus");
  return transport;
}

client::Transport* over_the_broker(const std::string& address) {
  client::RemoteFault fault;
  auto transport = client::reach_camera(address, kServingLimit, fault);
  if (!transport) {
    std::fprintf(stderr, "%s\n", fault.text.c_str());
    std::exit(1);
  }
  return transport.release();
}

/// A camera on a bus of its own, and its bridge. Returns once the network finds the camera there.
class BridgedCamera {
 public:
  BridgedCamera(const std::string& directory, const std::string& address)
      : _camera({program("camera_sim")}, {"VLM_BUS=unix:" + directory}),
        _bridge({program("vlm_bus_bridge"), "--local", "unix:" + directory, "--broker", address}) {
    Process probe({program("vlm_bus_probe"), kRequestChannel, "--wait", "10000"},
                  {"VLM_BUS=" + address});
    if (probe.wait() != 0) give_up("no camera behind the bridge");
  }

 private:
  Process _camera;
  Process _bridge;
};

void run(int rounds) {
  pin_to_one_core();
  const PrivateBus bus_directory;
  const Broker broker;
  auto& bare = *new BareMqtt(broker.port());
  start_simulated_camera();
  Process fleet({program("camera_sim"), "--fleet", "1"}, {"VLM_BUS=" + broker.address("")});
  fleet.read_until("ready");
  const BridgedCamera bridged(bus_directory.path() + "/bridged", broker.address("bridged"));

  // Never destroyed: their threads run to the end.
  auto& scheduler = *new client::ThreadScheduler;
  const auto at = [&](const char* camera) {
    return [address = broker.address(camera)] { return over_the_broker(address); };
  };
  auto& entrants = *new std::vector<Entrant>{
      {&bare},
      {new StatusRequest("broker_bus", scheduler, over_the_bus)},
      {new StatusRequest("broker_camera", scheduler, at("cam-1"))},
      {new StatusRequest("broker_bridge", scheduler, at("bridged"))},
  };
  print_rows(stdout, round_trips(entrants, rounds));
}

}  // namespace

int main(int argc, char** argv) {
  return contest_main(argc, argv,
                      {"broker_bench", "Measures requests to cameras behind a broker and a bridge.",
                       "round trips of each kind, 1 to 10000000 (default 20000)", 20000},
                      run);
}
