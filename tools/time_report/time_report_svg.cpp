#include "time_report_svg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <vector>

#include "svg_elements.h"
#include "svg_labels.h"
#include "time_report_format.h"

namespace vlm::time_report {

namespace {

// The page. Labels stand in rows between the heading and the plot.
constexpr double kWidth = 1200;
constexpr double kHeight = 640;
constexpr double kLeft = 84;
constexpr double kRight = kWidth - 28;
constexpr double kHeading = 84;
constexpr double kBottom = kHeight - 96;
constexpr double kLabelRow = 52;
constexpr int kLabelRows = 3;
constexpr std::size_t kLongestDirectory = 60;

constexpr Look kGrid = {"#e0e0e0", "none"};
constexpr Look kTick = {"#616161", "none"};
constexpr Look kThreshold = {"#c62828", "4 4"};
constexpr const char* kStallBand = "fill=\"#c62828\" fill-opacity=\"0.45\"";

Look look_of(TimeEventKind kind) {
  switch (kind) {
    case TimeEventKind::kStall: return {"#c62828", "none"};
    case TimeEventKind::kJumpBack: return {"#6a1b9a", "none"};
    case TimeEventKind::kJumpForward: return {"#e65100", "none"};
    case TimeEventKind::kInterruption: return {"#616161", "6 4"};
  }
  return kGrid;
}

// --- Scales ---

/// Logging time to the horizontal place; the page is at least a second wide.
class TimeScale {
 public:
  explicit TimeScale(std::int64_t elapsed_us)
      : _total_us(static_cast<double>(std::max<std::int64_t>(elapsed_us, 1'000'000))) {}

  double x(std::int64_t us) const {
    return kLeft + (kRight - kLeft) * std::min(1.0, static_cast<double>(us) / _total_us);
  }
  double total_us() const { return _total_us; }

 private:
  double _total_us;
};

/// Interval to the vertical place below `top`: whole decades around all intervals, at least from
/// 1 ms to 1 s, and none below 0.1 ms.
class IntervalScale {
 public:
  IntervalScale(const TimeReport& report, double top) : _top(top) {
    const auto& intervals = report.intervals();
    const auto highest = std::max(intervals.max(), report.thresholds().stall_us);
    const bool below_1_ms = intervals.count() != 0 && intervals.min() < 1'000;
    _first = below_1_ms ? 2 : 3;
    _last = std::max(6, static_cast<int>(std::ceil(std::log10(static_cast<double>(highest)))));
  }

  double y(double us) const {
    const double decade = std::log10(std::max(us, std::pow(10, _first)));
    return kBottom - (kBottom - _top) * (decade - _first) / (_last - _first);
  }
  double top() const { return _top; }
  int first_decade() const { return _first; }
  int last_decade() const { return _last; }

