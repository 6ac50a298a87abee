// A camera behind a real broker: who gets which answer, and what is seen when one of them goes.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <sstream>

#include "broker.h"
#include "broker_side.h"
#include "camera_client.h"
#include "catalogue.h"
#include "envelope.h"
#include "process.h"
#include "remote_transport.h"

namespace {

using vlm::bus::BrokerMessage;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPlenty{kPlentyMs};

/// A client of the broker that the test plays.
class TestClient : private vlm::bus::BrokerListener {
 public:
  TestClient(const std::string& address, std::vector<std::string> topics)
      : _topics(std::move(topics)) {
    std::string error;
    const auto parsed = vlm::bus::parse_camera_address(address, error);
    _loop = vlm::bus::make_broker_loop(error);
    if (!parsed || !_loop) throw std::runtime_error(error);
    std::unique_lock<std::mutex> lock(_mutex);  // it may connect before this returns
    _connection = _loop->connect({*parsed, {}, "test-client", {}, {}}, *this, error);
    if (!_changed.wait_for(lock, kPlenty, [this] { return _ready; })) {
      throw std::runtime_error("the test's client does not get through to the broker");
    }
  }

  bool publish(const BrokerMessage& message) { return _connection->publish(message, 0); }

  BrokerMessage next(const std::string& topic) { return next_arrival(topic).message; }
  /// When it came.
  Clock::time_point wait_for(const std::string& topic, const std::string& payload) {
    for (;;) {
      const Arrival arrival = next_arrival(topic);
      if (arrival.message.payload == payload) return arrival.time;
    }
  }

 private:
  struct Arrival {
    Clock::time_point time;
    BrokerMessage message;
  };

  Arrival next_arrival(const std::string& topic) {
    std::unique_lock<std::mutex> lock(_mutex);
    const auto is_it = [&](const Arrival& arrival) { return arrival.message.topic == topic; };
    const auto found = [&] { return std::find_if(_messages.begin(), _messages.end(), is_it); };
    if (!_changed.wait_for(lock, kPlenty, [&] { return found() != _messages.end(); })) {
      throw std::runtime_error("nothing more came on " + topic);
    }
    Arrival arrival = *found();
    _messages.erase(found());
    return arrival;
  }

  void on_connected() override {
    const std::lock_guard<std::mutex> guard(_mutex);
    for (const std::string& topic : _topics) _last = _connection->subscribe(topic, false, 1);
  }
  void on_lost(const std::string&) override {}
  void on_message(const BrokerMessage& message) override {
    const std::lock_guard<std::mutex> guard(_mutex);
    _messages.push_back({Clock::now(), message});
    _changed.notify_all();
  }
  void on_acknowledged(int ticket, bool) override {
    const std::lock_guard<std::mutex> guard(_mutex);
    _ready = _ready || ticket == _last;
    _changed.notify_all();
  }
  void on_due() override {}
  void on_stall(std::chrono::milliseconds) override {}

  const std::vector<std::string> _topics;
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<Arrival> _messages;
  int _last = -1;
  bool _ready = false;
  std::unique_ptr<vlm::bus::BrokerLoop> _loop;
  std::unique_ptr<vlm::bus::BrokerConnection> _connection;
};

constexpr char kPresence[] = "vlm/1/test/cam/presence";
constexpr char kRequest[] = "vlm/1/test/cam/req";
constexpr char kReply[] = "vlm/1/client/-/1/rep";

class Fleet : public testing::Test {
 protected:
  void SetUp() override {
    camera = start({"camera_sim", "--verbose"}, local());
    camera->read_until("camera_sim: ready");
    bridge = start_bridge();
    bridge->read_until("serves ");
  }

