#include <unistd.h>

#include <algorithm>
#include <optional>

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
    if (!holds_secret(words)) editor.remember(line);
    if (words[0] == "shell") fail(kUsage, "", "this is the shell");
    return run_command(session, words);
  } catch (const Failure& failure) {
    session.console().failure(failure);
    return failure.status;
  }
}

bool is_blank(const std::string& line) {
  const auto first = line.find_first_not_of(" \t");
  return first == std::string::npos || line[first] == '#';
}

}  // namespace

int run_shell(Session& session, const Arguments& arguments) {
  if (!arguments.words.empty()) fail(kUsage, "", "shell takes no words");
  std::optional<InterruptionHandler> handler;
  if (isatty(STDIN_FILENO) == 1) handler.emplace();
  const Terminal terminal;
  const auto editor = make_line_editor("vlmctl> ", history_path(), complete_line);
  int status = kDone;
  terminal.edits(editor->kind());
  while (const auto line = editor->read()) {
    if (*line == "exit" || *line == "quit") break;
    if (is_blank(*line)) continue;
    // One that came behind the end of the command before is none of this one's.
    clear_interruption();
    terminal.runs(editor->kind());
    status = run_line(session, *editor, *line);
    terminal.edits(editor->kind());
  }
  return status;
}

}  // namespace vlm::ctl
