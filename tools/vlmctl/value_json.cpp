#include "value_json.h"

#include <cmath>

#include "catalogue_text.h"
#include "json_writer.h"

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

/// Keys that do not apply are left out.
std::string unless_empty(const host::JsonBlock& block) {
  const std::string json = block.str();
  return json.size() == 2 ? "" : json;
}

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
  host::JsonBlock json = host::json_object();
  for (const auto& member : members) {
    json.member(member.field->name, value_json(*member.field, member.value));
  }
  return json.str();
}

// Limits in the field's unit.

std::string limit_json(const Field& field, double limit) {
  if (field.type == Type::kFloat) return catalogue::format_float(static_cast<float>(limit));
  return catalogue::format_integer(field, static_cast<s64>(limit));
}

std::string range_json(const Field& field) {
  host::JsonBlock json = host::json_object();
  if (field.ranged) {
    json.member("min", limit_json(field, field.range.min));
    json.member("max", limit_json(field, field.range.max));
  } else if (is_plain_number(field.type) && field.type != Type::kFloat) {
    const catalogue::Limits limits = catalogue::type_limits(field);
    json.member("min", catalogue::format_integer(field, limits.min));
    json.member("max", catalogue::format_integer(field, limits.max));
  }
  return unless_empty(json);
}

std::string choices_json(const Field& field) {
  host::JsonBlock json = host::json_array();
  for (const Choice& choice : field.choices) {
    host::JsonBlock one = host::json_object();
    one.text("name", choice.name).number("value", choice.number);
    if (*choice.note != '\0') one.text("note", choice.note);
    if (!choice.settable) one.member("settable", "false");
    json.element(one.str());
  }
  return unless_empty(json);
}

std::string flags_json(const Field& field) {
  host::JsonBlock json = host::json_array();
  for (const Flag flag : kShownFlags) {
    if (field.is(flag)) json.element(host::json_string(catalogue::text(flag)));
  }
  return json.str();
}

std::string codes_json(const Codes& codes) {
  host::JsonBlock json = host::json_object();
  if (codes.get != catalogue::kNone) json.number("get", codes.get);
  if (codes.set != catalogue::kNone) json.number("set", codes.set);
  if (codes.run != catalogue::kNone) json.number("run", codes.run);
  return unless_empty(json);
}

std::string needs_json(const Row& row) {
  host::JsonBlock json = host::json_array();
  for (const auto& need : row.needs) {
    json.element(host::json_string(std::string(need.setting) + "=" + need.choice));
  }
  return unless_empty(json);
}

void add_unless_empty(host::JsonBlock& json, const char* key, const std::string& part) {
  if (!part.empty()) json.member(key, part);
}

void add_field(host::JsonBlock& json, const Field& field);

/// The fields that have a meaning of their own.
std::string fields_json(const catalogue::List<Field>& fields) {
  host::JsonBlock json = host::json_array();
  for (const Field& field : fields) {
    if (field.is(catalogue::kFixed)) continue;
    host::JsonBlock one = host::json_object();
    one.text("name", field.name);
    add_field(one, field);
    if (*field.help != '\0') one.text("help", field.help);
    json.element(one.str());
  }
  return unless_empty(json);
}

void add_field(host::JsonBlock& json, const Field& field) {
  json.text("type", catalogue::text(field.type));
  if (*field.unit != '\0') json.text("unit", field.unit);
  if (field.scale != 1) json.number("scale", field.scale);
  add_unless_empty(json, "choices", choices_json(field));
  add_unless_empty(json, "range", range_json(field));
  json.member("flags", flags_json(field));
  if (field.type != Type::kNothing) {
    json.number("offset", field.offset).number("width", field.width);
  }
}

}  // namespace

std::string value_json(const Field& field, const Value& value) {
  if (const auto* members = std::get_if<Members>(&value)) return members_json(*members);
  if (const auto* on = std::get_if<bool>(&value)) return *on ? "true" : "false";
  const std::string written = catalogue::format(field, value);
  const bool raw = written.compare(0, 4, "raw:") == 0;
  return is_plain_number(field.type) && !raw ? written : host::json_string(written);
}

std::string raw_json(const Field& field, const Value& value) {
  if (const auto number = catalogue::wire_number(field, value)) return std::to_string(*number);
  const auto* const members = std::get_if<Members>(&value);
  if (members == nullptr) return "";
  host::JsonBlock json = host::json_object();
  for (const auto& member : *members) {
    add_unless_empty(json, member.field->name, raw_json(*member.field, member.value));
  }
  return json.str();
}

std::string description_json(const Row& row) {
  host::JsonBlock json = host::json_object();
  json.text("name", row.name()).text("kind", catalogue::text(row.kind));
  add_field(json, row.value);
  add_unless_empty(json, "needs", needs_json(row));
  add_unless_empty(json, "codes", codes_json(row.codes));
  add_unless_empty(json, "remote", codes_json(row.remote));
  add_unless_empty(json, "parameters", fields_json(row.parameters));
  add_unless_empty(json, "fields", fields_json(row.value.fields));
  return json.text("help", row.value.help).str();
}

}  // namespace vlm::ctl
