#include "latency.h"

#include <algorithm>
#include <cstdio>

namespace vlm::ctl {

namespace {

constexpr Latency::Time kFirstBin = std::chrono::microseconds(125);

}  // namespace

void Latency::add(Time time) {
  _times.insert(std::upper_bound(_times.begin(), _times.end(), time), time);
}

Latency::Time Latency::quantile(double part) const {
  const double exact = part * static_cast<double>(_times.size());
  auto rank = static_cast<std::size_t>(exact);
  if (static_cast<double>(rank) < exact) ++rank;
  return _times[std::max<std::size_t>(rank, 1) - 1];
}

std::vector<Latency::Bin> Latency::histogram() const {
  std::vector<Bin> bins;
  const Time longest = _times.back();
  Time above{0};
  for (Time up_to = kFirstBin; bins.empty() || above < longest; up_to *= 2) {
    const auto inside = [&](Time time) {
      return time <= up_to && (time > above || above.count() == 0);
    };
    const auto count = std::count_if(_times.begin(), _times.end(), inside);
    bins.push_back({above, up_to, static_cast<unsigned>(count)});
    above = up_to;
  }
  while (bins.front().count == 0) bins.erase(bins.begin());
  return bins;
}

std::string milliseconds(Latency::Time time) {
  char text[32] = {};
  std::snprintf(text, sizeof text, "%.3f", static_cast<double>(time.count()) / 1e6);
  return text;
}

}  // namespace vlm::ctl
