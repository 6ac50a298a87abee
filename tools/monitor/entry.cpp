#include "entry.h"

#include <charconv>
#include <string_view>

namespace vlm::monitor {

namespace {

constexpr std::string_view kLost = " packets lost";

}  // namespace

std::string loss_comment(std::uint64_t count) { return std::to_string(count) + std::string(kLost); }

std::uint64_t loss_in(const std::string& comment) {
  std::uint64_t count = 0;
  const char* const end = comment.data() + comment.size();
  const auto [rest, fault] = std::from_chars(comment.data(), end, count);
  const bool whole =
      fault == std::errc{} && std::string_view(rest, static_cast<std::size_t>(end - rest)) == kLost;
  return whole ? count : 0;
}

}  // namespace vlm::monitor
