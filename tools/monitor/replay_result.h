// What a replay has found, packet by packet, and how it is told.
#ifndef MONITOR_REPLAY_RESULT_H
#define MONITOR_REPLAY_RESULT_H

#include <cstdint>
#include <string>
#include <vector>

namespace vlm::monitor {

struct Check {
  enum Outcome { kEqual, kDiffers, kLeftOut };

  std::uint64_t number;  // of the packet in the recording; 0: of none
  std::string name;      // of its command
  Outcome outcome;
  std::string detail;  // what differs, or why it was left out
};

class ReplayResult {
 public:
  void equal(std::uint64_t number, const std::string& name);
  void differs(std::uint64_t number, const std::string& name, const std::string& detail);
  void left_out(std::uint64_t number, const std::string& name, const std::string& why);

  bool has_difference() const;

  /// A line that counts what was left out, if anything was.
  std::string left_out_line() const;
  /// A line for each difference, one that counts what was left out, and the verdict.
  std::string text() const;
  /// Test Anything Protocol, version 13.
  std::string tap() const;
  /// A JUnit test suite of the name `suite`.
  std::string junit(const std::string& suite) const;

 private:
  std::size_t count(Check::Outcome outcome) const;

  std::vector<Check> _checks;
};

}  // namespace vlm::monitor

#endif  // MONITOR_REPLAY_RESULT_H
