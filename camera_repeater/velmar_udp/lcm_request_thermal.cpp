// The catalogue of thermal sensor operations. The console does not run them; programs that link the
// library do.

#include "lcm_request_pattern.h"

bool LcmRequest::ir_get_camera_pn(vlm_camera_pn_info_t* info) {
  return ask(UDP_CTRL_CAM_GET_CAMERA_PN_INFO).into(&Data::pn_info, *info).send();
}

bool LcmRequest::ir_set_gain_mode(u32 mode) {
  // Its neighbour's failure text, which scripts know.
  return ask(UDP_CTRL_CAM_SET_GAIN_MODE).with(mode).send("ir set palette type failed");
}

bool LcmRequest::ir_get_gain_mode(u32& mode) {
  return ask(UDP_CTRL_CAM_GET_GAIN_MODE).into(&Data::gain_mode, mode).send();
}

bool LcmRequest::ir_set_palette_type(u32 type) {
  return ask(UDP_CTRL_CAM_SET_PALETTE_TYPE).with(type).send("ir set palette type failed");
}

bool LcmRequest::ir_get_palette_type(u32& type) {
  return ask(UDP_CTRL_CAM_GET_PALETTE_TYPE).into(&Data::palette_type, type).send();
}

bool LcmRequest::ir_start_timed_take_photo(u32 interval_s) {
  return ask(UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO)
      .with(interval_s)
      .send("ir start timed capture failed");
}

bool LcmRequest::ir_stop_timed_take_photo() {
  return ask(UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO).send("ir stop timed capture failed");
}

bool LcmRequest::ir_set_air_params(const udp_ctrl_cam_air_params_t* params) {
  return ask(UDP_CTRL_CAM_SET_AIR_PARAMS).with(*params).send("ir set air params failed");
}

bool LcmRequest::ir_get_air_params(udp_ctrl_cam_air_params_t* params) {
  return ask(UDP_CTRL_CAM_GET_AIR_PARAMS).into(&Data::air_params, *params).send();
}

bool LcmRequest::ir_set_temperature_bar(const udp_ctrl_cam_temp_bar_range_t* range) {
  // Known to scripts under this name.
  return ask(UDP_CTRL_CAM_SET_TEMPERATURE_BAR, "ir_set_temperature_params")
      .with(*range)
      .send("ir set temperature params failed");
}

bool LcmRequest::ir_get_temperature_bar(udp_ctrl_cam_temp_bar_range_t* range) {
  return ask(UDP_CTRL_CAM_GET_TEMPERATURE_BAR).into(&Data::temp_bar, *range).send();
}

bool LcmRequest::ir_set_lock_status(u32 status) {
  return ask(UDP_CTRL_CAM_SET_LOCK_RANGE_STATE).with(status).send("ir set lock status failed");
}

bool LcmRequest::ir_get_lock_status(u32& status) {
  return ask(UDP_CTRL_CAM_GET_LOCK_RANGE_STATE).into(&Data::lock_state, status).send();
}

bool LcmRequest::ir_set_ffc_run_mode(u32 mode) {
  return ask(UDP_CTRL_CAM_SET_RUN_FFC_MODE).with(mode).send("ir set ffc run mode failed");
}

bool LcmRequest::ir_get_ffc_run_mode(u32& mode) {
  return ask(UDP_CTRL_CAM_GET_RUN_FFC_MODE).into(&Data::run_mode, mode).send();
}

bool LcmRequest::ir_run_ffc_normalization() {
  return ask(UDP_CTRL_CAM_RUN_FFC_NORMALIZATION).send("Error: run ffc failed", "run ffc OK");
}

bool LcmRequest::ir_get_temperature_status(udp_ctrl_cam_lepton_area_temp_t* status) {
  return ask(UDP_CTRL_CAM_GET_TEMPERATURE_STATUS).into(&Data::temp_status, *status).send();
}

bool LcmRequest::ir_set_radiometric_point(const vlm_radiometric_point_settings_t* point) {
  return ask(UDP_CTRL_CAM_SET_RADIOMETRIC_POINT).with(*point).send();
}

bool LcmRequest::ir_get_radiometric_point(vlm_radiometric_point_settings_t* point) {
  return ask(UDP_CTRL_CAM_GET_RADIOMETRIC_POINT).into(&Data::rad_point, *point).send();
}

bool LcmRequest::ir_set_radiometric_area(const vlm_radiometric_area_settings_t* area) {
  return ask(UDP_CTRL_CAM_SET_RADIOMETRIC_AREA).with(*area).send();
}

