// Files of lines, whole.
#ifndef VLMCTL_TEXT_FILE_H
#define VLMCTL_TEXT_FILE_H

#include <string>
#include <vector>

namespace vlm::ctl {

/// The lines of the file at `path`, "-" for standard input. Throws Failure.
std::vector<std::string> read_lines(const std::string& path);

/// Puts `text` in place of the file at `path`, whole or not at all; what is no plain file is written
/// to, and stays what it is. Throws Failure.
void write_file(const std::string& path, const std::string& text);

}  // namespace vlm::ctl

#endif  // VLMCTL_TEXT_FILE_H
