#include "line_editor.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "exit_status.h"

namespace vlm::ctl {

namespace {

constexpr int kHistorySize = 1000;
constexpr std::size_t kLongestLine = 64U << 10;  // of a pipe

/// As the terminal's driver edits it.
class PlainEditor : public LineEditor {
 public:
  explicit PlainEditor(std::string prompt) : _prompt(std::move(prompt)) {}

  std::optional<std::string> read() override {
    const bool terminal = isatty(STDIN_FILENO) == 1;
    if (terminal) {
      std::fputs(_prompt.c_str(), stdout);
      std::fflush(stdout);
    }
    std::string line;
    for (int letter = 0; (letter = std::getchar()) != EOF;) {
      if (letter == '\n') return line;
      if (terminal && letter == kGiveUp) {
        std::fputs("\n", stdout);
        return "";
      }
      if (line.size() == kLongestLine) fail(kUsage, "", "a line is too long");
      line += static_cast<char>(letter);
    }
    if (line.empty()) return std::nullopt;
    return line;
  }
  Terminal::Editor kind() const override { return Terminal::kDriver; }
  void remember(const std::string&) override {}

 private:
  const std::string _prompt;
};

// The part of libedit's interface that is used; its ABI is that of libedit.so.2.

struct EditLine;
struct History;
struct HistEvent {
  int number;
  const char* text;
};
struct LineInfo {
  const char* buffer;
  const char* cursor;
  const char* end;
};

enum {
  kElPrompt = 0,
  kElEditor = 2,
  kElBind = 4,
  kElTerminal = 8,
  kElAddFunction = 9,
  kElHistory = 10,
  kElEditMode = 11
};
enum { kHistorySetSize = 1, kHistoryEnter = 10, kHistoryLoad = 17, kHistorySave = 18 };
enum : unsigned char { kNewLine = 1, kRefresh = 4, kFailed = 6, kRedisplay = 8 };

/// The library's functions, loaded; it stays loaded.
struct Library {
  EditLine* (*init)(const char*, FILE*, FILE*, FILE*);
  void (*end)(EditLine*);
  const char* (*gets)(EditLine*, int*);
  int (*set)(EditLine*, int, ...);
  const LineInfo* (*line)(EditLine*);
  int (*insert)(EditLine*, const char*);
  History* (*history_init)();
  void (*history_end)(History*);
  int (*history)(History*, HistEvent*, int, ...);

  template <typename Function>
  static bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
  }

  bool load() {
    void* const library = dlopen("libedit.so.2", RTLD_NOW);
    return library != nullptr && find(library, "el_init", init) && find(library, "el_end", end) &&
           find(library, "el_gets", gets) && find(library, "el_set", set) &&
           find(library, "el_line", line) && find(library, "el_insertstr", insert) &&
           find(library, "history_init", history_init) &&
           find(library, "history_end", history_end) && find(library, "history", history);
  }
};

/// What all begin with.
std::string common_beginning(const std::vector<std::string>& texts) {
  std::string common = texts[0];
  for (const std::string& text : texts) {
    const auto [end, other] = std::mismatch(common.begin(), common.end(), text.begin(), text.end());
    common.erase(end, common.end());
  }
  return common;
}

/// Makes a folder and those above it, for the user alone. False: it cannot be.
bool make_folder(const std::string& path) {
  for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    mkdir(path.substr(0, end).c_str(), S_IRWXU);
  }
  mkdir(path.c_str(), S_IRWXU);
  // What was typed is nobody else's business, also where the folder was there already.
  return chmod(path.c_str(), S_IRWXU) == 0;
}

