// Zoom, digital zoom and focus of the simulated camera: positions that are set at once, or driven
// at a steady speed until they are told to stop or reach their end.
#ifndef CAMERA_SIM_CAMERA_LENS_H
#define CAMERA_SIM_CAMERA_LENS_H

#include <optional>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"

/// A position between two ends that moves with time.
class DrivenAxis {
 public:
  /// Starts at `initial` and, when driven, covers `per_second` in a second.
  DrivenAxis(double low, double high, double initial, double per_second);

  double position() const { return _position; }
  double high() const { return _high; }

  /// Goes to `position` at once and stops there; false when that is beyond an end or no number.
  bool go_to(double position);
  /// Moves the upper end; the position follows it when it would lie beyond.
  void limit(double high);
  /// `direction` 1 drives to the upper end, -1 to the lower one, 0 stops.
  void drive(int direction) { _direction = direction; }
  void advance(u64 elapsed_ms);

 private:
  double _low;
  double _high;
  double _position;
  double _per_second;
  int _direction = 0;
};

class CameraLens {
 public:
  /// Carries out the lens command `code` as CameraSettings::answer does; no value: none of its
  /// codes.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out);
  void advance(u64 elapsed_ms);
  /// Stops every drive; positions stay.
  void halt();

  float zoom() const { return static_cast<float>(_zoom.position()); }
  u32 digital_zoom() const { return static_cast<u32>(_digital_zoom.position()); }
  u32 focus() const { return static_cast<u32>(_focus.position()); }

 private:
  vlm_err_t limit_focus(u32 limit);
  vlm_err_t focus_automatically();

  DrivenAxis _zoom{VLM_ZOOM_LEAST, VLM_ZOOM_MOST, 1.0, 5.0};
  DrivenAxis _digital_zoom{VLM_DIGITAL_ZOOM_LEAST, VLM_DIGITAL_ZOOM_MOST, 10, 10};
  // The lower end is the far one.
  DrivenAxis _focus{VLM_FOCUS_FAR_END, VLM_FOCUS_NEAR_END, 0x4000, 0x2000};
};

#endif  // CAMERA_SIM_CAMERA_LENS_H
