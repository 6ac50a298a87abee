// D-Bus by sd-bus, the client library of systemd, over a private dbus-daemon.
//
// A method call with an array of bytes, answered by one: the daemon routes both. Caller and callee have
// one thread each: sd_bus_call() sends and blocks in poll() until the answer has come, without a switch
// to a listener.
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "peers.h"

namespace vlm::bench {
namespace {

constexpr char kService[] = "vlm.bench";
constexpr char kObject[] = "/vlm/bench";
constexpr char kInterface[] = "vlm.bench";
constexpr char kMethod[] = "Exchange";

/// What a session's daemon allows, and no more: nothing is looked up but who may send.
constexpr char kPolicy[] =
    "<policy context=\"default\"><allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
    "<allow own=\"*\"/></policy>";

/// Ends the program when a call of sd-bus has failed.
int checked(int result, const char* what) {
  if (result >= 0) return result;
  errno = -result;
  give_up(what);
}

class SdBus : public Contender {
 public:
  explicit SdBus(const std::string& directory)
      : _socket(directory + "/dbus"), _settings(_socket + ".conf") {
    std::ofstream(_settings) << "<busconfig><type>session</type><listen>unix:path=" << _socket
                             << "</listen><auth>EXTERNAL</auth>" << kPolicy << "</busconfig>\n";
    start_peer([this] {
      const std::string settings = "--config-file=" + _settings;
      run_daemon(VLM_PEER_SD_BUS, settings.c_str(), "--nofork", "--nopidfile");
    });
    start_peer([this] { serve(); });
  }

  const char* name() const override { return "sd_bus"; }

  void start() override {
    _bus = connected();
    while (call() == -EHOSTUNREACH) usleep(kRetryUs);  // nobody has the name yet
  }

  void round_trip() override { checked(call(), "sd_bus_call"); }

 private:
  static constexpr useconds_t kRetryUs = 1000;

  /// A connection to the daemon, which may be starting still.
  sd_bus* connected() const {
    for (int tries = 0;; ++tries) {
      constexpr int kMostTries = 10000;
      sd_bus* bus = nullptr;
      checked(sd_bus_new(&bus), "sd_bus_new");
      checked(sd_bus_set_address(bus, ("unix:path=" + _socket).c_str()), "sd_bus_set_address");
      checked(sd_bus_set_bus_client(bus, 1), "sd_bus_set_bus_client");
      const int result = sd_bus_start(bus);
      if (result >= 0) return bus;
      if (tries == kMostTries) checked(result, "sd_bus_start");
      sd_bus_unref(bus);
      usleep(kRetryUs);
    }
  }

  /// 0 or more when the answer has come, whole.
  int call() {
    sd_bus_message* request = nullptr;
    sd_bus_message* answer = nullptr;
    checked(sd_bus_message_new_method_call(_bus, &request, kService, kObject, kInterface, kMethod),
            "sd_bus_message_new_method_call");
    checked(sd_bus_message_append_array(request, 'y', &_request, kPacketSize), "append_array");
    const int result = sd_bus_call(_bus, request, 0, nullptr, &answer);
    if (result >= 0 && bytes_of(answer).size != kPacketSize) give_up("a wrong answer");
    sd_bus_message_unref(request);
    sd_bus_message_unref(answer);
    return result;
  }

  struct Bytes {
    const void* data;
    std::size_t size;
  };

  static Bytes bytes_of(sd_bus_message* message) {
    Bytes bytes{};
    checked(sd_bus_message_read_array(message, 'y', &bytes.data, &bytes.size), "read_array");
    return bytes;
  }

  static int answer(sd_bus_message* request, void*, sd_bus_error*) {
    if (sd_bus_message_is_method_call(request, kInterface, kMethod) <= 0) return 0;
    const Bytes bytes = bytes_of(request);
    sd_bus_message* answer = nullptr;
    checked(sd_bus_message_new_method_return(request, &answer), "new_method_return");
    checked(sd_bus_message_append_array(answer, 'y', bytes.data, bytes.size), "append_array");
    checked(sd_bus_send(nullptr, answer, nullptr), "sd_bus_send");
    sd_bus_message_unref(answer);
    return 1;
  }

  void serve() const {
    sd_bus* const bus = connected();
    checked(sd_bus_add_object(bus, nullptr, kObject, answer, nullptr), "sd_bus_add_object");
    checked(sd_bus_request_name(bus, kService, 0), "sd_bus_request_name");
    for (;;) {
      if (checked(sd_bus_process(bus, nullptr), "sd_bus_process") == 0) {
        checked(sd_bus_wait(bus, UINT64_MAX), "sd_bus_wait");
      }
    }
  }

  const std::string _socket;
  const std::string _settings;
  const userlcm_packet_t _request{};
  sd_bus* _bus = nullptr;
};

}  // namespace

Contender* sd_bus_peer(const std::string& directory) { return new SdBus(directory); }

}  // namespace vlm::bench
