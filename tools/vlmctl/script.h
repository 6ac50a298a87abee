// A file of commands for batch, one a line:
//
//   # words in quotes hold spaces
//   set camera.country="DE"
//   repeat 3
//     run photo.take --wait
//     sleep 2s
//   end
//   within 2s expect camera.status=idle
#ifndef VLMCTL_SCRIPT_H
#define VLMCTL_SCRIPT_H

#include <chrono>
#include <string>
#include <vector>

#include "arguments.h"

namespace vlm::ctl {

struct Step {
  std::size_t line = 0;    // from 1
  std::string text;        // as written
  Words words;             // of a command
  unsigned times = 0;      // of a repeat; 0: it is a command
  std::vector<Step> body;  // of a repeat
};

/// Throws Failure with the number of the line at fault.
std::vector<Step> parse_script(const std::vector<std::string>& lines);

/// The words of a line; quotes, "..." or '...', hold what parts words. Throws Failure.
Words split_words(const std::string& line);

}  // namespace vlm::ctl

#endif  // VLMCTL_SCRIPT_H
