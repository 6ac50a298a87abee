// Zoom, digital zoom and focus of the simulated camera: positions that are set at once, or driven
// at a steady speed until they are told to stop or reach their end. The lens of a living camera takes
// its time for a position that is set, too; the digital zoom never does.
#ifndef CAMERA_SIM_CAMERA_LENS_H
#define CAMERA_SIM_CAMERA_LENS_H

#include <optional>

#include "catalogue.h"

namespace vlm::sim {

/// A position between two ends that moves with time.
class DrivenAxis {
 public:
  /// The one that `set_code` writes; when driven, it covers `per_second` in a second.
  DrivenAxis(udp_ctrl_cam_cmds set_code, double per_second);

  double initial() const { return _value.initial; }
  double position() const { return _position; }
  double high() const { return _high; }

  /// Goes to `position` at once and stops there; false when that is beyond an end or no number.
  bool go_to(double position);
  /// Likewise, but moves there at its speed.
  bool head_for(double position);
  bool driven() const { return _direction != 0; }
  /// Moves the upper end; the position follows it when it would lie beyond.
  void limit(double high);
  /// Moves it back.
  void free() { limit(_value.range.max); }
  /// `direction` 1 drives to the upper end, -1 to the lower one, 0 stops.
  void drive(int direction);
  void advance(u64 elapsed_ms);

 private:
  bool reaches(double position) const;

  const catalogue::Field& _value;
  double _high;
  double _position;
  double _per_second;
  int _direction = 0;
  std::optional<double> _target;  // of the way under way; none when driven
};

class CameraLens {
 public:
  /// `living`: one that takes its time.
  explicit CameraLens(bool living = false) : _living(living) {}

  /// Carries out the lens command `code` as CameraSettings::answer does; no value: none of its
  /// codes.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out);
  void advance(u64 elapsed_ms);
  /// Stops every movement; positions stay.
  void halt();
  /// Brings the defaults back.
  void reset();
  /// Keeps the focus where the scene is sharp, as far as its limit lets it, unless it is driven.
  void follow(double sharp_focus);
  /// Where the scene is sharp, for auto focus.
  void look_at(double sharp_focus) { _sharp_focus = sharp_focus; }

  float zoom() const { return static_cast<float>(_zoom.position()); }
  u32 digital_zoom() const { return static_cast<u32>(_digital_zoom.position()); }
  u32 focus() const { return static_cast<u32>(_focus.position()); }

 private:
  bool place(DrivenAxis& axis, double position) const;
  std::optional<bool> move(int code, const u8* in);
  bool limit_focus(const u8* in);
  bool focus_automatically();

  bool _living;
  DrivenAxis _zoom{UDP_CTRL_CAM_SET_ZOOM, 5.0};
  DrivenAxis _digital_zoom{UDP_CTRL_CAM_SET_DIGITAL_ZOOM, 10};
  // The lower end is the far one.
  DrivenAxis _focus{UDP_CTRL_CAM_SET_FOCUS, 0x2000};
  double _sharp_focus = _focus.initial();
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_LENS_H
