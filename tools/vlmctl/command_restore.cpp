#include <cstring>

#include "commands.h"
#include "interruption.h"
#include "reading.h"
#include "settings_file.h"
#include "tally.h"
#include "writing.h"

namespace vlm::ctl {

using catalogue::Item;
using catalogue::Need;
using catalogue::Value;

namespace {

/// What a setting needs, and what to go back to.
struct Loan {
  Item item;
  Value before;
};

Value choice_value(const Item& item, const char* name) { return parse_value(item, name); }

/// Restores settings one by one.
class Restorer {
 public:
  Restorer(Session& session, bool dry_run) : _session(session), _dry_run(dry_run) {}

  /// Returns why it failed; a line that the camera has already is done.
  std::optional<Failure> restore(const Write& write) {
    const Uninterrupted line;
    std::vector<Value> before;
    if (auto failure = read_parts(write, before)) return failure;
    bool same = true;
    for (std::size_t i = 0; i < before.size(); ++i) {
      same = same && is_same(*write.parts[i].item.field, write.parts[i].value, before[i]);
    }
    if (!same && !_dry_run) {
      if (auto failure = write_with_needs(write)) return failure;
    }
    for (std::size_t i = 0; i < before.size(); ++i) show(write.parts[i], before[i]);
    return std::nullopt;
  }

 private:
  std::optional<Failure> read_parts(const Write& write, std::vector<Value>& values) {
    Reader reader(_session);
    for (const Assignment& part : write.parts) {
      const Read read = reader.read(part.item);
      if (const auto* failure = std::get_if<Failure>(&read)) return *failure;
      values.push_back(std::get<Value>(read));
    }
    return std::nullopt;
  }

  /// Sets what the row needs for as long as it takes, and puts it back.
  std::optional<Failure> write_with_needs(const Write& write) {
    std::vector<Loan> loans;
    std::optional<Failure> failure;
    for (const Need& need : write.row->needs) {
      if (!failure) failure = borrow(need, loans);
    }
    if (!failure) failure = perform(_session, write);
    for (auto loan = loans.rbegin(); loan != loans.rend(); ++loan) {
      const auto returned = perform(_session, {loan->item.row, {{loan->item, loan->before}}});
      if (returned && !failure) failure = returned;
    }
    return failure;
  }

  std::optional<Failure> borrow(const Need& need, std::vector<Loan>& loans) {
    const Item item = find_item(need.setting);
    const Read read = Reader(_session).read(item);
    if (const auto* failure = std::get_if<Failure>(&read)) return *failure;
    const Value& before = std::get<Value>(read);
    const Value wanted = choice_value(item, need.choice);
    if (is_same(*item.field, wanted, before)) return std::nullopt;
    loans.push_back({item, before});
    return perform(_session, {item.row, {{item, wanted}}});
  }

  void show(const Assignment& part, const Value& before) {
    const Console& console = _session.console();
    const bool same = is_same(*part.item.field, part.value, before);
    if (console.json) {
      return console.value(part.item, part.value, [&](host::JsonBlock& json) {
        json.text("was", shown(*part.item.field, before));
        json.member("changed", same ? "false" : "true");
        if (_dry_run) json.member("dry_run", "true");
      });
    }
    console.line(part.item.name() + " = " + shown(*part.item.field, part.value) +
                 (same ? " (unchanged)" : " (was " + shown(*part.item.field, before) + ")"));
  }

  Session& _session;
  const bool _dry_run;
};

/// Restores a pass of lines; those that were refused are left for the next one, when others have
/// changed what the refusal was for.
class Passes {
 public:
  Passes(Session& session, bool dry_run, bool keep_going)
      : _session(session), _restorer(session, dry_run), _keep_going(keep_going) {}

  int run(std::vector<Write> left) {
    while (!left.empty()) {
      const std::vector<Refusal> refused = pass(left);
      const bool progress = refused.size() < left.size();
      left.clear();
      for (const Refusal& refusal : refused) {
        if (progress && !_stopped) left.push_back(refusal.write);
        if (!progress || _stopped) report(refusal.failure);
      }
    }
    return _tally.status();
  }

 private:
  struct Refusal {
    Write write;
    Failure failure;
  };

  /// Returns what was refused.
  std::vector<Refusal> pass(const std::vector<Write>& writes) {
    std::vector<Refusal> refused;
    for (const Write& write : writes) {
      if (_stopped) break;
      if (interrupted()) {
        stop({kPartly, write.parts[0].item.name(), "interrupted, not restored"});
        break;
      }
      const auto failure = _restorer.restore(write);
      if (!failure) {
        _tally.succeeded();
      } else if (failure->status == kRefused) {
        refused.push_back({write, *failure});
      } else {
        report(*failure);
        _stopped = !_keep_going;
      }
    }
    return refused;
  }

  void stop(const Failure& failure) {
    report(failure);
    _stopped = true;
  }

  void report(const Failure& failure) {
    _session.console().failure(failure);
    _tally.failed(failure.status);
  }

  Session& _session;
  Restorer _restorer;
  const bool _keep_going;
  bool _stopped = false;
  Tally _tally;
};

}  // namespace

int run_restore(Session& session, const Arguments& arguments) {
  if (arguments.words.size() != 1) fail(kUsage, "", "restore takes one FILE");
  const auto writes = plan_writes(session, read_settings_file(arguments.words[0]));
  for (const Write& write : writes) {
    if (session.camera().can_get(*write.row)) continue;
    fail(kNotOffered, write.row->name(), "it cannot be read, so not restored");
  }
  // An interruption comes between two lines, never within one.
  const InterruptionHandler handler;
  return Passes(session, arguments.has("--dry-run"), arguments.has("--keep-going")).run(writes);
}

}  // namespace vlm::ctl
