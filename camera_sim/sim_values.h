// Values as the command line and the operator's console take them. Each function reads the whole of
// `text` and returns false when that is anything else.
#ifndef CAMERA_SIM_SIM_VALUES_H
#define CAMERA_SIM_SIM_VALUES_H

#include <charconv>
#include <string>

#include "vlm_camera_payloads.h"

namespace vlm::sim {

/// A whole decimal number that T holds.
template <typename T>
bool parse_number(const std::string& text, T& number) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

/// A whole number of us, ms or s, at most an hour.
bool parse_duration(const std::string& text, u64& us);

/// A whole number of K, M or G (KiB, MiB, GiB), at most what 32 bits of KiB hold.
bool parse_size(const std::string& text, u64& kib);

/// A decimal number from 0 to 1.
bool parse_probability(const std::string& text, double& probability);

}  // namespace vlm::sim

#endif  // CAMERA_SIM_SIM_VALUES_H
