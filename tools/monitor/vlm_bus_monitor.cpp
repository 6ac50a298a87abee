// vlm_bus_monitor: shows and records what goes over the message bus.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "capture.h"
#include "latency_picture.h"
#include "line.h"
#include "monitor_options.h"
#include "observer.h"
#include "options.h"
#include "payload_values.h"
#include "pcapng_reader.h"
#include "recording_file.h"
#include "recording_input.h"
#include "standard_output.h"
#include "statistics.h"
#include "status_table.h"

namespace {

using namespace vlm::monitor;

enum ExitStatus { kGood = 0, kFailure = 1, kUsage = 2, kDamaged = 3, kNoBus = 4 };

constexpr char kName[] = "vlm_bus_monitor";

volatile std::sig_atomic_t g_end;

void on_end_signal(int) { g_end = 1; }

int complain(const std::string& text, int status) {
  std::fprintf(stderr, "%s: %s\n", kName, text.c_str());
  return status;
}

/// What becomes of the entries: lines, statistics, a recording, a picture.
class Outputs {
 public:
  explicit Outputs(const MonitorOptions& options)
      : _options(options),
        _observes(!options.quiet || options.stats || draws(options)),
        _on_terminal(isatty(STDOUT_FILENO) == 1),
        _style{options.hex, _on_terminal} {}

  bool open(std::string& error) {
    return _options.write_file.empty() ||
           _recording.open(_options.write_file, _options.rotation, error);
  }

  void take(Entry entry) {
    if (_options.redact) redact(entry);
    if (!_options.write_file.empty()) _recording.add(entry);
    if (!_observes) return;
    for (const Observation& observation : _observer.take(std::move(entry))) show(observation);
  }

  /// It is `time_ns`, whether packets come or not.
  void pass_time(std::int64_t time_ns) {
    for (const Observation& observation : _observer.expire(time_ns)) show(observation);
  }

  /// Brings files and terminal up to date.
  bool flush(std::string& error) {
    if (_options.stats && _on_terminal && _table.is_due()) _table.refresh(_statistics.text());
    return flush_recording(error) && flush_output(error);
  }

  /// Writes what stands at the end.
  bool finish(std::string& error) {
    if (_options.stats) show_final_statistics();
    return flush_recording(error) && flush_output(error) &&
           write_file(_options.svg_file, _picture.svg(), error) &&
           write_file(_options.csv_file, _picture.csv(), error);
  }

 private:
  static bool draws(const MonitorOptions& options) {
    return !options.svg_file.empty() || !options.csv_file.empty();
  }

  void show(const Observation& observation) {
    if (!is_chosen(observation)) return;
    if (_options.stats) {
      _statistics.add(observation);
    } else if (!_options.quiet) {
      const std::string line =
          _options.json ? json_line(observation, _options.hex) : text_line(observation, _style);
      std::fwrite(line.data(), 1, line.size(), stdout);
    }
    if (draws(_options)) _picture.add(observation);
  }

  bool is_chosen(const Observation& observation) const {
    const auto& channels = _options.channels;
    // What was lost, or noted, may concern any channel.
    return (channels.empty() || observation.decoded.kind == Kind::kNote ||
            std::find(channels.begin(), channels.end(), observation.entry.channel) !=
                channels.end()) &&
           _options.filter.passes(observation);
  }

  void show_final_statistics() {
    _table.finish(_options.json ? _statistics.json() : _statistics.text());
  }

  bool flush_recording(std::string& error) {
    return _options.write_file.empty() || _recording.flush(error);
  }

  static bool flush_output(std::string& error) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return true;
    error = std::string("cannot write standard output: ") + std::strerror(errno);
    return false;
  }

  static bool write_file(const std::string& path, const std::string& text, std::string& error) {
    if (path.empty()) return true;
    std::FILE* const file = std::fopen(path.c_str(), "we");
    const bool written =
        file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if ((file == nullptr || std::fclose(file) == 0) && written) return true;
    error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }

  const MonitorOptions& _options;
  const bool _observes;  // more than a recording is wanted
  const bool _on_terminal;
  LineStyle _style;
  Observer _observer;
  RecordingFile _recording;
  Statistics _statistics;
  StatusTable _table;
  LatencyPicture _picture;
};

int read_recording(const MonitorOptions& options, Outputs& outputs) {
  std::ifstream file;
  std::string error;
  if (!open_recording(options.read_file, file, error)) return complain(error, kFailure);
  PcapngReader reader(file);
  Entry entry;
  PcapngReader::Outcome outcome;
  while ((outcome = reader.next(entry)) == PcapngReader::kEntry && g_end == 0) {
    outputs.take(std::move(entry));
  }
  if (outcome == PcapngReader::kForeign) {
    return complain(options.read_file + ": " + reader.error(), kFailure);
  }
  if (!outputs.finish(error)) return complain(error, kFailure);
  if (outcome != PcapngReader::kDamaged) return kGood;
  return complain(options.read_file + ": " + reader.error() + "; all before that has been shown",
                  kDamaged);
}

int watch_bus(Outputs& outputs, const sigset_t& waiting) {
  std::string error;
  auto capture = Capture::open(error);
  if (!capture) return complain(error, kNoBus);
  std::fputs("vlm_bus_monitor: capturing every packet published from now on\n", stderr);
  std::vector<Entry> entries;
  bool is_last = false;
  while (!is_last) {
    is_last = g_end != 0;  // what was published before the signal is still taken
    entries.clear();
    if (!capture->take(entries, error)) return complain(error, kNoBus);
    for (Entry& entry : entries) outputs.take(std::move(entry));
    outputs.pass_time(capture->taken_until_ns());
    if (!(is_last ? outputs.finish(error) : outputs.flush(error))) return complain(error, kFailure);
    if (!is_last) capture->wait(!entries.empty(), waiting);
  }
  return kGood;
}

/// The signals that end the program come only while it waits; returns the mask to wait with.
sigset_t hold_end_signals() {
  std::signal(SIGPIPE, SIG_IGN);
  struct sigaction action {};
  action.sa_handler = on_end_signal;
  sigset_t held;
  sigset_t before;
  sigemptyset(&held);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    sigaction(number, &action, nullptr);
    sigaddset(&held, number);
  }
  sigprocmask(SIG_BLOCK, &held, &before);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigdelset(&before, number);
  return before;
}

}  // namespace

int main(int argc, char** argv) {
  MonitorOptions options;
  std::string error;
  if (!parse_monitor_options(vlm::host::arguments_of(argc, argv), options, error)) {
    return complain(error + "; see --help", kUsage);
  }
  if (options.help) return vlm::host::show(kName, monitor_help());
  if (options.version) return vlm::host::show(kName, "vlm_bus_monitor " VLM_VERSION "\n");
  Outputs outputs(options);
  if (options.read_file.empty()) {
    // Before the signals are held: a pipe is opened when somebody reads it.
    if (!outputs.open(error)) return complain(error, kFailure);
    const sigset_t waiting = hold_end_signals();
    return watch_bus(outputs, waiting);
  }
  if (!outputs.open(error)) return complain(error, kFailure);
  return read_recording(options, outputs);
}
