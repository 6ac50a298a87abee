// Messages into the trace log: a line is its message, at most 127 characters of it, and a suffix as
// far as there is room.
//
// Input: messages: the level, a length, and as many bytes.
#include <unistd.h>

#include "fuzz_input.h"
#include "temporary_directory.h"
#include "velmar_log.h"

namespace {

constexpr std::size_t kLongest = 127;

/// The log in a directory of its own, open for as long as the process lives.
class TraceLog {
 public:
  TraceLog() {
    _directory.write("trigger");
    F_PATH = _path.c_str();
    F_TRIG = _trigger.c_str();
    F_LOG_TO_CONSOLE = _trigger.c_str();
    vlm_camera_log_init();
    must(g_log_fd != -1, "the log opens");
  }

  /// What a message leaves in the file.
  std::string print(int level, const std::string& text) {
    must(ftruncate(g_log_fd, 0) == 0, "the log can be emptied");
    vlm_log_print(level, "%s", text.c_str());
    return _directory.read("test.log");
  }

 private:
  TemporaryDirectory _directory;
  const std::string _path = _directory / "test.log";
  const std::string _trigger = _directory / "trigger";
};

TraceLog* trace_log;

void check(int level, const std::string& text) {
  const std::string message = text.substr(0, text.find('\0')).substr(0, kLongest);
  const std::string line = trace_log->print(level, text);
  must(line.size() <= kLongest, "a line is at most 127 characters long");
  must(line.compare(0, message.size(), message) == 0, "a line begins with its message");
  const std::string suffix = line.substr(message.size());
  const bool has_level = level >= 0 && level <= 4;
  must(has_level || suffix.empty(), "other levels have no suffix");
  // Only numbers of more than nine digits together reach the end of the room.
  must(suffix.empty() || suffix.back() == '\n' || line.size() == kLongest, "a suffix is whole");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  be_quiet();
  static TraceLog log;
  trace_log = &log;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  while (!input.empty()) {
    const int level = static_cast<signed char>(input.byte());
    const auto text = input.bytes(input.byte());
    check(level, {text.begin(), text.end()});
  }
  return 0;
}
