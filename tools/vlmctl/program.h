// The command line as a whole: the program's own options, then a sub-command.
#ifndef VLMCTL_PROGRAM_H
#define VLMCTL_PROGRAM_H

#include <functional>

#include "arguments.h"
#include "session.h"

namespace vlm::ctl {

/// The ways to cameras.
struct Ways {
  Session::Open open;
  Session::Search search;
  /// Does what `line`, whose command stands at `command`, says of all cameras of a site; returns the
  /// exit status. Throws Failure.
  std::function<int(const Words& line, std::size_t command)> run_on_site;
};

/// Runs `line`, the words behind the program's name, and returns the exit status.
int run_program(const Words& line, Console& console, const Ways& ways, const std::string& version);

}  // namespace vlm::ctl

#endif  // VLMCTL_PROGRAM_H
