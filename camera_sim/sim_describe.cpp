#include "sim_describe.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "catalogue.h"
#include "payload_bytes.h"
#include "velmar_cmd.h"
#include "velmar_err.h"

namespace vlm::sim {

namespace {

/// A blank and two digits for each byte up to the last one that is not zero.
std::string hexadecimal(const u8* bytes, std::size_t size) {
  while (size > 0 && bytes[size - 1] == 0) --size;
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    char digits[4];
    std::snprintf(digits, sizeof digits, " %02x", bytes[i]);
    text += digits;
  }
  return text;
}

/// What a terminal must not get becomes a dot.
std::string quoted(std::string text) {
  const auto hidden = [](unsigned char c) { return std::isprint(c) == 0; };
  std::replace_if(text.begin(), text.end(), hidden, '.');
  return " \"" + text + "\"";
}

std::string describe_payload(const udp_ctrl_cam_t& record) {
  const catalogue::Row* const row = catalogue::find_by_code(record.cmd_type);
  const bool text = row != nullptr && row->value.type == catalogue::Type::kText;
  return text ? quoted(load_text(record.cmd_params))
              : hexadecimal(record.cmd_params, sizeof record.cmd_params);
}

/// The name of the command, or where it has none, that of what it reads, writes or runs.
std::string name_of(int code, const u8* payload) {
  std::string name = vlm_strcmd(code);
  const catalogue::Row* const row = catalogue::find_by_code(code, payload);
  if (row == nullptr || name != vlm_strcmd(catalogue::kNone)) return name;
  if (code == row->codes.get) return std::string("get ") + row->name();
  if (code == row->codes.set) return std::string("set ") + row->name();
  return row->name();
}

std::string describe_code(const udp_ctrl_cam_t& record) {
  return std::to_string(record.cmd_type) + " " + name_of(record.cmd_type, record.cmd_params);
}

std::string describe_card(u8 status) {
  const char* card = (status & 7) == VLM_STORAGE_INSERTED ? "inserted" : "removed";
  return std::string("card ") + card + ", slot " + std::to_string(status >> 3 & 7);
}

std::string describe_image(const udp_ctrl_cam_misc_image_info_t& image) {
  return "image " + std::to_string(image.image_index) +
         quoted(load_text(reinterpret_cast<const u8*>(image.url), sizeof image.url)) + " result " +
         std::to_string(image.result);
}

}  // namespace

std::string describe_request(const udp_ctrl_cam_t& request) {
  return describe_code(request) + describe_payload(request);
}

std::string describe_reply(const udp_ctrl_cam_t& reply) {
  std::string result = vlm_strerr(reply.err_code);
  // One of the texts brings its own line end.
  if (!result.empty() && result.back() == '\n') result.pop_back();
  return describe_code(reply) + " [" + std::to_string(reply.err_code) + " " + result + "]" +
         describe_payload(reply);
}

std::string describe_notification(const Notification& notification) {
  const u8* data = notification.data.data();
  switch (notification.type) {
    case LCM_SDCARD_STATUS: return describe_card(data[0]);
    case LCM_MISC_IMAGE_INFO: return describe_image(load<udp_ctrl_cam_misc_image_info_t>(data));
    case LCM_UPDATE_CAMERA_MODE: return "camera mode " + std::to_string(data[0]);
    default: return "image captured";
  }
}

std::string describe_rtsp(const lcm_udp_rtsp_msg_t& message) {
  return "rtsp " + std::to_string(message.msg_cmd) +
         hexadecimal(message.msg_buf, sizeof message.msg_buf);
}

}  // namespace vlm::sim
