// Each part of the camera knows its own commands; the model asks them in turn, after the rules that
// concern the camera as a whole.
#include "camera_model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>

#include "catalogue_choices.h"
#include "payload_bytes.h"

namespace vlm::sim {

namespace {

/// Times are kept below this, so that adding a delay never wraps.
constexpr u64 kLatestMs = u64{1} << 62;

/// What would tear a recording apart is refused while one runs.
constexpr int kRefusedWhileRecording[] = {
    UDP_CTRL_CAM_SET_PARAMS_VIDEO,      UDP_CTRL_CAM_FORMAT_SDCARD,
    UDP_CTRL_CAM_RESET_CAMERA_SETTINGS, UDP_CTRL_CAM_UPGRADE_CAMERA,
    UDP_CTRL_CAM_TEST_T_CARD_SPEED,     UDP_CTRL_CAM_SET_SYSTEM_MODE,
    UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, UDP_CTRL_CAM_SET_FILE_FORMAT,
    UDP_CTRL_CAM_SET_IMAGE_FLIP,        UDP_CTRL_CAM_CUSTOM_RECALL,
};

/// Likewise while pictures are being taken.
constexpr int kRefusedWhileCapturing[] = {
    UDP_CTRL_CAM_FORMAT_SDCARD,   UDP_CTRL_CAM_RESET_CAMERA_SETTINGS,
    UDP_CTRL_CAM_UPGRADE_CAMERA,  UDP_CTRL_CAM_TEST_T_CARD_SPEED,
    UDP_CTRL_CAM_SET_PHOTO_MODE,  UDP_CTRL_CAM_SET_IMAGE_FORMAT,
    UDP_CTRL_CAM_SET_PHOTO_RATIO, UDP_CTRL_CAM_CUSTOM_RECALL,
};

// Eight characters fill the field of the version reply without a terminator.
constexpr char kModuleName[] = "VLMSIM";
constexpr char kThermalModuleName[] = "VLMSIM-T";
constexpr std::size_t kModuleNameSize = 8;

/// Whether `code` is one of `codes`.
template <std::size_t kSize>
bool contains(const int (&codes)[kSize], int code) {
  return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

}  // namespace

CameraModel::CameraModel(const CameraTraits& traits)
    : _traits(traits),
      _scene(traits.seed),
      _storage(traits.card_kib),
      _lens(traits.living),
      _capture(_settings, _storage, _notifications),
      _thermal(_settings) {}

udp_ctrl_cam_t CameraModel::handle(const udp_ctrl_cam_t& request, u64 now_ms) {
  advance(now_ms);
  udp_ctrl_cam_t reply{};
  reply.cmd_type = request.cmd_type;
  const vlm_err_t result = answer(request.cmd_type, request.cmd_params, reply.cmd_params);
  reply.err_code = static_cast<u16>(result);
  return reply;
}

bool CameraModel::take_notification(u64 now_ms, Notification& taken) {
  advance(now_ms);
  return _notifications.take(_now_ms, taken);
}

std::optional<u64> CameraModel::next_due_ms() const {
  const auto queued = _notifications.next_due_ms();
  const auto picture = _capture.next_due_ms();
  if (!queued || !picture) return queued ? queued : picture;
  return std::min(*queued, *picture);
}

/// The same card comes back with what is on it, but counts as another one for the file numbers.
bool CameraModel::insert_card(u64 now_ms) {
  advance(now_ms);
  const bool changed = _storage.insert();
  if (changed) _capture.restart_numbering();
  return announce_card(changed);
}

bool CameraModel::remove_card(u64 now_ms) {
  advance(now_ms);
  const bool changed = _storage.remove();
  // A recording cannot go on; a picture under way is finished, and then is lost.
  if (_capture.recording()) _capture.halt();
  return announce_card(changed);
}

bool CameraModel::leave_free(u64 kib, u64 now_ms) {
  advance(now_ms);
  return _storage.leave_free(kib);
}

void CameraModel::power_cycle(u64 now_ms) {
  advance(now_ms);
  restart(_now_ms);
}

vlm_err_t CameraModel::put_property(const std::string& name, const std::string& value) {
  return _properties.put(name, value);
}

udp_ctrl_cam_request_list_t CameraModel::snapshot(u64 now_ms) {
  advance(now_ms);
  return request_list();
}

/// Major, minor, patch and branch from the lowest byte on. Each upgrade raises the patch number,
/// whose place in the apps' answer has 4 bits.
u32 CameraModel::version() const {
  return 1U | 4U << 8 | (_upgrades & 0x0F) << 16 | u32{'R'} << 24;
}

/// Brings every part up to `now_ms`. An upgrade that is over by then has been followed by a reboot.
void CameraModel::advance(u64 now_ms) {
  const u64 now = std::min(std::max(now_ms, _now_ms), kLatestMs);
  _capture.advance(now);
  if (_traits.living) live(now);
  _lens.advance(now - _now_ms);
  _now_ms = now;
  if (_phase == CameraPhase::kUpgrading && now >= _phase_ends_ms) {
    ++_upgrades;
    restart(_phase_ends_ms);
  }
  if (_phase == CameraPhase::kBooting && now >= _phase_ends_ms) _phase = CameraPhase::kRunning;
}

/// What the scene of `now_ms` makes a living camera do by itself.
void CameraModel::live(u64 now_ms) {
  const double sharp_focus = _scene.sharp_focus(now_ms);
  constexpr u32 kAutoFocus = catalogue::number_of<u32>(catalogue::kFocusModes, "auto");
  constexpr u32 kAutoExposure = catalogue::number_of<u32>(catalogue::kExposureModes, "auto");
  if (_settings[UDP_CTRL_CAM_SET_FOCUS_MODE] == kAutoFocus) {
    _lens.follow(sharp_focus);
  } else {
    _lens.look_at(sharp_focus);
  }
  if (_settings[UDP_CTRL_CAM_SET_AE_MODE] == kAutoExposure) expose(_scene.light_ev(now_ms));
  _thermal.warm_up_by(_scene.warmth_x10(now_ms));
}

/// Auto exposure: 1/125 s at the lowest sensitivity in usual light; where it is too dark for 1/30 s,
/// the sensitivity makes up for it.
void CameraModel::expose(double light_ev) {
  constexpr double kUsualPerSecond = 125;
  constexpr double kSlowestPerSecond = 30;
  constexpr double kLowestIso = 100;
  const double per_second = kUsualPerSecond * std::exp2(light_ev);
  udp_ctrl_cam_shutter_iso_t exposure{};
  exposure.sht_num = 1;
  exposure.sht_dem = static_cast<u16>(std::max(per_second, kSlowestPerSecond));
  exposure.iso = static_cast<u32>(kLowestIso * std::max(1.0, kSlowestPerSecond / per_second));
  std::array<u8, kPayloadSize> in{};
  std::array<u8, kPayloadSize> out{};
  store(in.data(), exposure);
  _settings.answer(UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO, in.data(), out.data());
}

/// The result of a command; payload is left in `out` on success alone.
vlm_err_t CameraModel::answer(int code, const u8* in, u8* out) {
  if (_phase == CameraPhase::kUpgrading) return VLM_ERR_IS_UPGRADING_QUORIN_CAMERA;
  if (_phase == CameraPhase::kBooting) return VLM_ERR_CAMERA_NOT_INITIAL;
  // Codes without a row are undefined, or what their payload holds is defined nowhere.
  const catalogue::Row* const row = catalogue::find_by_code(code);
  if (row == nullptr || (row->is(catalogue::kThermal) && !_traits.thermal)) {
    return VLM_ERR_UNSUPPORTED_COMMAND;
  }
  if (_capture.recording() && contains(kRefusedWhileRecording, code)) return VLM_ERR_IS_RECORDING;
  if (_capture.capturing() && contains(kRefusedWhileCapturing, code)) return VLM_ERR_IS_CAPTURING;
  if (auto result = answer_own(code, in, out)) return *result;
  if (auto result = _capture.answer(code, in, out, _now_ms)) return *result;
  if (auto result = _lens.answer(code, in, out)) return *result;
  if (auto result = _storage.answer(code, in, out)) return *result;
  if (auto result = _properties.answer(code, in, out)) return *result;
  if (auto result = _thermal.answer(code, out)) return *result;
  if (auto result = _settings.answer(code, in, out)) return *result;
  // An action of which nothing shows, like the flat-field correction.
  return VLM_ERR_NONE;
}

/// The commands that concern the camera as a whole.
std::optional<vlm_err_t> CameraModel::answer_own(int code, const u8* in, u8* out) {
  switch (code) {
    case UDP_CTRL_CAM_GET_ALL_REQUEST: store(out, request_list()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_FORMAT_SDCARD: return format(in[0]);
    case UDP_CTRL_CAM_RESET_CAMERA_SETTINGS: reset(); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_GET_CAMERA_VERSION: report_version(out); return VLM_ERR_NONE;
    // The camera's clock shows in no answer.
    case UDP_CTRL_CAM_SET_SYS_TIME: return VLM_ERR_NONE;
    case UDP_CTRL_CAM_UPGRADE_CAMERA: return upgrade();
    case UDP_CTRL_CAM_REBOOT_DEVICE: restart(_now_ms); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_CUSTOM_RECALL: _settings = _custom; return VLM_ERR_NONE;
    case UDP_CTRL_CAM_CUSTOM_SET: _custom = _settings; return VLM_ERR_NONE;
    // The only set command whose answer carries the value in force.
    case UDP_CTRL_CAM_DZOOM_ONOFF: {
      const auto result = _settings.answer(code, in, out);
      if (result == VLM_ERR_NONE) store(out, _settings[UDP_CTRL_CAM_DZOOM_ONOFF]);
      return result;
    }
    default: return std::nullopt;
  }
}

/// The snapshot of all settings, with the camera's own status byte.
udp_ctrl_cam_request_list_t CameraModel::request_list() const {
  const auto value = [this](udp_ctrl_cam_cmds code) { return _settings[code]; };
  udp_ctrl_cam_request_list_t list{};
  list.cam_mode = _capture.mode();
  list.ev = static_cast<u16>(value(UDP_CTRL_CAM_SET_PARAMS_EV));
  list.shutter = static_cast<u16>(value(UDP_CTRL_CAM_SET_SHUTTER));
  list.iso = static_cast<u16>(value(UDP_CTRL_CAM_SET_ISO));
  list.dzoom = _lens.digital_zoom();
  list.zoom = _lens.zoom();
  list.iris = static_cast<u16>(value(UDP_CTRL_CAM_SET_IRIS));
  list.osd_status = static_cast<u8>(value(UDP_CTRL_CAM_SET_OSD_STATUS));
  list.focus_mode = static_cast<u8>(value(UDP_CTRL_CAM_SET_FOCUS_MODE));
  list.defog_level = static_cast<u8>(value(UDP_CTRL_CAM_SET_DEFOG_LEVEL));
  list.flicker_mode = static_cast<u8>(value(UDP_CTRL_CAM_SET_FLICKER_MODE));
  list.ae_mode = static_cast<u8>(value(UDP_CTRL_CAM_SET_AE_MODE));
  list.meter_mode = static_cast<u8>(value(UDP_CTRL_CAM_SET_METER_MODE));
  list.spot_coords_ratio =
      _settings.record<udp_ctrl_cam_coords_ratio_t>(UDP_CTRL_CAM_SET_SPOT_METERING_COORDS);
  list.video_res = _settings.record<udp_ctrl_video_t>(UDP_CTRL_CAM_SET_PARAMS_VIDEO);
  list.wb = static_cast<u8>(value(UDP_CTRL_CAM_SET_PARAMS_WB));
  list.recording_time_s = _capture.recording_seconds(_now_ms);
  list.available_kib = _storage.available_kib();
  list.camera_status = _capture.status();
  list.sdcard_storage_t[0] = _storage.record(0);
  list.sdcard_storage_t[1] = _storage.record(1);
  return list;
}

/// Module name, then the version word.
void CameraModel::report_version(u8* out) const {
  const char* name = _traits.thermal ? kThermalModuleName : kModuleName;
  std::memcpy(out, name, strnlen(name, kModuleNameSize));
  store(out + kModuleNameSize, version());
}

/// The lens belongs to the settings, as far as its positions are set.
void CameraModel::reset() {
  _settings = CameraSettings();
  _lens.reset();
}

vlm_err_t CameraModel::format(u8 slot) {
  const vlm_err_t result = _storage.format(slot);
  if (result == VLM_ERR_NONE) _capture.restart_numbering();
  return result;
}

/// The firmware comes from the card.
vlm_err_t CameraModel::upgrade() {
  if (!_storage.ready()) return VLM_ERR_SDCARD_NOT_READY;
  _phase = CameraPhase::kUpgrading;
  _phase_ends_ms = _now_ms + kUpgradeMs;
  return VLM_ERR_NONE;
}

/// What runs ends; settings, positions and the card stay.
void CameraModel::restart(u64 now_ms) {
  _capture.halt();
  _lens.halt();
  _notifications.clear();
  _phase = CameraPhase::kBooting;
  _phase_ends_ms = now_ms + kBootMs;
}

/// Notifies the card's state when it has `changed`, which it returns.
bool CameraModel::announce_card(bool changed) {
  if (changed) {
    _notifications.add(notification(LCM_SDCARD_STATUS, _now_ms, _storage.notification_byte()));
  }
  return changed;
}

}  // namespace vlm::sim