class LibraryEditor : public LineEditor {
 public:
  LibraryEditor(const Library& library, std::string prompt, std::string history_file,
                Complete complete)
      : _library(library),
        _history_file(std::move(history_file)),
        _line(library.init("vlmctl", stdin, stdout, stderr)),
        _history(library.history_init()) {
    s_prompt = std::move(prompt);
    s_complete = std::move(complete);
    s_library = &_library;
    HistEvent event{};
    _library.history(_history, &event, kHistorySetSize, kHistorySize);
    if (!_history_file.empty())
      _library.history(_history, &event, kHistoryLoad, _history_file.c_str());
    _library.set(_line, kElPrompt, show_prompt);
    _library.set(_line, kElEditor, "emacs");
    _library.set(_line, kElHistory, _library.history, _history);
    _library.set(_line, kElAddFunction, "vlmctl-complete", "complete", complete_here);
    _library.set(_line, kElBind, "\t", "vlmctl-complete", nullptr);
    _library.set(_line, kElAddFunction, "vlmctl-give-up", "give up the line", give_up_line);
    _library.set(_line, kElBind, "^C", "vlmctl-give-up", nullptr);
    // While it edits and when it hands the terminal back, until Terminal has it otherwise.
    _library.set(_line, kElTerminal, "-d", "-isig", nullptr);
    _library.set(_line, kElTerminal, "-x", "-isig", "-icanon", nullptr);
  }
  ~LibraryEditor() override {
    // The terminal is put back by its owner, and without throwing away what has been typed ahead.
    _library.set(_line, kElEditMode, 0);
    _library.end(_line);
    _library.history_end(_history);
  }
  LibraryEditor(const LibraryEditor&) = delete;
  LibraryEditor& operator=(const LibraryEditor&) = delete;

  std::optional<std::string> read() override {
    int size = 0;
    s_given_up = false;
    const char* const text = _library.gets(_line, &size);
    if (s_given_up) return "";
    if (text == nullptr || size <= 0) return std::nullopt;
    std::string line(text, static_cast<std::size_t>(size));
    if (line.back() == '\n') line.pop_back();
    return line;
  }

  Terminal::Editor kind() const override { return Terminal::kLibrary; }

  void remember(const std::string& line) override {
    HistEvent event{};
    _library.history(_history, &event, kHistoryEnter, line.c_str());
    if (!_history_file.empty())
      _library.history(_history, &event, kHistorySave, _history_file.c_str());
  }

 private:
  static const char* show_prompt(EditLine*) { return s_prompt.c_str(); }

  static unsigned char give_up_line(EditLine*, int) {
    s_given_up = true;
    std::fputs("^C\n", stdout);
    return kNewLine;
  }

  static unsigned char complete_here(EditLine* edit, int) {
    const LineInfo* const line = s_library->line(edit);
    const std::string text(line->buffer, line->cursor);
    const auto found = s_complete(text);
    if (found.empty()) return kFailed;
    const auto blank = text.find_last_of(" \t");
    const std::size_t typed = blank == std::string::npos ? text.size() : text.size() - blank - 1;
    std::string rest = common_beginning(found).substr(typed);
    if (found.size() == 1 && found[0].back() != '=') rest += ' ';
    if (!rest.empty()) return s_library->insert(edit, rest.c_str()) == 0 ? kRefresh : kFailed;
    std::string list = "\n";
    for (const std::string& each : found) list += each + '\n';
    std::fputs(list.c_str(), stdout);
    return kRedisplay;
  }

  // The library's callbacks carry no pointer of ours; there is one terminal.
  static inline std::string s_prompt;
  static inline Complete s_complete;
  static inline const Library* s_library = nullptr;
  static inline bool s_given_up = false;

  const Library _library;
  const std::string _history_file;
  EditLine* const _line;
  History* const _history;
};

}  // namespace

std::unique_ptr<LineEditor> make_line_editor(const std::string& prompt, const std::string& history,
                                             LineEditor::Complete complete) {
  Library library{};
  const bool terminal = isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
  if (!terminal || !library.load()) return std::make_unique<PlainEditor>(prompt);
  return std::make_unique<LibraryEditor>(library, prompt, history, std::move(complete));
}

std::string history_path() {
  const char* const state = std::getenv("XDG_STATE_HOME");
  const char* const home = std::getenv("HOME");
  std::string folder;
  if (state != nullptr && *state == '/') {
    folder = state;
  } else if (home != nullptr && *home == '/') {
    folder = std::string(home) + "/.local/state";
  } else {
    return "";
  }
  folder += "/vlmctl";
  return make_folder(folder) ? folder + "/history" : "";
}

}  // namespace vlm::ctl
