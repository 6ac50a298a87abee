// Ctrl-C at the terminal of the shell. While a line is edited it is a character, so that no signal
// comes between two lines; while a command runs it is a signal that throws nothing away, neither
// what has been typed ahead nor what is still to be shown.
#ifndef VLMCTL_TERMINAL_H
#define VLMCTL_TERMINAL_H

#include <termios.h>

#include <optional>

namespace vlm::ctl {

/// The character that gives up the line.
constexpr char kGiveUp = '\003';

/// The terminal on standard input; where there is none, nothing happens.
class Terminal {
 public:
  /// Who edits the lines: the terminal's driver, or a library that takes each key. In the second case
  /// the driver never holds lines, also not while a command runs: what it has taken for the end of
  /// input would be lost.
  enum Editor { kDriver, kLibrary };

  Terminal();
  /// Leaves the terminal as it was.
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// Ctrl-C is a character, and ends a line.
  void edits(Editor editor) const;
  /// Ctrl-C is a signal.
  void runs(Editor editor) const;

 private:
  void change(Editor editor, bool signals) const;

  std::optional<termios> _before;  // none: it is no terminal
};

}  // namespace vlm::ctl

#endif  // VLMCTL_TERMINAL_H
