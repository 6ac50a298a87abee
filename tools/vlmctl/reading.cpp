#include "reading.h"

#include "assignment.h"

namespace vlm::ctl {

using catalogue::Item;

namespace {

void require_readable(Session& session, const Item& item) {
  if (session.camera().can_get(*item.row)) return;
  if (item.row->kind == catalogue::Kind::kAction) {
    throw Failure{kNotOffered, item.name(), "an action cannot be read, vlmctl run runs it"};
  }
  throw Failure{kNotOffered, item.name(), "it cannot be read over " + session.camera().name()};
}

}  // namespace

std::vector<Item> readable_items(Session& session, const std::vector<std::string>& names) {
  std::vector<Item> items;
  items.reserve(names.size());
  for (const std::string& name : names) items.push_back(find_item(name));
  for (const Item& item : items) require_readable(session, item);
  return items;
}

Read Reader::read(const Item& item) {
  auto answer = _answers.find(item.row);
  if (answer == _answers.end()) {
    answer = _answers.emplace(item.row, _session.get(*item.row)).first;
  }
  if (auto failure = failure_of(answer->second, item.name())) return *failure;
  const catalogue::Value* const value = value_of(item, answer->second.value);
  if (value == nullptr) return Failure{kNoAnswer, item.name(), "the answer does not hold it"};
  return *value;
}

}  // namespace vlm::ctl
