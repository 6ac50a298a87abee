#include "payload_values.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "catalogue.h"
#include "catalogue_text.h"
#include "catalogue_value.h"

namespace vlm::monitor {

namespace {

using catalogue::Field;
using catalogue::Row;

constexpr std::size_t kParametersAt = offsetof(userlcm_packet_t, msg_buf) +
                                      offsetof(msg_from_rep_t, msg_data) +
                                      offsetof(udp_ctrl_cam_t, cmd_params);
constexpr char kSecretText[] = "***";

/// Codes of passwords that the catalogue has no row for.
bool is_unlisted_secret(int code) {
  return code == UDP_CTRL_CAM_SET_VIDEO_PASSWD || code == UDP_CTRL_CAM_GET_VIDEO_PASSWD;
}

const Row* row_of(const udp_ctrl_cam_t& record) {
  return catalogue::find_by_code(record.cmd_type, record.cmd_params);
}

bool is_json_number(const std::string& text) {
  if (text.empty() || text.find_first_not_of("0123456789.-+e") != text.npos) return false;
  char* end = nullptr;
  std::strtod(text.c_str(), &end);
  const std::size_t digit = text[0] == '-' ? 1 : 0;
  const bool plain = digit < text.size() && text[digit] >= '0' && text[digit] <= '9' &&
                     text.back() != '.' &&
                     (text[digit] != '0' || text.size() == digit + 1 || text[digit + 1] == '.' ||
                      text[digit + 1] == 'e');
  return *end == '\0' && plain;
}

bool has_number(const Field& field) {
  return field.type >= catalogue::Type::kU8 && field.type <= catalogue::Type::kFloat;
}

Value value_of(const std::string& name, const Field& field, const catalogue::Value& value) {
  if (field.is(catalogue::kSecret)) return {name, kSecretText};
  const std::string text = printable(catalogue::format(field, value));
  return {name, text, has_number(field) && is_json_number(text)};
}

void add_value(const std::string& name, const Field& field, const catalogue::Value& value,
               std::vector<Value>& all) {
  if (const auto* const members = std::get_if<catalogue::Members>(&value)) {
    for (const catalogue::Member& part : *members) {
      all.push_back(value_of(name + '.' + part.field->name, *part.field, part.value));
    }
  } else if (!std::holds_alternative<std::monostate>(value)) {
    all.push_back(value_of(name, field, value));
  }
}

std::vector<Value> raw_values(const udp_ctrl_cam_t& record) {
  std::size_t size = sizeof record.cmd_params;
  while (size > 0 && record.cmd_params[size - 1] == 0) --size;
  if (size == 0) return {};
  if (is_unlisted_secret(record.cmd_type)) return {{"payload", kSecretText}};
  return {{"payload", hexadecimal(record.cmd_params, size)}};
}

std::vector<Value> request_values(const Row& row, const udp_ctrl_cam_t& record) {
  std::vector<Value> all;
  if (record.cmd_type == row.codes.set) {
    if (const auto value =
            catalogue::decode(row.value, record.cmd_params, sizeof record.cmd_params)) {
      add_value(row.name(), row.value, *value, all);
    }
    return all;
  }
  for (const Field& parameter : row.parameters) {
    if (const auto value =
            catalogue::decode(parameter, record.cmd_params, sizeof record.cmd_params)) {
      add_value(parameter.name, parameter, *value, all);
    }
  }
  return all;
}

/// Calls `take` with the bytes of each plain field in the row's replies or requests.
template <typename Take>
void for_each_field(const Row& row, bool is_reply, Take take) {
  const int shift = is_reply ? row.reply_shift : 0;
  const auto take_field = [&](const Field& field) {
    PayloadMask bytes;
    for (int at = field.offset + shift; at < field.offset + shift + field.width; ++at) {
      if (at >= 0 && at < static_cast<int>(bytes.size())) bytes.set(static_cast<std::size_t>(at));
    }
    take(field, bytes);
  };
  if (row.value.fields.empty()) take_field(row.value);
  for (const Field& field : row.value.fields) take_field(field);
}

/// Where the packet's secrets are.
PayloadMask secret_bytes(const udp_ctrl_cam_t& record, bool is_reply) {
  if (is_unlisted_secret(record.cmd_type)) return PayloadMask().set();
  PayloadMask all;
  if (const Row* const row = row_of(record)) {
    for_each_field(*row, is_reply, [&](const Field& field, const PayloadMask& bytes) {
      if (field.is(catalogue::kSecret) || row->is(catalogue::kSecret)) all |= bytes;
    });
  }
  return all;
}

}  // namespace

std::vector<Value> payload_values(const udp_ctrl_cam_t& record, bool is_reply) {
  const Row* const row = row_of(record);
  if (row == nullptr) return raw_values(record);
  if (!is_reply) return request_values(*row, record);
  std::vector<Value> all;
  if (record.cmd_type == row->codes.set) return all;
  if (const auto value =
          catalogue::decode_reply(*row, record.cmd_params, sizeof record.cmd_params)) {
    add_value(row->name(), row->value, *value, all);
  }
  return all;
}

bool redact(Entry& entry) {
  const Decoded decoded = decode(entry);
  const bool is_reply = decoded.kind == Kind::kReply;
  if (decoded.kind != Kind::kRequest && !is_reply) return false;
  const PayloadMask secret = secret_bytes(record_of(entry), is_reply);
  if (secret.none()) return false;
  for (std::size_t i = 0; i < secret.size() && kParametersAt + i < entry.packet.size(); ++i) {
    if (secret[i]) entry.packet[kParametersAt + i] = 0;
  }
  entry.comment = kRedacted;
  return true;
}

bool is_destructive(const udp_ctrl_cam_t& request) {
  const Row* const row = row_of(request);
  return row != nullptr && row->is(catalogue::kDestructive) && request.cmd_type != row->codes.get;
}

PayloadMask volatile_bytes(const udp_ctrl_cam_t& reply) {
  PayloadMask all;
  const Row* const row = row_of(reply);
  if (row == nullptr) return all;
  for_each_field(*row, true, [&](const Field& field, const PayloadMask& bytes) {
    if (field.is(catalogue::kVolatile) || row->is(catalogue::kVolatile)) all |= bytes;
  });
  return all;
}

PayloadMask bytes_of(const std::string& name, const udp_ctrl_cam_t& reply) {
  PayloadMask all;
  const auto item = catalogue::find(name);
  const Row* const row = row_of(reply);
  if (!item || item->row != row) return all;
  for_each_field(*row, true, [&](const Field& field, const PayloadMask& bytes) {
    if (item->whole() || item->field == &field) all |= bytes;
  });
  return all;
}

bool is_value_name(const std::string& name) { return catalogue::find(name).has_value(); }

}  // namespace vlm::monitor
