// vlm_udp_service: serves the camera-control UDP protocol until SIGTERM or SIGINT.
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "admission.h"
#include "broker_files.h"
#include "bus_listeners.h"
#include "options.h"
#include "output_relay.h"
#include "reason.h"
#include "standard_output.h"
#include "threads.h"
#include "velmar_log.h"
#include "velmar_output.h"
#include "velmar_udp_master_k720.h"

namespace vlm::service {

namespace {

constexpr char kName[] = "vlm_udp_service";

constexpr unsigned kHighestRate = 1000000;

constexpr int kFailure = 1;
constexpr int kUsageFault = 2;

// What the time log's paths of at most 63 characters leave.
constexpr std::size_t kLongestCardOfTimeLog = 27;

/// What is still to be printed at the end gets that long.
constexpr std::chrono::milliseconds kTimeToDrain{300};

struct Settings {
  int port = 9528;
  in_addr address{INADDR_ANY};
  AdmissionRules rules;
  std::optional<std::string> sdcard;  // none: where the board has it
  bool log_time = false;
  bool help = false;
  bool version = false;
};

int complain(const std::string& message, int status) {
  std::fprintf(stderr, "%s: %s\n", kName, message.c_str());
  return status;
}

bool parse_port(const std::string& text, int& port) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end && port >= 0 && port <= 65535;
}

bool parse_rate(const std::string& text, unsigned& rate) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, rate);
  return error == std::errc() && stop == end && rate >= 1 && rate <= kHighestRate;
}

std::vector<host::Option> table(Settings& settings) {
  std::vector<host::Option> options = {
      {"--port", "N", "serve UDP port N (default 9528; 0: a free one)",
       [&](const std::string& value) { return parse_port(value, settings.port); }},
      {"--bind", "ADDRESS", "serve this IPv4 address of the machine alone (default: all of them)",
       [&](const std::string& value) { return parse_address(value, settings.address); }},
      {"--allow", "NET", "serve senders of NET alone, 10.0.0.7 or 10.0.0.0/8; may be repeated",
       [&](const std::string& value) {
         const auto network = parse_network(value);
         if (network) settings.rules.allowed.push_back(*network);
         return network.has_value();
       }},
      {"--rate", "RATE", "serve at most RATE datagrams a second of each sender's address",
       [&](const std::string& value) { return parse_rate(value, settings.rules.rate); }},
      {"--sdcard", "DIR", "where the SD card is mounted (default /sdcard)",
       [&](const std::string& value) {
         settings.sdcard = value;
         return true;
       }},
      {"--log-time", nullptr, "run the time log, which its marker on the SD card enables",
       host::sets(settings.log_time)},
  };
  bus::add_broker_file_options(options);
  options.push_back(
      {"--help", nullptr, "print this and exit", host::sets(settings.help), nullptr, true});
  options.push_back({"--version", nullptr, "print the version and exit",
                     host::sets(settings.version), nullptr, true});
  return options;
}

std::string help() {
  Settings unused;
  return "Usage: vlm_udp_service [OPTION]...\n"
         "Serves the camera-control UDP protocol: applications drive the camera with it.\n"
         "\n" +
         host::options_help(table(unused), 25);
}

/// What a value was to be, by its name in the help.
std::string wanted(const std::string& value) {
  if (value == "ADDRESS") return "address";
  if (value == "NET") return "network";
  if (value == "FILE") return "file";
  return value == "RATE" ? "rate of 1 to " + std::to_string(kHighestRate) : "port";
}

std::string wording_of(const host::OptionFault& fault) {
  switch (fault.kind) {
    case host::OptionFault::kNeedsValue: return "a value is missing: " + fault.argument;
    case host::OptionFault::kBadValue: return "no " + wanted(fault.wanted) + ": " + fault.value;
    default: return "not an option: " + fault.argument;
  }
}

/// Fills `settings`. Returns -1, or the status to exit with at once.
int parse_arguments(int argc, char** argv, Settings& settings) {
  std::optional<std::string> stray;  // told last: help goes before it
  const auto operand = [&](const std::string& argument) {
    if (!stray) stray = argument;
    return true;
  };
  const auto fault =
      host::read_arguments(host::arguments_of(argc, argv), {table(settings), operand, true});
  if (fault) return complain(wording_of(*fault), kUsageFault);
  if (settings.help) return host::show(kName, help());
  if (settings.version) return host::show(kName, "vlm_udp_service " VLM_VERSION "\n");
  if (settings.log_time && settings.sdcard && settings.sdcard->size() > kLongestCardOfTimeLog) {
    return complain("the time log takes no card path of more than 27 characters", kUsageFault);
  }
  return stray ? complain("not an option: " + *stray, kUsageFault) : -1;
}

