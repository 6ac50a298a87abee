// The steps of a batch as test results.
#ifndef VLMCTL_TEST_REPORT_H
#define VLMCTL_TEST_REPORT_H

#include <chrono>
#include <string>
#include <vector>

namespace vlm::ctl {

struct StepResult {
  std::string name;
  int status;
  std::string fault;  // empty: none
  std::chrono::nanoseconds time;
};

/// "ok 1 - set lens.zoom=2 # 1.234 ms"; a failed one is followed by its status and fault.
std::string tap_lines(std::size_t number, const StepResult& result);

/// A file that JUnit's readers take.
std::string junit_text(const std::string& suite, const std::vector<StepResult>& results);

}  // namespace vlm::ctl

#endif  // VLMCTL_TEST_REPORT_H
