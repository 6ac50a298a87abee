// vlmctl with one camera of many, as a process of its own.
#ifndef FLEET_SITE_TASK_H
#define FLEET_SITE_TASK_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "unique_fd.h"

namespace vlm::fleet {

/// This program once more, without input, its output and its errors kept.
class SiteTask {
 public:
  /// One whose process cannot be made has ended, with its reason among the errors.
  explicit SiteTask(const std::vector<std::string>& arguments);
  ~SiteTask();
  SiteTask(SiteTask&& other) noexcept;
  SiteTask& operator=(SiteTask&&) = delete;

  /// To be polled for reading; -1 where nothing more comes.
  int output_descriptor() const { return _output.get(); }
  int errors_descriptor() const { return _errors.get(); }
  /// Takes what has come, without waiting for more than there is. To be called where poll() says so.
  void take_output() { take(_output, _output_text); }
  void take_errors() { take(_errors, _errors_text); }
  /// Both have come to their end.
  bool has_ended() const { return !_output && !_errors; }
  /// The exit status. To be called once it has ended.
  int wait();

  const std::string& output() const { return _output_text; }
  const std::string& errors() const { return _errors_text; }

 private:
  static void take(bus::UniqueFd& end, std::string& text);

  bus::UniqueFd _output;
  bus::UniqueFd _errors;
  std::string _output_text;
  std::string _errors_text;
  pid_t _process = -1;
};

}  // namespace vlm::fleet

#endif  // FLEET_SITE_TASK_H
