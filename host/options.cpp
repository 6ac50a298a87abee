#include "options.h"

#include <algorithm>
#include <utility>

namespace vlm::host {

namespace {

bool begins_with(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

/// The option that `name` means; null when there is none, or more than one.
const Option* find_option(const CommandLine& line, const std::string& name) {
  const Option* found = nullptr;
  int candidates = 0;
  for (const Option& option : line.options) {
    const bool is_shorter = option.shorter != nullptr && name == option.shorter;
    if (name == option.name || is_shorter) return &option;
    if (!line.abbreviations || name.size() < 3 || !begins_with(option.name, name)) continue;
    found = &option;
    ++candidates;
  }
  return candidates == 1 ? found : nullptr;
}

/// Reads the arguments from left to right.
class Reading {
 public:
  Reading(const std::vector<std::string>& arguments, const CommandLine& line)
      : _next(arguments.begin()), _end(arguments.end()), _line(line) {}

  std::optional<OptionFault> run() {
    std::optional<OptionFault> fault;
    while (_next != _end && !_ended && !fault) fault = take(*_next++);
    return fault;
  }

 private:
  std::optional<OptionFault> take(const std::string& argument) {
    if (_options_ended || !begins_with(argument, "-")) return take_operand(argument);
    if (argument != "--" || !_line.operand) return take_option(argument);
    _options_ended = true;
    return std::nullopt;
  }

  std::optional<OptionFault> take_operand(const std::string& argument) const {
    if (_line.operand && _line.operand(argument)) return std::nullopt;
    return OptionFault{OptionFault::kOperand, argument, argument, {}};
  }

  std::optional<OptionFault> take_option(const std::string& argument) {
    const auto equals = argument.find('=');
    const bool has_value = equals != std::string::npos;
    const std::string name = argument.substr(0, equals);
    const Option* const option = find_option(_line, name);
    if (option == nullptr) return OptionFault{OptionFault::kUnknown, argument, name, {}};
    const auto fault = [&](OptionFault::Kind kind, const std::string& value = {}) {
      return OptionFault{kind, argument, name, value, option->value};
    };
    std::string value;
    if (has_value) {
      if (option->value == nullptr) return fault(OptionFault::kTakesNoValue);
      value = argument.substr(equals + 1);
    } else if (option->value != nullptr) {
      if (_next == _end) return fault(OptionFault::kNeedsValue);
      value = *_next++;
    }
    if (!option->apply(value)) return fault(OptionFault::kBadValue, value);
    _ended = option->is_last;
    return std::nullopt;
  }

  std::vector<std::string>::const_iterator _next;
  const std::vector<std::string>::const_iterator _end;
  const CommandLine& _line;
  bool _options_ended = false;
  bool _ended = false;
};

}  // namespace

std::function<bool(const std::string&)> sets(bool& flag) {
  return [&flag](const std::string&) { return flag = true; };
}

std::function<bool(const std::string&)> keeps(std::string& text) {
  return [&text](const std::string& value) {
    text = value;
    return !value.empty();
  };
}

std::optional<OptionFault> read_arguments(const std::vector<std::string>& arguments,
                                          const CommandLine& line) {
  return Reading(arguments, line).run();
}

std::string text_of(const OptionFault& fault) {
  switch (fault.kind) {
    case OptionFault::kUnknown: return "unknown option " + fault.name;
    case OptionFault::kTakesNoValue: return fault.name + " takes no value";
    case OptionFault::kNeedsValue: return fault.name + " needs a value";
    case OptionFault::kBadValue: return "bad value for " + fault.name + ": " + fault.value;
    case OptionFault::kOperand: return "unexpected argument " + fault.argument;
  }
  return "";
}

std::string options_help(const std::vector<Option>& options, std::size_t width) {
  std::string text;
  for (const Option& option : options) {
    std::string usage = option.shorter != nullptr ? std::string(option.shorter) + ", " : "";
    usage += option.name;
    if (option.value != nullptr) usage += std::string(" ") + option.value;
    usage.resize(std::max(usage.size(), width), ' ');
    text += "  " + usage + "  " + option.help + "\n";
  }
  return text;
}

std::vector<std::string> arguments_of(int argc, const char* const* argv) {
  return std::vector<std::string>(argv + std::min(argc, 1), argv + argc);
}

}  // namespace vlm::host
