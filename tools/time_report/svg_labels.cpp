#include "svg_labels.h"

#include <algorithm>

namespace vlm::time_report {

namespace {

constexpr double kGap = 6;

/// The leader of `upper` runs through the text of `lower`.
bool crosses(const PlacedLabel& upper, const PlacedLabel& lower) {
  return upper.row > lower.row && upper.x > lower.left - kGap && upper.x < lower.right;
}

/// The two overlap in one row, leaders included.
bool overlaps(const PlacedLabel& a, const PlacedLabel& b) {
  return a.row == b.row && std::min(a.x, a.left) < std::max(b.x, b.right) &&
         std::min(b.x, b.left) < std::max(a.x, a.right);
}

}  // namespace

std::optional<PlacedLabel> LabelRows::place(double x, double width) {
  for (int row = 0; row < _rows; ++row) {
    for (const double left : {x + kGap, x - kGap - width}) {
      const PlacedLabel wanted{row, x, left, left + width + kGap};
      if (is_free(wanted)) {
        _placed.push_back(wanted);
        return wanted;
      }
    }
  }
  return std::nullopt;
}

bool LabelRows::is_free(const PlacedLabel& wanted) const {
  if (wanted.left < _left || wanted.right - kGap > _right) return false;
  return std::none_of(_placed.begin(), _placed.end(), [&](const PlacedLabel& other) {
    return overlaps(wanted, other) || crosses(wanted, other) || crosses(other, wanted);
  });
}

}  // namespace vlm::time_report
