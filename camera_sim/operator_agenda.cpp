#include "operator_agenda.h"

#include <utility>

namespace vlm::sim {

bool OperatorAgenda::add(u64 due_ms, const std::string& line) {
  if (_lines.size() == kMostLines) return false;
  _lines.emplace(due_ms, line);
  return true;
}

std::optional<std::string> OperatorAgenda::take(u64 now_ms) {
  const auto first = _lines.begin();
  if (first == _lines.end() || first->first > now_ms) return std::nullopt;
  std::string line = std::move(first->second);
  _lines.erase(first);
  return line;
}

std::optional<u64> OperatorAgenda::next_due_ms() const {
  if (_lines.empty()) return std::nullopt;
  return _lines.begin()->first;
}

}  // namespace vlm::sim
