// A text that is refreshed in place on a terminal.
#ifndef MONITOR_STATUS_TABLE_H
#define MONITOR_STATUS_TABLE_H

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

namespace vlm::monitor {

class StatusTable {
 public:
  /// Shows `text` in the place of the one before, at most twice a second.
  void refresh(const std::string& text) {
    const auto now = std::chrono::steady_clock::now();
    if (now - _shown < kInterval) return;
    _shown = now;
    if (_lines != 0) std::printf("\033[%ldA\033[J", _lines);
    std::fputs(text.c_str(), stdout);
    _lines = std::count(text.begin(), text.end(), '\n');
  }

 private:
  static constexpr std::chrono::milliseconds kInterval{500};

  std::chrono::steady_clock::time_point _shown{};
  long _lines = 0;
};

}  // namespace vlm::monitor

#endif  // MONITOR_STATUS_TABLE_H
