// Output that a program must not lose silently, such as its help.
#ifndef HOST_STANDARD_OUTPUT_H
#define HOST_STANDARD_OUTPUT_H

#include <string>

namespace vlm::host {

/// Prints `text` on standard output, to its last byte. Returns the exit status: 0, or 1 after a line
/// on standard error, which begins with the name of `program`, when it could not be written.
int show(const char* program, const std::string& text);

}  // namespace vlm::host

#endif  // HOST_STANDARD_OUTPUT_H
