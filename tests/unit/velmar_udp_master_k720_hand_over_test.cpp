// The hand-over from the receiving to the processing thread, judged by what the camera saw: each
// datagram is executed exactly once and answered, or it is refused and never executed.

#include <gtest/gtest.h>
#include <poll.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "camctrl_app.h"
#include "camctrl_service.h"
#include "scripted_bus.h"
#include "silence.h"
#include "transcript.h"

namespace {

constexpr int kGetCameraMode = 4121;
constexpr int kGetCameraType = 4096;
constexpr int kFormatSdCard = 25;
constexpr int kSetEv = 15;
constexpr int kUnsupported = 1;
constexpr int kBusy = 2;
constexpr int kProtocol = 27;

/// How many commands may wait, as the header of the service says.
constexpr int kPlaces = 8;

Bytes broken(Bytes request) {
  request.back() = static_cast<u8>(request.back() ^ 1);
  return request;
}

Bytes set_ev(int value) {
  return camctrl_request(kSetEv, {static_cast<u8>(value), static_cast<u8>(value >> 8)});
}

// --- Step by step: the processing thread has not woken yet ---

class UdpServiceHandOver : public testing::Test {
 protected:
  UdpServiceHandOver() : _service(*new UdpMasterK720) {  // its threads never end
    if (_service.init_udp_server() != 0) throw std::runtime_error("no service");
    run(UdpMasterK720::receive_commands_from_apps, "RCVCMD");
    ScriptedBus::instance().reset();
  }

  void start_processing() { run(UdpMasterK720::process_commands_from_apps, "PCCMD"); }

  int port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(UdpMasterK720Peer::fd(_service), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
  }

  /// The codes of the camera commands that the camera has seen, with their first 16 bits of data.
  static std::vector<std::pair<int, int>> seen_by_camera() {
    std::vector<std::pair<int, int>> seen;
    for (const Published& one : ScriptedBus::instance().published()) {
      const udp_ctrl_cam_t record = one.record();
      seen.emplace_back(record.cmd_type, record.cmd_params[0] | record.cmd_params[1] << 8);
    }
    return seen;
  }

  UdpMasterK720& _service;

