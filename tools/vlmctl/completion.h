// What may stand where the cursor is. Asks no camera.
#ifndef VLMCTL_COMPLETION_H
#define VLMCTL_COMPLETION_H

#include <string>
#include <vector>

#include "arguments.h"

namespace vlm::ctl {

/// Candidates for the last of `words`, which stand behind the program's name; it may be empty. One
/// that ends in "=" wants a value. Empty: nothing is known, or a file is wanted.
std::vector<std::string> completions(const Words& words, const Options& program_options);

}  // namespace vlm::ctl

#endif  // VLMCTL_COMPLETION_H
