#include "operation_catalogue.h"

namespace {

using L = LcmRequest;

std::vector<Operation> all() {
  return {
      get_record("ir_get_camera_pn", 118, &L::ir_get_camera_pn),
      set("ir_set_gain_mode", 122, &L::ir_set_gain_mode).complains("ir set palette type failed\n"),
      get("ir_get_gain_mode", 121, &L::ir_get_gain_mode),
      set("ir_set_palette_type", 101, &L::ir_set_palette_type)
          .complains("ir set palette type failed\n"),
      get("ir_get_palette_type", 100, &L::ir_get_palette_type),
      set("ir_start_timed_take_photo", 102, &L::ir_start_timed_take_photo)
          .complains("ir start timed capture failed\n"),
      run("ir_stop_timed_take_photo", 103, &L::ir_stop_timed_take_photo)
          .complains("ir stop timed capture failed\n"),
      set_record("ir_set_air_params", 105, &L::ir_set_air_params, {1, 95, 183, -300})
          .sends({1, 95, 183, 0xD4, 0xFE})
          .complains("ir set air params failed\n"),
      get_record("ir_get_air_params", 104, &L::ir_get_air_params),
      set_record("ir_set_temperature_bar", 107, &L::ir_set_temperature_bar, {1, 4660, -300})
          .sends({1, 0x34, 0x12, 0xD4, 0xFE})
          .ready_as("ir_set_temperature_params")
          .complains("ir set temperature params failed\n"),
      get_record("ir_get_temperature_bar", 106, &L::ir_get_temperature_bar),
      set("ir_set_lock_status", 109, &L::ir_set_lock_status)
          .complains("ir set lock status failed\n"),
      get("ir_get_lock_status", 108, &L::ir_get_lock_status),
      set("ir_set_ffc_run_mode", 111, &L::ir_set_ffc_run_mode)
          .complains("ir set ffc run mode failed\n"),
      get("ir_get_ffc_run_mode", 110, &L::ir_get_ffc_run_mode),
      run("ir_run_ffc_normalization", 112, &L::ir_run_ffc_normalization)
          .says("run ffc OK\n")
          .complains("Error: run ffc failed\n"),
      get_record("ir_get_temperature_status", 113, &L::ir_get_temperature_status),
      set_record("ir_set_radiometric_point", 114, &L::ir_set_radiometric_point, {-2, 4660, 48879})
          .sends({0xFE, 0xFF, 0xFF, 0xFF, 0x34, 0x12, 0xEF, 0xBE}),
      get_record("ir_get_radiometric_point", 115, &L::ir_get_radiometric_point),
      set_record("ir_set_radiometric_area", 116, &L::ir_set_radiometric_area,
                 {1, {4660, 48879, 640, 512}})
          .sends({1, 0, 0, 0, 0x34, 0x12, 0xEF, 0xBE, 0x80, 0x02, 0x00, 0x02}),
      get_record("ir_get_radiometric_area", 117, &L::ir_get_radiometric_area),
      set_record("ir_set_SSO", 126, &L::ir_set_SSO, {-7}).sends({0xF9}),
      get_record("ir_get_SSO", 125, &L::ir_get_SSO),
      set_record("ir_set_ACE", 128, &L::ir_set_ACE, {-300}).sends({0xD4, 0xFE}),
      get_record("ir_get_ACE", 127, &L::ir_get_ACE),
      set_record("ir_set_DDE", 130, &L::ir_set_DDE, {4660}).sends({0x34, 0x12}),
      get_record("ir_get_DDE", 129, &L::ir_get_DDE),
      set_record("ir_set_ROI", 132, &L::ir_set_ROI, {4660, 48879, 640, 512})
          .sends({0x34, 0x12, 0xEF, 0xBE, 0x80, 0x02, 0x00, 0x02}),
      get_record("ir_get_ROI", 131, &L::ir_get_ROI),
      set_record("ir_set_digital_zoom", 134, &L::ir_set_digital_zoom, {305419896, 320, 256})
          .sends({0x78, 0x56, 0x34, 0x12, 0x40, 0x01, 0, 0, 0x00, 0x01, 0, 0}),
      get_record("ir_get_digital_zoom", 133, &L::ir_get_digital_zoom)
          .answered({0x78, 0x56, 0x34, 0x12, 0x40, 0x01, 0, 0, 0x00, 0x01, 0, 0})
          .says("ir_get_digital_zoom:[305419896],xCenter:[320],yCenter:[256]\n"),
      set_record("ir_set_env_temp", 136, &L::ir_set_env_temp, {305419896, -300})
          .sends({0x78, 0x56, 0x34, 0x12, 0xD4, 0xFE}),
      get_record("ir_get_env_temp", 135, &L::ir_get_env_temp)
          .answered({0xFE, 0xFF, 0xFF, 0xFF, 0xD4, 0xFE})
          .says("ir_get_env_temp:[-2], env_temp_x10:[-300]\n"),
      set_record("ir_set_dewarp", 139, &L::ir_set_dewarp, {183, 305419896})
          .sends({183, 0x78, 0x56, 0x34, 0x12}),
      get_record("ir_get_dewarp", 138, &L::ir_get_dewarp)
          .answered({183, 0x78, 0x56, 0x34, 0x12})
          .says("ir_get_dewarp:[183], strength:[305419896]\n"),
      run("ir_save_conf", 137, &L::ir_save_conf)
          .unknown_to_the_store()
          .complains("ir save config failed\n"),
      set("ir_set_thermal_calibration_temp", 901, &L::ir_set_thermal_calibration_temp, -300)
          .sends({0xD4, 0xFE}),
      run("ir_run_thermal_calibration", 902, &L::ir_run_thermal_calibration)
          .complains("ir run thermal calibration failed\n"),
      set("ir_set_fpa_calibration_temp", 903, &L::ir_set_fpa_calibration_temp, -300)
          .sends({0xD4, 0xFE})
          .complains("ir set fpa calibration temp failed\n"),
      run("ir_run_fpa_calibration", 904, &L::ir_run_fpa_calibration)
          .complains("ir run fpa calibration failed\n"),
      set("ir_usb_pass_through_ctrl", 905, &L::ir_usb_pass_through_ctrl, -2)
          .sends({0xFE, 0xFF, 0xFF, 0xFF})
          .complains("ir usb pass through mode failed\n"),
  };
}

}  // namespace

const std::vector<Operation>& thermal_operations() {
  static const std::vector<Operation> rows = all();
  return rows;
}
