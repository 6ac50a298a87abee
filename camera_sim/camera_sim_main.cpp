// camera_sim: the simulated camera on the message bus. Serves until it is told to end, by a signal
// or by its operator; the end of its input does not end it.
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bus_role.h"
#include "camera_peer.h"
#include "media_folder.h"
#include "proven_subscriptions.h"
#include "reason.h"
#include "sim_fleet.h"
#include "sim_options.h"
#include "standard_output.h"
#include "vlm_userlcm_control_camera.h"

namespace {

using namespace vlm::sim;

constexpr int kFailure = 1;
constexpr int kUsageFault = 2;
constexpr std::chrono::seconds kReadinessLimit{5};

// The bus threads never end, so what they use is never destroyed.
CameraPeer* g_peer;
volatile std::sig_atomic_t g_end;

/// Runs on the main thread while it waits for input.
void on_end_signal(int) { g_end = 1; }

// On the bus threads.

void on_camera_packet(const void* packet, unsigned int length, const char*) {
  if (!vlm::bus::is_role_packet(packet, length)) g_peer->receive(packet, length);
}

void on_rtsp_packet(const void* packet, unsigned int length, const char*) {
  g_peer->receive_rtsp(packet, length);
}

/// The signals that end the program are delivered only while the main thread waits for input.
sigset_t hold_end_signals() {
  struct sigaction action {};
  action.sa_handler = on_end_signal;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  // A background job that reads its terminal gets an error instead of being stopped.
  std::signal(SIGTTIN, SIG_IGN);
  sigset_t held;
  sigset_t before;
  sigemptyset(&held);
  sigaddset(&held, SIGTERM);
  sigaddset(&held, SIGINT);
  pthread_sigmask(SIG_BLOCK, &held, &before);
  sigdelset(&before, SIGTERM);
  sigdelset(&before, SIGINT);
  return before;
}

/// A closed standard input must not become the number of some socket.
void ensure_standard_input() {
  if (fcntl(STDIN_FILENO, F_GETFD) == -1) open("/dev/null", O_RDONLY);
}

/// Subscribes the channels of both processes; false when the bus does not deliver.
bool subscribe_all() {
  auto& subscriptions = vlm::bus::ProvenSubscriptions::create(
      "camera_sim", {{kRequestChannel, on_camera_packet}, {kRtspRequestChannel, on_rtsp_packet}});
  subscriptions.start();
  return subscriptions.wait(kReadinessLimit);
}

void print_line(const std::string& line) { std::puts(line.c_str()); }

void print_complaint(const std::string& line) {
  std::fprintf(stderr, "camera_sim: %s\n", line.c_str());
}

/// Runs the operator's lines; false when one of them ends the program.
bool run(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    const OperatorAnswer answer = g_peer->operate(line);
    std::fputs(answer.text.c_str(), stdout);
    if (answer.quit) return false;
  }
  return true;
}

/// Shows the operator at a terminal, and nobody else, that a line may be entered.
void prompt() {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) return;
  std::fputs("camera_sim> ", stdout);
  std::fflush(stdout);
}

/// Whether a signal has told the program to end. Where there is always input, the wait for it lets no
/// signal in.
bool is_told_to_end(const sigset_t& waiting_mask) {
  constexpr timespec kAtOnce{};
  ppoll(nullptr, 0, &kAtOnce, &waiting_mask);
  return g_end != 0;
}

/// Serves the operator until a signal, or the operator, ends the program.
void serve_operator(const sigset_t& waiting_mask) {
  LineBuffer buffer;
  pollfd input{STDIN_FILENO, POLLIN, 0};
  prompt();
  while (!is_told_to_end(waiting_mask)) {
    if (ppoll(&input, 1, nullptr, &waiting_mask) <= 0) continue;
    char bytes[512];
    const ssize_t size = read(STDIN_FILENO, bytes, sizeof bytes);
    if (size > 0) {
      const std::vector<std::string> lines = buffer.feed(bytes, static_cast<std::size_t>(size));
      if (!run(lines)) return;
      if (!lines.empty()) prompt();
      if (buffer.is_endless()) {
        print_complaint("standard input is a line without an end, and is not read any more");
        input.fd = -1;
      }
    } else if (size == 0 || (errno != EINTR && errno != EAGAIN)) {
      if (!run({buffer.rest()})) return;
      input.fd = -1;  // no more input: wait for a signal alone
    }
  }
}

void print_text(const std::string& text) { std::fputs(text.c_str(), stdout); }

/// Says what is wrong on standard error; returns `status`.
int complain(const std::string& message, int status) {
  print_complaint(message);
  return status;
}

