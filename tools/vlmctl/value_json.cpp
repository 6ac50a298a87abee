#include "value_json.h"

#include <cmath>

#include "catalogue_text.h"
#include "json.h"

namespace vlm::ctl {

using catalogue::Choice;
using catalogue::Codes;
using catalogue::Field;
using catalogue::Flag;
using catalogue::Members;
using catalogue::Row;
using catalogue::s64;
using catalogue::Type;
using catalogue::Value;

namespace {

constexpr Flag kShownFlags[] = {catalogue::kReadOnly, catalogue::kWriteOnly,   catalogue::kVolatile,
                                catalogue::kThermal,  catalogue::kDestructive, catalogue::kService,
                                catalogue::kSecret,   catalogue::kOpen};

/// Whether the value is written as a number where it is allowed.
bool is_plain_number(Type type) {
  switch (type) {
    case Type::kU8:
    case Type::kU16:
    case Type::kU32:
    case Type::kU64:
    case Type::kS8:
    case Type::kS16:
    case Type::kS32:
    case Type::kFloat: return true;
    default: return false;
  }
}

std::string members_json(const Members& members) {
  JsonBuilder json = JsonBuilder::object();
  for (const auto& member : members) {
    json.add(member.field->name, value_json(*member.field, member.value));
  }
  return json.text();
}

// Limits in the field's unit.

std::string limit_json(const Field& field, double limit) {
  if (field.type == Type::kFloat) return catalogue::format_float(static_cast<float>(limit));
  return catalogue::format_integer(field, static_cast<s64>(limit));
}

std::string range_json(const Field& field) {
  JsonBuilder json = JsonBuilder::object();
  if (field.ranged) {
    json.add("min", limit_json(field, field.range.min));
    json.add("max", limit_json(field, field.range.max));
  } else if (is_plain_number(field.type) && field.type != Type::kFloat) {
    const catalogue::Limits limits = catalogue::type_limits(field);
    json.add("min", catalogue::format_integer(field, limits.min));
    json.add("max", catalogue::format_integer(field, limits.max));
  }
  return json.empty() ? "" : json.text();
}

std::string choices_json(const Field& field) {
  JsonBuilder json = JsonBuilder::array();
  for (const Choice& choice : field.choices) {
    JsonBuilder one = JsonBuilder::object();
    one.add_text("name", choice.name).add_number("value", choice.number);
    if (*choice.note != '\0') one.add_text("note", choice.note);
    if (!choice.settable) one.add("settable", "false");
    json.append(one.text());
  }
  return json.empty() ? "" : json.text();
}

std::string flags_json(const Field& field) {
  JsonBuilder json = JsonBuilder::array();
  for (const Flag flag : kShownFlags) {
    if (field.is(flag)) json.append(json_text(catalogue::text(flag)));
  }
  return json.text();
}

std::string codes_json(const Codes& codes) {
  JsonBuilder json = JsonBuilder::object();
  if (codes.get != catalogue::kNone) json.add_number("get", codes.get);
  if (codes.set != catalogue::kNone) json.add_number("set", codes.set);
  if (codes.run != catalogue::kNone) json.add_number("run", codes.run);
  return json.empty() ? "" : json.text();
}

std::string needs_json(const Row& row) {
  JsonBuilder json = JsonBuilder::array();
  for (const auto& need : row.needs) {
    json.append(json_text(std::string(need.setting) + "=" + need.choice));
  }
  return json.empty() ? "" : json.text();
}

void add_unless_empty(JsonBuilder& json, const char* key, const std::string& part) {
  if (!part.empty()) json.add(key, part);
}

void add_field(JsonBuilder& json, const Field& field);

/// The fields that have a meaning of their own.
std::string fields_json(const catalogue::List<Field>& fields) {
  JsonBuilder json = JsonBuilder::array();
  for (const Field& field : fields) {
    if (field.is(catalogue::kFixed)) continue;
    JsonBuilder one = JsonBuilder::object();
    one.add_text("name", field.name);
    add_field(one, field);
    if (*field.help != '\0') one.add_text("help", field.help);
    json.append(one.text());
  }
  return json.empty() ? "" : json.text();
}

void add_field(JsonBuilder& json, const Field& field) {
  json.add_text("type", catalogue::text(field.type));
  if (*field.unit != '\0') json.add_text("unit", field.unit);
  if (field.scale != 1) json.add_number("scale", field.scale);
  add_unless_empty(json, "choices", choices_json(field));
  add_unless_empty(json, "range", range_json(field));
  json.add("flags", flags_json(field));
  if (field.type != Type::kNothing) {
    json.add_number("offset", field.offset).add_number("width", field.width);
  }
}

}  // namespace

std::string value_json(const Field& field, const Value& value) {
  if (const auto* members = std::get_if<Members>(&value)) return members_json(*members);
  if (const auto* on = std::get_if<bool>(&value)) return *on ? "true" : "false";
  const std::string written = catalogue::format(field, value);
  const bool raw = written.compare(0, 4, "raw:") == 0;
  return is_plain_number(field.type) && !raw ? written : json_text(written);
}

std::string raw_json(const Field& field, const Value& value) {
  if (const auto number = catalogue::wire_number(field, value)) return std::to_string(*number);
  const auto* const members = std::get_if<Members>(&value);
  if (members == nullptr) return "";
  JsonBuilder json = JsonBuilder::object();
  for (const auto& member : *members) {
    add_unless_empty(json, member.field->name, raw_json(*member.field, member.value));
  }
  return json.text();
}

std::string description_json(const Row& row) {
  JsonBuilder json = JsonBuilder::object();
  json.add_text("name", row.name()).add_text("kind", catalogue::text(row.kind));
  add_field(json, row.value);
  add_unless_empty(json, "needs", needs_json(row));
  add_unless_empty(json, "codes", codes_json(row.codes));
  add_unless_empty(json, "remote", codes_json(row.remote));
  add_unless_empty(json, "parameters", fields_json(row.parameters));
  add_unless_empty(json, "fields", fields_json(row.value.fields));
  return json.add_text("help", row.value.help).text();
}

}  // namespace vlm::ctl