 private:
  void run(void* (*body)(void*), const char* name) {
    if (UdpMasterK720::udp_create_detach_pthread(body, &_service, name) != 0) {
      throw std::runtime_error("no thread");
    }
  }
};

using Seen = std::vector<std::pair<int, int>>;

TEST_F(UdpServiceHandOver, ExecutesWhatWasCheckedWhenABadDatagramFollows) {
  const Transcript transcript;
  const CamctrlApp app(port());
  const Bytes bad = broken(camctrl_request(kFormatSdCard));
  ScriptedBus::instance().answer({2});
  app.send(camctrl_request(kGetCameraMode));
  EXPECT_EQ(app.ask(bad), camctrl_error_reply(bad, kProtocol));
  start_processing();
  EXPECT_EQ(app.receive(), camctrl_reply(kGetCameraMode, 0, {2}));
  settle(_service);
  EXPECT_EQ(seen_by_camera(), (Seen{{UDP_CTRL_CAM_GET_CAMERA_MODE, 0}}));
}

TEST_F(UdpServiceHandOver, ExecutesWhatWasCheckedWhenOneFlippedBitMakesItAnotherCommand) {
  const Transcript transcript;
  const CamctrlApp app(port());
  Bytes flipped = camctrl_request(kGetCameraMode);
  flipped.at(6) = 0;
  flipped.at(7) = kFormatSdCard;  // 4121 is 0x1019, 25 is 0x0019: one bit of difference
  app.send(camctrl_request(kGetCameraMode));
  EXPECT_EQ(app.ask(flipped), camctrl_error_reply(flipped, kProtocol));
  start_processing();
  EXPECT_EQ(app.receive().at(6), 0x10);
  settle(_service);
  EXPECT_EQ(seen_by_camera(), (Seen{{UDP_CTRL_CAM_GET_CAMERA_MODE, 0}}));
}

TEST_F(UdpServiceHandOver, ExecutesEachOfTwoValidDatagramsOnceAndInTurn) {
  const Transcript transcript;
  const CamctrlApp app(port());
  const Bytes bad = broken(camctrl_request(kGetCameraType));
  app.send(set_ev(3));
  app.send(camctrl_request(0));
  app.send(set_ev(4));
  EXPECT_EQ(app.ask(bad), camctrl_error_reply(bad, kProtocol))
      << "now the others have been checked";
  start_processing();
  EXPECT_EQ(app.receive(), camctrl_reply(kSetEv, 0));
  EXPECT_EQ(app.receive(), camctrl_reply(0, kUnsupported));
  EXPECT_EQ(app.receive(), camctrl_reply(kSetEv, 0));
  settle(_service);
  EXPECT_EQ(seen_by_camera(),
            (Seen{{UDP_CTRL_CAM_SET_PARAMS_EV, 3}, {UDP_CTRL_CAM_SET_PARAMS_EV, 4}}));
}

TEST_F(UdpServiceHandOver, RefusesWhatFindsNoPlaceAndExecutesTheRest) {
  const Transcript transcript;
  const CamctrlApp app(port());
  Seen expected;
  for (int value = 0; value < kPlaces; ++value) {
    app.send(set_ev(value));
    expected.emplace_back(UDP_CTRL_CAM_SET_PARAMS_EV, value);
  }
  const Bytes late = set_ev(kPlaces);
  EXPECT_EQ(app.ask(late), camctrl_error_reply(late, kBusy));
  EXPECT_EQ(app.ask(broken(late)), camctrl_error_reply(broken(late), kProtocol))
      << "what is wrong is told so, place or none";
  EXPECT_NE(without_places(transcript.text()).find("@receive_commands_from_apps: VLM_ERR_BUSY\n"),
            std::string::npos);
  start_processing();
  for (int i = 0; i < kPlaces; ++i) EXPECT_EQ(app.receive(), camctrl_reply(kSetEv, 0)) << i;
  settle(_service);
  EXPECT_EQ(seen_by_camera(), expected);
  EXPECT_EQ(app.ask(set_ev(99)), camctrl_reply(kSetEv, 0)) << "its places are free again";
}

TEST_F(UdpServiceHandOver, SendsTheRepliesOfAllThatWaitedToTheLatestSender) {
  const Transcript transcript;
  const CamctrlApp first(port());
  const CamctrlApp second(port());
  const Bytes bad = broken(camctrl_request(kGetCameraType));
  first.send(set_ev(1));
  EXPECT_EQ(second.ask(bad), camctrl_error_reply(bad, kProtocol));
  start_processing();
  EXPECT_EQ(second.receive(), camctrl_reply(kSetEv, 0));
  settle(_service);
  Bytes none;
  EXPECT_FALSE(first.socket().poll(none));
}

TEST_F(UdpServiceHandOver, ExecutesTheSlotForAHostThatHandedNothingOver) {
  const Transcript transcript;
  const CamctrlApp app(port());
  const Bytes bad = broken(camctrl_request(kGetCameraType));
  EXPECT_EQ(app.ask(bad), camctrl_error_reply(bad, kProtocol));
  settle(_service);
  _service.udp_lock();
  EXPECT_EQ(_service.process_camera_functions_and_reply(), 0);
  _service.udp_unlock();
  EXPECT_EQ(app.receive(), camctrl_reply(kGetCameraType, 0, {11}));
}

// Between the writing of the slot and the check the receiving thread takes no lock that this one
// releases, so that only the slot's own orders the two: a thread sanitizer sees when it is missing.
TEST_F(UdpServiceHandOver, SlotIsWrittenUnderItsLock) {
  const Transcript transcript;
  const CamctrlApp app(port());
  pthread_mutex_t& mutex = UdpMasterK720Peer::mutex(_service);
  pthread_mutex_lock(&mutex);
  app.send(camctrl_request(kGetCameraType));
  const std::string received = byte_dump(camctrl_request(kGetCameraType));
  while (transcript.text().find(received) == std::string::npos) std::this_thread::yield();
  EXPECT_EQ(_service.process_camera_functions_and_reply(), 0);
  pthread_mutex_unlock(&mutex);
  EXPECT_EQ(app.receive(), camctrl_reply(kGetCameraType, 0, {11}));
  start_processing();
  EXPECT_EQ(app.receive(), camctrl_reply(kGetCameraType, 0, {11})) << "the datagram itself";
  settle(_service);
}

// --- At full speed: thousands of datagrams sent back to back ---

constexpr int kRounds = 10000;

/// A bit that no valid value has.
constexpr int kFlipped = 0x8000;

/// Four commands that carry a 16-bit number to the camera: one for each place in a round, so that
/// a reply tells which datagram it answers.
struct Carrier {
  int option;
  int code;  // of the camera's command
};
constexpr std::array<Carrier, 4> kCarriers{{{15, UDP_CTRL_CAM_SET_PARAMS_EV},
                                            {17, UDP_CTRL_CAM_SET_ISO},
                                            {16, UDP_CTRL_CAM_SET_SHUTTER},
                                            {36, UDP_CTRL_CAM_SET_SPOT_METERING_COORDS}}};

Bytes request(const Carrier& carrier, int value) {
  const u8 low = static_cast<u8>(value);
  const u8 high = static_cast<u8>(value >> 8);
  if (carrier.option == 17) return camctrl_request(17, {0, 0, high, low});
  return camctrl_request(carrier.option, {low, high});
}

/// `value` with one bit changed on its way.
Bytes flipped(const Carrier& carrier, int value) {
  const Bytes right = request(carrier, value);
  Bytes bytes = request(carrier, value | kFlipped);
  bytes.at(bytes.size() - 2) = right.at(right.size() - 2);
  bytes.back() = right.back();
  return bytes;
}

/// One datagram and what became of it.
struct Sent {
  std::size_t carrier;
  int value;
  bool valid;
  int result = -1;
};

struct Tally {
  int valid = 0;
  int executed = 0;   // once, and told so
  int busy = 0;       // refused and never executed, valid or not
  int refused = 0;    // as wrong, and never executed
  int lost = 0;       // answered as executed, or not at all, and not seen by the camera
  int twice = 0;      // seen by the camera more than once
  int unchecked = 0;  // wrong, and seen by the camera
  int executed_but_refused = 0;
};

class UdpServicePairs : public testing::Test {
 protected:
  UdpServicePairs()
      : _service(start_camctrl_service()),
        _apps{CamctrlApp(UdpMasterK720Peer::port(_service)),
              CamctrlApp(UdpMasterK720Peer::port(_service))} {}

