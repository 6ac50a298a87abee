#include <algorithm>

#include "assignment.h"
#include "checking_link.h"
#include "commands.h"
#include "duration.h"
#include "format.h"
#include "interruption.h"
#include "progress.h"
#include "reading.h"
#include "script.h"
#include "test_report.h"
#include "text_file.h"
#include "udp_link.h"

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds kExpectInterval{100};
constexpr const char* kNotInBatch[] = {"batch", "shell"};

std::chrono::milliseconds duration_word(const Words& words, std::size_t place) {
  const auto parsed = place < words.size() ? parse_duration(words[place]) : std::nullopt;
  if (!parsed) fail(kUsage, "", words[0] + " takes " + kDurationForm);
  return *parsed;
}

Words from(const Words& words, std::size_t place) {
  return Words(words.begin() + static_cast<std::ptrdiff_t>(std::min(place, words.size())),
               words.end());
}

/// What a line may say beside the sub-commands.
class StepRunner {
 public:
  explicit StepRunner(Session& session) : _session(session) {}

  /// Returns the status; throws Failure.
  int run(const Words& words) {
    if (words.empty()) fail(kUsage, "", "a command is missing");
    if (words[0] == "sleep") return sleep(words);
    if (words[0] == "expect") return expect(words, std::chrono::milliseconds(0));
    if (words[0] == "within") return within(words);
    const bool wrong = std::any_of(std::begin(kNotInBatch), std::end(kNotInBatch),
                                   [&](const char* name) { return words[0] == name; });
    if (wrong) fail(kUsage, "", words[0] + " is for the command line");
    return run_command(_session, words);
  }

 private:
  static int sleep(const Words& words) {
    const auto time = duration_word(words, 1);
    if (words.size() != 2) fail(kUsage, "", "sleep takes one time");
    pause_until(Clock::now() + time);
    return kDone;
  }

  /// Reads again until it is so, or `limit` has passed.
  int expect(const Words& words, std::chrono::milliseconds limit) {
    if (words.size() != 2) fail(kUsage, "", "expect takes one NAME=VALUE");
    const Assignment wanted = parse_assignment(words[1]);
    const auto item = readable_items(_session, {wanted.item.name()}).at(0);
    const auto deadline = Clock::now() + limit;
    for (auto next = Clock::now();;) {
      const Read read = Reader(_session).read(item);
      const auto* const value = std::get_if<catalogue::Value>(&read);
      if (value != nullptr && is_same(*item.field, wanted.value, *value)) return kDone;
      next = std::max(next + kExpectInterval, Clock::now());
      if (next <= deadline && pause_until(next)) continue;
      if (value == nullptr) throw Failure(std::get<Failure>(read));
      fail(kDiffers, item.name(), "it is " + shown(*item.field, *value));
    }
  }

  int within(const Words& words) {
    const auto limit = duration_word(words, 1);
    const Words command = from(words, 2);
    if (!command.empty() && command[0] == "expect") return expect(command, limit);
    const TimeLimit time_limit(Clock::now() + limit);
    const int status = run(command);
    if (!time_limit.over()) return status;
    fail(kRanOut, "", "not done within " + words[1]);
  }

  Session& _session;
};

/// While it lives, nothing is asked: who wrote the script has answered.
class TakenAtItsWord {
 public:
  explicit TakenAtItsWord(Console& console) : _console(console), _asks(console.asks) {
    console.asks = false;
  }
  ~TakenAtItsWord() { _console.asks = _asks; }
  TakenAtItsWord(const TakenAtItsWord&) = delete;
  TakenAtItsWord& operator=(const TakenAtItsWord&) = delete;

 private:
  Console& _console;
  const bool _asks;
};

class Batch {
 public:
  Batch(Session& session, bool keep_going, bool tap, bool keeps_results)
      : _session(session),
        _runner(session),
        _keep_going(keep_going),
        _tap(tap),
        _keeps_results(keeps_results),
        _progress(session.console()) {}

