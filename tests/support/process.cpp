#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>

#include "broker_side.h"
#include "runnable.h"

namespace {

struct Pipe {
  int read_end;
  int write_end;
};

Pipe make_pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {ends[0], ends[1]};
}

/// A raw terminal line would change newlines; this one only lacks the echo.
Pipe make_pty() {
  int master = -1;
  int slave = -1;
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no pty");
  termios settings{};
  tcgetattr(slave, &settings);
  settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  settings.c_oflag &= ~static_cast<tcflag_t>(ONLCR);
  tcsetattr(slave, TCSANOW, &settings);
  fcntl(master, F_SETFD, FD_CLOEXEC);
  fcntl(slave, F_SETFD, FD_CLOEXEC);
  return {master, slave};
}

[[noreturn]] void become(std::vector<std::string> arguments,
                         const std::vector<std::string>& environment) {
  std::signal(SIGPIPE, SIG_DFL);
  for (const auto& variable : environment) putenv(const_cast<char*>(variable.c_str()));
  arguments = runnable(std::move(arguments));
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  execvp(argv[0], argv.data());
  _exit(127);
}

}  // namespace

Process::Process(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& variables, Terminal terminal) {
  const auto environment = with_broker_between(arguments.at(0), variables);
  _errors = memfd_create("errors", MFD_CLOEXEC);
  const Pipe output = terminal == kPty ? make_pty() : make_pipe();
  const Pipe input = terminal == kPty ? Pipe{output.write_end, output.read_end} : make_pipe();
  _pid = fork();
  if (_pid == 0) {
    setsid();
    dup2(input.read_end, STDIN_FILENO);
    dup2(output.write_end, STDOUT_FILENO);
    dup2(_errors, STDERR_FILENO);
    if (terminal == kPty) ioctl(STDIN_FILENO, TIOCSCTTY, 0);
    become(arguments, environment);
  }
  close(output.write_end);
  _output = output.read_end;
  if (terminal == kPty) {
    _input = dup(_output);
  } else {
    close(input.read_end);
    _input = input.write_end;
  }
  fcntl(_input, F_SETFD, FD_CLOEXEC);
}

Process::~Process() {
  if (!_reaped) {
    signal(SIGKILL);
    waitpid(_pid, nullptr, 0);
  }
  close_input();
  close_output();
  close(_errors);
}

void Process::write(const std::string& text) const {
  std::signal(SIGPIPE, SIG_IGN);
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t count = ::write(_input, text.data() + done, text.size() - done);
    if (count <= 0) return;  // it has gone: its exit tells why
    done += static_cast<std::size_t>(count);
  }
}

void Process::close_input() {
  if (_input != -1) close(_input);
  _input = -1;
}

void Process::close_output() {
  if (_output != -1) close(_output);
  _output = -1;
}

bool Process::is_readable(int timeout_ms) const {
  pollfd ready{_output, POLLIN, 0};
  return poll(&ready, 1, timeout_ms) != 0;
}

/// False at the end of its output.
bool Process::read_some() {
  if (!is_readable(kPlentyMs)) {
    throw std::runtime_error("nothing more was printed after: " + _unread);
  }
  std::array<char, 4096> buffer{};
  const ssize_t count = read(_output, buffer.data(), buffer.size());
  if (count <= 0) return false;  // a pty reports its end as an error
  _unread.append(buffer.data(), static_cast<std::size_t>(count));
  return true;
}

std::string Process::read_until(const std::string& marker) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPlentyMs);
  std::size_t found = 0;
  while ((found = _unread.find(marker)) == std::string::npos) {
    const bool late =
        std::chrono::steady_clock::now() > deadline;  // what else it prints may not end
    if (late || !read_some()) {
      throw std::runtime_error("no '" + marker + "' in: " + _unread + errors());
    }
  }
  std::string text = _unread.substr(0, found + marker.size());
  _unread.erase(0, text.size());
  return text;
}

std::string Process::read_all() {
  while (read_some()) {
  }
  return std::exchange(_unread, {});
}

std::optional<std::string> Process::line(int timeout_ms) {
  std::size_t end = 0;
  while ((end = _unread.find('\n')) == std::string::npos) {
    if (!is_readable(timeout_ms) || !read_some()) return std::nullopt;
  }
  std::string text = _unread.substr(0, end);
  _unread.erase(0, end + 1);
  return text;
}

std::string Process::errors() const {
  std::string text;
  std::array<char, 4096> buffer{};
  ssize_t count = 0;
  while ((count = pread(_errors, buffer.data(), buffer.size(), static_cast<off_t>(text.size()))) >
         0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

void Process::signal(int number) const { kill(_pid, number); }

void Process::stop() const {
  signal(SIGSTOP);
  waitpid(_pid, nullptr, WUNTRACED);
}

void Process::resume() const { signal(SIGCONT); }

bool Process::has_ended() {
  int status = 0;
  if (!_reaped && waitpid(_pid, &status, WNOHANG) == _pid) {
    _reaped = true;
    _status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return _reaped;
}

int Process::wait() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPlentyMs);
  while (!has_ended()) {
    if (std::chrono::steady_clock::now() > deadline) {
      throw std::runtime_error("it did not end; unread: " + _unread);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return _status;
}

int Process::kill_and_wait() {
  signal(SIGKILL);
  return wait();
}

std::string program(const std::string& name) { return std::string(VLM_BIN_DIR) + "/" + name; }

std::string program_in_shell(const std::string& name) {
  std::string words;
  for (const auto& word : runnable({program(name)})) words += word + " ";
  return words;
}
