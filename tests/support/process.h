// Other processes, for tests to watch and to treat badly: their standard streams, signals and exit.
#ifndef PROCESS_H
#define PROCESS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "temporary_directory.h"

constexpr int kPlentyMs = 30'000;  // time enough for anything that happens at all

/// A child process with its input, output and errors in the test's hands. Nothing waits longer than
/// 30 s; what does fails with an exception that tells what had been read. Killed and reaped at the
/// end.
class Process {
 public:
  enum Terminal { kPipe, kPty };

  /// Starts `arguments[0]` with `environment` ("NAME=value") added to ours. On a pty, echo is off
  /// and the process leads its own session, so that control characters reach it as signals.
  explicit Process(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment = {}, Terminal terminal = kPipe);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void write(const std::string& text) const;
  /// Ends its input.
  void close_input();
  /// Takes no more of its output: it finds its reader gone.
  void close_output();
  /// Output up to the first `marker`, marker included; later output stays for the next read.
  std::string read_until(const std::string& marker);
  /// Output up to its end.
  std::string read_all();
  /// The next line of its output, without its end; none when it prints no more, or not in time.
  std::optional<std::string> line(int timeout_ms = kPlentyMs);
  /// What it has written to standard error so far.
  std::string errors() const;
  void signal(int number) const;
  /// Stops it; returns once it has stopped.
  void stop() const;
  void resume() const;
  /// The exit status, or 128 plus the number of the signal that ended it.
  int wait();
  int kill_and_wait();
  bool has_ended();
  pid_t pid() const { return _pid; }

 private:
  bool is_readable(int timeout_ms) const;
  bool read_some();

  pid_t _pid = -1;
  int _input = -1;
  int _output = -1;
  int _errors = -1;
  bool _reaped = false;
  int _status = 0;
  std::string _unread;
};

/// Path of a program of this build.
std::string program(const std::string& name);

/// The words that start it in a line of shell.
std::string program_in_shell(const std::string& name);

#endif  // PROCESS_H
