#include "standard_output.h"

#include <cstdio>

#include "reason.h"

namespace vlm::host {

/// Flushed here: at the program's end nobody asks any more whether it was written.
int show(const char* program, const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return 0;
  }
  std::fprintf(stderr, "%s: standard output: %s\n", program, reason().c_str());
  return 1;
}

}  // namespace vlm::host
