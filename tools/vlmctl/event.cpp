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
  return {"storage",
          {{"status", host::json_string(storage_status(packed & 7))},
           {"storage", std::to_string((packed & 0x38) >> 3)},
           {"count", std::to_string((packed >> 6) + 1)}}};
}

Event picture_event(const u8* data) {
  udp_ctrl_cam_misc_image_info_t info;
  std::memcpy(&info, data, sizeof info);
  return {"picture",
          {{"file", host::json_string(std::string(info.url, strnlen(info.url, sizeof info.url)))},
           {"index", std::to_string(info.image_index)},
           {"result", std::to_string(info.result)},
           {"roll", real(info.roll)},
           {"pitch", real(info.pitch)},
           {"yaw", real(info.yaw)},
           {"latitude", number(info.latitude, 15)},
           {"longitude", number(info.longitude, 15)},
           {"altitude", real(info.altitude)}}};
}

}  // namespace

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
