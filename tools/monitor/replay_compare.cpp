#include "replay_compare.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "command_name.h"
#include "decode.h"
#include "payload_values.h"

namespace vlm::monitor {

namespace {

constexpr std::size_t kParametersAt = offsetof(userlcm_packet_t, msg_buf) +
                                      offsetof(msg_from_rep_t, msg_data) +
                                      offsetof(udp_ctrl_cam_t, cmd_params);

PayloadMask masked_bytes(const udp_ctrl_cam_t& reply, const std::vector<std::string>& masked) {
  PayloadMask all = volatile_bytes(reply);
  for (const std::string& name : masked) all |= bytes_of(name, reply);
  return all;
}

void blank(Entry& entry, const PayloadMask& bytes) {
  for (std::size_t i = 0; i < bytes.size() && kParametersAt + i < entry.packet.size(); ++i) {
    if (bytes[i]) entry.packet[kParametersAt + i] = 0;
  }
}

std::string result_of(const Decoded& decoded) {
  return decoded.result == 0
             ? "ok"
             : "error " + std::to_string(decoded.result) + " (" + result_text(decoded.result) + ')';
}

/// The first value that differs; empty when none does.
std::string value_difference(const Decoded& expected, const Decoded& actual) {
  const std::size_t size = std::min(expected.values.size(), actual.values.size());
  for (std::size_t i = 0; i < size; ++i) {
    const Value& one = expected.values[i];
    const Value& other = actual.values[i];
    if (one.name == other.name && one.text != other.text) {
      return one.name + " is " + other.text + ", recorded " + one.text;
    }
  }
  return {};
}

std::string byte_difference(const Bytes& expected, const Bytes& actual) {
  if (expected.size() != actual.size()) {
    return std::to_string(actual.size()) + " bytes, recorded " + std::to_string(expected.size());
  }
  const auto [one, other] = std::mismatch(expected.begin(), expected.end(), actual.begin());
  if (one == expected.end()) return {};
  char text[64];
  std::snprintf(text, sizeof text, "byte %td is 0x%02x, recorded 0x%02x", one - expected.begin(),
                *other, *one);
  return text;
}

}  // namespace

std::string difference(const Entry& expected, const Entry& actual,
                       const std::vector<std::string>& masked) {
  Entry one = expected;
  Entry other = actual;
  Decoded recorded = decode(one);
  Decoded came = decode(other);
  if (recorded.code != came.code) return came.name + " came, recorded " + recorded.name;
  if (recorded.result != came.result) return result_of(came) + ", recorded " + result_of(recorded);
  if (recorded.kind == Kind::kReply) {
    const PayloadMask bytes = masked_bytes(record_of(expected), masked);
    blank(one, bytes);
    blank(other, bytes);
    recorded = decode(one);
    came = decode(other);
  }
  const std::string bytes = byte_difference(one.packet, other.packet);
  if (bytes.empty()) return {};
  const std::string value = value_difference(recorded, came);
  return value.empty() ? bytes : value + " (" + bytes + ')';
}

}  // namespace vlm::monitor
