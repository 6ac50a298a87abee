// The words of a command line, taken apart by a table of options. Unlike those of host/options.h the
// tables are constants: help and completion read those of all sub-commands, and the board has little
// room.
#ifndef VLMCTL_ARGUMENTS_H
#define VLMCTL_ARGUMENTS_H

#include <chrono>
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

/// The option of that name; null: there is none.
const Option* find_option(const Options& options, const std::string& name);

/// What stands on a command line. Where a value is not what it should be, Failure is thrown.
class Arguments {
 public:
  /// What is no option.
  Words words;

  bool has(const char* option) const { return find(option) != nullptr; }
  std::optional<std::string> text(const char* option) const;
  std::optional<std::chrono::milliseconds> duration(const char* option) const;
  /// A whole number, `least` to 1,000,000,000.
  std::optional<unsigned> number(const char* option, unsigned least) const;

 private:
  friend Arguments parse_arguments(const Options&, const Words&, std::size_t&, bool);

  struct Given {
    const Option* option;
    std::string value;
  };

  /// The last one of that name; null: it was not given.
  const Given* find(const char* option) const;

  std::vector<Given> _given;
};

/// Reads `line` from `place` on, which it moves behind what it has read: to the end, or with
/// `leading` to the first word that is no option. "--" ends the options. Throws Failure.
Arguments parse_arguments(const Options& options, const Words& line, std::size_t& place,
                          bool leading);

/// Whether --json stands in it, from `place` on: known before the line is read, so that its faults are
/// objects, too.
bool asks_for_json(const Words& line, std::size_t place);

/// A table of options, for a help.
std::string options_help(const Options& options);

/// "  NAME    help", names in a column of `width`, long helps folded.
std::string help_row(const std::string& name, const std::string& help, std::size_t width);

}  // namespace vlm::ctl

#endif  // VLMCTL_ARGUMENTS_H
