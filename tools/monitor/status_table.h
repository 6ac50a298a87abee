// A text that is refreshed in place on a terminal.
#ifndef MONITOR_STATUS_TABLE_H
#define MONITOR_STATUS_TABLE_H

#include <chrono>
#include <string>

namespace vlm::monitor {

/// Lines and columns of a terminal; 0 where that is not known.
struct TerminalSize {
  std::size_t rows = 0;
  std::size_t columns = 0;
};

/// `text` with no line longer than the terminal is wide, and with so few lines, the last one among
/// them, that the cursor below stays on it: what scrolls away, or breaks, cannot be replaced.
std::string fitting(const std::string& text, const TerminalSize& size);

/// On standard output.
class StatusTable {
 public:
  /// Twice a second.
  bool is_due() const;
  /// Shows what of `text` the terminal has room for, in the place of the one before.
  void refresh(const std::string& text);
  /// Shows all of `text` in the place of the one before; nothing follows.
  void finish(const std::string& text);

 private:
  void replace(const std::string& text);

  std::chrono::steady_clock::time_point _shown{};
  long _lines = 0;
};

}  // namespace vlm::monitor

#endif  // MONITOR_STATUS_TABLE_H