  void run(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      if (_stopped) return;
      if (step.times == 0) run_step(step);
      for (unsigned i = 0; i < step.times && !_stopped; ++i) run(step.body);
    }
  }

  void finish() {
    if (_tap) _session.console().line("1.." + std::to_string(_steps));
  }

  /// None where nobody wants them: repeats have no end to speak of.
  const std::vector<StepResult>& results() const { return _results; }

  /// Of the failed step that stopped it; where it went on, that part of it failed.
  int status() const {
    if (_failures == 0) return interrupted() ? kPartly : kDone;
    return _keep_going ? kPartly : _last_status;
  }

 private:
  void run_step(const Step& step) {
    const Console& console = _session.console();
    console.forget_failure();
    const auto start = Clock::now();
    const int status = status_of(step);
    StepResult result{step.text, status, console.last_failure(), Clock::now() - start};
    ++_steps;
    if (_tap) console.line(tap_lines(_steps, result));
    if (_keeps_results) _results.push_back(std::move(result));
    if (status != kDone) fail(step, status);
    if (interrupted()) _stopped = true;
    _progress.show_steps(_steps, _failures);
  }

  int status_of(const Step& step) {
    try {
      return _runner.run(step.words);
    } catch (const Failure& failure) {
      _session.console().failure(failure);
      return failure.status;
    }
  }

  void fail(const Step& step, int status) {
    ++_failures;
    _last_status = status;
    _stopped = !_keep_going;
    _session.console().remark(host::format("line %zu ended with %d: %s", step.line, status,
                                           printable(step.text).c_str()));
  }

  Session& _session;
  StepRunner _runner;
  const bool _keep_going;
  const bool _tap;
  const bool _keeps_results;
  bool _stopped = false;
  std::size_t _steps = 0;
  std::size_t _failures = 0;
  int _last_status = kDone;
  std::vector<StepResult> _results;
  const Progress _progress;
};

/// Runs every line once, up to where it would send something.
class Check {
 public:
  explicit Check(const Session& session)
      : _told(session.console()),
        _silent([](const std::string&) {}, [](const std::string&) {},
                std::chrono::system_clock::now),
        _session(
            _silent, session.settings(),
            [](const Settings& settings) {
              const bool udp = UdpLink::is_url(settings.camera);
              return std::make_unique<CheckingLink>(udp ? settings.camera : "the bus", !udp);
            },
            [](const Settings&) -> std::vector<FoundCamera> { throw Checked{}; }) {}

  int run(const std::vector<Step>& steps) {
    int status = kDone;
    for (const Step& step : steps) {
      const int own = step.times != 0 ? run(step.body) : check(step);
      if (own != kDone) status = status == kDone || status == own ? own : int{kPartly};
    }
    return status;
  }

 private:
  int check(const Step& step) {
    const bool sleeps = step.words[0] == "sleep";
    _silent.forget_failure();
    int status = kDone;
    try {
      if (sleeps) {
        duration_word(step.words, 1);
      } else {
        status = StepRunner(_session).run(step.words);
      }
    } catch (const Checked&) {
      return kDone;
    } catch (const Failure& failure) {
      _silent.failure(failure);
      status = failure.status;
    }
    // Files that differ are no fault of the line.
    if (status == kDone || status == kDifferences) return kDone;
    _told.failure({static_cast<ExitStatus>(status), host::format("line %zu", step.line),
                   _silent.last_failure()});
    return status;
  }

  const Console& _told;
  Console _silent;
  Session _session;
};

}  // namespace

int run_batch(Session& session, const Arguments& arguments) {
  if (arguments.words.size() != 1) fail(kUsage, "", "batch takes one FILE");
  const std::string& path = arguments.words[0];
  const auto junit = arguments.text("--junit");
  const auto steps = parse_script(read_lines(path));
  if (arguments.has("--check")) return Check(session).run(steps);
  const TakenAtItsWord script(session.console());
  Batch batch(session, arguments.has("--keep-going"), arguments.has("--tap"), junit.has_value());
  batch.run(steps);
  batch.finish();
  if (junit) write_file(*junit, junit_text(path, batch.results()));
  return batch.status();
}

}  // namespace vlm::ctl
