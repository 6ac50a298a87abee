// The few SVG elements that a plot is made of, as text. Places and sizes are in pixels.
#ifndef SVG_ELEMENTS_H
#define SVG_ELEMENTS_H

#include <string>

namespace vlm::time_report {

/// How a line is drawn: a colour, and a dash pattern or "none".
struct Look {
  const char* colour;
  const char* dash;
};

/// `attributes` are written as they stand; `text` is escaped.
std::string svg_text(double x, double y, const std::string& attributes, const std::string& text);
std::string svg_line(double x1, double y1, double x2, double y2, const Look& look, double width);
std::string svg_box(double x, double y, double width, double height, const std::string& attributes);

}  // namespace vlm::time_report

#endif  // SVG_ELEMENTS_H
