#include "event.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "json_writer.h"

namespace vlm::ctl {

namespace {

/// JSON knows no number for what is none.
std::string number(double value, int digits) {
  if (!std::isfinite(value)) return "null";
  char text[32] = {};
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

std::string real(float value) { return number(static_cast<double>(value), 7); }

const char* storage_status(int status) {
  switch (status) {
    case VLM_STORAGE_REMOVED: return "removed";
    case VLM_STORAGE_INSERTED: return "inserted";
    default: return "erroneous";
  }
}

/// Status, number of the storage and their count less one, in 3, 3 and 2 bits.
Event storage_event(u8 packed) {
  Event event{"storage", {}};
  event.add("status", host::json_string(storage_status(packed & 7)));
  event.add("storage", std::to_string((packed & 0x38) >> 3));
  event.add("count", std::to_string((packed >> 6) + 1));
  return event;
}

Event picture_event(const u8* data) {
  udp_ctrl_cam_misc_image_info_t info;
  std::memcpy(&info, data, sizeof info);
  Event event{"picture", {}};
  event.add("file", host::json_string(std::string(info.url, strnlen(info.url, sizeof info.url))));
  event.add("index", std::to_string(info.image_index));
  event.add("result", std::to_string(info.result));
  event.add("roll", real(info.roll));
  event.add("pitch", real(info.pitch));
  event.add("yaw", real(info.yaw));
  event.add("latitude", number(info.latitude, 15));
  event.add("longitude", number(info.longitude, 15));
  event.add("altitude", real(info.altitude));
  return event;
}

}  // namespace

void Event::add(const char* detail, const std::string& json) { details.emplace_back(detail, json); }

Event event_of(const msg_from_rep_t& message) {
  switch (message.msg_type) {
    case LCM_SDCARD_STATUS: return storage_event(message.msg_data[0]);
    case LCM_MISC_IMAGE_INFO: return picture_event(message.msg_data);
    case LCM_UPDATE_CAMERA_MODE: return {"mode-changed", {}};
    case LCM_CAPTURE_IMAGE_RESULT: return {"captured", {}};
    default: return {"unknown", {}};
  }
}

}  // namespace vlm::ctl
