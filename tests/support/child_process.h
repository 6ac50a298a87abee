// Another process, for tests to watch and to treat badly.
#ifndef CHILD_PROCESS_H
#define CHILD_PROCESS_H

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "runnable.h"

constexpr int kPlentyMs = 20000;  // time enough for anything that happens at all

/// Runs a program with its standard output and error on pipes; killed when the object goes.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> command) {
    const Pipe out;
    const Pipe err;
    _pid = fork();
    if (_pid == 0) run(std::move(command), out, err);
    close(out.to);
    close(err.to);
    _out = out.from;
    _err = err.from;
  }
  ~ChildProcess() {
    if (_pid > 0) kill_and_wait();
    close(_out);
    close(_err);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return _pid; }

  /// The next line of its standard output; none when it prints no more, or not in time.
  std::optional<std::string> line(int timeout_ms = kPlentyMs) {
    for (;;) {
      if (const auto end = _text.find('\n'); end != _text.npos) {
        std::string line = _text.substr(0, end);
        _text.erase(0, end + 1);
        return line;
      }
      pollfd readable{_out, POLLIN, 0};
      if (poll(&readable, 1, timeout_ms) != 1 || !read_more(_out, _text)) return std::nullopt;
    }
  }

  /// The rest of its standard output, to its end.
  std::string output() {
    while (read_more(_out, _text)) continue;
    return std::exchange(_text, {});
  }
  /// All of its standard error, to its end.
  std::string errors() {
    std::string text;
    while (read_more(_err, text)) continue;
    return text;
  }

  /// Waits for its end: its exit status, or minus the signal that killed it.
  int wait() {
    int status = 0;
    waitpid(std::exchange(_pid, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  /// True once it has ended.
  bool has_ended() {
    if (_pid > 0 && waitpid(_pid, nullptr, WNOHANG) == _pid) _pid = -1;
    return _pid < 0;
  }

  void send_signal(int signal) const { kill(_pid, signal); }
  int kill_and_wait() {
    send_signal(SIGKILL);
    return wait();
  }
  /// Returns when it has stopped.
  void stop() const {
    send_signal(SIGSTOP);
    waitpid(_pid, nullptr, WUNTRACED);
  }
  void resume() const { send_signal(SIGCONT); }

 private:
  struct Pipe {
    Pipe() {
      std::array<int, 2> ends{};
      if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
      from = ends[0];
      to = ends[1];
    }
    int from;
    int to;
  };

  [[noreturn]] static void run(std::vector<std::string> command, const Pipe& out, const Pipe& err) {
    command = runnable(std::move(command));
    std::vector<char*> argv;
    argv.reserve(command.size() + 1);
    for (std::string& word : command) argv.push_back(word.data());
    argv.push_back(nullptr);
    dup2(out.to, STDOUT_FILENO);
    dup2(err.to, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }

  static bool read_more(int from, std::string& text) {
    std::array<char, 4096> bytes;
    const ssize_t size = read(from, bytes.data(), bytes.size());
    if (size > 0) text.append(bytes.data(), static_cast<std::size_t>(size));
    return size > 0;
  }

  pid_t _pid = -1;
  int _out = -1;
  int _err = -1;
  std::string _text;  // of its standard output, read but not yet taken
};

#endif  // CHILD_PROCESS_H
