#include <algorithm>

#include "commands.h"
#include "reading.h"
#include "settings_file.h"
#include "tally.h"
#include "value_json.h"

namespace vlm::ctl {

using catalogue::Item;
using catalogue::Value;

namespace {

using Side = std::optional<Value>;

class Comparison {
 public:
  explicit Comparison(const Console& console) : _console(console) {}

  void compare(const Item& item, const Side& left, const Side& right) {
    if (left && right && is_same(*item.field, *left, *right)) return;
    _different = true;
    if (_console.json) return show_json(item, left, right);
    _console.line(item.name() + ": " + side_text(item, left) + " | " + side_text(item, right));
  }
  bool different() const { return _different; }

 private:
  static std::string side_text(const Item& item, const Side& side) {
    return side ? shown(*item.field, *side) : "(none)";
  }

  void show_json(const Item& item, const Side& left, const Side& right) {
    host::JsonBlock json = host::json_object();
    json.text("name", item.name());
    if (left) json.member("left", value_json(*item.field, *left));
    if (right) json.member("right", value_json(*item.field, *right));
    if (*item.field->unit != '\0') json.text("unit", item.field->unit);
    _console.object(json);
  }

  const Console& _console;
  bool _different = false;
};

/// The last value that the file gives the item.
Side value_in(const std::vector<Assignment>& file, const Item& item) {
  const auto found = std::find_if(file.rbegin(), file.rend(), [&](const Assignment& each) {
    return each.item.field == item.field && each.item.row == item.row;
  });
  if (found == file.rend()) return std::nullopt;
  return found->value;
}

int compare_files(const Console& console, const std::vector<Assignment>& left,
                  const std::vector<Assignment>& right) {
  Comparison comparison(console);
  for (const Assignment& each : left) {
    comparison.compare(each.item, each.value, value_in(right, each.item));
  }
  for (const Assignment& each : right) {
    if (!value_in(left, each.item)) comparison.compare(each.item, std::nullopt, each.value);
  }
  return comparison.different() ? kDifferences : kDone;
}

/// With what the camera has of what the file holds.
int compare_camera(Session& session, const std::vector<Assignment>& file) {
  Comparison comparison(session.console());
  Reader reader(session);
  Tally tally;
  for (const Assignment& each : file) {
    const Read read = reader.read(each.item);
    if (const auto* failure = std::get_if<Failure>(&read)) {
      session.console().failure(*failure);
      tally.failed(failure->status);
      continue;
    }
    comparison.compare(each.item, each.value, std::get<Value>(read));
    tally.succeeded();
  }
  if (tally.status() != kDone) return tally.status();
  return comparison.different() ? kDifferences : kDone;
}

}  // namespace

int run_diff(Session& session, const Arguments& arguments) {
  const Words& files = arguments.words;
  if (files.empty() || files.size() > 2) fail(kUsage, "", "diff takes one or two FILEs");
  const auto left = read_settings_file(files[0]);
  if (files.size() == 2) {
    return compare_files(session.console(), left, read_settings_file(files[1]));
  }
  Words names;
  for (const Assignment& each : left) names.push_back(each.item.name());
  readable_items(session, names);
  return compare_camera(session, left);
}

}  // namespace vlm::ctl
