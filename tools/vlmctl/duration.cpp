#include "duration.h"

#include <charconv>
#include <cstdint>

namespace vlm::ctl {

namespace {

struct Unit {
  std::string_view name;
  std::int64_t ms;
};

constexpr Unit kUnits[] = {{"ms", 1}, {"s", 1000}, {"m", 60'000}, {"h", 3'600'000}};
constexpr std::int64_t kLongestMs = 3'600'000'000;

}  // namespace

std::optional<std::chrono::milliseconds> parse_duration(std::string_view written) {
  std::int64_t number = 0;
  const char* const end = written.data() + written.size();
  const auto [rest, fault] = std::from_chars(written.data(), end, number);
  if (fault != std::errc{} || number < 0 || number > kLongestMs) return std::nullopt;
  const std::string_view name(rest, static_cast<std::size_t>(end - rest));
  for (const Unit& unit : kUnits) {
    if (name != unit.name) continue;
    if (number > kLongestMs / unit.ms) return std::nullopt;
    return std::chrono::milliseconds(number * unit.ms);
  }
  return std::nullopt;
}

}  // namespace vlm::ctl
