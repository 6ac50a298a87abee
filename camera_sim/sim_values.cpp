#include "sim_values.h"

#include <cstdlib>

namespace vlm::sim {

namespace {

/// A whole number with the unit that follows its digits.
struct Quantity {
  u64 count;
  std::string unit;
};

bool parse_quantity(const std::string& text, Quantity& quantity) {
  const auto unit_at = text.find_first_not_of("0123456789");
  if (unit_at == std::string::npos) return false;
  quantity.unit = text.substr(unit_at);
  return parse_number(text.substr(0, unit_at), quantity.count);
}

/// `quantity` times `unit`, which is 0 where the unit is none; false when it is more than `most`.
bool multiply(const Quantity& quantity, u64 unit, u64 most, u64& product) {
  if (unit == 0 || quantity.count > most / unit) return false;
  product = quantity.count * unit;
  return true;
}

}  // namespace

bool parse_duration(const std::string& text, u64& us) {
  constexpr u64 kHourUs = u64{3600} * 1000000;
  Quantity quantity;
  if (!parse_quantity(text, quantity)) return false;
  const std::string& unit = quantity.unit;
  return multiply(quantity,
                  unit == "us"   ? 1
                  : unit == "ms" ? 1000
                  : unit == "s"  ? 1000000
                                 : 0,
                  kHourUs, us);
}

bool parse_size(const std::string& text, u64& kib) {
  Quantity quantity;
  if (!parse_quantity(text, quantity)) return false;
  const std::string& unit = quantity.unit;
  return multiply(quantity,
                  unit == "K"   ? 1
                  : unit == "M" ? 1024
                  : unit == "G" ? 1024 * 1024
                                : 0,
                  0xFFFFFFFF, kib);
}

bool parse_probability(const std::string& text, double& probability) {
  // The decimal form alone: no sign, no exponent, no name of a number.
  if (text.empty() || text.find_first_not_of("0123456789.") != std::string::npos) return false;
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (*end != '\0' || end == text.c_str() || value > 1) return false;
  probability = value;
  return true;
}

}  // namespace vlm::sim
