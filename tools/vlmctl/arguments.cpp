#include "arguments.h"

#include <algorithm>
#include <cstring>

#include "catalogue_text.h"
#include "duration.h"
#include "exit_status.h"

namespace vlm::ctl {

namespace {

constexpr unsigned kMost = 1'000'000'000;
constexpr std::size_t kLineWidth = 96;

[[noreturn]] void refuse(const std::string& message) { fail(kUsage, "", message); }

const Option& known_option(const Options& options, const std::string& name) {
  if (const Option* const found = find_option(options, name)) return *found;
  std::vector<std::string> names;
  for (const Option& option : options) names.emplace_back(option.name);
  const std::string like = catalogue::nearest(name, names);
  refuse("unknown option " + name + (like.empty() ? "" : ", did you mean " + like + "?"));
}

bool is_option(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

}  // namespace

const Option* find_option(const Options& options, const std::string& name) {
  for (const Option& option : options) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

const Arguments::Given* Arguments::find(const char* option) const {
  const auto found = std::find_if(_given.rbegin(), _given.rend(), [&](const Given& each) {
    return std::strcmp(option, each.option->name) == 0;
  });
  return found != _given.rend() ? &*found : nullptr;
}

std::optional<std::string> Arguments::text(const char* option) const {
  const Given* const given = find(option);
  if (given == nullptr) return std::nullopt;
  return given->value;
}

std::optional<std::chrono::milliseconds> Arguments::duration(const char* option) const {
  const auto written = text(option);
  if (!written) return std::nullopt;
  const auto parsed = parse_duration(*written);
  if (!parsed) refuse(std::string(option) + " takes " + kDurationForm + ", not '" + *written + "'");
  return parsed;
}

std::optional<unsigned> Arguments::number(const char* option, unsigned least) const {
  const auto written = text(option);
  if (!written) return std::nullopt;
  const auto number = catalogue::parse_digits(*written, 10);
  const bool valid = number && least <= *number && *number <= kMost;
  if (!valid) {
    refuse(std::string(option) + " takes a whole number from " + std::to_string(least) +
           " on, not '" + *written + "'");
  }
  return static_cast<unsigned>(*number);
}

Arguments parse_arguments(const Options& options, const Words& line, std::size_t& place,
                          bool leading) {
  Arguments arguments;
  bool ended = false;
  while (place < line.size()) {
    const std::string& word = line[place];
    if (ended || !is_option(word)) {
      if (leading) break;
      arguments.words.push_back(line[place++]);
      continue;
    }
    ++place;
    ended = word == "--";
    if (ended) continue;
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const Option& option = known_option(options, name);
    const bool has_value = equals != std::string::npos;
    if (option.value == nullptr && has_value) refuse(name + " takes no value");
    std::string value;
    if (has_value) value = word.substr(equals + 1);
    if (option.value != nullptr && !has_value) {
      if (place == line.size()) refuse(name + " needs a value, " + option.value);
      value = line[place++];
    }
    arguments._given.push_back({&option, value});
  }
  return arguments;
}

bool asks_for_json(const Words& line, std::size_t place) {
  for (; place < line.size() && line[place] != "--"; ++place) {
    if (line[place] == "--json") return true;
  }
  return false;
}

std::string help_row(const std::string& name, const std::string& help, std::size_t width) {
  std::string text = "  " + name;
  std::size_t column = text.size();
  const std::size_t start = width + 4;
  if (column + 2 > start) {
    text += '\n';
    column = 0;
  }
  for (std::size_t place = 0; place < help.size();) {
    text.append(start - column, ' ');
    std::size_t end = help.size();
    if (end - place > kLineWidth - start) end = help.rfind(' ', place + kLineWidth - start);
    if (end == std::string::npos || end <= place) end = help.size();
    text += help.substr(place, end - place) + '\n';
    column = 0;
    place = end + 1;
  }
  return text;
}

std::string options_help(const Options& options) {
  std::string text;
  for (const Option& option : options) {
    const std::string value = option.value != nullptr ? std::string(" ") + option.value : "";
    text += help_row(option.name + value, option.help, 20);
  }
  return text;
}

}  // namespace vlm::ctl
