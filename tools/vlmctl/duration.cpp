#include "duration.h"

#include <algorithm>
#include <cstdint>

#include "catalogue_text.h"

namespace vlm::ctl {

namespace {

struct Unit {
  std::string_view name;
  std::uint64_t ms;
};

constexpr Unit kUnits[] = {{"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};
constexpr std::uint64_t kLongestMs = 3'600'000'000;

}  // namespace

std::optional<std::chrono::milliseconds> parse_duration(std::string_view written) {
  const std::size_t size = std::min(written.find_first_not_of("0123456789"), written.size());
  const auto number = catalogue::parse_digits(written.substr(0, size), 10);
  if (!number) return std::nullopt;
  for (const Unit& unit : kUnits) {
    if (written.substr(size) != unit.name) continue;
    if (*number > kLongestMs / unit.ms) return std::nullopt;
    return std::chrono::milliseconds(*number * unit.ms);
  }
  return std::nullopt;
}

}  // namespace vlm::ctl
