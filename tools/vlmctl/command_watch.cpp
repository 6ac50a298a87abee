#include "assignment.h"
#include "commands.h"
#include "interruption.h"
#include "reading.h"
#include "tally.h"

namespace vlm::ctl {

using catalogue::Item;
using catalogue::Value;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::seconds kDefaultInterval{1};

/// Shows what is read, round by round.
class Watch {
 public:
  Watch(Session& session, std::vector<Item> items, bool changes)
      : _session(session), _items(std::move(items)), _changes(changes), _last(_items.size()) {}

  void round() {
    Reader reader(_session);
    for (std::size_t i = 0; i < _items.size(); ++i) {
      const Read read = reader.read(_items[i]);
      if (const auto* failure = std::get_if<Failure>(&read)) {
        _session.console().failure(*failure);
        _tally.failed(failure->status);
      } else {
        show(_items[i], std::get<Value>(read), _last[i]);
        _tally.succeeded();
      }
    }
  }
  int status() const { return _tally.status(); }

 private:
  void show(const Item& item, const Value& value, std::optional<Value>& last) {
    const bool same = last && is_same(*item.field, value, *last);
    if (_changes && same) return;
    last.emplace(value);
    const Console& console = _session.console();
    if (console.json) return console.value(item, value);
    console.line(console.time() + " " + item.name() + " = " + shown(*item.field, value));
  }

  Session& _session;
  const std::vector<Item> _items;
  const bool _changes;
  std::vector<std::optional<Value>> _last;
  Tally _tally;
};

}  // namespace

int run_watch(Session& session, const Arguments& arguments) {
  const auto interval = arguments.duration("--every").value_or(kDefaultInterval);
  const auto count = arguments.number("--count", 1);
  if (arguments.words.empty()) fail(kUsage, "", "watch takes names");
  Watch watch(session, readable_items(session, arguments.words), arguments.has("--changes"));
  auto next = Clock::now();
  for (unsigned round = 0; (!count || round < *count) && pause_until(next); ++round) {
    watch.round();
    next += interval;
  }
  return watch.status();
}

}  // namespace vlm::ctl
