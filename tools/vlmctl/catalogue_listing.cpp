#include "catalogue_listing.h"

#include <algorithm>

#include "arguments.h"
#include "catalogue_text.h"

namespace vlm::ctl {

using catalogue::Field;
using catalogue::Row;

namespace {

constexpr catalogue::Flag kShownFlags[] = {
    catalogue::kReadOnly,    catalogue::kWriteOnly, catalogue::kVolatile, catalogue::kThermal,
    catalogue::kDestructive, catalogue::kService,   catalogue::kSecret,   catalogue::kOpen};

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size() + 1, width), ' ');
  return text;
}

std::string parameter_names(const Row& row) {
  std::string text;
  for (const Field& parameter : row.parameters) {
    if (parameter.is(catalogue::kFixed)) continue;
    text += (text.empty() ? "" : " ") + std::string(parameter.name) + "=" +
            catalogue::allowed_text(parameter);
  }
  return text;
}

std::string notes(const Field& field) {
  std::string text;
  for (const auto& choice : field.choices) {
    if (*choice.note == '\0') continue;
    text += "    " + padded(choice.name, 24) + choice.note + '\n';
  }
  return text;
}

std::string field_line(const Field& field) {
  std::string text = "    " + padded(field.name, 18) + padded(catalogue::text(field.type), 8) +
                     catalogue::allowed_text(field);
  const std::string flags = flags_text(field);
  if (!flags.empty()) text += " (" + flags + ")";
  if (*field.help != '\0') text += std::string(". ") + field.help;
  return text + '\n';
}

std::string field_lines(const char* title, const catalogue::List<Field>& fields) {
  std::string text;
  for (const Field& field : fields) {
    if (!field.is(catalogue::kFixed)) text += field_line(field);
  }
  return text.empty() ? "" : std::string("  ") + title + ":\n" + text;
}

std::string needs_text(const Row& row) {
  std::string text;
  for (const auto& need : row.needs) {
    text += (text.empty() ? "" : " ") + std::string(need.setting) + "=" + need.choice;
  }
  return text;
}

}  // namespace

std::string flags_text(const Field& field) {
  std::string text;
  for (const auto flag : kShownFlags) {
    if (field.is(flag)) text += (text.empty() ? "" : ", ") + std::string(catalogue::text(flag));
  }
  return text;
}

std::string allowed(const Row& row) {
  if (row.kind == catalogue::Kind::kAction) return parameter_names(row);
  return catalogue::allowed_text(row.value);
}

std::string short_listing(const Row& row) {
  const bool action = row.kind == catalogue::Kind::kAction;
  std::string text = padded(row.name(), 36) +
                     padded(action ? "action" : catalogue::text(row.value.type), 8) + allowed(row);
  while (text.back() == ' ') text.pop_back();
  return text;
}

std::string long_listing(const Row& row) {
  const bool group = row.value.type == catalogue::Type::kGroup;
  const bool action = row.kind == catalogue::Kind::kAction;
  std::string text = std::string(row.name()) + "\n  " + row.value.help + ".\n";
  text += std::string("  ") + catalogue::text(row.kind);
  if (row.value.type != catalogue::Type::kNothing) {
    text += std::string(", ") + (action ? "its result a " : "") + catalogue::text(row.value.type);
  }
  const std::string flags = flags_text(row.value);
  if (!flags.empty()) text += ", " + flags;
  text += '\n';
  if (!group && !action) text += "  allowed: " + catalogue::allowed_text(row.value) + '\n';
  text += notes(row.value);
  if (!row.needs.empty()) text += "  needs: " + needs_text(row) + '\n';
  text += field_lines("parameters", row.parameters);
  text += field_lines("fields", row.value.fields);
  text.pop_back();
  return text;
}

}  // namespace vlm::ctl
