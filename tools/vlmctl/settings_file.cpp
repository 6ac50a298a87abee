#include "settings_file.h"

#include <optional>

#include "catalogue_text.h"
#include "console.h"
#include "session.h"
#include "text_file.h"

namespace vlm::ctl {

using catalogue::Value;

namespace {

bool is_plain(const std::string& text) {
  return printable(text) == text &&
         (text.empty() || (text.front() != '"' && text.front() != ' ' && text.back() != ' '));
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

Assignment parse_line(const std::string& line) {
  const auto equals = line.find('=');
  if (equals == std::string::npos) fail(kNotAllowed, line, "name = value is wanted");
  const std::string name = trimmed(line.substr(0, equals));
  const std::string value = trimmed(line.substr(equals + 1));
  const catalogue::Item item = find_item(name);
  if (item.field->type != catalogue::Type::kText) return {item, parse_value(item, value)};
  const auto text = catalogue::unquoted(value);
  if (!text) fail(kNotAllowed, name, "the quotes do not end where the line does");
  return {item, parse_value(item, *text)};
}

}  // namespace

std::string settings_line(const catalogue::Item& item, const Value& value) {
  const std::string written = catalogue::format(*item.field, value);
  const bool quotes = item.field->type == catalogue::Type::kText && !is_plain(written);
  return item.name() + " = " + (quotes ? catalogue::in_quotes(written) : written);
}

std::vector<Assignment> read_settings_file(const std::string& path) {
  const auto lines = read_lines(path);
  if (lines.empty() || lines[0] != kSettingsFileHead) {
    fail(kNotAllowed, path, std::string("its first line is not ") + kSettingsFileHead);
  }
  std::vector<Assignment> assignments;
  std::string faults;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const std::string line = trimmed(lines[i]);
    if (line.empty() || line[0] == '#') continue;
    try {
      assignments.push_back(parse_line(line));
    } catch (const Failure& failure) {
      faults += (faults.empty() ? "" : "; ") + std::string("line ") + std::to_string(i + 1) + ": " +
                failure.subject + ": " + failure.message;
    }
  }
  if (!faults.empty()) fail(kNotAllowed, path, faults);
  return assignments;
}

}  // namespace vlm::ctl
