// The command line as a whole: the program's own options, then a sub-command.
#ifndef VLMCTL_PROGRAM_H
#define VLMCTL_PROGRAM_H

#include "arguments.h"
#include "session.h"

namespace vlm::ctl {

/// Runs `line`, the words behind the program's name, and returns the exit status.
int run_program(const Words& line, Console& console, const Session::Open& open,
                const Session::Search& search, const std::string& version);

}  // namespace vlm::ctl

#endif  // VLMCTL_PROGRAM_H
