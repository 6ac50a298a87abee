// Positions are kept as real numbers, so that many short steps of time move them as one long one
// does; commands see them cut to their own types.
#include "camera_lens.h"

#include <algorithm>

#include "payload_bytes.h"

namespace {

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
  drive(0);
  return true;
}

bool DrivenAxis::head_for(double position) {
  if (!(_low <= position && position <= _high)) return false;
  drive(0);
  _target = position;
  return true;
}

void DrivenAxis::limit(double high) {
  _high = high;
  _position = std::min(_position, high);
  if (_target) _target = std::min(*_target, high);
}

void DrivenAxis::drive(int direction) {
  _direction = direction;
  _target.reset();
}

void DrivenAxis::advance(u64 elapsed_ms) {
  const double way = _per_second * static_cast<double>(elapsed_ms) / 1000;
  if (_target) {
    _position = std::clamp(*_target, _position - way, _position + way);
    return;
  }
  if (_direction == 0) return;
  _position = std::clamp(_position + _direction * way, _low, _high);
}

std::optional<vlm_err_t> CameraLens::answer(int code, const u8* in, u8* out) {
  switch (code) {
    case UDP_CTRL_CAM_GET_DIGITAL_ZOOM: store(out, digital_zoom()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_DIGITAL_ZOOM: return done(_digital_zoom.go_to(load<u32>(in)));
    case UDP_CTRL_CAM_GET_ZOOM: store(out, zoom()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_ZOOM: return done(place(_zoom, static_cast<double>(load<float>(in))));
    case UDP_CTRL_CAM_GET_FOCUS: store(out, focus()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_FOCUS: return done(place(_focus, load<u32>(in)));
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

/// The focus limit is the widest again, so that the focus can go home.
void CameraLens::reset() {
  _focus.limit(VLM_FOCUS_NEAR_END);
  place(_zoom, kInitialZoom);
  _digital_zoom.go_to(kInitialDigitalZoom);
  place(_focus, kInitialFocus);
}

void CameraLens::follow(double sharp_focus) {
  look_at(sharp_focus);
  if (!_focus.driven()) focus_automatically();
}

bool CameraLens::place(DrivenAxis& axis, double position) const {
  return _living ? axis.head_for(position) : axis.go_to(position);
}

/// The nearest position that the focus may take.
vlm_err_t CameraLens::limit_focus(u32 limit) {
  if (limit < VLM_FOCUS_FAR_END || limit > VLM_FOCUS_NEAR_END) return VLM_ERR_IS_INVALID_PARAM;
  _focus.limit(limit);
  return VLM_ERR_NONE;
}

/// Finds the scene, or the limit where that is farther.
vlm_err_t CameraLens::focus_automatically() {
  place(_focus, std::min(_sharp_focus, _focus.high()));
  return VLM_ERR_NONE;
}