/// Keeps pictures in `folder`; what goes wrong over and over is told once.
CameraPeer::KeepPicture keep_in(const std::string& folder) {
  return [media = MediaFolder(folder), last = std::string()](const auto& picture) mutable {
    const std::string trouble = media.keep(picture);
    if (!trouble.empty() && trouble != last) print_complaint("a picture is not kept: " + trouble);
    last = trouble;
  };
}

CameraPeer::Outlets outlets_of(const SimOptions& options) {
  CameraPeer::Outlets outlets{send_msg_to_lcm, {}, print_complaint, print_text, {}};
  if (options.verbose) outlets.trace = print_line;
  if (!options.media.empty()) outlets.keep_picture = keep_in(options.media);
  return outlets;
}

/// Runs a line of a script, which stands at `place`. Returns -1, or the exit status when it is no
/// command, or "quit".
int run_script_line(const std::string& line, const std::string& place) {
  if (line[0] == '#') return -1;
  const OperatorAnswer answer = g_peer->operate(line);
  if (answer.wrong) {
    return complain(place + ": " + answer.text.substr(0, answer.text.find('\n')), kUsageFault);
  }
  print_text(answer.text);
  return answer.quit ? 0 : -1;
}

/// Runs the commands in the file `script`, if any; empty lines and those that begin with # are none.
/// Returns -1, or the exit status when it cannot be run, or says "quit".
int run_script(const std::string& script, const sigset_t& waiting_mask) {
  if (script.empty()) return -1;
  std::ifstream file(script);
  if (!file) return complain(script + ": " + vlm::host::reason(), kFailure);
  LineBuffer buffer;
  int number = 0;
  while (file) {
    if (is_told_to_end(waiting_mask)) return 0;
    char bytes[512];
    file.read(bytes, sizeof bytes);
    auto lines = buffer.feed(bytes, static_cast<std::size_t>(file.gcount()));
    if (!file) lines.push_back(buffer.rest());
    for (const std::string& line : lines) {
      const int status = run_script_line(line, script + ":" + std::to_string(++number));
      if (status >= 0) return status;
    }
    if (buffer.is_endless()) return complain(script + ": a line without an end", kUsageFault);
  }
  return -1;
}

/// Ends the program a second from now, should it still be there: nobody may take its output.
void end_soon() {
  std::signal(SIGALRM, [](int) { _exit(0); });
  alarm(1);
}

/// Serves until it is told to end; returns the exit status.
int simulate(const SimOptions& options) {
  const u64 seed = options.seed ? *options.seed : std::random_device()();
  const sigset_t waiting_mask = hold_end_signals();
  g_peer = new CameraPeer({options.thermal, options.live, options.card_kib, seed}, options.faults,
                          outlets_of(options));
  const std::string objection =
      vlm::bus::serve_in_role("camera_sim", kRequestChannel, options.force, subscribe_all);
  if (!objection.empty()) return complain(objection, kFailure);
  if (const int status = run_script(options.script, waiting_mask); status >= 0) return status;
  std::printf("camera_sim: ready, seed %llu\n", static_cast<unsigned long long>(seed));
  serve_operator(waiting_mask);
  end_soon();
  g_peer->stop();
  return 0;
}

/// Serves cameras behind a broker until a signal ends it; returns the exit status.
int simulate_fleet(const SimOptions& options) {
  const char* const bus = std::getenv("VLM_BUS");
  std::string error;
  const auto site = vlm::bus::parse_site_address(bus != nullptr ? bus : "", error);
  if (!site) return complain(error, kUsageFault);
  const u64 seed = options.seed ? *options.seed : std::random_device()();
  const sigset_t waiting_mask = hold_end_signals();
  SimFleet::Outlets outlets;
  outlets.ready = [&options, seed] {
    std::printf("camera_sim: ready, %u cameras, seed %llu\n", options.fleet,
                static_cast<unsigned long long>(seed));
  };
  outlets.complain = print_complaint;
  if (options.verbose) outlets.trace = print_line;
  SimFleet fleet(*site, options, seed, outlets);
  error = fleet.start();
  if (!error.empty()) return complain(error, kFailure);
  while (g_end == 0) ppoll(nullptr, 0, nullptr, &waiting_mask);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  SimOptions options;
  const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  const std::string fault = parse_options(arguments, options);
  if (!fault.empty()) return complain(fault + "; see --help", kUsageFault);
  if (options.help) return vlm::host::show("camera_sim", options_help());
  if (options.version) return vlm::host::show("camera_sim", "camera_sim " VLM_VERSION "\n");
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  ensure_standard_input();
  try {
    return options.fleet != 0 ? simulate_fleet(options) : simulate(options);
  } catch (const std::system_error& error) {
    return complain("a thread cannot be made: " + error.code().message(), kFailure);
  }
}