  /// A camera that counts what it sees. What `holds` names stays unanswered until the test does it.
  void start_camera(int holds = -1) {
    ScriptedBus::instance().reset();
    ScriptedBus::instance().answer(
        [this, holds](const udp_ctrl_cam_t& record) -> std::optional<udp_ctrl_cam_t> {
          const std::lock_guard<std::mutex> guard(_mutex);
          ++_seen[{record.cmd_type, record.cmd_params[0] | record.cmd_params[1] << 8}];
          if (record.cmd_type != holds) return camera_record(record.cmd_type);
          _held = true;
          _changed.notify_all();
          return std::nullopt;
        });
  }

  void wait_until_held() {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait_for(lock, std::chrono::seconds(20), [this] { return _held; });
    _held = false;
  }

  std::size_t any(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(_random);
  }

  void send(std::size_t app, Sent datagram) {
    const Carrier& carrier = kCarriers.at(datagram.carrier);
    _apps.at(app).send(datagram.valid ? request(carrier, datagram.value)
                                      : flipped(carrier, datagram.value));
    _sent.push_back(datagram);
  }

  /// Takes `count` replies to the last `latest` datagrams, whoever gets them; false when one is
  /// missing.
  bool collect(std::size_t count, std::size_t latest) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (std::size_t got = 0; got < count && std::chrono::steady_clock::now() < deadline;) {
      pollfd ready[] = {{_apps[0].socket().fd(), POLLIN, 0}, {_apps[1].socket().fd(), POLLIN, 0}};
      ::poll(ready, 2, 100);
      for (const CamctrlApp& app : _apps) {
        for (Bytes reply; app.socket().poll(reply); ++got) note(reply, latest);
      }
      if (got == count) return true;
    }
    return false;
  }

