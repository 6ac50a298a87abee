// vlm_udp_service: serves the camera-control UDP protocol until SIGTERM or SIGINT.
#include <getopt.h>
#include <pthread.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "bus_listeners.h"
#include "standard_output.h"
#include "velmar_log.h"
#include "velmar_udp_master_k720.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsageFault = 2;

// What the time log's paths of at most 63 characters leave.
constexpr std::size_t kLongestCardOfTimeLog = 27;

constexpr char kHelp[] =
    "Usage: vlm_udp_service [OPTION]...\n"
    "Serves the camera-control UDP protocol: applications drive the camera with it.\n"
    "\n"
    "  --port N      serve UDP port N (default 9528; 0: a free one)\n"
    "  --sdcard DIR  where the SD card is mounted (default /sdcard)\n"
    "  --log-time    run the time log, which its marker on the SD card enables\n"
    "  --help        print this and exit\n"
    "  --version     print the version and exit\n";

constexpr option kOptions[] = {
    {"port", required_argument, nullptr, 'p'}, {"sdcard", required_argument, nullptr, 's'},
    {"log-time", no_argument, nullptr, 't'},   {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'v'},    {nullptr, 0, nullptr, 0},
};

struct Settings {
  int port = 9528;
  const char* sdcard = nullptr;  // null: where the board has it
  bool log_time = false;
};

int complain(const std::string& message, int status) {
  std::fprintf(stderr, "vlm_udp_service: %s\n", message.c_str());
  return status;
}

bool parse_port(const char* text, int& port) {
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, port);
  return error == std::errc() && stop == end && port >= 0 && port <= 65535;
}

/// Fills `settings`. Returns -1, or the status to exit with at once.
int parse_arguments(int argc, char** argv, Settings& settings) {
  opterr = 0;
  for (int name = 0; (name = getopt_long(argc, argv, ":", kOptions, nullptr)) != -1;) {
    switch (name) {
      case 'p':
        if (!parse_port(optarg, settings.port)) {
          return complain(std::string("no port: ") + optarg, kUsageFault);
        }
        break;
      case 's': settings.sdcard = optarg; break;
      case 't': settings.log_time = true; break;
      case 'h': return host::show("vlm_udp_service", kHelp);
      case 'v': return host::show("vlm_udp_service", "vlm_udp_service " VLM_VERSION "\n");
      case ':':
        return complain(std::string("a value is missing: ") + argv[optind - 1], kUsageFault);
      default: return complain(std::string("not an option: ") + argv[optind - 1], kUsageFault);
    }
  }
  if (settings.log_time && settings.sdcard != nullptr &&
      std::strlen(settings.sdcard) > kLongestCardOfTimeLog) {
    return complain("the time log takes no card path of more than 27 characters", kUsageFault);
  }
  if (optind == argc) return -1;
  return complain(std::string("not an option: ") + argv[optind], kUsageFault);
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

int serve(const Settings& settings) {
  const sigset_t end_signals = hold_end_signals();
  if (settings.sdcard != nullptr) use_sdcard(settings.sdcard);
  vlm_camera_log_init();
  if (!start_bus_listeners()) return complain("the bus does not deliver", kFailure);
  if (vlm_udp_master_k720_init(settings.port) != 0) {
    return complain("port " + std::to_string(settings.port) + " cannot be served: is it in use?",
                    kFailure);
  }
  if (settings.log_time) std::thread(log_time_thread, nullptr).detach();
  std::printf("vlm_udp_service: serving port %d\n", vlm_udp_master_k720_port());
  int signal = 0;
  sigwait(&end_signals, &signal);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Scripts and pipes see each line at once.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
  Settings settings;
  const int status = parse_arguments(argc, argv, settings);
  return status >= 0 ? status : serve(settings);
}