bool LcmRequest::ir_get_radiometric_area(vlm_radiometric_area_settings_t* area) {
  return ask(UDP_CTRL_CAM_GET_RADIOMETRIC_AREA).into(&Data::rad_area, *area).send();
}

bool LcmRequest::ir_set_SSO(const vlm_SSO_setting_t* sso) {
  return ask(UDP_CTRL_CAM_SET_SSO).with(*sso).send();
}

bool LcmRequest::ir_get_SSO(vlm_SSO_setting_t* sso) {
  return ask(UDP_CTRL_CAM_GET_SSO).into(&Data::sso, *sso).send();
}

bool LcmRequest::ir_set_ACE(const vlm_ACE_setting_t* ace) {
  return ask(UDP_CTRL_CAM_SET_ACE).with(*ace).send();
}

bool LcmRequest::ir_get_ACE(vlm_ACE_setting_t* ace) {
  return ask(UDP_CTRL_CAM_GET_ACE).into(&Data::ace, *ace).send();
}

bool LcmRequest::ir_set_DDE(const vlm_DDE_setting_t* dde) {
  return ask(UDP_CTRL_CAM_SET_DDE).with(*dde).send();
}

bool LcmRequest::ir_get_DDE(vlm_DDE_setting_t* dde) {
  return ask(UDP_CTRL_CAM_GET_DDE).into(&Data::dde, *dde).send();
}

bool LcmRequest::ir_set_ROI(const vlm_radiometric_area_coordinate_t* roi) {
  return ask(UDP_CTRL_CAM_SET_ROI).with(*roi).send();
}

bool LcmRequest::ir_get_ROI(vlm_radiometric_area_coordinate_t* roi) {
  return ask(UDP_CTRL_CAM_GET_ROI).into(&Data::roi, *roi).send();
}

bool LcmRequest::ir_set_digital_zoom(const udp_ctrl_cam_digital_zoom_params_t* zoom) {
  return ask(UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM).with(*zoom).send();
}

bool LcmRequest::ir_get_digital_zoom(udp_ctrl_cam_digital_zoom_params_t* zoom) {
  return ask(UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM).into(&Data::th_dzoom, *zoom).send() &&
         say("ir_get_digital_zoom:[%d],xCenter:[%d],yCenter:[%d]\n", zoom->zoom, zoom->xCenter,
             zoom->yCenter);
}

bool LcmRequest::ir_set_env_temp(const lepton_env_temp_t* temp) {
  return ask(UDP_CTRL_CAM_SET_TH_ENV_TEMP).with(*temp).send();
}

bool LcmRequest::ir_get_env_temp(lepton_env_temp_t* temp) {
  return ask(UDP_CTRL_CAM_GET_TH_ENV_TEMP).into(&Data::th_env_temp, *temp).send() &&
         say("ir_get_env_temp:[%d], env_temp_x10:[%d]\n", temp->enable, temp->env_temp_x10);
}

bool LcmRequest::ir_set_dewarp(const vlm_thermal_dewarp_t* dewarp) {
  return ask(UDP_CTRL_CAM_SET_TH_DEWARP).with(*dewarp).send();
}

bool LcmRequest::ir_get_dewarp(vlm_thermal_dewarp_t* dewarp) {
  return ask(UDP_CTRL_CAM_GET_TH_DEWARP).into(&Data::th_dewarp, *dewarp).send() &&
         say("ir_get_dewarp:[%d], strength:[%d]\n", dewarp->enabled, dewarp->strength);
}

bool LcmRequest::ir_save_conf() {
  return ask(UDP_CTRL_CAM_TH_SAVE_CONF).send("ir save config failed");
}

bool LcmRequest::ir_set_thermal_calibration_temp(short temp) {
  return ask(UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP).with(temp).send();
}

bool LcmRequest::ir_run_thermal_calibration() {
  return ask(UDP_CTRL_CAM_RUN_THERMAL_CALI).send("ir run thermal calibration failed");
}

bool LcmRequest::ir_set_fpa_calibration_temp(short temp) {
  return ask(UDP_CTRL_CAM_SET_FPA_THERMAL_CALI_TEMP)
      .with(temp)
      .send("ir set fpa calibration temp failed");
}

bool LcmRequest::ir_run_fpa_calibration() {
  return ask(UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI).send("ir run fpa calibration failed");
}

bool LcmRequest::ir_usb_pass_through_ctrl(int mode) {
  return ask(UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL).with(mode).send("ir usb pass through mode failed");
}
