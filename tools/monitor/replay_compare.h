// Compares an answer with the recorded one.
#ifndef MONITOR_REPLAY_COMPARE_H
#define MONITOR_REPLAY_COMPARE_H

#include <string>
#include <vector>

#include "entry.h"

namespace vlm::monitor {

/// What differs, in words; empty when nothing does. What changes by itself does not count, nor do
/// the values whose full names are in `masked`.
std::string difference(const Entry& expected, const Entry& actual,
                       const std::vector<std::string>& masked);

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_COMPARE_H
