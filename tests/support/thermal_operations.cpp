#include "operation_catalogue.h"

namespace {

using L = LcmRequest;

std::vector<Operation> all() {
  return {
      get_record("ir_get_camera_pn", UDP_CTRL_CAM_GET_CAMERA_PN_INFO, &L::ir_get_camera_pn),
      set("ir_set_gain_mode", UDP_CTRL_CAM_SET_GAIN_MODE, &L::ir_set_gain_mode)
          .complains("ir set palette type failed\n"),
      get("ir_get_gain_mode", UDP_CTRL_CAM_GET_GAIN_MODE, &L::ir_get_gain_mode),
      set("ir_set_palette_type", UDP_CTRL_CAM_SET_PALETTE_TYPE, &L::ir_set_palette_type)
          .complains("ir set palette type failed\n"),
      get("ir_get_palette_type", UDP_CTRL_CAM_GET_PALETTE_TYPE, &L::ir_get_palette_type),
      set("ir_start_timed_take_photo", UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO,
          &L::ir_start_timed_take_photo)
          .complains("ir start timed capture failed\n"),
      run("ir_stop_timed_take_photo", UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO,
          &L::ir_stop_timed_take_photo)
          .complains("ir stop timed capture failed\n"),
      set_record("ir_set_air_params", UDP_CTRL_CAM_SET_AIR_PARAMS, &L::ir_set_air_params,
                 {1, 95, 183, -300})
          .sends({1, 95, 183, 0xD4, 0xFE})
          .complains("ir set air params failed\n"),
      get_record("ir_get_air_params", UDP_CTRL_CAM_GET_AIR_PARAMS, &L::ir_get_air_params),
      set_record("ir_set_temperature_bar", UDP_CTRL_CAM_SET_TEMPERATURE_BAR,
                 &L::ir_set_temperature_bar, {1, 4660, -300})
          .sends({1, 0x34, 0x12, 0xD4, 0xFE})
          .ready_as("ir_set_temperature_params")
          .complains("ir set temperature params failed\n"),
      get_record("ir_get_temperature_bar", UDP_CTRL_CAM_GET_TEMPERATURE_BAR,
                 &L::ir_get_temperature_bar),
      set("ir_set_lock_status", UDP_CTRL_CAM_SET_LOCK_RANGE_STATE, &L::ir_set_lock_status)
          .complains("ir set lock status failed\n"),
      get("ir_get_lock_status", UDP_CTRL_CAM_GET_LOCK_RANGE_STATE, &L::ir_get_lock_status),
      set("ir_set_ffc_run_mode", UDP_CTRL_CAM_SET_RUN_FFC_MODE, &L::ir_set_ffc_run_mode)
          .complains("ir set ffc run mode failed\n"),
      get("ir_get_ffc_run_mode", UDP_CTRL_CAM_GET_RUN_FFC_MODE, &L::ir_get_ffc_run_mode),
      run("ir_run_ffc_normalization", UDP_CTRL_CAM_RUN_FFC_NORMALIZATION,
          &L::ir_run_ffc_normalization)
          .says("run ffc OK\n")
          .complains("Error: run ffc failed\n"),
      get_record("ir_get_temperature_status", UDP_CTRL_CAM_GET_TEMPERATURE_STATUS,
                 &L::ir_get_temperature_status),
      set_record("ir_set_radiometric_point", UDP_CTRL_CAM_SET_RADIOMETRIC_POINT,
                 &L::ir_set_radiometric_point, {-2, 4660, 48879})
          .sends({0xFE, 0xFF, 0xFF, 0xFF, 0x34, 0x12, 0xEF, 0xBE}),
      get_record("ir_get_radiometric_point", UDP_CTRL_CAM_GET_RADIOMETRIC_POINT,
                 &L::ir_get_radiometric_point),
      set_record("ir_set_radiometric_area", UDP_CTRL_CAM_SET_RADIOMETRIC_AREA,
                 &L::ir_set_radiometric_area, {1, {4660, 48879, 640, 512}})
          .sends({1, 0, 0, 0, 0x34, 0x12, 0xEF, 0xBE, 0x80, 0x02, 0x00, 0x02}),
      get_record("ir_get_radiometric_area", UDP_CTRL_CAM_GET_RADIOMETRIC_AREA,
                 &L::ir_get_radiometric_area),
      set_record("ir_set_SSO", UDP_CTRL_CAM_SET_SSO, &L::ir_set_SSO, {-7}).sends({0xF9}),
      get_record("ir_get_SSO", UDP_CTRL_CAM_GET_SSO, &L::ir_get_SSO),
      set_record("ir_set_ACE", UDP_CTRL_CAM_SET_ACE, &L::ir_set_ACE, {-300}).sends({0xD4, 0xFE}),
      get_record("ir_get_ACE", UDP_CTRL_CAM_GET_ACE, &L::ir_get_ACE),
      set_record("ir_set_DDE", UDP_CTRL_CAM_SET_DDE, &L::ir_set_DDE, {4660}).sends({0x34, 0x12}),
      get_record("ir_get_DDE", UDP_CTRL_CAM_GET_DDE, &L::ir_get_DDE),
      set_record("ir_set_ROI", UDP_CTRL_CAM_SET_ROI, &L::ir_set_ROI, {4660, 48879, 640, 512})
          .sends({0x34, 0x12, 0xEF, 0xBE, 0x80, 0x02, 0x00, 0x02}),
      get_record("ir_get_ROI", UDP_CTRL_CAM_GET_ROI, &L::ir_get_ROI),
      set_record("ir_set_digital_zoom", UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM, &L::ir_set_digital_zoom,
                 {305419896, 320, 256})
          .sends({0x78, 0x56, 0x34, 0x12, 0x40, 0x01, 0, 0, 0x00, 0x01, 0, 0}),
      get_record("ir_get_digital_zoom", UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM, &L::ir_get_digital_zoom)
          .answered({0x78, 0x56, 0x34, 0x12, 0x40, 0x01, 0, 0, 0x00, 0x01, 0, 0})
          .says("ir_get_digital_zoom:[305419896],xCenter:[320],yCenter:[256]\n"),
      set_record("ir_set_env_temp", UDP_CTRL_CAM_SET_TH_ENV_TEMP, &L::ir_set_env_temp,
                 {305419896, -300})
          .sends({0x78, 0x56, 0x34, 0x12, 0xD4, 0xFE}),
      get_record("ir_get_env_temp", UDP_CTRL_CAM_GET_TH_ENV_TEMP, &L::ir_get_env_temp)
          .answered({0xFE, 0xFF, 0xFF, 0xFF, 0xD4, 0xFE})
          .says("ir_get_env_temp:[-2], env_temp_x10:[-300]\n"),
      set_record("ir_set_dewarp", UDP_CTRL_CAM_SET_TH_DEWARP, &L::ir_set_dewarp, {183, 305419896})
          .sends({183, 0x78, 0x56, 0x34, 0x12}),
      get_record("ir_get_dewarp", UDP_CTRL_CAM_GET_TH_DEWARP, &L::ir_get_dewarp)
          .answered({183, 0x78, 0x56, 0x34, 0x12})
          .says("ir_get_dewarp:[183], strength:[305419896]\n"),
      run("ir_save_conf", UDP_CTRL_CAM_TH_SAVE_CONF, &L::ir_save_conf)
          .unknown_to_the_store()
          .complains("ir save config failed\n"),
      set("ir_set_thermal_calibration_temp", UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP,
          &L::ir_set_thermal_calibration_temp, -300)
          .sends({0xD4, 0xFE}),
      run("ir_run_thermal_calibration", UDP_CTRL_CAM_RUN_THERMAL_CALI,
          &L::ir_run_thermal_calibration)
          .complains("ir run thermal calibration failed\n"),
      set("ir_set_fpa_calibration_temp", UDP_CTRL_CAM_SET_FPA_THERMAL_CALI_TEMP,
          &L::ir_set_fpa_calibration_temp, -300)
          .sends({0xD4, 0xFE})
          .complains("ir set fpa calibration temp failed\n"),
      run("ir_run_fpa_calibration", UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI, &L::ir_run_fpa_calibration)
          .complains("ir run fpa calibration failed\n"),
      set("ir_usb_pass_through_ctrl", UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL,
          &L::ir_usb_pass_through_ctrl, -2)
          .sends({0xFE, 0xFF, 0xFF, 0xFF})
          .complains("ir usb pass through mode failed\n"),
  };
}

}  // namespace

const std::vector<Operation>& thermal_operations() {
  static const std::vector<Operation> rows = all();
  return rows;
}
