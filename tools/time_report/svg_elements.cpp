#include "svg_elements.h"

#include "time_report_format.h"
#include "utf8.h"

namespace vlm::time_report {

namespace {

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : host::printable(text)) {
    switch (c) {
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '&': result += "&amp;"; break;
      default: result += c;
    }
  }
  return result;
}

}  // namespace

std::string svg_text(double x, double y, const std::string& attributes, const std::string& text) {
  return format("<text x=\"%.1f\" y=\"%.1f\" ", x, y) + attributes + ">" + escaped(text) +
         "</text>\n";
}

std::string svg_line(double x1, double y1, double x2, double y2, const Look& look, double width) {
  return format(
      "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" stroke-width=\"%.1f\" "
      "stroke-dasharray=\"%s\"/>\n",
      x1, y1, x2, y2, look.colour, width, look.dash);
}

std::string svg_box(double x, double y, double width, double height,
                    const std::string& attributes) {
  return format("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" ", x, y, width,
                height) +
         attributes + "/>\n";
}

}  // namespace vlm::time_report
