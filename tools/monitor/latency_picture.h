// Round trips over time, as a picture and as a table.
#ifndef MONITOR_LATENCY_PICTURE_H
#define MONITOR_LATENCY_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

#include "observation.h"

namespace vlm::monitor {

class LatencyPicture {
 public:
  /// Keeps answers and requests whose time has run out.
  void add(const Observation& observation);

  /// Log scale; a dot for each round trip, red ones for errors, crosses for requests without an
  /// answer. As large for a long recording as for a short one.
  std::string svg() const;
  /// number,since_s,name,code,err,round_trip_ms,mark; a line each, behind a line of headings.
  std::string csv() const;

 private:
  struct Point {
    std::uint64_t number;
    std::int64_t since_ns;
    std::int64_t round_trip_ns;  // of a request without an answer, how long it waited
    int code;
    int result;
    bool answered;
    std::string name;
  };

  std::vector<Point> _points;
};

}  // namespace vlm::monitor

#endif  // MONITOR_LATENCY_PICTURE_H
