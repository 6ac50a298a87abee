#include "time_report_svg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "svg_labels.h"
#include "time_report_format.h"

namespace {

// The page, in pixels. Labels stand in rows above the plot.
constexpr double kWidth = 1200;
constexpr double kHeight = 640;
constexpr double kLeft = 84;
constexpr double kRight = kWidth - 28;
constexpr double kTop = 220;
constexpr double kBottom = kHeight - 96;
constexpr double kLabelRow = 38;
constexpr int kLabelRows = 3;
constexpr std::size_t kLongestDirectory = 60;

struct Look {
  const char* colour;
  const char* dash;
};

Look look_of(TimeEventKind kind) {
  switch (kind) {
    case TimeEventKind::kStall: return {"#c62828", "none"};
    case TimeEventKind::kJumpBack: return {"#6a1b9a", "none"};
    case TimeEventKind::kJumpForward: return {"#e65100", "none"};
    case TimeEventKind::kInterruption: return {"#616161", "6 4"};
  }
  return {"", ""};
}

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : printable(text)) {
    switch (c) {
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '&': result += "&amp;"; break;
      default: result += c;
    }
  }
  return result;
}

// --- Elements ---

std::string text_at(double x, double y, const char* attributes, const std::string& text) {
  return format("<text x=\"%.1f\" y=\"%.1f\" %s>", x, y, attributes) + escaped(text) + "</text>\n";
}

std::string line_at(double x1, double y1, double x2, double y2, const char* colour, double width,
                    const char* dash) {
  return format(
      "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" stroke-width=\"%.1f\" "
      "stroke-dasharray=\"%s\"/>\n",
      x1, y1, x2, y2, colour, width, dash);
}

std::string box_at(double x, double y, double width, double height, const char* attributes) {
  return format("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" %s/>\n", x, y, width,
                height, attributes);
}

// --- Scales ---

/// Logging time to the horizontal place.
class TimeScale {
 public:
  explicit TimeScale(std::int64_t elapsed_us)
      : _total(static_cast<double>(std::max<std::int64_t>(elapsed_us, 1))) {}

  double x(std::int64_t us) const {
    return kLeft + (kRight - kLeft) * std::min(1.0, static_cast<double>(us) / _total);
  }
  double total_us() const { return _total; }

 private:
  double _total;
};

