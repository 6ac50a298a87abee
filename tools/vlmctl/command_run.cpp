#include <atomic>
#include <cstring>

#include "assignment.h"
#include "commands.h"
#include "interruption.h"
#include "progress.h"
#include "velmar_err.h"

namespace vlm::ctl {

using catalogue::Row;
using client::Answer;
using client::Outcome;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds kPollInterval{200};
constexpr std::chrono::minutes kLongestWait{10};

const Row& find_action(Session& session, const std::string& name) {
  const catalogue::Item item = find_item(name);
  if (item.row->kind != catalogue::Kind::kAction) {
    fail(kNotOffered, name, "it is no action, vlmctl get and set are for it");
  }
  if (!session.camera().can_run(*item.row)) {
    fail(kNotOffered, name, "it cannot be run over " + session.camera().name());
  }
  return *item.row;
}

void check_parameters(const Row& row, const catalogue::Members& parameters) {
  catalogue::Payload scratch{};
  std::string error;
  if (catalogue::encode_parameters(row, parameters, scratch, error)) return;
  fail(kNotAllowed, row.name(), error);
}

void confirm(const Session& session, const Row& row) {
  const Console& console = session.console();
  if (!console.asks ||
      console.confirm(std::string(row.name()) + ": " + row.value.help + ". Go on?")) {
    return;
  }
  fail(kUsage, row.name(), "not confirmed, nothing was sent");
}

void show_done(const Console& console, const Row& row, const catalogue::Value& result) {
  if (row.value.type != catalogue::Type::kNothing) {
    return console.value({&row, &row.value}, result);
  }
  if (!console.json) return console.line(std::string(row.name()) + ": done");
  host::JsonBlock json = host::json_object();
  json.text("name", row.name()).text("time", console.time());
  console.object(json);
}

/// The state that the camera tells; empty: it is idle.
std::string state_of(const Answer& status) {
  if (status.outcome == Outcome::kRefused || status.outcome == Outcome::kBusy) {
    return vlm_strerr(status.error);
  }
  if (!status.done()) return text(status.outcome);
  const auto* const choice = std::get_if<const catalogue::Choice*>(&status.value);
  if (choice == nullptr) return "an unknown state";
  return std::strcmp((*choice)->name, "idle") == 0 ? "" : (*choice)->name;
}

/// Counts the pictures of which the camera tells, for as long as it lives and where somebody watches.
class Pictures {
 public:
  explicit Pictures(Session& session)
      : _camera(session.camera()), _listens(session.console().live != nullptr && _camera.is_bus()) {
    if (!_listens) return;
    _camera.on_notification([this](const msg_from_rep_t& message) {
      if (message.msg_type == LCM_MISC_IMAGE_INFO) ++_count;
    });
  }
  ~Pictures() {
    if (_listens) _camera.on_notification(nullptr);
  }
  Pictures(const Pictures&) = delete;
  Pictures& operator=(const Pictures&) = delete;

  /// ", pictures: 3"; empty: none so far.
  std::string text() const {
    const unsigned count = _count;
    return count == 0 ? "" : ", pictures: " + std::to_string(count);
  }

 private:
  CameraLink& _camera;
  const bool _listens;
  std::atomic<unsigned> _count{0};
};

/// Until the camera is idle; tells each state that it goes through.
void wait_until_idle(Session& session, const Row& row, Clock::duration limit,
                     const Pictures& pictures, const Progress& progress) {
  const Row& status = *find_item("camera.status").row;
  const auto deadline = Clock::now() + limit;
  std::string told;
  for (auto next = Clock::now();;) {
    const std::string state = state_of(session.get(status));
    if (state.empty()) return;
    if (state != told) session.console().remark(std::string(row.name()) + ": " + state);
    told = state;
    progress.show_with_time(row.name() + (": " + state) + pictures.text());
    next += kPollInterval;
    if (next > deadline) fail(kRanOut, row.name(), "still " + state);
    if (!pause_until(next)) fail(kRanOut, row.name(), "interrupted while " + state);
  }
}

}  // namespace

int run_run(Session& session, const Arguments& arguments) {
  if (arguments.words.empty()) fail(kUsage, "", "run takes the name of an action");
  const auto limit = arguments.duration("--for").value_or(kLongestWait);
  const Row& row = find_action(session, arguments.words[0]);
  const auto parameters =
      parse_parameters(row, Words(arguments.words.begin() + 1, arguments.words.end()));
  check_parameters(row, parameters);
  const bool waits = arguments.has("--wait");
  if (waits && !session.camera().can_get(*find_item("camera.status").row)) {
    fail(kNotOffered, row.name(), "its end cannot be seen over " + session.camera().name());
  }
  if (row.is(catalogue::kDestructive) && !arguments.has("--yes")) confirm(session, row);
  const Pictures pictures(session);
  const Progress progress(session.console());
  progress.show_with_time(row.name());
  const Answer answer = session.run(row, parameters);
  if (const auto failure = failure_of(answer, row.name(), row)) throw Failure(*failure);
  if (waits) wait_until_idle(session, row, limit, pictures, progress);
  show_done(session.console(), row, answer.value);
  return kDone;
}

}  // namespace vlm::ctl
