// The thermal sensor of the simulated camera, apart from its settings: temperatures, calibration
// and the sensor's own data.
#ifndef CAMERA_SIM_CAMERA_THERMAL_H
#define CAMERA_SIM_CAMERA_THERMAL_H

#include <optional>

#include "camera_settings.h"

namespace vlm::sim {

class CameraThermal {
 public:
  explicit CameraThermal(const CameraSettings& settings) : _settings(settings) {}

  /// Carries out the command `code` as CameraSettings::answer does; no value: none of its codes.
  std::optional<vlm_err_t> answer(int code, u8* out);
  /// The scene and the sensor are warmer than usual by this many tenths of a degree.
  void warm_up_by(s32 tenths) { _warmth_x10 = tenths; }

 private:
  udp_ctrl_cam_lepton_area_temp_t temperatures() const;
  vlm_camera_pn_info_t sensor_data() const;

  const CameraSettings& _settings;
  s32 _warmth_x10 = 0;
  u16 _calibrations = 0;  // runs since the start
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_THERMAL_H
