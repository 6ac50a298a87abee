#include <cstring>

#include "assignment.h"
#include "commands.h"
#include "interruption.h"
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
    throw Failure{kNotOffered, name, "it is no action, vlmctl get and set are for it"};
  }
  if (!session.camera().can_run(*item.row)) {
    throw Failure{kNotOffered, name, "it cannot be run over " + session.camera().name()};
  }
  return *item.row;
}

void check_parameters(const Row& row, const catalogue::Members& parameters) {
  catalogue::Payload scratch{};
  std::string error;
  if (catalogue::encode_parameters(row, parameters, scratch, error)) return;
  throw Failure{kNotAllowed, row.name(), error};
}

void confirm(const Session& session, const Row& row) {
  if (session.console().confirm(std::string(row.name()) + ": " + row.value.help + ". Go on?"))
    return;
  throw Failure{kUsage, row.name(), "not confirmed, nothing was sent"};
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

/// Until the camera is idle; tells each state that it goes through.
void wait_until_idle(Session& session, const Row& row, Clock::duration limit) {
  const Row& status = *find_item("camera.status").row;
  const auto deadline = Clock::now() + limit;
  std::string told;
  for (auto next = Clock::now();;) {
    const std::string state = state_of(session.get(status));
    if (state.empty()) return;
    if (state != told) session.console().remark(std::string(row.name()) + ": " + state);
    told = state;
    next += kPollInterval;
    if (next > deadline) throw Failure{kRanOut, row.name(), "still " + state};
    if (!pause_until(next)) throw Failure{kRanOut, row.name(), "interrupted while " + state};
  }
}

}  // namespace

int run_run(Session& session, const Arguments& arguments) {
  if (arguments.words.empty()) throw Failure{kUsage, "", "run takes the name of an action"};
  const auto limit = arguments.duration("--for").value_or(kLongestWait);
  const Row& row = find_action(session, arguments.words[0]);
  const auto parameters =
      parse_parameters(row, Words(arguments.words.begin() + 1, arguments.words.end()));
  check_parameters(row, parameters);
  const bool waits = arguments.has("--wait");
  if (waits && !session.camera().can_get(*find_item("camera.status").row)) {
    throw Failure{kNotOffered, row.name(),
                  "its end cannot be seen over " + session.camera().name()};
  }
  if (row.is(catalogue::kDestructive) && !arguments.has("--yes")) confirm(session, row);
  const Answer answer = session.run(row, parameters);
  if (const auto failure = failure_of(answer, row.name(), row)) throw Failure(*failure);
  if (waits) wait_until_idle(session, row, limit);
  show_done(session.console(), row, answer.value);
  return kDone;
}

}  // namespace vlm::ctl
