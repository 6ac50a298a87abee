// The engine in random scenarios against a plain model of it: several callers, replies of every kind
// at any moment, time-outs and wake-ups without a reason, step by step on a clock of the test's own.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <set>

#include "fibers.h"
#include "lcm_request.h"
#include "lcm_request_peer.h"
#include "silence.h"

namespace {

using std::chrono::milliseconds;

constexpr int kCallers = 3;
constexpr int kNone = -1;
constexpr milliseconds kTurn{3000};

// The commands of the scenarios: GET_CAMERA_STATUS, which waits 500 ms, two more with an answer, and
// one without.
constexpr int kCodes[] = {6, 1, 7, 3};

/// What the engine is to do, in terms of what is seen from outside.
struct Reference {
  bool busy = false;
  Fiber* owner = nullptr;
  int sent = kNone;
  int received = kNone;
  int code = 0;       // m_err_code; meaningful when a reply has been recorded
  std::set<int> own;  // results in replies with the sent code since it was sent
  std::chrono::nanoseconds published{};
  u8 cam_mode = 0;
  u8 ae_mode = 0;
  u8 video_status = 0;

  milliseconds time_out() const { return milliseconds(sent == 6 ? 500 : 3000); }
  bool answered() const { return sent != kNone && received == sent; }

  void receive(const udp_ctrl_cam_t& reply) {
    if (!busy) return;
    if (reply.err_code == 0) store(reply.cmd_type, reply.cmd_params[0]);
    if (sent == reply.cmd_type) own.insert(reply.err_code);
    // The own reply stays what it is; of several, any may count.
    if (answered()) return;
    received = reply.cmd_type;
    code = reply.err_code;
  }

  void store(int cmd, u8 value) {
    switch (cmd) {
      case 1: cam_mode = value; break;
      case 6: video_status = value == 3 ? 1 : value == 2 ? 2 : 0; break;
      case 7: ae_mode = value; break;
      default: break;
    }
  }

  void release() {
    busy = false;
    owner = nullptr;
    sent = received = kNone;
    own.clear();
  }
};

class Scenario;
Scenario* scenario;  // whose requests the bus carries

class Scenario {
 public:
  explicit Scenario(std::uint32_t seed) : _random(seed) {
    scenario = this;
    _fibers.reset(seed);
    for (int i = 0; i < kCallers; ++i) _fibers.add([this] { call(); });
  }
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;

  /// False, after a message, when engine and reference part.
  bool run(int steps) {
    for (_step = 0; _step < steps && !testing::Test::HasFailure(); ++_step) {
      take_step();
      compare();
    }
    finish();
    return !testing::Test::HasFailure();
  }

  int step() const { return _step; }
  int requests() const { return _requests; }
  int time_outs() const { return _time_outs; }
  int refusals() const { return _refusals; }

  /// A request on the bus; its sender runs.
  void publish(const udp_ctrl_cam_t& request) {
    EXPECT_EQ(_reference.owner, _fibers.current());
    _reference.sent = request.cmd_type;
    _reference.published = _fibers.now();
    _late.push_back(request.cmd_type);
  }

 private:
  u32 below(u32 limit) { return static_cast<u32>(_random() % limit); }
  int any_code() { return kCodes[below(std::size(kCodes))]; }

  /// A caller's life.
  void call() {
    while (!_stopping) {
      while (below(2) == 0) _fibers.yield();
      const auto called = _fibers.now();
      _in_line[_fibers.current()] = called;
      const bool ready = _engine.get_ready("scenario");
      _in_line.erase(_fibers.current());
      if (!ready) {
        ++_refusals;
        EXPECT_TRUE(_reference.busy) << "refused by an idle engine";
        EXPECT_GE(_fibers.now() - called, kTurn) << "refused too early";
        continue;
      }
      EXPECT_FALSE(_reference.busy) << "two callers have the engine";
      _reference.busy = true;
      _reference.owner = _fibers.current();
      while (below(3) == 0) _fibers.yield();
      request(any_code());
    }
  }

  void request(int code) {
    ++_requests;
    udp_ctrl_cam_t record{};
    record.cmd_type = static_cast<u16>(code);
    int result = kNone;
    const bool success = _engine.send_and_wait(record, &result);
    EXPECT_EQ(success, result == 0);
    if (_reference.answered()) {
      // Recorded before it was sent, or since.
      EXPECT_TRUE(_reference.own.empty() ? result == _reference.code
                                         : _reference.own.count(result) == 1)
          << "the reply said otherwise than " << result;
    } else {
      ++_time_outs;
      EXPECT_EQ(result, VLM_ERR_IS_TIMEOUT) << "an outcome that did not happen";
      EXPECT_GE(_fibers.now() - _reference.published, _reference.time_out());
    }
    _reference.release();
    EXPECT_TRUE(_in_line.empty() || any([this](const Fiber& one) { return next_in_line(one); }))
        << "an idle engine has woken nobody";
  }

