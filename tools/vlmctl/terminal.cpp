#include "terminal.h"

#include <unistd.h>

namespace vlm::ctl {

Terminal::Terminal() {
  termios modes{};
  if (tcgetattr(STDIN_FILENO, &modes) == 0) _before = modes;
}

Terminal::~Terminal() {
  if (_before) tcsetattr(STDIN_FILENO, TCSADRAIN, &*_before);
}

void Terminal::edits(Editor editor) const { change(editor, false); }

void Terminal::runs(Editor editor) const { change(editor, true); }

void Terminal::change(Editor editor, bool signals) const {
  if (!_before) return;
  termios modes = *_before;
  modes.c_lflag |= NOFLSH | ISIG;
  if (!signals) modes.c_lflag &= ~static_cast<tcflag_t>(ISIG);
  if (editor == kLibrary) modes.c_lflag &= ~static_cast<tcflag_t>(ICANON);
  modes.c_cc[VINTR] = modes.c_cc[VEOL] = static_cast<cc_t>(kGiveUp);
  tcsetattr(STDIN_FILENO, TCSADRAIN, &modes);
}

}  // namespace vlm::ctl
