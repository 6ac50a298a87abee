#include "replay_result.h"

#include <algorithm>
#include <map>

namespace vlm::monitor {

namespace {

std::string title(const Check& check) {
  return check.number == 0 ? check.name
                           : "packet " + std::to_string(check.number) + ' ' + check.name;
}

std::string in_xml(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '"': result += "&quot;"; break;
      default: result += c;
    }
  }
  return result;
}

}  // namespace

void ReplayResult::equal(std::uint64_t number, const std::string& name) {
  _checks.push_back({number, name, Check::kEqual, {}});
}

void ReplayResult::differs(std::uint64_t number, const std::string& name,
                           const std::string& detail) {
  _checks.push_back({number, name, Check::kDiffers, detail});
}

void ReplayResult::left_out(std::uint64_t number, const std::string& name, const std::string& why) {
  _checks.push_back({number, name, Check::kLeftOut, why});
}

bool ReplayResult::has_difference() const { return count(Check::kDiffers) != 0; }

std::size_t ReplayResult::count(Check::Outcome outcome) const {
  return static_cast<std::size_t>(
      std::count_if(_checks.begin(), _checks.end(),
                    [&](const Check& check) { return check.outcome == outcome; }));
}

std::string ReplayResult::left_out_line() const {
  std::map<std::string, int> reasons;
  for (const Check& check : _checks) {
    if (check.outcome == Check::kLeftOut) ++reasons[check.detail];
  }
  if (reasons.empty()) return {};
  std::string line = "left out " + std::to_string(count(Check::kLeftOut)) + " requests:";
  const char* separator = " ";
  for (const auto& [reason, number] : reasons) {
    line += separator + std::to_string(number) + ' ' + reason;
    separator = ", ";
  }
  return line + '\n';
}

std::string ReplayResult::text() const {
  std::string text;
  for (const Check& check : _checks) {
    if (check.outcome == Check::kDiffers) text += title(check) + ": " + check.detail + '\n';
  }
  const std::size_t equal = count(Check::kEqual);
  const std::size_t differing = count(Check::kDiffers);
  return text + left_out_line() + (differing == 0 ? "equal: " : "differs: ") +
         std::to_string(equal) + " equal, " + std::to_string(differing) + " different\n";
}

std::string ReplayResult::tap() const {
  std::string text = "TAP version 13\n1.." + std::to_string(_checks.size()) + '\n';
  std::size_t number = 0;
  for (const Check& check : _checks) {
    const bool failed = check.outcome == Check::kDiffers;
    text += (failed ? "not ok " : "ok ") + std::to_string(++number) + " - " + title(check);
    if (check.outcome == Check::kLeftOut) text += " # SKIP " + check.detail;
    text += '\n';
    if (failed) text += "# " + check.detail + '\n';
  }
  return text;
}

std::string ReplayResult::junit(const std::string& suite) const {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"" +
                     in_xml(suite) + "\" tests=\"" + std::to_string(_checks.size()) +
                     "\" failures=\"" + std::to_string(count(Check::kDiffers)) + "\" skipped=\"" +
                     std::to_string(count(Check::kLeftOut)) + "\">\n";
  for (const Check& check : _checks) {
    text += "  <testcase classname=\"vlm_bus_replay\" name=\"" + in_xml(title(check)) + "\"";
    if (check.outcome == Check::kEqual) {
      text += "/>\n";
      continue;
    }
    const char* const tag = check.outcome == Check::kDiffers ? "failure" : "skipped";
    text += std::string("><") + tag + " message=\"" + in_xml(check.detail) + "\"/></testcase>\n";
  }
  return text + "</testsuite>\n";
}

}  // namespace vlm::monitor
