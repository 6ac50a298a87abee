#include "assignment.h"

#include <algorithm>

#include "catalogue_text.h"
#include "exit_status.h"
#include "session.h"

namespace vlm::ctl {

using catalogue::Field;
using catalogue::Item;
using catalogue::Members;
using catalogue::Value;

namespace {

struct Halves {
  std::string name;
  std::string value;
};

Halves split(const std::string& written) {
  const auto equals = written.find('=');
  if (equals == std::string::npos || equals == 0) {
    fail(kUsage, written, "NAME=VALUE is wanted");
  }
  return {written.substr(0, equals), written.substr(equals + 1)};
}

Value parse_field(const Field& field, const std::string& name, const std::string& written) {
  std::string error;
  auto value = catalogue::parse(field, written, error);
  if (!value) fail(kNotAllowed, name, error);
  return *value;
}

}  // namespace

Value parse_value(const Item& item, const std::string& written) {
  return parse_field(*item.field, item.name(), written);
}

Assignment parse_assignment(const std::string& written) {
  const Halves halves = split(written);
  const Item item = find_item(halves.name);
  return {item, parse_value(item, halves.value)};
}

bool is_same(const Field& field, const Value& one, const Value& other) {
  const auto* const members = std::get_if<Members>(&one);
  if (members != nullptr) {
    return std::all_of(members->begin(), members->end(), [&](const auto& member) {
      const Value* const counterpart = catalogue::member(other, member.field->name);
      return counterpart != nullptr && is_same(*member.field, member.value, *counterpart);
    });
  }
  const auto number = catalogue::wire_number(field, one);
  return number ? number == catalogue::wire_number(field, other) : one == other;
}

const Value* value_of(const Item& item, const Value& row_value) {
  return item.whole() ? &row_value : catalogue::member(row_value, item.field->name);
}

Members parse_parameters(const catalogue::Row& row, const std::vector<std::string>& written) {
  Members members;
  for (const std::string& word : written) {
    const Halves halves = split(word);
    std::vector<std::string> names;
    const Field* parameter = nullptr;
    for (const Field& each : row.parameters) {
      if (each.is(catalogue::kFixed)) continue;
      names.emplace_back(each.name);
      if (halves.name == each.name) parameter = &each;
    }
    const std::string subject = std::string(row.name()) + "." + halves.name;
    if (parameter == nullptr) {
      const std::string like = catalogue::nearest(halves.name, names);
      fail(kNotAllowed, subject,
           names.empty()
               ? "it takes no parameters"
               : "no such parameter" + (like.empty() ? "" : ", did you mean " + like + "?"));
    }
    members.push_back({parameter, parse_field(*parameter, subject, halves.value)});
  }
  return members;
}

}  // namespace vlm::ctl
