// Commands of the operator that wait for their time.
#ifndef CAMERA_SIM_OPERATOR_AGENDA_H
#define CAMERA_SIM_OPERATOR_AGENDA_H

#include <map>
#include <optional>
#include <string>

#include "vlm_camera_payloads.h"

namespace vlm::sim {

/// Not synchronised. Times are milliseconds from any start.
class OperatorAgenda {
 public:
  static constexpr std::size_t kMostLines = 1024;

  /// False, and does nothing, when there are too many lines already.
  bool add(u64 due_ms, const std::string& line);
  /// The first line that is due at `now_ms`; of those due at once the one added first.
  std::optional<std::string> take(u64 now_ms);
  std::optional<u64> next_due_ms() const;

 private:
  std::multimap<u64, std::string> _lines;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_OPERATOR_AGENDA_H
