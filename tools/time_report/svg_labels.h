// Finds places for labels in rows above a plot so that nothing is written over.
#ifndef SVG_LABELS_H
#define SVG_LABELS_H

#include <optional>
#include <vector>

namespace vlm::time_report {

struct PlacedLabel {
  int row;       // 0 is the lowest
  double x;      // where its leader goes down to the plot
  double left;   // of its text
  double right;  // of its text, with the gap that keeps the next one off
};

class LabelRows {
 public:
  /// Texts stay between `left` and `right`.
  LabelRows(double left, double right, int rows) : _left(left), _right(right), _rows(rows) {}

  /// The lowest free place for a text of `width` beside a leader at `x`: to its right, else to its
  /// left. Nothing when every row is taken there, or when a leader would cross a text.
  std::optional<PlacedLabel> place(double x, double width);

 private:
  bool is_free(const PlacedLabel& wanted) const;

  double _left;
  double _right;
  int _rows;
  std::vector<PlacedLabel> _placed;
};

}  // namespace vlm::time_report

#endif  // SVG_LABELS_H