  Tally tally() {
    settle(_service);
    Tally all;
    for (const Sent& one : _sent) {
      const int code = kCarriers.at(one.carrier).code;
      const int seen = _seen[{code, one.valid ? one.value : one.value | kFlipped}];
      all.valid += one.valid;
      all.unchecked += !one.valid && seen > 0;
      all.twice += seen > 1;
      all.lost += one.valid && seen == 0 && one.result != kBusy;
      all.executed_but_refused += one.valid && seen > 0 && one.result != 0;
      all.executed += one.valid && seen == 1 && one.result == 0;
      all.busy += seen == 0 && one.result == kBusy;
      all.refused += !one.valid && seen == 0 && one.result == kProtocol;
    }
    return all;
  }

  void expect_right(const Tally& all) {
    EXPECT_EQ(all.unchecked, 0) << "wrong datagrams that the camera saw";
    EXPECT_EQ(all.lost, 0) << "valid ones that it never saw";
    EXPECT_EQ(all.twice, 0) << "valid ones that it saw more than once";
    EXPECT_EQ(all.executed_but_refused, 0);
    EXPECT_EQ(all.executed + all.busy + all.refused, static_cast<int>(_sent.size()));
    RecordProperty("executed", all.executed);
    RecordProperty("busy", all.busy);
    RecordProperty("refused", all.refused);
  }

  UdpMasterK720& _service;
  std::array<CamctrlApp, 2> _apps;
  std::mt19937 _random{720};

 private:
  /// An answer to one of the `latest` datagrams. One to none of them leaves another unanswered.
  void note(const Bytes& reply, std::size_t latest) {
    const int option = reply.at(6) << 8 | reply.at(7);
    for (std::size_t i = _sent.size() - latest; i < _sent.size(); ++i) {
      Sent& one = _sent[i];
      if (kCarriers.at(one.carrier).option == option && one.result == -1) {
        one.result = reply.at(4) << 8 | reply.at(5);
        return;
      }
    }
  }

  std::vector<Sent> _sent;
  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::map<std::pair<int, int>, int> _seen;
  bool _held = false;
};

TEST_F(UdpServicePairs, ValidAndBadBackToBack) {
  {
    const Silence silence;
    for (int round = 0; round < kRounds; ++round) {
      if (round % 500 == 0) start_camera();
      send(0, {0, round, true});
      send(any(2), {1, round, false});
      ASSERT_TRUE(collect(2, 2)) << round;
    }
  }
  expect_right(tally());
}

TEST_F(UdpServicePairs, ValidAndValidBackToBack) {
  {
    const Silence silence;
    for (int round = 0; round < kRounds; ++round) {
      if (round % 500 == 0) start_camera();
      send(0, {0, round, true});
      send(any(2), {1, round, true});
      ASSERT_TRUE(collect(2, 2)) << round;
    }
  }
  expect_right(tally());
}

TEST_F(UdpServicePairs, WithBusyInBetween) {
  {
    const Silence silence;
    for (int round = 0; round < kRounds; ++round) {
      if (round % 500 == 0) start_camera(kCarriers[0].code);
      send(0, {0, round, true});
      wait_until_held();
      send(any(2), {1, round, any(2) == 0});
      ASSERT_TRUE(collect(1, 1)) << round << ": busy";
      lcm_request.receive_msg(camera_record(kCarriers[0].code));
      send(any(2), {2, round, any(4) != 0});
      send(any(2), {3, round, any(4) != 0});
      ASSERT_TRUE(collect(3, 4)) << round;
    }
  }
  const Tally all = tally();
  EXPECT_GE(all.busy, kRounds);
  expect_right(all);
}

}  // namespace