  std::vector<std::string> local() const { return {"VLM_BUS=unix:" + (directory / "bus")}; }
  std::vector<std::string> second_bus() const { return {"VLM_BUS=unix:" + (directory / "second")}; }
  std::string address() const { return broker.address("cam"); }
  std::unique_ptr<Process> start_bridge() const {
    return start({"vlm_bus_bridge", "--broker", address()}, local());
  }
  std::unique_ptr<Process> start_bridge_of(const std::string& name) const {
    auto started = start({"vlm_bus_bridge", "--broker", broker.address(name)}, local());
    started->read_until("serves ");
    return started;
  }
  std::unique_ptr<Process> start_console() const {
    return start({"vlm_test"}, {"VLM_BUS=" + address()});
  }
  static std::unique_ptr<Process> start(std::vector<std::string> arguments,
                                        const std::vector<std::string>& environment) {
    arguments[0] = program(arguments[0]);
    return std::make_unique<Process>(arguments, environment);
  }
  int probe(const std::string& wait_ms) const {
    return start({"vlm_bus_probe", "velmar_repeater_udp", "--wait", wait_ms},
                 {"VLM_BUS=" + address()})
        ->wait();
  }
  /// What the camera has printed, once it has ended.
  std::string end_camera() {
    camera->signal(SIGTERM);
    return camera->read_all();
  }
  static int occurrences(const std::string& text, const std::string& part) {
    int found = 0;
    for (auto at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++found;
    return found;
  }

  TemporaryDirectory directory;
  Broker broker;
  std::unique_ptr<Process> camera;
  std::unique_ptr<Process> bridge;
};

TEST_F(Fleet, GivesEachConsoleItsOwnAnswersAlone) {
  constexpr int kRequests = 200;
  ASSERT_EQ(probe("20000"), 0);
  const std::array<std::pair<const char*, const char*>, 3> questions{
      {{"1\n", "GET_CAMERA_MODE"}, {"7\n", "GET_AE"}, {"1\n", "GET_CAMERA_MODE"}}};
  std::vector<std::unique_ptr<Process>> consoles;
  for (const auto& question : questions) {
    std::string lines;
    for (int i = 0; i < kRequests; ++i) lines += question.first;
    consoles.push_back(start_console());
    consoles.back()->write(lines + "q\n");
  }
  for (std::size_t i = 0; i < consoles.size(); ++i) {
    const std::string transcript = consoles[i]->read_all();
    const std::string recv = std::string("Recv ") + questions[i].second + " Ack OK\n";
    EXPECT_EQ(occurrences(transcript, recv), kRequests);
    EXPECT_EQ(occurrences(transcript, "Recv "), kRequests);
    EXPECT_EQ(occurrences(transcript, "timeout"), 0);
    EXPECT_EQ(occurrences(transcript, "not waiting on answer"), 0);
  }
  const std::string seen = end_camera();
  EXPECT_EQ(occurrences(seen, "-> 1 GET_CAMERA_MODE\n"), 2 * kRequests);
  EXPECT_EQ(occurrences(seen, "-> 7 GET_AE\n"), kRequests);
}

TEST_F(Fleet, ComesBackWithItsBrokerAndSendsNothingTwice) {
  ASSERT_EQ(probe("20000"), 0);
  const auto console = start_console();
  const std::string prompt = "Please input cmd below:[cmd_type] [param0] [param1] ...\n";
  console->read_until(prompt);
  console->write("7\n");
  EXPECT_NE(console->read_until(prompt).find("Recv GET_AE Ack OK"), std::string::npos);
  broker.kill();
  bridge->read_until("no connection to ");
  console->write("6\n");  // what cannot be sent is not answered: half a second
  EXPECT_NE(console->read_until(prompt).find("timeout"), std::string::npos);
  broker.start_again();
  bridge->read_until("serves ");
  int asked = 0;
  int answered = 0;
  while (answered == 0) {
    ++asked;
    console->write("6\n");
    answered = occurrences(console->read_until(prompt), "Recv GET_CAMERA_STATUS Ack OK");
    ASSERT_LT(asked, 60) << console->errors();
  }
  const std::string seen = end_camera();
  EXPECT_EQ(occurrences(seen, "-> 7 GET_AE\n"), 1);
  EXPECT_EQ(occurrences(seen, "-> 6 GET_CAMERA_STATUS\n"), answered);
}

TEST_F(Fleet, ShowsABridgeThatWasKilledAsOfflineAndLetsTheNextOneIn) {
  TestClient client(address(), {kPresence});
  client.wait_for(kPresence, "online");
  const auto killed = Clock::now();
  bridge->signal(SIGKILL);
  const auto next = start_bridge();  // finds the retained "online" of the dead one
  EXPECT_LE(client.wait_for(kPresence, "offline") - killed, std::chrono::seconds(6));
  next->read_until("serves ");
  client.wait_for(kPresence, "online");
}

TEST_F(Fleet, ShowsABridgeThatStandsStillAsOffline) {
  TestClient client(address(), {kPresence});
  client.wait_for(kPresence, "online");
  const auto stopped = Clock::now();
  bridge->signal(SIGSTOP);
  EXPECT_LE(client.wait_for(kPresence, "offline") - stopped, std::chrono::seconds(20));
}

TEST_F(Fleet, ShowsABridgeThatWasEndedAsOfflineAtOnce) {
  TestClient client(address(), {kPresence});
  client.wait_for(kPresence, "online");
  bridge->signal(SIGTERM);
  EXPECT_EQ(bridge->wait(), 0);
  client.wait_for(kPresence, "offline");
  EXPECT_NE(bridge->read_all().find("vlm_bus_bridge: asked "), std::string::npos);
}

TEST_F(Fleet, EndsASecondBridgeWithAClearMessage) {
  ASSERT_EQ(probe("20000"), 0);
  const auto second = start_bridge();
  EXPECT_EQ(second->wait(), 1);
  const std::string errors = second->errors();
  EXPECT_EQ(errors.rfind("vlm_bus_bridge: another bridge (", 0), 0U) << errors;
  EXPECT_NE(errors.find(") serves " + address() + "\n"), std::string::npos) << errors;
  EXPECT_EQ(probe("0"), 0);
}

TEST_F(Fleet, ShowsASilentCameraAndThatItIsBack) {
  TestClient client(address(), {kPresence});
  client.wait_for(kPresence, "online");
  camera->signal(SIGKILL);
  camera->wait();
  start({"vlm_test", "6"}, {"VLM_BUS=" + address()})->wait();
  client.wait_for(kPresence, "silent");
  camera = start({"camera_sim"}, local());
  client.wait_for(kPresence, "online");
}

TEST_F(Fleet, IsReachedByOneProgramWithSeveralCameras) {
  ASSERT_EQ(probe("20000"), 0);
  const auto second_camera = start({"camera_sim", "--verbose"}, second_bus());
  second_camera->read_until("camera_sim: ready");
  const auto second_bridge =
      start({"vlm_bus_bridge", "--broker", broker.address("second")}, second_bus());
  second_bridge->read_until("serves ");
  vlm::client::ThreadScheduler scheduler;
  vlm::client::RemoteFault fault;
  const auto first = vlm::client::reach_camera(address(), kPlenty, fault);
  const auto second = vlm::client::reach_camera(broker.address("second"), kPlenty, fault);
  ASSERT_TRUE(first && second) << fault.text;
  vlm::client::CameraClient one(*first, scheduler);
  vlm::client::CameraClient other(*second, scheduler);
  const auto ev = vlm::catalogue::find("exposure.ev");
  ASSERT_TRUE(ev);
  for (auto* const client : {&one, &other}) {
    const auto answer = vlm::client::await([&](auto done) { client->get(*ev->row, done); });
    EXPECT_EQ(answer.outcome, vlm::client::Outcome::kDone);
  }
  EXPECT_EQ(occurrences(end_camera(), "-> 9 GET_EV\n"), 1);
  second_camera->signal(SIGTERM);
  EXPECT_EQ(occurrences(second_camera->read_all(), "-> 9 GET_EV\n"), 1);
}

TEST_F(Fleet, TellsWhatIsWrongWithAnAddress) {
  const std::string wrong = "mqtt://127.0.0.1:x/lab/cam";
  const std::string told =
      "cannot use the bus " + wrong + ": the port is no number from 1 to 65535\n";
  const auto vlmctl = start({"vlmctl", "--camera", wrong, "get", "camera.mode"}, {});
  EXPECT_EQ(vlmctl->wait(), 2);
  EXPECT_EQ(vlmctl->errors(), "vlmctl: " + told);
  const auto console = start({"vlm_test", "6"}, {"VLM_BUS=" + wrong});
  EXPECT_NE(console->read_all().find("failed with:"), std::string::npos);
  EXPECT_EQ(console->errors(), "vlm_bus: " + told);
}

TEST_F(Fleet, TellsThatACameraIsNotThere) {
  const auto vlmctl =
      start({"vlmctl", "--camera", broker.address("nobody"), "get", "camera.mode"}, {});
  EXPECT_EQ(vlmctl->wait(), 7);
  EXPECT_EQ(vlmctl->errors(), "vlmctl: no camera nobody on " + broker.address("nobody") + "\n");
}

TEST_F(Fleet, TellsWhichPackageIsMissing) {
  std::filesystem::copy(program("vlmctl"), directory / "vlmctl");
  std::filesystem::copy(program("vlm_test"), directory / "vlm_test");
  const std::string told = "brokers need the package vlm-fleet: ";
  Process vlmctl({directory / "vlmctl", "--camera", address(), "get", "camera.mode"});
  EXPECT_EQ(vlmctl.wait(), 7);
  EXPECT_EQ(vlmctl.errors().rfind("vlmctl: " + told, 0), 0U) << vlmctl.errors();
  Process console({directory / "vlm_test", "6"}, {"VLM_BUS=" + address()});
  EXPECT_NE(console.read_all().find("failed with:"), std::string::npos);
  EXPECT_EQ(console.errors().rfind("vlm_bus: " + told, 0), 0U) << console.errors();
}

/// What vlmctl does with all cameras of a site.
class Site : public Fleet {
 protected:
  void SetUp() override {
    fleet = start({"camera_sim", "--fleet", "11", "--camera-prefix", "lab-"},
                  {"VLM_BUS=" + broker.address("")});
    fleet->read_until("camera_sim: ready");
  }
  /// Ends with the exit status `status`.
  void run(std::vector<std::string> words, int status) {
    words.insert(words.begin(), "vlmctl");
    const auto vlmctl = start(words, {"VLM_BUS=" + broker.address("")});
    vlmctl->close_input();
    out = vlmctl->read_all();
    EXPECT_EQ(vlmctl->wait(), status) << vlmctl->errors();
    err = vlmctl->errors();
  }