/// Interval to the vertical place: whole decades around all intervals, 1 ms to 1 s at least.
class IntervalScale {
 public:
  explicit IntervalScale(const TimeReport& report) {
    const auto highest = std::max(report.intervals().max(), report.thresholds().stall_us);
    const auto lowest = std::clamp<std::int64_t>(report.intervals().min(), 100, 1'000);
    _first = static_cast<int>(std::floor(std::log10(static_cast<double>(lowest))));
    _last = std::max(6, static_cast<int>(std::ceil(std::log10(static_cast<double>(highest)))));
  }

  double y(double us) const {
    const double decade = std::clamp(std::log10(std::max(us, 1.0)), double(_first), double(_last));
    return kBottom - (kBottom - kTop) * (decade - _first) / (_last - _first);
  }
  int first_decade() const { return _first; }
  int last_decade() const { return _last; }

 private:
  int _first;  // powers of ten of a microsecond
  int _last;
};

struct Unit {
  double us;
  const char* name;
};

/// "20 s", "1.5 h": `us` in `unit`.
std::string in_unit(double us, const Unit& unit) {
  return format("%g %s", us / unit.us, unit.name);
}

Unit unit_of(double us) {
  constexpr std::array<Unit, 5> kUnits = {
      {{86'400e6, "d"}, {3'600e6, "h"}, {60e6, "min"}, {1e6, "s"}, {1e3, "ms"}}};
  const auto fits = [&](const Unit& unit) { return us >= unit.us; };
  const auto found = std::find_if(kUnits.begin(), kUnits.end(), fits);
  return found == kUnits.end() ? kUnits.back() : *found;
}

/// The shortest round step that gives at most ten ticks over `total_us`.
double tick_step(double total_us) {
  constexpr std::array<double, 9> kSteps = {1, 2, 5, 10, 15, 20, 30, 60, 120};
  for (const double unit : {1e6, 60e6}) {
    for (const double step : kSteps) {
      if (total_us <= 10 * step * unit) {
        const bool below = unit == 1e6 && step == 1 && total_us < 5e6;
        return below ? std::pow(10, std::floor(std::log10(total_us / 2))) : step * unit;
      }
    }
  }
  for (double step = 3'600e6 * 3;; step *= 2) {
    if (total_us <= 10 * step) return step;
  }
}

// --- Parts of the picture ---

std::string frame(const TimeReport& report, const std::string& directory) {
  const auto& summary = report.summary();
  std::string where = directory;
  if (where.size() > kLongestDirectory)
    where = "..." + where.substr(where.size() - kLongestDirectory);
  return box_at(0, 0, kWidth, kHeight, "fill=\"#ffffff\"") +
         text_at(kLeft, 36, "font-size=\"22\" font-weight=\"bold\"",
                 "Time log: " + (report.clean() ? "no faults" : faults_text(report))) +
         text_at(kLeft, 60, "font-size=\"14\" fill=\"#424242\"",
                 where + ": " + count_text(summary.lines, "line") + " in " +
                     count_text(summary.files, "file") + ", " +
                     utc_text(summary.first_us).substr(0, 19) + " to " +
                     utc_text(summary.last_us).substr(0, 19) + " UTC") +
         box_at(kLeft, kTop, kRight - kLeft, kBottom - kTop, "fill=\"#fafafa\" stroke=\"#9e9e9e\"");
}

std::string interval_axis(const IntervalScale& scale) {
  std::string svg;
  for (int decade = scale.first_decade(); decade <= scale.last_decade(); ++decade) {
    const double us = std::pow(10, decade);
    const double y = scale.y(us);
    svg += line_at(kLeft, y, kRight, y, "#e0e0e0", 1, "none") +
           text_at(kLeft - 8, y + 4, "font-size=\"13\" text-anchor=\"end\"",
                   in_unit(us, us < 1e6 ? Unit{1e3, "ms"} : Unit{1e6, "s"}));
  }
  return svg + format(
                   "<text transform=\"translate(22 %.1f) rotate(-90)\" font-size=\"14\" "
                   "text-anchor=\"middle\">time between lines (log scale)</text>\n",
                   (kTop + kBottom) / 2);
}

std::string time_axis(const TimeScale& scale) {
  std::string svg;
  const double step = tick_step(scale.total_us());
  const Unit unit = unit_of(step);
  for (int i = 0; i * step <= scale.total_us(); ++i) {
    const double x = scale.x(std::llround(i * step));
    svg += line_at(x, kBottom, x, kBottom + 6, "#616161", 1, "none") +
           text_at(x, kBottom + 22, "font-size=\"13\" text-anchor=\"middle\"",
                   i == 0 ? "0" : in_unit(i * step, unit));
  }
  return svg +
         text_at((kLeft + kRight) / 2, kBottom + 46, "font-size=\"14\" text-anchor=\"middle\"",
                 "logging time since the first line (clock jumps and interruptions left out)");
}

/// One upright stroke a column, from its shortest to its longest interval.
std::string curve(const IntervalColumns& columns, const TimeScale& time,
                  const IntervalScale& scale) {
  constexpr double kThinnest = 1.5;
  const double width = time.x(columns.width_us()) - kLeft;
  std::string path;
  for (std::size_t i = 0; i < columns.columns().size(); ++i) {
    const auto& column = columns.columns()[i];
    if (column.shortest < 0) continue;
    const double bottom = scale.y(static_cast<double>(column.shortest)) + kThinnest / 2;
    const double top = scale.y(static_cast<double>(column.longest)) - kThinnest / 2;
    const double x = time.x(columns.width_us() * static_cast<std::int64_t>(i)) + width / 2;
    path += format("M%.1f %.1fV%.1f", std::min(x, kRight), bottom, top);
  }
  return format("<path fill=\"none\" stroke=\"#1565c0\" stroke-width=\"%.2f\" d=\"",
                std::max(1.0, width)) +
         path + "\"/>\n";
}

std::string threshold(const TimeReport& report, const IntervalScale& scale) {
  const double y = scale.y(static_cast<double>(report.thresholds().stall_us));
  return line_at(kLeft, y, kRight, y, look_of(TimeEventKind::kStall).colour, 1, "4 4") +
         text_at(kLeft + 6, y - 5, "font-size=\"12\" fill=\"#c62828\"",
                 "stall above " +
                     in_unit(static_cast<double>(report.thresholds().stall_us), {1e3, "ms"}));
}

/// A stall as a band as wide as it lasted; anything else has no width in logging time.
std::string mark(const TimeEvent& event, const TimeScale& time) {
  const double x = time.x(event.elapsed_us);
  const Look look = look_of(event.kind);
  if (event.kind != TimeEventKind::kStall) {
    return line_at(x, kTop, x, kBottom, look.colour, 2.5, look.dash);
  }
  constexpr double kNarrowest = 3;
  const double width = std::max(kNarrowest, x - time.x(event.elapsed_us - event.size_us));
  return box_at(std::max(kLeft, x - width), kTop, width, kBottom - kTop,
                "fill=\"#c62828\" fill-opacity=\"0.45\"");
}

std::string label(const TimeEvent& event, const PlacedLabel& place) {
  const double y = kTop - 14 - kLabelRow * place.row;
  const Look look = look_of(event.kind);
  const auto what = format("fill=\"%s\" font-size=\"14\" font-weight=\"bold\"", look.colour);
  const auto where = format("fill=\"%s\" font-size=\"11\"", look.colour);
  return line_at(place.x, y - 26, place.x, kTop, look.colour, 1.5, look.dash) +
         text_at(place.left, y - 15, what.c_str(),
                 std::string(kind_text(event.kind)) + " " + span_text(event.size_us)) +
         text_at(place.left, y, where.c_str(), event.file + ":" + std::to_string(event.position));
}

bool worse(const TimeEvent& a, const TimeEvent& b) {
  const auto rank = [](const TimeEvent& e) {
    return e.kind == TimeEventKind::kInterruption ? 2 : e.kind == TimeEventKind::kStall ? 1 : 0;
  };
  if (rank(a) != rank(b)) return rank(a) < rank(b);
  return std::abs(a.size_us) > std::abs(b.size_us);
}

double label_width(const TimeEvent& event) {
  constexpr double kBoldCharacter = 8.6;   // of 14 px, on the safe side
  constexpr double kSmallCharacter = 6.6;  // of 11 px
  const auto what = std::string(kind_text(event.kind)) + " " + span_text(event.size_us);
  const auto where = event.file + ":" + std::to_string(event.position);
  return std::max(kBoldCharacter * static_cast<double>(what.size()),
                  kSmallCharacter * static_cast<double>(where.size()));
}

std::string faults(const TimeReport& report, const TimeScale& time) {
  auto events = report.events();
  std::stable_sort(events.begin(), events.end(), worse);
  LabelRows rows(kLeft, kRight, kLabelRows);
  std::string marks;
  std::string labels;
  std::size_t labelled = 0;
  for (const auto& event : events) {
    marks += mark(event, time);
    if (const auto place = rows.place(time.x(event.elapsed_us), label_width(event))) {
      labels += label(event, *place);
      ++labelled;
    }
  }
  if (labelled < events.size()) {
    labels += text_at(kRight, 60, "font-size=\"12\" fill=\"#424242\" text-anchor=\"end\"",
                      format("%zu of %zu marks have room for a label", labelled, events.size()));
  }
  return marks + labels;
}

std::string legend() {
  constexpr double kY = kHeight - 20;
  constexpr double kStep = 190;
  std::string svg = box_at(kLeft, kY - 10, 16, 10, "fill=\"#1565c0\"") +
                    text_at(kLeft + 24, kY, "font-size=\"13\"", "shortest to longest interval");
  double x = kLeft + 260;
  for (const auto kind : {TimeEventKind::kStall, TimeEventKind::kJumpBack,
                          TimeEventKind::kJumpForward, TimeEventKind::kInterruption}) {
    const Look look = look_of(kind);
    svg += kind == TimeEventKind::kStall
               ? box_at(x, kY - 12, 12, 14, "fill=\"#c62828\" fill-opacity=\"0.45\"")
               : line_at(x + 6, kY - 13, x + 6, kY + 3, look.colour, 2.5, look.dash);
    svg += text_at(x + 20, kY, "font-size=\"13\"", kind_text(kind));
    x += kStep;
  }
  return svg;
}

}  // namespace

std::string time_report_svg(const TimeReport& report, const std::string& directory) {
  const TimeScale time(report.summary().elapsed_us);
  const IntervalScale interval(report);
  return format(
             "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" "
             "font-family=\"DejaVu Sans, Verdana, sans-serif\" fill=\"#212121\">\n",
             kWidth, kHeight) +
         frame(report, directory) + interval_axis(interval) + time_axis(time) +
         curve(report.columns(), time, interval) + threshold(report, interval) +
         faults(report, time) + legend() + "</svg>\n";
}
