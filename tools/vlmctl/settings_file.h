// Settings in a file, for save, restore and diff:
//
//   # vlm-settings 1
//   # camera VLMSIM
//   # firmware 1.4.0R
//   # date 2026-11-22T00:06:12.042Z
//   video = 1920x1080@30
//   # wifi.name cannot be read back
//
// Lines that begin with # are comments, but for the first. A text that begins with a quote, begins
// or ends with a space or holds control characters stands in quotes, with \" \\ and \xNN.
#ifndef VLMCTL_SETTINGS_FILE_H
#define VLMCTL_SETTINGS_FILE_H

#include <string>
#include <vector>

#include "assignment.h"

namespace vlm::ctl {

constexpr char kSettingsFileHead[] = "# vlm-settings 1";

/// "video = 1920x1080@30"
std::string settings_line(const catalogue::Item& item, const catalogue::Value& value);

/// Reads the file at `path`, "-" for standard input. Throws Failure with all that is wrong in it.
std::vector<Assignment> read_settings_file(const std::string& path);

}  // namespace vlm::ctl

#endif  // VLMCTL_SETTINGS_FILE_H