  void take_step() {
    switch (below(16)) {
      case 0: deliver(any_code()); break;
      case 1:
        if (_reference.sent != kNone) deliver(_reference.sent);
        break;
      case 2: deliver_late(); break;
      case 3: wake_for_no_reason(); break;
      case 4:
      case 5: _fibers.pass(milliseconds(below(4) == 0 ? below(4000) : below(50))); break;
      default: run_one(); break;
    }
  }

  void deliver(int code) {
    udp_ctrl_cam_t reply{};
    reply.cmd_type = static_cast<u16>(code);
    reply.cmd_params[0] = static_cast<u8>(below(5));
    reply.err_code = static_cast<u16>(below(2) == 0 ? 0 : 1 + below(30));
    _reference.receive(reply);
    _engine.receive_msg(reply);
  }

  /// The reply to any request that was ever sent.
  void deliver_late() {
    if (_late.empty()) return;
    const std::size_t at = below(static_cast<u32>(_late.size()));
    const int code = _late[at];
    _late.erase(_late.begin() + static_cast<std::ptrdiff_t>(at));
    deliver(code);
  }

  template <typename Condition>
  Fiber* any(Condition condition) {
    std::vector<Fiber*> found;
    for (const auto& fiber : _fibers.all()) {
      if (condition(*fiber)) found.push_back(fiber.get());
    }
    return found.empty() ? nullptr : found[below(static_cast<u32>(found.size()))];
  }

  void wake_for_no_reason() {
    if (Fiber* const fiber = any([](const Fiber& one) { return one.waits(); }))
      _fibers.wake(*fiber);
  }

  void run_one() {
    if (Fiber* const fiber = any([](const Fiber& one) { return one.runnable(); })) {
      _fibers.resume(*fiber);
    }
  }

  void compare() {
    EXPECT_EQ(LcmRequestPeer::state(_engine),
              _reference.busy ? LcmRequest::BUSY : LcmRequest::IDLE);
    EXPECT_EQ(LcmRequestPeer::last_sent(_engine), _reference.sent);
    EXPECT_EQ(LcmRequestPeer::last_received(_engine), _reference.received);
    const LcmRequest::Data data = LcmRequestPeer::data(_engine);
    EXPECT_EQ(data.cam_mode, _reference.cam_mode);
    EXPECT_EQ(data.ae_mode, _reference.ae_mode);
    EXPECT_EQ(data.video_status, _reference.video_status);
    if (_reference.answered()) {
      EXPECT_FALSE(_reference.owner->waits()) << "a reply has woken nobody";
    }
    if (_reference.busy && _reference.owner->waits()) {
      EXPECT_LT(_fibers.now() - _reference.published, _reference.time_out()) << "waits too long";
    }
    for (const auto& [fiber, called] : _in_line) {
      const bool in_time = !fiber->waits() || _fibers.now() - called < kTurn;
      EXPECT_TRUE(in_time) << "stands in line too long";
    }
  }

  bool next_in_line(const Fiber& fiber) const {
    return fiber.runnable() && _in_line.count(&fiber) == 1;
  }

  /// Every caller comes to its end when nothing arrives any more.
  void finish() {
    _stopping = true;
    for (int turn = 0; turn < 1000 && any([](const Fiber& one) { return !one.done(); }); ++turn) {
      run_one();
      _fibers.pass(milliseconds(500));
    }
    EXPECT_EQ(any([](const Fiber& one) { return !one.done(); }), nullptr) << "a caller is stuck";
    EXPECT_EQ(LcmRequestPeer::state(_engine), LcmRequest::IDLE);
  }

  Fibers& _fibers = Fibers::instance();
  std::mt19937 _random;
  LcmRequest _engine;
  Reference _reference;
  std::map<const Fiber*, std::chrono::nanoseconds> _in_line;  // since when, behind the owner
  std::vector<int> _late;  // codes of requests whose reply may still come
  bool _stopping = false;
  int _step = 0;
  int _requests = 0;
  int _time_outs = 0;
  int _refusals = 0;
};

TEST(LcmRequestScenarios, AMillionRandomStepsAgreeWithTheReference) {
  constexpr int kSteps = 100'000;
  for (std::uint32_t seed = 1; seed <= 10; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Scenario run(seed);
    bool agreed;
    {
      const Silence silence;
      agreed = run.run(kSteps);
    }
    ASSERT_TRUE(agreed) << "at step " << run.step();
    // The scenarios are rich enough to mean anything.
    EXPECT_GT(run.requests(), 1000);
    EXPECT_GT(run.time_outs(), 100);
    EXPECT_GT(run.refusals(), 10);
  }
}

}  // namespace

int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned int, const char*) {
  udp_ctrl_cam_t request;
  std::memcpy(&request, packet->msg_buf + 1, sizeof request);
  scenario->publish(request);
  return 0;
}

void* register_lcm_message(Receive_msg_t*) { return nullptr; }
