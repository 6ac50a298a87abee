// Lines typed at a terminal, edited where the library libedit is installed. It is loaded when it is
// wanted, so that all else runs without it.
#ifndef VLMCTL_LINE_EDITOR_H
#define VLMCTL_LINE_EDITOR_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "terminal.h"

namespace vlm::ctl {

class LineEditor {
 public:
  /// Candidates for the end of a line.
  using Complete = std::function<std::vector<std::string>(const std::string& line)>;

  virtual ~LineEditor() = default;

  /// A line without its end; an empty one where Ctrl-C has given it up. None: the input has ended.
  /// Throws Failure: no line is that long.
  virtual std::optional<std::string> read() = 0;
  virtual Terminal::Editor kind() const = 0;
  /// Keeps a line for the arrow keys and for the next time.
  virtual void remember(const std::string& line) = 0;
};

/// With editing, history in the file at `history` and completion on a terminal where the library is
/// there, else plain; `prompt` is shown on a terminal alone.
std::unique_ptr<LineEditor> make_line_editor(const std::string& prompt, const std::string& history,
                                             LineEditor::Complete complete);

/// Where the user's history is; its folder has been made. Empty: there is no place for it.
std::string history_path();

}  // namespace vlm::ctl

#endif  // VLMCTL_LINE_EDITOR_H
