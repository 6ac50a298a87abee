// Temperatures are tenths of a degree. They depend on the settings alone, so that tests know them,
// and on how much warmer it is for a living camera.
#include "camera_thermal.h"

#include "payload_bytes.h"

namespace vlm::sim {

std::optional<vlm_err_t> CameraThermal::answer(int code, u8* out) {
  switch (code) {
    case UDP_CTRL_CAM_GET_TEMPERATURE_STATUS: store(out, temperatures()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_GET_CAMERA_PN_INFO: store(out, sensor_data()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_RUN_THERMAL_CALI:
    case UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI: ++_calibrations; return VLM_ERR_NONE;
    default: return std::nullopt;
  }
}

/// A scene around the environment temperature, in tenths of a degree. The locked range is that of
/// the temperature bar, whose ends are degrees.
udp_ctrl_cam_lepton_area_temp_t CameraThermal::temperatures() const {
  const auto environment = _settings.record<lepton_env_temp_t>(UDP_CTRL_CAM_SET_TH_ENV_TEMP);
  const s32 usual = environment.enable != 0 ? environment.env_temp_x10 : 250;
  const s32 scene = usual + _warmth_x10;
  udp_ctrl_cam_lepton_area_temp_t status{};
  status.all_area = {scene + 12, scene + 87, scene - 31, scene};
  const auto area =
      _settings.record<vlm_radiometric_area_settings_t>(UDP_CTRL_CAM_SET_RADIOMETRIC_AREA);
  if (area.enable != 0) status.custom_area = {scene + 12, scene + 20, scene, scene + 10};
  if (_settings[UDP_CTRL_CAM_SET_LOCK_RANGE_STATE] != 0) {
    const auto bar =
        _settings.record<udp_ctrl_cam_temp_bar_range_t>(UDP_CTRL_CAM_SET_TEMPERATURE_BAR);
    status.locked_max_temp = bar.max_temp * 10;
    status.locked_min_temp = bar.min_temp * 10;
  }
  return status;
}

/// A sensor of 640 pixels a line; calibration shows once it has been run.
vlm_camera_pn_info_t CameraThermal::sensor_data() const {
  vlm_camera_pn_info_t info{};
  info.cameraSN = 1000001;
  info.ver_major = 2;
  info.ver_minor = 0;
  info.ver_patch = 1;
  info.resolution = 640;
  info.frameRate = 30;
  info.grade = 1;
  info.HFOV = 32;
  info.fpa_temp_x10 = static_cast<s16>(315 + _warmth_x10);
  info.focalLength = 190;
  info.aperture = 10;
  info.DFOV = 40;
  info.cali_status = _calibrations > 0 ? 1 : 0;
  info.cali_ver = _calibrations;
  return info;
}

}  // namespace vlm::sim
