#include "site_task.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "reason.h"

namespace vlm::fleet {

namespace {

constexpr std::size_t kMostText = 1'000'000;  // of one camera; what comes behind it is lost
constexpr int kNotStarted = 1;
constexpr int kSignalled = 128;

}  // namespace

SiteTask::SiteTask(const std::vector<std::string>& arguments) {
  std::array<int, 2> output{-1, -1};
  std::array<int, 2> errors{-1, -1};
  if (pipe2(output.data(), O_CLOEXEC) != 0 || pipe2(errors.data(), O_CLOEXEC) != 0) {
    _errors_text = "vlmctl: no pipe: " + host::reason() + '\n';
  }
  _output = bus::UniqueFd(output[0]);
  _errors = bus::UniqueFd(errors[0]);
  const bus::UniqueFd output_end(output[1]);
  const bus::UniqueFd errors_end(errors[1]);
  if (!_errors_text.empty()) return;
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output_end.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors_end.get(), STDERR_FILENO);
  const int fault =
      posix_spawn(&_process, "/proc/self/exe", &actions, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (fault == 0) return;
  _process = -1;
  _errors_text = "vlmctl: no process: " + host::reason(fault) + '\n';
}

SiteTask::SiteTask(SiteTask&& other) noexcept
    : _output(std::move(other._output)),
      _errors(std::move(other._errors)),
      _output_text(std::move(other._output_text)),
      _errors_text(std::move(other._errors_text)),
      _process(std::exchange(other._process, -1)) {}

SiteTask::~SiteTask() {
  _output = bus::UniqueFd();  // who still writes finds nobody
  _errors = bus::UniqueFd();
  if (_process > 0) waitpid(_process, nullptr, 0);
}

void SiteTask::take(bus::UniqueFd& end, std::string& text) {
  std::array<char, 4096> part{};
  const ssize_t size = read(end.get(), part.data(), part.size());
  if (size <= 0) {
    end = bus::UniqueFd();
  } else if (text.size() < kMostText) {
    text.append(part.data(), static_cast<std::size_t>(size));
  }
}

int SiteTask::wait() {
  if (_process <= 0) return kNotStarted;
  int status = 0;
  waitpid(std::exchange(_process, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
}

}  // namespace vlm::fleet
