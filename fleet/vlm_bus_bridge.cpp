// vlm_bus_bridge: lets the network at the camera of this machine, over a broker, until a signal ends it.
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <system_error>
#include <utility>

#include "bridge.h"
#include "options.h"
#include "proven_subscriptions.h"
#include "request_ear.h"
#include "standard_output.h"

namespace vlm::fleet {

namespace {

constexpr int kFailure = 1;
constexpr int kUsageFault = 2;
constexpr int kOverSignal = SIGUSR1;  // our own: another bridge serves the camera
constexpr std::chrono::seconds kReadyLimit{5};

struct Request {
  std::string local;
  std::string broker;
  BridgeRules rules;
  bool help = false;
  bool version = false;
};

/// "27,33"
bool parse_codes(const std::string& text, std::set<u16>& codes) {
  const char* next = text.data();
  const char* const end = next + text.size();
  while (next != end) {
    u16 code = 0;
    const auto [rest, fault] = std::from_chars(next, end, code);
    if (fault != std::errc{} || (rest != end && *rest != ',')) return false;
    codes.insert(code);
    next = rest == end ? end : rest + 1;
    if (rest != end && next == end) return false;
  }
  return !text.empty();
}

std::vector<host::Option> table(Request& request) {
  std::vector<host::Option> options = {
      {"--broker", "ADDRESS", "the camera's place, mqtts://[USER@]HOST[:PORT]/SITE/CAMERA",
       host::keeps(request.broker)},
      {"--local", "ADDRESS", "the camera's bus, unix:DIR; else that of the environment",
       host::keeps(request.local)},
      {"--deny", "CODES", "answer these commands with \"permission denied\": 27,33",
       [&request](const std::string& text) { return parse_codes(text, request.rules.denied); }},
      {"--read-only", nullptr, "likewise all that do more than read",
       host::sets(request.rules.read_only)},
  };
  bus::add_broker_file_options(options);
  options.push_back({"--help", nullptr, "show this text", host::sets(request.help)});
  options.push_back({"--version", nullptr, "show the version", host::sets(request.version)});
  return options;
}

std::string usage() {
  Request unused;
  return "Usage: vlm_bus_bridge --broker ADDRESS [OPTION]...\n"
         "Lets clients of a broker ask the camera on this machine's bus.\n\n" +
         host::options_help(table(unused), 26) +
         "\nThe files are also taken from VLM_MQTT_CA_FILE, VLM_MQTT_CERT_FILE, VLM_MQTT_KEY_FILE\n"
         "and VLM_MQTT_PASSWORD_FILE.\n"
         "Exit status: 0 ended by a signal, 1 it cannot serve, 2 wrong usage.\n";
}

int complain(const std::string& text, int status) {
  std::fprintf(stderr, "vlm_bus_bridge: %s\n", text.c_str());
  return status;
}

/// The bridge as the threads of the bus, which never end, find it: until it goes.
class BridgeSlot {
 public:
  void set(Bridge* bridge) {
    const std::unique_lock<std::shared_mutex> guard(_mutex);
    _bridge = bridge;
  }
  /// Calls `take` of the bridge, while there is one.
  template <typename... Parameters, typename... Arguments>
  void hand(void (Bridge::*take)(Parameters...), const Arguments&... arguments) {
    const std::shared_lock<std::shared_mutex> guard(_mutex);
    if (_bridge != nullptr) (_bridge->*take)(arguments...);
  }

