// Positions are kept as real numbers, so that many short steps of time move them as one long one
// does; commands see them cut to their own types.
#include "camera_lens.h"

#include <algorithm>

#include "payload_bytes.h"

namespace {

/// Where the scene of the simulated camera is sharp.
constexpr u32 kSharpFocus = 0x4000;

/// The result of a position that was `accepted` or not.
vlm_err_t done(bool accepted) { return accepted ? VLM_ERR_NONE : VLM_ERR_IS_INVALID_PARAM; }

/// Drives `axis` as the command word says; `tele` is the direction in which the value moves then.
vlm_err_t drive(DrivenAxis& axis, u32 command, int tele) {
  switch (command) {
    case VLM_DRIVE_TELE: axis.drive(tele); return VLM_ERR_NONE;
    case VLM_DRIVE_WIDE: axis.drive(-tele); return VLM_ERR_NONE;
    case VLM_DRIVE_STOP: axis.drive(0); return VLM_ERR_NONE;
    default: return VLM_ERR_IS_INVALID_PARAM;
  }
}

}  // namespace

DrivenAxis::DrivenAxis(double low, double high, double initial, double per_second)
    : _low(low), _high(high), _position(initial), _per_second(per_second) {}

bool DrivenAxis::go_to(double position) {
  // Written so that what is no number is refused too.
  if (!(_low <= position && position <= _high)) return false;
  _position = position;
  _direction = 0;
  return true;
}

void DrivenAxis::limit(double high) {
  _high = high;
  _position = std::min(_position, high);
}

void DrivenAxis::advance(u64 elapsed_ms) {
  if (_direction == 0) return;
  const double way = _per_second * static_cast<double>(elapsed_ms) / 1000;
  _position = std::clamp(_position + _direction * way, _low, _high);
}

std::optional<vlm_err_t> CameraLens::answer(int code, const u8* in, u8* out) {
  switch (code) {
    case UDP_CTRL_CAM_GET_DIGITAL_ZOOM: store(out, digital_zoom()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_DIGITAL_ZOOM: return done(_digital_zoom.go_to(load<u32>(in)));
    case UDP_CTRL_CAM_GET_ZOOM: store(out, zoom()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_ZOOM: return done(_zoom.go_to(static_cast<double>(load<float>(in))));
    case UDP_CTRL_CAM_GET_FOCUS: store(out, focus()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_FOCUS: return done(_focus.go_to(load<u32>(in)));
    case UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP: return drive(_zoom, load<u32>(in), 1);
    case UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP: return drive(_digital_zoom, load<u32>(in), 1);
    case UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP: return drive(_focus, load<u32>(in), -1);
    case UDP_CTRL_CAM_SET_FOCUS_LIMITE: return limit_focus(load<u32>(in));
    case UDP_CTRL_CAM_AUTO_FOCUS: return focus_automatically();
    default: return std::nullopt;
  }
}

void CameraLens::advance(u64 elapsed_ms) {
  _zoom.advance(elapsed_ms);
  _digital_zoom.advance(elapsed_ms);
  _focus.advance(elapsed_ms);
}

void CameraLens::halt() {
  _zoom.drive(0);
  _digital_zoom.drive(0);
  _focus.drive(0);
}

/// The nearest position that the focus may take.
vlm_err_t CameraLens::limit_focus(u32 limit) {
  if (limit < VLM_FOCUS_FAR_END || limit > VLM_FOCUS_NEAR_END) return VLM_ERR_IS_INVALID_PARAM;
  _focus.limit(limit);
  return VLM_ERR_NONE;
}

/// Finds the scene, or the limit where that is farther.
vlm_err_t CameraLens::focus_automatically() {
  _focus.go_to(std::min<double>(kSharpFocus, _focus.high()));
  return VLM_ERR_NONE;
}
