// Command lines as tables: from one, arguments are read and the help is made.
#ifndef HOST_OPTIONS_H
#define HOST_OPTIONS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vlm::host {

/// One option. "--name value" and "--name=value" both serve.
struct Option {
  std::string name;   // "--port"
  const char* value;  // what it takes, as the help names it; null for a switch
  const char* help;
  /// Acts on the option; `value` is empty for a switch. False: not such a value.
  std::function<bool(const std::string& value)> apply;
  const char* shorter = nullptr;  // a second name, "-p"; null: none
  bool is_last = false;           // what stands behind it is not read
};

/// An action that sets `flag`, which must outlive it.
std::function<bool(const std::string&)> sets(bool& flag);
/// An action that keeps the value in `text`, which must outlive it; an empty one is refused.
std::function<bool(const std::string&)> keeps(std::string& text);

/// What a program takes.
struct CommandLine {
  std::vector<Option> options;
  /// Takes an argument that is no option; false: not such a one. Behind "--" no argument is an
  /// option. Null: there are none but options, not even "--".
  std::function<bool(const std::string& argument)> operand;
  /// Whether an option may be cut short as long as no other begins like that.
  bool abbreviations = false;
};

/// Where a command line goes wrong.
struct OptionFault {
  enum Kind { kUnknown, kTakesNoValue, kNeedsValue, kBadValue, kOperand };
  Kind kind;
  std::string argument;          // as typed
  std::string name;              // of the option, as typed; of an operand, the argument
  std::string value;             // that was refused
  const char* wanted = nullptr;  // the value's name in the help, when there is one
};

/// Applies `arguments`, the program's name left out, one by one; what begins with "-" is an option.
/// Returns the first fault, at which it stops.
std::optional<OptionFault> read_arguments(const std::vector<std::string>& arguments,
                                          const CommandLine& line);

/// "--port needs a value", for programs that have no words of their own for it.
std::string text_of(const OptionFault& fault);

/// A line for each option, with its names and value in a column of at least `width` characters.
std::string options_help(const std::vector<Option>& options, std::size_t width);

/// The arguments of main behind the program's name.
std::vector<std::string> arguments_of(int argc, const char* const* argv);

}  // namespace vlm::host

#endif  // HOST_OPTIONS_H
