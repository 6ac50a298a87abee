#include "standard_output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace vlm::host {

/// Flushed here: at the program's end nobody asks any more whether it was written.
int show(const char* program, const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return 0;
  }
  std::fprintf(stderr, "%s: standard output: %s\n", program,
               std::system_category().message(errno).c_str());
  return 1;
}

}  // namespace vlm::host
