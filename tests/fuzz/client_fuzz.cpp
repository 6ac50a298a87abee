// Packets of the bus, and time, into the client of vlmctl while it asks.
//
// Input: steps. A byte says which:
//   0  asks to read a row, 1 to run one; the number of the row (2 bytes)
//   2  sends a code (2 bytes) with parameters (1 byte their number)
//   3  a packet comes: its size (2 bytes) and its bytes
//   4  a reply to what was asked last comes: its result (1 byte), the number of its parameters (1 byte)
//      and the parameters
//   5  so many hundredths of a second pass (1 byte)
//   6  all is given up
#include <cstring>
#include <map>

#include "camera_client.h"
#include "catalogue_text.h"
#include "fuzz_input.h"

using namespace vlm;
using namespace vlm::client;

namespace {

/// Keeps the last packet.
class FuzzTransport : public Transport {
 public:
  bool publish(const userlcm_packet_t& packet, unsigned int length) override {
    must(length <= sizeof packet.msg_buf, "no message is too long");
    last = packet;
    return true;
  }
  void listen(Receiver its_receiver) override { receiver = std::move(its_receiver); }

  userlcm_packet_t last{};
  Receiver receiver;
};

class FuzzScheduler : public Scheduler {
 public:
  TimePoint now() const override { return _now; }
  Id after(std::chrono::milliseconds delay, Action action) override {
    _actions.emplace(std::pair(_now + delay, ++_last), std::move(action));
    return _last;
  }
  void cancel(Id id) override {
    for (auto each = _actions.begin(); each != _actions.end();) {
      each = each->first.second == id ? _actions.erase(each) : std::next(each);
    }
  }
  void pass(std::chrono::milliseconds time) {
    const TimePoint end = _now + time;
    while (!_actions.empty() && _actions.begin()->first.first <= end) {
      auto first = _actions.extract(_actions.begin());
      _now = first.key().first;
      first.mapped()();
    }
    _now = end;
  }

 private:
  TimePoint _now{};
  Id _last = 0;
  std::map<std::pair<TimePoint, Id>, Action> _actions;
};

class Session {
 public:
  void step(FuzzInput& input) {
    switch (input.byte() % 7) {
      case 0: {
        const catalogue::Row& row = row_of(input);
        _client.get(row, ends(&row));
        break;
      }
      case 1: _client.run(row_of(input), ends(nullptr)); break;
      case 2: send(input); break;
      case 3: deliver(input.bytes(input.word())); break;
      case 4: answer(input); break;
      case 5: _time.pass(std::chrono::milliseconds(10 * input.byte())); break;
      default: _client.give_up();
    }
  }

  /// Whatever came, each request ends.
  void end() {
    _time.pass(std::chrono::hours(1));
    for (const bool ended : _ended) must(ended, "each request ends");
  }

 private:
  static const catalogue::Row& row_of(FuzzInput& input) {
    return catalogue::rows().begin()[input.word() % catalogue::rows().size()];
  }

  CameraClient::Done ends(const catalogue::Row* row) {
    const std::size_t number = _ended.size();
    _ended.push_back(false);
    return [this, row, number](const Answer& answer) {
      must(!_ended[number], "a request ends once");
      _ended[number] = true;
      must(answer.done() == (answer.outcome == Outcome::kDone && answer.error == 0),
           "a success has no error");
      if (answer.done() && row != nullptr) catalogue::format(row->value, answer.value);
    };
  }

  void send(FuzzInput& input) {
    const std::uint16_t code = input.word();
    catalogue::Payload payload{};
    const auto bytes = input.bytes(std::min<std::size_t>(input.byte(), payload.size()));
    std::copy(bytes.begin(), bytes.end(), payload.begin());
    _client.send(code, payload, ends(nullptr));
  }

  void deliver(const std::vector<std::uint8_t>& packet) {
    if (_transport.receiver) _transport.receiver(packet.data(), packet.size());
  }

  void answer(FuzzInput& input) {
    std::vector<std::uint8_t> packet(sizeof(userlcm_packet_t));
    std::memcpy(packet.data(), &_transport.last, packet.size());
    std::memcpy(packet.data(), kRequestChannel, sizeof kRequestChannel);
    constexpr std::size_t kRecord = offsetof(userlcm_packet_t, msg_buf) + 1;
    packet[kRecord + offsetof(udp_ctrl_cam_t, err_code)] = input.byte();
    const auto bytes = input.bytes(std::min<std::size_t>(input.byte(), 128));
    std::copy(bytes.begin(), bytes.end(),
              packet.begin() + kRecord + offsetof(udp_ctrl_cam_t, cmd_params));
    deliver(packet);
  }

  std::vector<bool> _ended;  // of each request
  FuzzTransport _transport;
  FuzzScheduler _time;
  CameraClient _client{_transport, _time};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  Session session;
  constexpr int kMostSteps = 300;  // more than the client lets wait
  for (int steps = 0; steps < kMostSteps && !input.empty(); ++steps) session.step(input);
  session.end();
  return 0;
}
