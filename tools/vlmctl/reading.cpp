#include "reading.h"

#include <algorithm>

#include "assignment.h"

namespace vlm::ctl {

using catalogue::Item;

namespace {

void require_readable(Session& session, const Item& item) {
  if (session.camera().can_get(*item.row)) return;
  if (item.row->kind == catalogue::Kind::kAction) {
    fail(kNotOffered, item.name(), "an action cannot be read, vlmctl run runs it");
  }
  fail(kNotOffered, item.name(), "it cannot be read over " + session.camera().name());
}

}  // namespace

std::vector<Item> readable_items(Session& session, const std::vector<std::string>& names) {
  std::vector<Item> items;
  items.reserve(names.size());
  for (const std::string& name : names) items.push_back(find_item(name));
  for (const Item& item : items) require_readable(session, item);
  return items;
}

const client::Answer& Reader::answer_for(const catalogue::Row& row) {
  const auto found = std::find_if(_told.begin(), _told.end(),
                                  [&row](const Told& each) { return each.row == &row; });
  if (found != _told.end()) return found->answer;
  _told.push_back({&row, _session.get(row)});
  return _told.back().answer;
}

Read Reader::read(const Item& item) {
  const client::Answer& answer = answer_for(*item.row);
  if (auto failure = failure_of(answer, item.name())) return *failure;
  const catalogue::Value* const value = value_of(item, answer.value);
  if (value == nullptr) return Failure{kNoAnswer, item.name(), "the answer does not hold it"};
  return *value;
}

}  // namespace vlm::ctl
