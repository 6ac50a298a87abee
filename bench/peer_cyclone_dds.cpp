// Cyclone DDS over the loopback, in two ways:
//
//   cyclone_dds           by listeners: the peer answers on the thread that received the request; the
//                         caller waits on a condition variable that the receiving thread rings, as B
//                         does. The quickest way.
//   cyclone_dds_waitset   both ends wait by wait sets, and take what has come themselves
//
// Best effort, which has no acknowledgements and may lose what finds no room; reliable, the first takes
// 3 % longer.
#include <dds/dds.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "peer_packet.h"
#include "peers.h"

namespace vlm::bench {
namespace {

static_assert(sizeof(PeerPacket) == kPacketSize, "as everybody's");

/// Nothing leaves this machine.
constexpr char kSettings[] =
    "<Domain><General><Interfaces><NetworkInterface name=\"lo\"/></Interfaces>"
    "<AllowMulticast>false</AllowMulticast></General>"
    "<Discovery><ParticipantIndex>auto</ParticipantIndex>"
    "<Peers><Peer address=\"127.0.0.1\"/></Peers></Discovery></Domain>";

/// Ends the program when a call of the library has failed.
int checked(int result, const char* what) {
  if (result >= 0) return result;
  std::fprintf(stderr, "%s: %s\n", what, dds_strretcode(-result));
  std::exit(1);
}

/// Writes one topic and reads another.
class End {
 public:
  End(const std::string& written, const std::string& read)
      : _participant(checked(dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr),
                             "dds_create_participant")),
        _writer(checked(dds_create_writer(_participant, topic(written), nullptr, nullptr),
                        "dds_create_writer")),
        _read(topic(read)) {}

  /// What comes is told to `listener`, or to nobody.
  dds_entity_t reader(const dds_listener_t* listener = nullptr) const {
    return checked(dds_create_reader(_participant, _read, nullptr, listener), "dds_create_reader");
  }

  /// A set that waits for what comes to `reader`.
  dds_entity_t wait_set(dds_entity_t reader) const {
    const dds_entity_t set = checked(dds_create_waitset(_participant), "dds_create_waitset");
    const dds_entity_t readable = dds_create_readcondition(reader, DDS_ANY_STATE);
    checked(dds_waitset_attach(set, checked(readable, "dds_create_readcondition"), 0),
            "dds_waitset_attach");
    return set;
  }

  void write(const PeerPacket& packet) const { checked(dds_write(_writer, &packet), "dds_write"); }

  /// Takes what has come; false when that was nothing.
  static bool take(dds_entity_t reader, PeerPacket& packet) {
    void* samples[] = {&packet};
    dds_sample_info_t info{};
    return checked(dds_take(reader, samples, &info, 1, 1), "dds_take") == 1 && info.valid_data;
  }

 private:
  dds_entity_t topic(const std::string& name) const {
    dds_qos_t* const qos = dds_create_qos();
    dds_qset_reliability(qos, DDS_RELIABILITY_BEST_EFFORT, 0);
    const dds_entity_t topic =
        dds_create_topic(_participant, &PeerPacket_desc, name.c_str(), qos, nullptr);
    dds_delete_qos(qos);
    return checked(topic, "dds_create_topic");
  }

  dds_entity_t _participant;
  dds_entity_t _writer;
  dds_entity_t _read;
};

class CycloneDds : public Contender {
 public:
  /// Asks until there is an answer: the ends have to find each other first.
  void start() override {
    constexpr std::chrono::milliseconds kRetry{10};
    _end = new End(_request_topic, _answer_topic);
    await_answers(*_end);
    do {
      ask();
    } while (!answered(kRetry));
  }

  void round_trip() override {
    constexpr std::chrono::seconds kMost{10};
    ask();
    if (!answered(kMost)) give_up("no answer");
  }

 protected:
  /// What the peer does with the requests, to its end.
  using Serve = void (*)(const End& end);

  explicit CycloneDds(Serve serve) {
    setenv("CYCLONEDDS_URI", kSettings, 1);
    start_peer([this, serve] { serve(End(_answer_topic, _request_topic)); });
  }

  virtual void await_answers(const End& end) = 0;
  /// Waits for the answer to the last request; false when it has not come within the time.
  virtual bool answered(std::chrono::milliseconds time) = 0;

  /// A request has a number, by which its answer is known.
  bool is_answer(const PeerPacket& packet) const {
    return std::memcmp(packet.bytes, _request.bytes, sizeof _asked) == 0;
  }

 private:
  void ask() {
    ++_asked;
    std::memcpy(_request.bytes, &_asked, sizeof _asked);
    _end->write(_request);
  }

  static std::string topic_of(const char* what) {
    static int topics = 0;  // everybody on this machine is in the same domain
    return what + std::to_string(getpid()) + '_' + std::to_string(++topics);
  }

  const std::string _request_topic = topic_of("vlm_bench_request_");
  const std::string _answer_topic = topic_of("vlm_bench_answer_");
  End* _end = nullptr;
  PeerPacket _request{};
  long _asked = 0;
};

class ByListener : public CycloneDds {
 public:
  ByListener() : CycloneDds(serve) {}
  const char* name() const override { return "cyclone_dds"; }

 private:
  static void listen(const End& end, dds_on_data_available_fn take, void* user) {
    dds_listener_t* const listener = dds_create_listener(user);
    dds_lset_data_available(listener, take);
    end.reader(listener);
  }

  static void serve(const End& end) {
    listen(end, answer, const_cast<End*>(&end));
    for (;;) pause();
  }

  static void answer(dds_entity_t reader, void* end) {
    for (PeerPacket packet{}; End::take(reader, packet);) {
      static_cast<const End*>(end)->write(packet);
    }
  }

  void await_answers(const End& end) override { listen(end, take_answers, this); }

  static void take_answers(dds_entity_t reader, void* user) {
    auto& self = *static_cast<ByListener*>(user);
    for (PeerPacket packet{}; End::take(reader, packet);) {
      if (self.is_answer(packet)) self._answered.ring();
    }
  }

  bool answered(std::chrono::milliseconds time) override { return _answered.wait_for(time); }

  Doorbell _answered;
};

class ByWaitSet : public CycloneDds {
 public:
  ByWaitSet() : CycloneDds(serve) {}
  const char* name() const override { return "cyclone_dds_waitset"; }

 private:
  /// False when nothing has come within the time.
  static bool wait(dds_entity_t set, dds_duration_t time) {
    dds_attach_t ready = 0;
    return checked(dds_waitset_wait(set, &ready, 1, time), "dds_waitset_wait") > 0;
  }

  static void serve(const End& end) {
    const dds_entity_t reader = end.reader();
    const dds_entity_t set = end.wait_set(reader);
    for (PeerPacket packet{};;) {
      if (wait(set, DDS_INFINITY) && End::take(reader, packet)) end.write(packet);
    }
  }

  void await_answers(const End& end) override {
    _reader = end.reader();
    _set = end.wait_set(_reader);
  }

  bool answered(std::chrono::milliseconds time) override {
    for (PeerPacket packet{}; wait(_set, std::chrono::nanoseconds(time).count());) {
      if (End::take(_reader, packet) && is_answer(packet)) return true;
    }
    return false;
  }

  dds_entity_t _reader = 0;
  dds_entity_t _set = 0;
};

}  // namespace

Contender* cyclone_dds_peer(const std::string&) { return new ByListener; }
Contender* cyclone_dds_waitset_peer(const std::string&) { return new ByWaitSet; }

}  // namespace vlm::bench
