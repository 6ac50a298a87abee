// vlm_bus_replay: plays a recording of the message bus, as console or as camera.
#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bus_inbox.h"
#include "options.h"
#include "replay_camera.h"
#include "replay_console.h"
#include "replay_options.h"
#include "replay_recording.h"
#include "standard_output.h"
#include "vlm_bus.h"

namespace {

using namespace vlm::monitor;

enum ExitStatus { kEqual = 0, kDiffers = 1, kUsage = 2, kDamaged = 3, kNoBus = 4 };

constexpr char kName[] = "vlm_bus_replay";

int complain(const std::string& text, int status) {
  std::fprintf(stderr, "%s: %s\n", kName, text.c_str());
  return status;
}

/// Lets SIGTERM and SIGINT end the inbox. To be called before there are threads.
void end_with_signals(sigset_t& signals) {
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

BusInbox& open_inbox(ReplayOptions::Role role) {
  static sigset_t signals;
  end_with_signals(signals);
  const bool is_camera = role == ReplayOptions::kCamera;
  // Never destroyed: the threads of the bus run to the end.
  BusInbox& inbox = *new BusInbox(
      "vlm_bus_replay", is_camera ? std::vector<std::string>{kRequestChannel, kRtspRequestChannel}
                                  : std::vector<std::string>{kReplyChannel, kRtspReplyChannel});
  std::thread([&inbox] {
    int number = 0;
    sigwait(&signals, &number);
    inbox.end();
  }).detach();
  return inbox;
}

bool write_file(const std::string& path, const std::string& text) {
  if (path.empty()) return true;
  std::FILE* const file = std::fopen(path.c_str(), "we");
  const bool written =
      file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return (file == nullptr || std::fclose(file) == 0) && written;
}

/// Tells the result; returns the exit status.
int tell(const ReplayOptions& options, const ReplayResult& result, Loaded loaded) {
  if (vlm::host::show(kName, options.tap ? result.tap() : result.text()) != 0) return kDiffers;
  if (!write_file(options.junit_file, result.junit(options.file))) {
    return complain("cannot write " + options.junit_file + ": " + std::strerror(errno), kDiffers);
  }
  if (options.expect && result.has_difference()) return kDiffers;
  return loaded == Loaded::kDamaged ? kDamaged : kEqual;
}

int play_console(const ReplayOptions& options, const std::vector<Observation>& packets,
                 BusInbox& inbox, Loaded loaded) {
  if (!vlm::bus::bus_has_subscriber(kRequestChannel))
    return complain("no camera on the bus", kNoBus);
  ReplayConsole console(options, inbox);
  console.play(packets);
  std::fprintf(stderr, "vlm_bus_replay: %.3f s of the recording played in %.3f s, speed %.2f\n",
               console.recorded_s(), console.played_s(),
               console.played_s() > 0 ? console.recorded_s() / console.played_s() : 0);
  if (options.expect) return tell(options, console.result(), loaded);
  std::fputs(console.result().left_out_line().c_str(), stderr);
  return loaded == Loaded::kDamaged ? kDamaged : kEqual;
}

int play_camera(const ReplayOptions& options, const std::vector<Observation>& packets,
                BusInbox& inbox, Loaded loaded) {
  ReplayCamera camera(options, packets);
  std::fputs("vlm_bus_replay: ready\n", stderr);
  camera.serve(inbox);
  return tell(options, camera.result(), loaded);
}

int replay(const ReplayOptions& options) {
  std::vector<Observation> packets;
  std::string error;
  const Loaded loaded = load_recording(options.file, options.section, packets, error);
  if (loaded != Loaded::kWhole) complain(error, kDamaged);
  if (loaded == Loaded::kNothing) return kDamaged;
  BusInbox& inbox = open_inbox(options.role);
  if (!inbox.ready()) return complain("the bus does not deliver", kNoBus);
  const auto play = options.role == ReplayOptions::kConsole ? play_console : play_camera;
  return play(options, packets, inbox, loaded);
}

}  // namespace

int main(int argc, char** argv) {
  ReplayOptions options;
  std::string error;
  if (!parse_replay_options(vlm::host::arguments_of(argc, argv), options, error)) {
    return complain(error + "; see --help", kUsage);
  }
  if (options.help) return vlm::host::show(kName, replay_help());
  if (options.version) return vlm::host::show(kName, "vlm_bus_replay " VLM_VERSION "\n");
  return replay(options);
}
