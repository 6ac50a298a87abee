#include <algorithm>

#include "commands.h"
#include "completion.h"
#include "interruption.h"
#include "line_editor.h"
#include "script.h"

namespace vlm::ctl {

namespace {

std::vector<std::string> complete_line(const std::string& line) {
  try {
    Words words = split_words(line);
    if (line.empty() || line.back() == ' ' || line.back() == '\t') words.emplace_back();
    return completions(words, {});
  } catch (const Failure&) {
    return {};  // inside a quote
  }
}

/// Whether the line sets what is not to be kept anywhere.
bool holds_secret(const Words& words) {
  return std::any_of(words.begin(), words.end(), [](const std::string& word) {
    const auto item = catalogue::find(word.substr(0, word.find('=')));
    return item && item->field->is(catalogue::kSecret);
  });
}

int run_line(Session& session, LineEditor& editor, const std::string& line) {
  try {
    const Words words = split_words(line);
    if (words.empty()) return kDone;
    if (!holds_secret(words)) editor.remember(line);
    if (words[0] == "shell") throw Failure{kUsage, "", "this is the shell"};
    return run_command(session, words);
  } catch (const Failure& failure) {
    session.console().failure(failure);
    return failure.status;
  }
}

/// None: the input has ended. Ctrl-C gives up the line.
std::optional<std::string> read_line(LineEditor& editor) {
  const InterruptionHandler handler(InterruptionHandler::kEndsReading);
  for (;;) {
    clear_interruption();
    auto line = editor.read();
    if (line || !interrupted()) return line;
    std::fputs("\n", stdout);
  }
}

}  // namespace

int run_shell(Session& session, const Arguments& arguments) {
  if (!arguments.words.empty()) throw Failure{kUsage, "", "shell takes no words"};
  const auto editor = make_line_editor("vlmctl> ", history_path(), complete_line);
  int status = kDone;
  while (const auto line = read_line(*editor)) {
    if (*line == "exit" || *line == "quit") break;
    const InterruptionHandler handler;
    clear_interruption();
    status = run_line(session, *editor, *line);
  }
  clear_interruption();
  return status;
}

}  // namespace vlm::ctl
