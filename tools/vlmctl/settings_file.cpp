#include "settings_file.h"

#include <charconv>
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

std::string quoted(const std::string& text) {
  std::string written = "\"";
  for (const char letter : text) {
    if (letter == '"' || letter == '\\') written += '\\';
    written += printable(std::string(1, letter));
  }
  return written + '"';
}

/// The letter behind a backslash at `place`, which moves to its end.
std::optional<char> escaped_letter(const std::string& written, std::size_t& place) {
  if (++place >= written.size()) return std::nullopt;
  const char letter = written[place];
  if (letter == '"' || letter == '\\') return letter;
  unsigned code = 0;
  if (letter != 'x' || place + 2 >= written.size()) return std::nullopt;
  const char* const digits = written.data() + place + 1;
  const auto [rest, fault] = std::from_chars(digits, digits + 2, code, 16);
  place += 2;
  if (fault != std::errc{} || rest != digits + 2) return std::nullopt;
  return static_cast<char>(code);
}

std::optional<std::string> unquoted(const std::string& written) {
  if (written.empty() || written[0] != '"') return written;
  std::string text;
  for (std::size_t i = 1; i < written.size(); ++i) {
    if (written[i] == '"') {
      if (i + 1 != written.size()) return std::nullopt;
      return text;
    }
    std::optional<char> letter = written[i];
    if (written[i] == '\\') letter = escaped_letter(written, i);
    if (!letter) return std::nullopt;
    text += *letter;
  }
  return std::nullopt;
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
  const auto text = unquoted(value);
  if (!text) fail(kNotAllowed, name, "the quotes do not end where the line does");
  return {item, parse_value(item, *text)};
}

}  // namespace

std::string settings_line(const catalogue::Item& item, const Value& value) {
  const std::string written = catalogue::format(*item.field, value);
  const bool quotes = item.field->type == catalogue::Type::kText && !is_plain(written);
  return item.name() + " = " + (quotes ? quoted(written) : written);
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
