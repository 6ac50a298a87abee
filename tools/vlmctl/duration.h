// Times as they are written on the command line.
#ifndef VLMCTL_DURATION_H
#define VLMCTL_DURATION_H

#include <chrono>
#include <optional>
#include <string_view>

namespace vlm::ctl {

/// "500ms", "2s", "1m", "1h": a whole number and its unit, up to 1000 hours. No value: it is none.
std::optional<std::chrono::milliseconds> parse_duration(std::string_view written);

/// What parse_duration() takes, for messages.
constexpr char kDurationForm[] = "a time such as 500ms, 2s or 1m";

}  // namespace vlm::ctl

#endif  // VLMCTL_DURATION_H
