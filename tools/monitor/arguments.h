// Command lines, as tables of options.
#ifndef MONITOR_ARGUMENTS_H
#define MONITOR_ARGUMENTS_H

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace vlm::monitor {

/// One option of a program whose options are an `Options`.
template <typename Options>
struct Option {
  const char* name;
  const char* shorter;  // another name; null for none
  const char* value;    // its name in the help; null for a switch
  const char* help;
  bool (*apply)(Options& options, const std::string& value);  // false: not a valid value
};

/// Applies the arguments to `options`; what is no option goes to `operand`, as does all behind "--".
/// False, with an `error`, at the first fault.
template <typename Options>
bool parse_arguments(const std::vector<std::string>& arguments,
                     const std::vector<Option<Options>>& table, Options& options,
                     bool (*operand)(Options&, const std::string&), std::string& error) {
  bool options_ended = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!options_ended && argument == "--") {
      options_ended = true;
      continue;
    }
    if (options_ended || argument.size() < 2 || argument[0] != '-') {
      if (operand(options, argument)) continue;
      error = "unexpected argument " + argument;
      return false;
    }
    const auto equals = argument.rfind("--", 0) == 0 ? argument.find('=') : argument.npos;
    const std::string name = argument.substr(0, equals);
    const auto option = std::find_if(table.begin(), table.end(), [&](const auto& known) {
      return name == known.name || (known.shorter != nullptr && name == known.shorter);
    });
    const bool has_value = equals != argument.npos;
    if (option == table.end()) {
      error = "unknown option " + name;
    } else if (option->value == nullptr && has_value) {
      error = name + " takes no value";
    } else if (option->value != nullptr && !has_value && i + 1 == arguments.size()) {
      error = name + " needs a value";
    } else {
      std::string value;
      if (option->value != nullptr)
        value = has_value ? argument.substr(equals + 1) : arguments[++i];
      if (!option->apply(options, value))
        error.append("bad value for ").append(name).append(": ").append(value);
    }
    if (!error.empty()) return false;
  }
  return true;
}

/// A line for each option.
template <typename Options>
std::string options_help(const std::vector<Option<Options>>& table) {
  std::string text;
  for (const auto& option : table) {
    std::string usage = option.name;
    if (option.value != nullptr) usage += std::string(" ") + option.value;
    std::string help = option.help;
    if (option.shorter != nullptr) help += std::string(" (or ") + option.shorter + ')';
    char line[160];
    std::snprintf(line, sizeof line, "  %-17s %s\n", usage.c_str(), help.c_str());
    text += line;
  }
  return text;
}

}  // namespace vlm::monitor

#endif  // MONITOR_ARGUMENTS_H
