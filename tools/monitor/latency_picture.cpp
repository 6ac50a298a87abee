#include "latency_picture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <tuple>

#include "line.h"

namespace vlm::monitor {

namespace {

constexpr int kWidth = 960;
constexpr int kHeight = 480;
constexpr int kLeft = 80;
constexpr int kRight = 940;
constexpr int kTop = 40;
constexpr int kBottom = 430;

template <typename... Values>
std::string formatted(const char* format, Values... values) {
  char text[320];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

/// "10 us", "1 ms", "10 s" of a power of ten of nanoseconds.
std::string decade_label(int decade) {
  static constexpr const char* kUnits[] = {"ns", "us", "ms", "s"};
  const int unit = std::min(decade / 3, 3);
  return formatted("%.0f %s", std::pow(10, decade - 3 * unit), kUnits[unit]);
}

/// Where times and durations lie in the picture.
struct Scale {
  std::int64_t duration_ns = 1;
  int first_decade = 4;
  int last_decade = 9;

  int x(std::int64_t since_ns) const {
    const double share = static_cast<double>(since_ns) / static_cast<double>(duration_ns);
    return kLeft + static_cast<int>(std::lround(share * (kRight - kLeft)));
  }
  int y(double ns) const {
    const double share =
        (std::log10(std::max(ns, 1.0)) - first_decade) / (last_decade - first_decade);
    return kBottom - static_cast<int>(std::lround(share * (kBottom - kTop)));
  }
};

std::string axes(const Scale& scale) {
  std::string svg;
  for (int decade = scale.first_decade; decade <= scale.last_decade; ++decade) {
    const int y = scale.y(std::pow(10, decade));
    svg += formatted("<line x1=\"%d\" y1=\"%d\" x2=\"%d\" y2=\"%d\" stroke=\"#ddd\"/>\n", kLeft, y,
                     kRight, y);
    svg += formatted("<text x=\"%d\" y=\"%d\" text-anchor=\"end\">%s</text>\n", kLeft - 8, y + 4,
                     decade_label(decade).c_str());
  }
  constexpr int kSteps = 5;
  for (int step = 0; step <= kSteps; ++step) {
    const std::int64_t since = scale.duration_ns / kSteps * step;
    svg += formatted("<text x=\"%d\" y=\"%d\" text-anchor=\"middle\">%s s</text>\n", scale.x(since),
                     kBottom + 22, seconds(since, 1).c_str());
  }
  return svg;
}

std::string dot(int x, int y, const char* colour) {
  return formatted("<circle cx=\"%d\" cy=\"%d\" r=\"2\" fill=\"%s\"/>\n", x, y, colour);
}

std::string cross(int x, int y) {
  return formatted("<path d=\"M%d %dl8 8m0 -8l-8 8\" stroke=\"#c00\" stroke-width=\"2\"/>\n", x - 4,
                   y - 4);
}

}  // namespace

void LatencyPicture::add(const Observation& observation) {
  const Finding& finding = observation.finding;
  const bool is_reply = observation.decoded.kind == Kind::kReply && finding.round_trip_ns;
  if (observation.number != 0 && !is_reply) return;
  _points.push_back({observation.number != 0 ? observation.number : finding.request,
                     observation.since_ns, is_reply ? *finding.round_trip_ns : observation.limit_ns,
                     observation.decoded.code, observation.decoded.result, is_reply,
                     observation.decoded.name});
}

std::string LatencyPicture::svg() const {
  Scale scale;
  for (const Point& point : _points) {
    scale.duration_ns = std::max(scale.duration_ns, point.since_ns);
    const double decade = std::log10(std::max(static_cast<double>(point.round_trip_ns), 1.0));
    scale.first_decade = std::min(scale.first_decade, static_cast<int>(std::floor(decade)));
    scale.last_decade = std::max(scale.last_decade, static_cast<int>(std::ceil(decade)));
  }
  // What would lie upon one another is drawn once.
  std::set<std::tuple<int, int, int>> drawn;
  std::string marks;
  std::size_t unanswered = 0;
  for (const Point& point : _points) {
    const int x = scale.x(point.since_ns);
    const int y = scale.y(static_cast<double>(point.round_trip_ns));
    unanswered += point.answered ? 0 : 1;
    const int look = !point.answered ? 2 : point.result != 0 ? 1 : 0;
    if (!drawn.emplace(x, y, look).second) continue;
    marks += look == 2 ? cross(x, y) : dot(x, y, look == 1 ? "#c00" : "#06c");
  }
  return formatted(
             "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" "
             "font-family=\"sans-serif\" font-size=\"12\" fill=\"#333\">\n",
             kWidth, kHeight) +
         formatted(
             "<title>Round trips on the bus</title>\n<rect width=\"%d\" height=\"%d\" "
             "fill=\"#fff\"/>\n",
             kWidth, kHeight) +
         formatted(
             "<text x=\"%d\" y=\"24\">Round trips: %zu answered, %zu without an answer in "
             "time (crosses); errors are red</text>\n",
             kLeft, _points.size() - unanswered, unanswered) +
         axes(scale) + marks + "</svg>\n";
}

std::string LatencyPicture::csv() const {
  std::string csv = "number,since_s,name,code,err,round_trip_ms,mark\n";
  for (const Point& point : _points) {
    csv += std::to_string(point.number) + ',' + seconds(point.since_ns, 9) + ',' + point.name +
           ',' + std::to_string(point.code) + ',' +
           (point.answered ? std::to_string(point.result) : "") + ',' +
           (point.answered ? milliseconds(point.round_trip_ns) : "") + ',' +
           (point.answered ? "" : name_of(Mark::kNoAnswer)) + '\n';
  }
  return csv;
}

}  // namespace vlm::monitor
