// Positions are kept as real numbers, so that many short steps of time move them as one long one
// does; commands see them cut to their own types.
#include "camera_lens.h"

#include <algorithm>

#include "catalogue_value.h"
#include "payload_bytes.h"

namespace vlm::sim {

namespace {

/// Drives `axis` as the command word says; `tele` is the direction in which the value moves then.
/// False: it is no such word.
bool drive(DrivenAxis& axis, u32 command, int tele) {
  switch (command) {
    case VLM_DRIVE_TELE: axis.drive(tele); return true;
    case VLM_DRIVE_WIDE: axis.drive(-tele); return true;
    case VLM_DRIVE_STOP: axis.drive(0); return true;
    default: return false;
  }
}

}  // namespace

DrivenAxis::DrivenAxis(udp_ctrl_cam_cmds set_code, double per_second)
    : _value(catalogue::find_by_code(set_code)->value),
      _high(_value.range.max),
      _position(_value.initial),
      _per_second(per_second) {}

/// What is no number is not reached either.
bool DrivenAxis::reaches(double position) const {
  return _value.range.holds(position) && position <= _high;
}

bool DrivenAxis::go_to(double position) {
  if (!reaches(position)) return false;
  _position = position;
  drive(0);
  return true;
}

bool DrivenAxis::head_for(double position) {
  if (!reaches(position)) return false;
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
  _position = std::clamp(_position + _direction * way, _value.range.min, _high);
}

std::optional<vlm_err_t> CameraLens::answer(int code, const u8* in, u8* out) {
  switch (code) {
    case UDP_CTRL_CAM_GET_DIGITAL_ZOOM: store(out, digital_zoom()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_GET_ZOOM: store(out, zoom()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_GET_FOCUS: store(out, focus()); return VLM_ERR_NONE;
    default: break;
  }
  const auto moved = move(code, in);
  if (!moved) return std::nullopt;
  return *moved ? VLM_ERR_NONE : catalogue::find_by_code(code)->refusal;
}

/// Carries out what changes positions; false: it asks for what there is not.
std::optional<bool> CameraLens::move(int code, const u8* in) {
  switch (code) {
    case UDP_CTRL_CAM_SET_DIGITAL_ZOOM: return _digital_zoom.go_to(load<u32>(in));
    case UDP_CTRL_CAM_SET_ZOOM: return place(_zoom, static_cast<double>(load<float>(in)));
    case UDP_CTRL_CAM_SET_FOCUS: return place(_focus, load<u32>(in));
    case UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP: return drive(_zoom, load<u32>(in), 1);
    case UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP: return drive(_digital_zoom, load<u32>(in), 1);
    case UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP: return drive(_focus, load<u32>(in), -1);
    case UDP_CTRL_CAM_SET_FOCUS_LIMITE: return limit_focus(in);
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
  _focus.free();
  place(_zoom, _zoom.initial());
  _digital_zoom.go_to(_digital_zoom.initial());
  place(_focus, _focus.initial());
}

void CameraLens::follow(double sharp_focus) {
  look_at(sharp_focus);
  if (!_focus.driven()) focus_automatically();
}

bool CameraLens::place(DrivenAxis& axis, double position) const {
  return _living ? axis.head_for(position) : axis.go_to(position);
}

/// The nearest position that the focus may take.
bool CameraLens::limit_focus(const u8* in) {
  if (!takes(catalogue::find_by_code(UDP_CTRL_CAM_SET_FOCUS_LIMITE)->value, in)) return false;
  _focus.limit(load<u32>(in));
  return true;
}

/// Finds the scene, or the limit where that is farther.
bool CameraLens::focus_automatically() {
  place(_focus, std::min(_sharp_focus, _focus.high()));
  return true;
}

}  // namespace vlm::sim
