// The words of a command line, taken apart by a table of options.
#ifndef VLMCTL_ARGUMENTS_H
#define VLMCTL_ARGUMENTS_H

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "catalogue.h"

namespace vlm::ctl {

struct Option {
  const char* name;   // "--every"
  const char* value;  // its name in the help; null: a switch
  const char* help;
};

using Options = catalogue::List<Option>;
using Words = std::vector<std::string>;

/// What stands on a command line. Where a value is not what it should be, Failure is thrown.
class Arguments {
 public:
  /// What is no option.
  Words words;

  bool has(const std::string& option) const { return _values.count(option) != 0; }
  std::optional<std::string> text(const std::string& option) const;
  std::optional<std::chrono::milliseconds> duration(const std::string& option) const;
  /// A whole number, `least` to 1,000,000,000.
  std::optional<unsigned> number(const std::string& option, unsigned least) const;

 private:
  friend Arguments parse_arguments(const Options&, const Words&, std::size_t&, bool);

  std::map<std::string, std::string> _values;
};

/// Reads `line` from `place` on, which it moves behind what it has read: to the end, or with
/// `leading` to the first word that is no option. "--" ends the options. Throws Failure.
Arguments parse_arguments(const Options& options, const Words& line, std::size_t& place,
                          bool leading);

/// A table of options, for a help.
std::string options_help(const Options& options);

/// "  NAME    help", names in a column of `width`, long helps folded.
std::string help_row(const std::string& name, const std::string& help, std::size_t width);

}  // namespace vlm::ctl

#endif  // VLMCTL_ARGUMENTS_H