 private:
  double _top;
  int _first;  // powers of ten of a microsecond
  int _last;
};

struct Unit {
  double us;
  const char* name;
};
constexpr Unit kMillisecond = {1e3, "ms"};
constexpr Unit kSecond = {1e6, "s"};
constexpr std::array<Unit, 5> kUnits = {
    {{86'400e6, "d"}, {3'600e6, "h"}, {60e6, "min"}, kSecond, kMillisecond}};

/// "20 s".
std::string in_unit(double us, const Unit& unit) {
  return format("%g %s", us / unit.us, unit.name);
}

/// The largest unit that `us` fills.
Unit unit_of(double us) {
  const auto* const found =
      std::find_if(kUnits.begin(), kUnits.end(), [&](const Unit& unit) { return us >= unit.us; });
  return found == kUnits.end() ? kMillisecond : *found;
}

/// The shortest round step that gives at most ten ticks over `total_us`.
double tick_step(double total_us) {
  constexpr std::array<double, 19> kSeconds = {0.1, 0.2, 0.5, 1,   2,   5,    10,   15,   20,  30,
                                               60,  120, 300, 600, 900, 1200, 1800, 3600, 7200};
  for (const double seconds : kSeconds) {
    if (total_us <= seconds * 10e6) return seconds * 1e6;
  }
  double step = 3 * 3'600e6;
  while (total_us > 10 * step) step *= 2;
  return step;
}

// --- The plot ---

std::string heading(const TimeReport& report, const std::string& directory) {
  const auto& summary = report.summary();
  std::string where = directory;
  if (where.size() > kLongestDirectory) {
    where = "..." + where.substr(where.size() - kLongestDirectory);
  }
  return svg_text(kLeft, 36, "font-size=\"22\" font-weight=\"bold\"",
                  "Time log: " + (report.clean() ? "no faults" : faults_text(report))) +
         svg_text(kLeft, 60, "font-size=\"14\" fill=\"#424242\"",
                  where + ": " + count_text(summary.lines, "line") + " in " +
                      count_text(summary.files, "file") + ", " +
                      utc_text(summary.first_us).substr(0, 19) + " to " +
                      utc_text(summary.last_us).substr(0, 19) + " UTC");
}

std::string interval_axis(const IntervalScale& scale) {
  std::string svg;
  for (int decade = scale.first_decade(); decade <= scale.last_decade(); ++decade) {
    const double us = std::pow(10, decade);
    const double y = scale.y(us);
    svg += svg_line(kLeft, y, kRight, y, kGrid, 1) +
           svg_text(kLeft - 8, y + 4, "font-size=\"13\" text-anchor=\"end\"",
                    in_unit(us, us < kSecond.us ? kMillisecond : kSecond));
  }
  return svg + format(
                   "<text transform=\"translate(22 %.1f) rotate(-90)\" font-size=\"14\" "
                   "text-anchor=\"middle\">time between lines (log scale)</text>\n",
                   (scale.top() + kBottom) / 2);
}

std::string time_axis(const TimeScale& scale) {
  std::string svg;
  const double step = tick_step(scale.total_us());
  const Unit unit = unit_of(step);
  for (int i = 0; i * step <= scale.total_us(); ++i) {
    const double x = scale.x(std::llround(i * step));
    svg += svg_line(x, kBottom, x, kBottom + 6, kTick, 1) +
           svg_text(x, kBottom + 22, "font-size=\"13\" text-anchor=\"middle\"",
                    i == 0 ? "0" : in_unit(i * step, unit));
  }
  return svg +
         svg_text((kLeft + kRight) / 2, kBottom + 46, "font-size=\"14\" text-anchor=\"middle\"",
                  "logging time since the first line (clock jumps and interruptions left out)");
}

/// One upright stroke a column, from its shortest to its longest interval.
std::string curve(const IntervalColumns& columns, const TimeScale& time,
                  const IntervalScale& interval) {
  constexpr double kThinnest = 1.5;
  std::string path;
  std::int64_t begin_us = 0;
  for (const auto& column : columns.columns()) {
    const double x = (time.x(begin_us) + time.x(begin_us + columns.width_us())) / 2;
    begin_us += columns.width_us();
    if (column.shortest < 0) continue;
    path += format("M%.1f %.1fV%.1f", x,
                   interval.y(static_cast<double>(column.shortest)) + kThinnest / 2,
                   interval.y(static_cast<double>(column.longest)) - kThinnest / 2);
  }
  return format("<path fill=\"none\" stroke=\"#1565c0\" stroke-width=\"%.2f\" d=\"",
                std::max(1.0, time.x(columns.width_us()) - kLeft)) +
         path + "\"/>\n";
}

std::string threshold(const TimeReport& report, const IntervalScale& scale) {
  const auto us = static_cast<double>(report.thresholds().stall_us);
  const double y = scale.y(us);
  return svg_line(kLeft, y, kRight, y, kThreshold, 1) +
         svg_text(kLeft + 6, y - 5,
                  "font-size=\"12\" fill=\"#c62828\" stroke=\"#fafafa\" stroke-width=\"4\" "
                  "paint-order=\"stroke\"",
                  "stall above " + in_unit(us, kMillisecond));
}

// --- Marks and labels ---

/// A stall is a band as wide as it lasted; anything else has no width in logging time.
std::string mark(const TimeEvent& event, const TimeScale& time, double top) {
  const double x = time.x(event.elapsed_us);
  const Look look = look_of(event.kind);
  if (event.kind != TimeEventKind::kStall) return svg_line(x, top, x, kBottom, look, 2.5);
  constexpr double kNarrowest = 3;
  const double begin = std::min(time.x(event.elapsed_us - event.size_us), x - kNarrowest);
  return svg_box(std::max(kLeft, begin), top, x - std::max(kLeft, begin), kBottom - top,
                 kStallBand);
}

struct Label {
  TimeEvent event;
  PlacedLabel place;
};

std::string title_of(const TimeEvent& event) {
  return std::string(kind_text(event.kind)) + " " + span_text(event.size_us);
}

std::string place_of(const TimeEvent& event) {
  return event.file + ":" + std::to_string(event.position);
}

double width_of(const TimeEvent& event) {
  constexpr double kBoldCharacter = 8.8;   // of 14 px, on the safe side
  constexpr double kSmallCharacter = 6.8;  // of 11 px
  return std::max(kBoldCharacter * static_cast<double>(title_of(event).size()),
                  kSmallCharacter * static_cast<double>(place_of(event).size()));
}

/// Jumps before stalls before interruptions, the larger ones first.
bool is_worse(const TimeEvent& a, const TimeEvent& b) {
  const auto rank = [](const TimeEvent& event) {
    if (event.kind == TimeEventKind::kInterruption) return 2;
    return event.kind == TimeEventKind::kStall ? 1 : 0;
  };
  if (rank(a) != rank(b)) return rank(a) < rank(b);
  return std::abs(a.size_us) > std::abs(b.size_us);
}

std::vector<Label> place_labels(std::vector<TimeEvent> events, const TimeScale& time) {
  std::stable_sort(events.begin(), events.end(), is_worse);
  LabelRows rows(kLeft, kRight, kLabelRows);
  std::vector<Label> labels;
  for (const auto& event : events) {
    if (const auto place = rows.place(time.x(event.elapsed_us), width_of(event))) {
      labels.push_back({event, *place});
    }
  }
  return labels;
}

double top_below(const std::vector<Label>& labels) {
  int rows = 0;
  for (const auto& label : labels) rows = std::max(rows, label.place.row + 1);
  return kHeading + kLabelRow * rows;
}

std::string draw(const Label& label, double top) {
  const auto& [event, place] = label;
  const double y = top - kLabelRow * place.row;
  const Look look = look_of(event.kind);
  const auto style = [&](const char* size) { return format("fill=\"%s\" %s", look.colour, size); };
  return svg_line(place.x, y - 48, place.x, top, look, 1.5) +
         svg_text(place.left, y - 36, style("font-size=\"14\" font-weight=\"bold\""),
                  title_of(event)) +
         svg_text(place.left, y - 21, style("font-size=\"11\""),
                  utc_text(event.time_us).substr(0, 19)) +
         svg_text(place.left, y - 8, style("font-size=\"11\""), place_of(event));
}

std::string marks_and_labels(const std::vector<TimeEvent>& events, const std::vector<Label>& labels,
                             const TimeScale& time, double top) {
  std::string svg;
  for (const auto& event : events) svg += mark(event, time, top);
  for (const auto& label : labels) svg += draw(label, top);
  if (labels.size() == events.size()) return svg;
  return svg +
         svg_text(kRight, 60, "font-size=\"12\" fill=\"#424242\" text-anchor=\"end\"",
                  format("%zu of %zu marks have room for a label", labels.size(), events.size()));
}

std::string legend() {
  constexpr double kY = kHeight - 20;
  constexpr double kStep = 190;
  std::string svg = svg_box(kLeft, kY - 10, 16, 10, "fill=\"#1565c0\"") +
                    svg_text(kLeft + 24, kY, "font-size=\"13\"", "shortest to longest interval");
  double x = kLeft + 260;
  for (const auto kind : {TimeEventKind::kStall, TimeEventKind::kJumpBack,
                          TimeEventKind::kJumpForward, TimeEventKind::kInterruption}) {
    svg += kind == TimeEventKind::kStall
               ? svg_box(x, kY - 12, 12, 14, kStallBand)
               : svg_line(x + 6, kY - 13, x + 6, kY + 3, look_of(kind), 2.5);
    svg += svg_text(x + 20, kY, "font-size=\"13\"", kind_text(kind));
    x += kStep;
  }
  return svg;
}

}  // namespace

std::string time_report_svg(const TimeReport& report, const std::string& directory) {
  const TimeScale time(report.summary().elapsed_us);
  const auto events = report.events();
  const auto labels = place_labels(events, time);
  const double top = top_below(labels);
  const IntervalScale interval(report, top);
  return format(
             "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\" "
             "font-family=\"DejaVu Sans, Verdana, sans-serif\" fill=\"#212121\">\n",
             kWidth, kHeight) +
         svg_box(0, 0, kWidth, kHeight, "fill=\"#ffffff\"") + heading(report, directory) +
         svg_box(kLeft, top, kRight - kLeft, kBottom - top, "fill=\"#fafafa\" stroke=\"#9e9e9e\"") +
         interval_axis(interval) + time_axis(time) + marks_and_labels(events, labels, time, top) +
         curve(report.columns(), time, interval) + threshold(report, interval) + legend() +
         "</svg>\n";
}

}  // namespace vlm::time_report