  std::unique_ptr<Process> fleet;
  std::string out;
  std::string err;
};

TEST_F(Site, ListsItsCamerasInTheOrderOfTheirNumbers) {
  std::string all;
  std::string as_json;
  for (int i = 1; i <= 11; ++i) {
    std::string name = "lab-" + std::to_string(i);
    as_json += R"({"camera":")" + name + R"(","presence":"online"})" + '\n';
    name.resize(34, ' ');
    all += name + "  online\n";
  }
  run({"--site", broker.address(""), "list", "--cameras"}, 0);
  EXPECT_EQ(out, all);
  run({"--site", "test", "--json", "list", "--cameras"}, 0);
  EXPECT_EQ(out, as_json);
}

TEST_F(Site, RunsACommandOnAllItsCameras) {
  std::string all;
  for (int i = 1; i <= 11; ++i) all += "lab-" + std::to_string(i) + ": lens.zoom = 1 x\n";
  run({"--site", "test", "--all-cameras", "get", "lens.zoom"}, 0);
  EXPECT_EQ(out, all);
  EXPECT_EQ(err, "vlmctl: 11 cameras: 11 done, 0 failed\n");
}

TEST_F(Site, TakesItsOptionsInAnyOrder) {
  run({"--timeout", "2s", "--all-cameras", "--site=test", "get", "lens.zoom"}, 0);
  EXPECT_EQ(occurrences(out, ": lens.zoom = 1 x\n"), 11);
  run({"--site", "test", "get", "--all-cameras", "lens.zoom"}, 0);
  EXPECT_EQ(occurrences(out, ": lens.zoom = 1 x\n"), 11);
}

TEST_F(Site, TellsOfEachCameraThatFailed) {
  bridge = start_bridge_of("lab-20");
  bridge->signal(SIGTERM);
  bridge->wait();
  run({"--site", "test", "--all-cameras", "get", "lens.zoom"}, 9);
  EXPECT_EQ(occurrences(out, ": lens.zoom = 1 x\n"), 11);
  EXPECT_EQ(err, "vlmctl: lab-20: no camera lab-20 on " + broker.address("lab-20") +
                     "\nvlmctl: 12 cameras: 11 done, 1 failed\n");
  run({"--site", "test", "--all-cameras", "--json", "get", "lens.zoom"}, 9);
  EXPECT_EQ(occurrences(out, R"({"camera":"lab-)"), 12);
  EXPECT_EQ(occurrences(out, R"(,"status":0,"results":[{)"), 11);
  EXPECT_NE(out.find(R"({"camera":"lab-20","status":7,"results":[)"), std::string::npos) << out;
}

TEST_F(Site, TellsWhatIsWrongWithTheCommandLine) {
  run({"--site", "a b", "list", "--cameras"}, 2);
  EXPECT_EQ(
      err,
      "vlmctl: --site takes mqtts://HOST/SITE, or SITE where VLM_BUS names the broker, not 'a "
      "b'\n");
  run({"--site"}, 2);
  run({"--site", "test", "--all-cameras"}, 2);
  EXPECT_EQ(err, "vlmctl: no command given, vlmctl --help lists them\n");
  run({"--site", "test", "--camera", "local", "--all-cameras", "get", "lens.zoom"}, 2);
  EXPECT_EQ(err, "vlmctl: --site and --camera exclude each other\n");
  run({"--site", "test", "get", "lens.zoom"}, 2);
  EXPECT_EQ(err, "vlmctl: --site is for list --cameras, or with --all-cameras for a command\n");
  run({"--site", "elsewhere", "list", "--cameras"}, 7);
  EXPECT_EQ(err, "vlmctl: no camera on mqtt://127.0.0.1:" + std::to_string(broker.port()) +
                     "/elsewhere\n");
}

/// For a picture.
BrokerMessage photo_request() {
  udp_ctrl_cam_t record{};
  record.cmd_type = UDP_CTRL_CAM_TAKE_PHOTO;
  const auto packet = vlm::bus::camera_packet_from(kReplyChannel, record);
  BrokerMessage request;
  request.topic = kRequest;
  request.payload.assign(reinterpret_cast<const char*>(&packet), 64 + 257);
  request.response_topic = kReply;
  request.correlation = "1";
  request.expiry_s = 3;
  return request;
}

void expect_refused_as_too_old(TestClient& client) {
  const BrokerMessage reply = client.next(kReply);
  EXPECT_EQ(reply.property("refused"), "too old");
  EXPECT_EQ(vlm::bus::read_record<udp_ctrl_cam_t>(reply.payload.data(), reply.payload.size(), 65)
                .err_code,
            VLM_ERR_IS_TIMEOUT);
}

TEST_F(Fleet, DoesNothingLateThatGatheredWhileTheBridgeStood) {
  TestClient client(address(), {kPresence, kReply});
  client.wait_for(kPresence, "online");
  bridge->stop();
  ASSERT_TRUE(client.publish(photo_request()));
  // The length of the standstill is what is tested: more than the second that goes unnoticed.
  std::this_thread::sleep_for(std::chrono::seconds(2));
  bridge->resume();
  expect_refused_as_too_old(client);
  EXPECT_EQ(occurrences(end_camera(), "TAKE_PHOTO"), 0);
}

TEST_F(Fleet, DoesNothingLateThatGatheredWhileTheBrokerStood) {
  TestClient client(address(), {kPresence, kReply});
  client.wait_for(kPresence, "online");
  broker.stop();
  ASSERT_TRUE(client.publish(photo_request()));
  // Likewise: more than the 3 s for which a request is worth doing.
  std::this_thread::sleep_for(std::chrono::milliseconds(3500));
  broker.resume();
  expect_refused_as_too_old(client);
  EXPECT_EQ(occurrences(end_camera(), "TAKE_PHOTO"), 0);
}

TEST_F(Fleet, RefusesWithThePermissionThatIsMissing) {
  bridge->signal(SIGTERM);
  bridge->wait();
  bridge =
      start({"vlm_bus_bridge", "--broker", address(), "--read-only", "--deny", "31,39"}, local());
  ASSERT_EQ(probe("20000"), 0);
  const auto result = [this](const char* code) {
    return start({"vlm_test", code}, {"VLM_BUS=" + address()})->read_all();
  };
  EXPECT_NE(result("1").find("Recv GET_CAMERA_MODE Ack OK"), std::string::npos);
  EXPECT_NE(result("3").find("failed with: VLM permission denied"), std::string::npos);
  EXPECT_NE(result("31").find("failed with: VLM permission denied"), std::string::npos);
  EXPECT_EQ(occurrences(end_camera(), "TAKE_PHOTO"), 0);
}

}  // namespace