 private:
  std::shared_mutex _mutex;
  Bridge* _bridge = nullptr;
};

BridgeSlot& slot() {
  static BridgeSlot& only = *new BridgeSlot;
  return only;
}

bus::ProvenSubscriptions::Receiver hands_to(void (Bridge::*take)(const void*, std::size_t)) {
  return [take](const void* packet, unsigned int length, const char*) {
    slot().hand(take, packet, length);
  };
}

/// Why the camera's bus cannot be used; empty once it serves.
std::string join_bus() {
  auto& subscriptions = bus::ProvenSubscriptions::create(
      kRequestChannel, {{kReplyChannel, hands_to(&Bridge::from_camera)},
                        {kRtspReplyChannel, hands_to(&Bridge::from_rtsp)}});
  subscriptions.start();
  if (!subscriptions.wait(kReadyLimit)) return "the camera's bus does not deliver";
  std::string error;
  listen_for_requests([] { slot().hand(&Bridge::listen); }, error);
  return error;
}

/// Blocks the signals that end the program, for all threads to come.
sigset_t hold_end_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, kOverSignal);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

std::string text_of(const BridgeCounts& counts) {
  const std::pair<const char*, unsigned long long> all[] = {
      {"asked", counts.asked},     {"answered", counts.answered}, {"not answered", counts.silent},
      {"refused", counts.refused}, {"dropped", counts.dropped},   {"stray", counts.stray},
      {"events", counts.events},
  };
  std::string text;
  for (const auto& [name, count] : all) {
    if (!text.empty()) text += ", ";
    text += name + (' ' + std::to_string(count));
  }
  return text;
}

Bridge::Outlets outlets() {
  return {send_msg_to_lcm,
          // The broker's thread ends the program: the main one waits for a signal.
          [](const std::string& why) {
            complain(why, 0);
            kill(getpid(), kOverSignal);
          },
          nullptr,
          [](const std::string& line) { std::printf("vlm_bus_bridge: %s\n", line.c_str()); },
          std::chrono::steady_clock::now, take_requests};
}

/// Serves until a signal ends it, or another bridge; returns the exit status.
int serve(const bus::BrokerAddress& address, const Request& request) {
  const sigset_t signals = hold_end_signals();
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::string error;
  const auto loop = bus::make_broker_loop(error);
  if (!loop) return complain(error, kFailure);
  error = join_bus();
  if (!error.empty()) return complain(error, kFailure);
  Bridge bridge({address, bus::broker_files_of_environment(), request.rules, VLM_VERSION},
                outlets());
  slot().set(&bridge);
  int signal = 0;
  if (bridge.start(*loop, error)) sigwait(&signals, &signal);
  slot().set(nullptr);
  if (!error.empty()) return complain(error, kFailure);
  std::printf("vlm_bus_bridge: %s\n", text_of(bridge.counts()).c_str());
  return signal == kOverSignal ? kFailure : 0;
}

/// Puts the camera's bus where the options say; what is wrong with it, or empty.
std::string choose_local_bus(const std::string& local) {
  if (!local.empty()) setenv("VLM_BUS", local.c_str(), 1);
  const char* const bus = std::getenv("VLM_BUS");
  if (bus == nullptr || *bus == '\0') return {};
  std::string error;
  const auto address = bus::parse_bus_address(bus, error);
  if (address && address->broker)
    return "the camera's bus cannot be a broker's: " + std::string(bus);
  return error;
}

int run(int argc, char** argv) {
  Request request;
  const auto fault =
      host::read_arguments(host::arguments_of(argc, argv), {table(request), nullptr});
  if (fault) return complain(host::text_of(*fault) + "; see --help", kUsageFault);
  if (request.help) return host::show("vlm_bus_bridge", usage());
  if (request.version) return host::show("vlm_bus_bridge", "vlm_bus_bridge " VLM_VERSION "\n");
  if (request.broker.empty()) return complain("--broker is needed; see --help", kUsageFault);
  std::string error;
  const auto address = bus::parse_camera_address(request.broker, error);
  if (!address) return complain(error, kUsageFault);
  error = choose_local_bus(request.local);
  if (!error.empty()) return complain(error, kUsageFault);
  return serve(*address, request);
}

}  // namespace

}  // namespace vlm::fleet

int main(int argc, char** argv) {
  try {
    return vlm::fleet::run(argc, argv);
  } catch (const std::system_error& fault) {
    return vlm::fleet::complain(fault.what(), vlm::fleet::kFailure);
  }
}
