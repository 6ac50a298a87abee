#include "test_report.h"

#include <algorithm>
#include <cstdio>

#include "latency.h"
#include "utf8.h"

namespace vlm::ctl {

namespace {

std::string seconds(std::chrono::nanoseconds time) {
  char text[32] = {};
  std::snprintf(text, sizeof text, "%.6f", static_cast<double>(time.count()) / 1e9);
  return text;
}

/// In an attribute; what XML cannot hold becomes U+FFFD.
std::string escaped(const std::string& text) {
  std::string xml;
  for (const char letter : host::printable(text)) {
    switch (letter) {
      case '&': xml += "&amp;"; break;
      case '<': xml += "&lt;"; break;
      case '>': xml += "&gt;"; break;
      case '"': xml += "&quot;"; break;
      default: xml += letter;
    }
  }
  return xml;
}

/// A number sign begins a directive of TAP.
std::string without_directive(std::string name) {
  std::replace(name.begin(), name.end(), '#', ' ');
  return name;
}

}  // namespace

std::string tap_lines(std::size_t number, const StepResult& result) {
  std::string text = (result.status == 0 ? "ok " : "not ok ") + std::to_string(number) + " - " +
                     without_directive(result.name) + " # " + milliseconds(result.time) + " ms";
  if (result.status == 0) return text;
  text += "\n  ---\n  status: " + std::to_string(result.status);
  if (!result.fault.empty()) text += "\n  message: >-\n    " + result.fault;
  return text + "\n  ...";
}

std::string junit_text(const std::string& suite, const std::vector<StepResult>& results) {
  std::chrono::nanoseconds all{0};
  std::size_t failures = 0;
  std::string cases;
  for (const StepResult& result : results) {
    all += result.time;
    cases += "  <testcase classname=\"vlmctl\" name=\"" + escaped(result.name) + "\" time=\"" +
             seconds(result.time) + "\"";
    if (result.status == 0) {
      cases += "/>\n";
      continue;
    }
    ++failures;
    cases += ">\n    <failure type=\"" + std::to_string(result.status) + "\" message=\"" +
             escaped(result.fault) + "\"/>\n  </testcase>\n";
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" + escaped(suite) +
         "\" tests=\"" + std::to_string(results.size()) + "\" failures=\"" +
         std::to_string(failures) + "\" time=\"" + seconds(all) + "\">\n" + cases +
         "</testsuite>\n";
}

}  // namespace vlm::ctl