/// A text that is never freed: the logs keep no copy of their paths.
const char* card_path(const std::string& path) { return strdup(path.c_str()); }

void use_sdcard(const std::string& dir) {
  F_PATH = card_path(dir + "/test.log");
  F_TRIG = card_path(dir + "/trigger");
  F_LOG_TO_CONSOLE = card_path(dir + "/log_to_console");
  g_time_log_settings.marker = card_path(dir + "/log_time");
  g_time_log_settings.dir = card_path(dir + "/log_time_dir");
  g_time_log_settings.file_stem = card_path(dir + "/log_time_dir/log_time_file");
}

/// To be called before any thread starts: all of them inherit it.
sigset_t hold_end_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

/// Nobody closes what stands for standard input, output and error: no socket becomes one of them.
void hold_standard_descriptors() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1) return;
  }
}

/// The service's own result does not tell whether its threads could be made.
int prove_threads() {
  for (const char* const name : {"RCVCMD", "PCCMD"}) {
    if (thread_lives(name)) continue;
    const std::string why = errno == 0 ? "it could not be made" : host::reason();
    return complain(std::string("there is no thread ") + name + ": " + why, kFailure);
  }
  return 0;
}

/// Asked on a thread that never ends; none where everybody is served. Never freed.
std::atomic<Admission*> g_admission{nullptr};

UdpRestrictions restrictions_of(const Settings& settings) {
  UdpRestrictions restrictions{settings.address, {}};
  if (settings.rules.allowed.empty() && settings.rules.rate == 0) return restrictions;
  g_admission = new Admission(settings.rules, [](const std::string& line) { complain(line, 0); });
  restrictions.admits = [](const sockaddr_in& sender) {
    try {
      return g_admission.load()->admits(sender);
    } catch (const std::bad_alloc&) {
      end_without_memory();
    }
  };
  return restrictions;
}

int open_port(const Settings& settings) {
  if (vlm_udp_master_k720_init(settings.port, restrictions_of(settings)) == 0) {
    return prove_threads();
  }
  const std::string why = errno == EADDRINUSE ? "is it in use?" : host::reason();
  return complain("port " + std::to_string(settings.port) + " cannot be served: " + why, kFailure);
}

/// Returns 0 once the service serves, else the status to end with.
int start(const Settings& settings) {
  if (!start_bus_listeners()) {
    return complain(
        errno == 0 ? "the bus does not deliver" : "no thread for the bus: " + host::reason(),
        kFailure);
  }
  if (const int status = open_port(settings); status != 0) return status;
  if (settings.log_time && !start_thread("TIMELOG", [] { log_time_thread(nullptr); })) {
    return complain("no thread for the time log: " + host::reason(), kFailure);
  }
  std::printf("vlm_udp_service: serving port %d\n", vlm_udp_master_k720_port());
  show_output();
  return 0;
}

/// Ends the process, once: a second caller waits for the first one's end.
[[noreturn]] void end(int status) {
  static std::mutex& once = *new std::mutex;
  once.lock();
  if (Admission* const admission = g_admission) admission->tell_rest();
  drain_standard_output(kTimeToDrain);
  std::exit(status);
}

/// Serves until a signal. Starting has a thread of its own, so that a signal ends it, too.
[[noreturn]] void serve(const Settings& settings) {
  const sigset_t end_signals = hold_end_signals();
  std::signal(SIGPIPE, SIG_IGN);  // of a reader of our output that has gone
  if (!relay_standard_output(kName)) {
    end(complain("no thread for the output: " + host::reason(), kFailure));
  }
  std::atexit(end_output);  // first, and so run last: what the others wait for may be printing
  if (settings.sdcard) use_sdcard(*settings.sdcard);
  vlm_camera_log_init();
  const auto start_or_end = [settings] {
    if (const int status = start(settings); status != 0) end(status);
  };
  if (!start_thread("START", start_or_end)) {
    end(complain("no thread to start with: " + host::reason(), kFailure));
  }
  show_output();
  int signal = 0;
  sigwait(&end_signals, &signal);
  end(0);
}

int run(int argc, char** argv) {
  Settings settings;
  const int status = parse_arguments(argc, argv, settings);
  if (status >= 0) return status;
  hold_standard_descriptors();  // after the help, whose loss is to be told
  try {
    serve(settings);
  } catch (const std::bad_alloc&) {
    end_without_memory();
  }
}

}  // namespace

}  // namespace vlm::service

int main(int argc, char** argv) { return vlm::service::run(argc, argv); }
