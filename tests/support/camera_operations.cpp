#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>

#include "operation_catalogue.h"

namespace {

using L = LcmRequest;

Operation send_capture() {
  return {"send_capture_cmd", UDP_CTRL_CAM_TAKE_PHOTO,
          [](L& engine, Bytes&) { return engine.send_capture_cmd(nullptr, nullptr); }};
}

Operation set_camera_mode() {
  return Operation("set_camera_mode", UDP_CTRL_CAM_SET_CAMERA_MODE,
                   [](L& engine, Bytes&) { return engine.set_camera_mode(183, nullptr, nullptr); })
      .sends({183});
}

Operation set_video_param() {
  return Operation("set_video_param", UDP_CTRL_CAM_SET_PARAMS_VIDEO,
                   [](L& engine, Bytes&) { return engine.set_video_param(60, 1920, 1080); })
      .sends({0x80, 0x07, 0x38, 0x04, 60, 0xFF, 0xFF, 0xFF, 0xFF});
}

Operation get_video_params() {
  return Operation("get_video_params", UDP_CTRL_CAM_GET_PARAMS_VIDEO,
                   [](L& engine, Bytes& results) {
                     auto fps = untouched<u8>();
                     auto width = untouched<u16>();
                     auto height = untouched<u16>();
                     const bool success = engine.get_video_params(fps, width, height);
                     results = joined({fps}, joined(bytes_of(width), bytes_of(height)));
                     return success;
                   })
      .answered({0x80, 0x07, 0x38, 0x04, 60})
      .yields({60, 0x80, 0x07, 0x38, 0x04});
}

Operation set_framerate_divisor() {
  return Operation("set_main_stream_framerate_divisor",
                   UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR,
                   [](L& engine, Bytes&) {
                     const u32 divisor = 305419896;
                     return engine.set_main_stream_framerate_divisor(&divisor);
                   })
      .sends({0x78, 0x56, 0x34, 0x12});
}

Operation get_shutter_iso() {
  return Operation("get_shutter_iso", UDP_CTRL_CAM_GET_SHUTTER_ISO,
                   [](L& engine, Bytes& results) {
                     auto shutter_s = untouched<float>();
                     auto iso = untouched<float>();
                     const bool success = engine.get_shutter_iso(shutter_s, iso);
                     results = joined(bytes_of(shutter_s), bytes_of(iso));
                     return success;
                   })
      .answered({1, 0, 100, 0, 200, 0, 0, 0})
      .yields(joined(bytes_of(0.01F), bytes_of(200.0F)));
}

Operation send_shutter_iso() {
  return Operation(
             "send_shutter_iso_cmd", UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO,
             [](L& engine, Bytes&) { return engine.send_shutter_iso_cmd(4660, 48879, 54321); })
      .sends({0, 0x34, 0x12, 0xEF, 0xBE, 0x31, 0xD4, 0, 0});
}

Operation set_spot_metering_coords() {
  return Operation("set_spot_metering_coords", UDP_CTRL_CAM_SET_SPOT_METERING_COORDS,
                   [](L& engine, Bytes&) { return engine.set_spot_metering_coords(37, 62); })
      .sends({37, 62});
}

Operation get_spot_metering_coords() {
  return Operation("get_spot_metering_coords", UDP_CTRL_CAM_GET_SPOT_METERING_COORDS,
                   [](L& engine, Bytes& results) {
                     auto x = untouched<u8>();
                     auto y = untouched<u8>();
                     const bool success = engine.get_spot_metering_coords(x, y);
                     results = {x, y};
                     return success;
                   })
      .answered({37, 62});
}

Operation get_sdcard_storage() {
  return Operation("get_sdcard_storage", UDP_CTRL_CAM_GET_SDCARD_STORAGE,
                   [](L& engine, Bytes& results) {
                     auto storage = untouched<udp_ctrl_cam_sdcard_storage_t>();
                     const bool success = engine.get_sdcard_storage(255, storage);
                     results = bytes_of(storage);
                     return success;
                   })
      .sends({255})
      .answered(counting(13, 0xF1));
}

Operation get_sdcard_attribute() {
  return Operation("get_sdcard_attribute", UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE,
                   [](L& engine, Bytes& results) {
                     auto speed = untouched<u16>();
                     auto level = untouched<u8>();
                     auto space_state = untouched<u8>();
                     const bool success = engine.get_sdcard_attribute(speed, level, space_state);
                     results = joined(bytes_of(speed), {level, space_state});
                     return success;
                   })
      .answered({0xEF, 0xBE, 1, 2});
}

Operation set_media_folder() {
  return Operation("set_media_folder", UDP_CTRL_CAM_SET_MEDIA_FOLDER,
                   [](L& engine, Bytes&) { return engine.set_media_folder(1, "101"); })
      .sends({1, '1', '0', '1'});
}

Operation get_media_folder() {
  return Operation("get_media_folder", UDP_CTRL_CAM_GET_MEDIA_FOLDER,
                   [](L& engine, Bytes& results) {
                     auto enable_flag = untouched<u8>();
                     auto name = untouched<std::array<char, 64>>();
                     const bool success = engine.get_media_folder(enable_flag, name.data());
                     results = joined({enable_flag}, bytes_of(name));
                     return success;
                   })
      .answered(joined({183}, bytes_of_text("101MEDIA", 64)));
}

Operation get_country_code() {
  return Operation("get_country_code", UDP_CTRL_CAM_GET_COUNTRY_CODE,
                   [](L& engine, Bytes& results) {
                     auto code = untouched<std::array<char, 10>>();
                     const bool success = engine.get_country_code(code.data());
                     results = bytes_of(code);
                     return success;
                   })
      .answered(bytes_of_text("DE", 10));
}

Operation get_camera_version() {
  return Operation("get_camera_version", UDP_CTRL_CAM_GET_CAMERA_VERSION,
                   [](L& engine, Bytes& results) {
                     auto version = untouched<u32>();
                     auto name = untouched<std::array<char, 8>>();
                     const bool success = engine.get_camera_version(version, name.data());
                     results = joined(bytes_of(version), bytes_of(name));
                     return success;
                   })
      .answered(joined(bytes_of_text("VLMCAM", 8), {3, 14, 159, 'r'}))
      .yields(joined({3, 14, 159, 'r'}, bytes_of_text("VLMCAM", 8)));
}

/// An operation that takes a text in the caller's 128 bytes and leaves another there.
Operation exchange(const char* name, int code, bool (L::*operation)(char*), const char* text) {
  return Operation(name, code,
                   [=](L& engine, Bytes& results) {
                     std::array<char, 128> buffer{};
                     std::snprintf(buffer.data(), buffer.size(), "%s", text);
                     const bool success = (engine.*operation)(buffer.data());
                     results = bytes_of(buffer);
                     return success;
                   })
      .sends(bytes_of_text(text))
      .keeps(bytes_of_text(text, 128));
}

Operation set_memory_save() {
  return Operation("set_memory_save", UDP_CTRL_CAM_MEMORY_SAVE_SET,
                   [](L& engine, Bytes&) { return engine.set_memory_save(counting(15).data()); })
      .sends(counting(15));
}

Operation get_memory_save() {
  return Operation("get_memory_save", UDP_CTRL_CAM_MEMORY_SAVE_INQ,
                   [](L& engine, Bytes& results) {
                     results = Bytes(15, Operation::kUntouched);
                     return engine.get_memory_save(results.data());
                   })
      .answered(counting(15));
}

std::vector<Operation> capture_and_recording() {
  return {
      get_record("get_all_request_list", UDP_CTRL_CAM_GET_ALL_REQUEST, &L::get_all_request_list)
          .answered(
              joined(counting(43), joined({3}, counting(26, 0x44))))  // status byte: recording
          .yields(joined(counting(43), joined({1}, counting(26, 0x44)))),
      send_capture().says("Capture image\n").complains("Error: Capture image failed\n"),
      run("send_stop_capture_cmd", UDP_CTRL_CAM_STOP_PHOTO, &L::send_stop_capture_cmd)
          .ready_as("stop_capture_cmd")
          .says("stop capture image\n")
          .complains("Error: Stop capture image failed\n"),
      run("send_start_video_cmd", UDP_CTRL_CAM_START_RECORD, &L::send_start_video_cmd)
          .says("Start recording\n")
          .complains("Error: Start recording failed\n"),
      run("send_stop_video_cmd", UDP_CTRL_CAM_STOP_RECORD, &L::send_stop_video_cmd)
          .says("Stop recording\n")
          .complains("Error: Stop recording failed\n"),
      set_camera_mode().traces("Set LCM camera mode: %d\n"),
      get("get_camera_mode", UDP_CTRL_CAM_GET_CAMERA_MODE, &L::get_camera_mode)
          .complains("error: not successful\n"),
      get("get_camera_status", UDP_CTRL_CAM_GET_CAMERA_STATUS, &L::get_camera_status)
          .answered({3})
          .yields({1}),
      set("set_cam_mode_lock", UDP_CTRL_CAM_SET_CAM_MODE_LOCK, &L::set_cam_mode_lock)
          .unknown_to_the_store()
          .complains("set_cam_mode_lock failed\n"),
      get("get_cam_mode_lock", UDP_CTRL_CAM_GET_CAM_MODE_LOCK, &L::get_cam_mode_lock)
          .unknown_to_the_store()
          .says("get cam_lock:[0]\n"),
      set_record("set_capture_mode", UDP_CTRL_CAM_SET_PHOTO_MODE, &L::set_capture_mode,
                 {3, 48879, {-7, 200}, 305419896, {0x11, 0x12}})
          .sends({3, 0xEF, 0xBE, 0xF9, 200, 0x78, 0x56, 0x34, 0x12, 0x11, 0x12})
          .complains("set_capture_mode failed\n"),
      get_record("get_capture_mode", UDP_CTRL_CAM_GET_PHOTO_MODE, &L::get_capture_mode)
          .answered({3, 0xEF, 0xBE, 0xF9, 200, 0x78, 0x56, 0x34, 0x12, 0x11, 0x12})
          .says("get PhotoMode:[3],image_number:[48879],ev_num/ev_dem:[-7]/[200]\n"),
  };
}

std::vector<Operation> video_and_streams() {
  return {
      set_video_param().traces(
          "Set LCM video fps:    60\nSet LCM video width:  1920\nSet LCM video height: 1080\n"),
      get_video_params(),
      set("set_video_encode_mode", UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, &L::set_video_encode_mode)
          .traces("encoding_mode = %d\n")
          .says("set video_encode_mode OK\n")
          .complains("set video_encode_mode failed\n"),
      get("get_video_encode_mode", UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE, &L::get_video_encode_mode),
      set("set_color_encoding", UDP_CTRL_CAM_SET_SYSTEM_MODE, &L::set_color_encoding)
          .traces("set color_encoding = %d\n")
          .complains("set_color_encoding failed\n"),
      get("get_color_encoding", UDP_CTRL_CAM_GET_SYSTEM_MODE, &L::get_color_encoding)
          .says("get color_encoding:183\n"),
      get("get_recording_time", UDP_CTRL_CAM_GET_RECORDING_TIME, &L::get_recording_time),
      set("set_eis_status", UDP_CTRL_CAM_SET_EIS_STATUS, &L::set_eis_status)
          .traces("set eis = %d\n")
          .complains("set_eis_status failed\n"),
      get("get_eis_status", UDP_CTRL_CAM_GET_EIS_STATUS, &L::get_eis_status)
          .says("get eis = 183\n"),
      set("set_low_delay_stream", UDP_CTRL_CAM_SET_LOWDELAY_STREAM, &L::set_low_delay_stream)
          .traces("set low_delay_stream = %#x\n")
          .complains("set_low_delay_stream failed\n"),
      get("get_low_delay_stream", UDP_CTRL_CAM_GET_LOWDELAY_STREAM, &L::get_low_delay_stream)
          .says("get low_delay_mode:0xb7\n"),
      set_framerate_divisor().complains("set_main_stream_framerate_divisor failed\n"),
      get("get_main_stream_framerate_divisor", UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR,
          &L::get_main_stream_framerate_divisor)
          .says("get frame rate divisor = 305419896\n"),
      set("set_2nd_stream_bitrate", UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE,
          &L::set_2nd_stream_bitrate)
          .complains("set_2nd_stream_bitrate failed\n"),
      set_record("set_2nd_stream_resolution", UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION,
                 &L::set_2nd_stream_resolution, {1280, 305419896})
          .sends({0x00, 0x05, 0, 0, 0x78, 0x56, 0x34, 0x12})
          .complains("set_2nd_stream_resolution failed\n"),
      set_record("set_stream_prop", UDP_CTRL_CAM_SET_STREAM_PROP, &L::set_stream_prop,
                 {1, 0xFFFFFFFE, 305419896, {1920, 1080}, 60})
          .sends({1,    0,    0,    0,    0xFE, 0xFF, 0xFF, 0xFF, 0x78, 0x56,
                  0x34, 0x12, 0x80, 0x07, 0x38, 0x04, 60,   0,    0,    0})
          .complains("set_stream_prop failed\n"),
      get_record("get_stream_prop", UDP_CTRL_CAM_GET_STREAM_PROP, &L::get_stream_prop)
          .answered({1,    0,    0,    0,    0xFE, 0xFF, 0xFF, 0xFF, 0x78, 0x56,
                     0x34, 0x12, 0x80, 0x07, 0x38, 0x04, 60,   0,    0,    0})
          .says("get_stream_prop:[1], bitrate:[305419896]\n"),
  };
}

std::vector<Operation> exposure() {
  return {
      set("set_camera_ae", UDP_CTRL_CAM_SET_AE_MODE, &L::set_camera_ae).traces("set AE = %d\n"),
      get("get_camera_ae", UDP_CTRL_CAM_GET_AE_MODE, &L::get_camera_ae),
      set("set_camera_ev", UDP_CTRL_CAM_SET_PARAMS_EV, &L::set_camera_ev)
          .traces("set ev value %02x\n"),
      get("get_camera_ev", UDP_CTRL_CAM_GET_PARAMS_EV, &L::get_camera_ev),
      get_shutter_iso(),
      send_shutter_iso().traces("set sht_num: 4660, sht_dem: 48879, iso ID: 54321\n"),
      set("send_shutter_cmd", UDP_CTRL_CAM_SET_SHUTTER, &L::send_shutter_cmd)
          .traces("set ctrl_cam shutter: %02x\n"),
      get("get_shutter_cmd", UDP_CTRL_CAM_GET_SHUTTER, &L::get_shutter_cmd),
      set("send_iso_cmd", UDP_CTRL_CAM_SET_ISO, &L::send_iso_cmd),
      get("get_iso_cmd", UDP_CTRL_CAM_GET_ISO, &L::get_iso_cmd),
      set("set_meter_mode", UDP_CTRL_CAM_SET_METER_MODE, &L::set_meter_mode)
          .traces("set meter_mode = %d\n"),
      get("get_meter_mode", UDP_CTRL_CAM_GET_METER_MODE, &L::get_meter_mode),
      set_spot_metering_coords()
          .traces("set x_ratio  = 37,y_ratio = 62\n")
          .complains("set spot metering coords failed\n"),
      get_spot_metering_coords().complains("get_spot_metering_coords failed\n"),
      set("set_flicker_mode", UDP_CTRL_CAM_SET_FLICKER_MODE, &L::set_flicker_mode)
          .traces("set flicker_mode = %d\n"),
      get("get_flicker_mode", UDP_CTRL_CAM_GET_FLICKER_MODE, &L::get_flicker_mode),
      set("set_iris", UDP_CTRL_CAM_SET_IRIS, &L::set_iris)
          .unknown_to_the_store()
          .complains("set_iris failed\n"),
      get("get_iris", UDP_CTRL_CAM_GET_IRIS, &L::get_iris).says("get iris:[48879]\n"),
  };
}

std::vector<Operation> colour_and_picture() {
  return {
      set("send_wb_cmd", UDP_CTRL_CAM_SET_PARAMS_WB, &L::send_wb_cmd).traces("set wb: %d\n"),
      get("get_wb_mode", UDP_CTRL_CAM_GET_WB_MODE, &L::get_wb_mode),
      set("set_custom_wb", UDP_CTRL_CAM_SET_CUSTOM_WB, &L::set_custom_wb)
          .traces("set custom_wb = %d\n")
          .complains("set_custom_wb failed\n"),
      get("get_custom_wb", UDP_CTRL_CAM_GET_CUSTOM_WB, &L::get_custom_wb)
          .says("get custom_wb:183\n"),
      set("set_RGain_value", UDP_CTRL_CAM_SET_RGAIN, &L::set_RGain_value)
          .traces("set R gain value = %d \n"),
      get("get_RGain_value", UDP_CTRL_CAM_GET_RGAIN_VALUE, &L::get_RGain_value),
      set("set_BGain_value", UDP_CTRL_CAM_SET_BGAIN, &L::set_BGain_value)
          .traces("set B gain value = %d \n"),
      get("get_BGain_value", UDP_CTRL_CAM_GET_BGAIN_VALUE, &L::get_BGain_value),
      set("set_color_mode", UDP_CTRL_CAM_SET_COLOR_MODE, &L::set_color_mode)
          .traces("set color_mode = %d\n"),
      get("get_color_mode", UDP_CTRL_CAM_GET_COLOR_MODE, &L::get_color_mode),
      set("set_image_quality", UDP_CTRL_CAM_SET_IMAGE_QUALITY, &L::set_image_quality)
          .traces("set image_quality = %d\n"),
      get("get_image_quality", UDP_CTRL_CAM_GET_IMAGE_QUALITY, &L::get_image_quality),
      set("set_image_format", UDP_CTRL_CAM_SET_IMAGE_FORMAT, &L::set_image_format)
          .traces("set image_format = %d\n"),
      get("get_image_format", UDP_CTRL_CAM_GET_IMAGE_FORMAT, &L::get_image_format),
      set("set_photo_ratio", UDP_CTRL_CAM_SET_PHOTO_RATIO, &L::set_photo_ratio)
          .traces("set photo_ratio = %d\n")
          .complains("set_photo_ratio failed\n"),
      get("get_photo_ratio", UDP_CTRL_CAM_GET_PHOTO_RATIO, &L::get_photo_ratio)
          .says("get photo_ratio:183\n"),
      set("set_file_format", UDP_CTRL_CAM_SET_FILE_FORMAT, &L::set_file_format)
          .traces("set file_format = %d\n")
          .complains("set_file_format failed\n"),
      get("get_file_format", UDP_CTRL_CAM_GET_FILE_FORMAT, &L::get_file_format)
          .says("get file_format:183\n"),
      set("set_image_flip_type", UDP_CTRL_CAM_SET_IMAGE_FLIP, &L::set_image_flip_type)
          .traces("set image_flip_type = %d\n")
          .complains("set_image_flip_type failed\n"),
      get("get_image_flip_type", UDP_CTRL_CAM_GET_IMAGE_FLIP, &L::get_image_flip_type)
          .says("get image_flip_type:183\n"),
      set("set_image_dewarp", UDP_CTRL_CAM_SET_IMAGE_DEWARP, &L::set_image_dewarp)
          .complains("set_image_dewarp failed\n"),
      get("get_image_dewarp", UDP_CTRL_CAM_GET_IMAGE_DEWARP, &L::get_image_dewarp)
          .says("get dewarp_mode:183\n"),
      set("set_wdr_mode", UDP_CTRL_CAM_SET_WDR_MODE, &L::set_wdr_mode)
          .traces("set wdr_mode = %d\n")
          .complains("set_wdr_mode failed\n"),
      get("get_wdr_mode", UDP_CTRL_CAM_GET_WDR_MODE, &L::get_wdr_mode).says("get wdr: 183\n"),
      set("set_defog_onoff", UDP_CTRL_CAM_SET_DEFOG_ONOFF, &L::set_defog_onoff)
          .unknown_to_the_store()
          .complains("set_defog_onoff failed\n"),
      set("set_defog_level", UDP_CTRL_CAM_SET_DEFOG_LEVEL, &L::set_defog_level)
          .complains("set_defog_level failed\n"),
      get("get_defog_level", UDP_CTRL_CAM_GET_DEFOG_LEVEL, &L::get_defog_level)
          .stored_with("[save_lcm_result:4198]deflog_onoff:183\n")
          .says("get defog level:[183]\n"),
      set("set_osd_status", UDP_CTRL_CAM_SET_OSD_STATUS, &L::set_osd_status)
          .traces("set_osd_status = %d\n"),
      get("get_osd_status", UDP_CTRL_CAM_GET_OSD_STATUS, &L::get_osd_status),
  };
}

std::vector<Operation> zoom_and_focus() {
  return {
      set("set_zoom", UDP_CTRL_CAM_SET_ZOOM, &L::set_zoom)
          .sends({0x00, 0x00, 0x48, 0x41})  // 12.5
          .complains("set_zoom failed\n"),
      get("get_zoom", UDP_CTRL_CAM_GET_ZOOM, &L::get_zoom)
          .answered({0x00, 0x00, 0x48, 0x41})
          .stored_with("[save_lcm_result:4188]zoom[12.5]\n")
          .says("get zoom:[12.5]\n"),
      set("set_digital_zoom", UDP_CTRL_CAM_SET_DIGITAL_ZOOM, &L::set_digital_zoom)
          .complains("set_digital_zoom failed\n"),
      get("get_digital_zoom", UDP_CTRL_CAM_GET_DIGITAL_ZOOM, &L::get_digital_zoom)
          .stored_with("[save_lcm_result:4180]dzoom[305419896]\n")
          .says("get digital zoom:[305419896]\n"),
      set("set_dzoom_onoff", UDP_CTRL_CAM_DZOOM_ONOFF, &L::set_dzoom_onoff)
          .unknown_to_the_store()
          .complains("set_digital_zoom failed\n"),
      set("set_zoom_control", UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP, &L::set_zoom_control),
      set("set_dzoom_control", UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP, &L::set_dzoom_control)
          .unknown_to_the_store(),
      set("set_focus_control", UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP, &L::set_focus_control)
          .complains("set_focus_control failed\n"),
      set("set_focus", UDP_CTRL_CAM_SET_FOCUS, &L::set_focus).complains("set_focus failed\n"),
      get("get_focus", UDP_CTRL_CAM_GET_FOCUS, &L::get_focus)
          .answered({0xEF, 0xBE, 0x34, 0x12})
          .yields({0xEF, 0xBE, 0, 0})
          .says("get focus:[48879]\n"),
      set("set_focus_mode", UDP_CTRL_CAM_SET_FOCUS_MODE, &L::set_focus_mode)
          .complains("set_focus_mode failed\n"),
      get("get_focus_mode", UDP_CTRL_CAM_GET_FOCUS_MODE, &L::get_focus_mode),
      set("set_focus_limit", UDP_CTRL_CAM_SET_FOCUS_LIMITE, &L::set_focus_limit)
          .unknown_to_the_store()
          .complains("set_focus_limit failed\n"),
  };
}

std::vector<Operation> storage() {
  return {
      set("send_format_sdcard_cmd", UDP_CTRL_CAM_FORMAT_SDCARD, &L::send_format_sdcard_cmd)
          .traces("format cardslot=%d\n")
          .says("format sdcard OK\n")
          .complains("format sdcard failed\n"),
      get_sdcard_storage(),
      run("test_sdcard_speed", UDP_CTRL_CAM_TEST_T_CARD_SPEED, &L::test_sdcard_speed)
          .says("test sdcard speed OK\n")
          .complains("test sdcard speed failed\n"),
      get_sdcard_attribute(),
      get_record("get_sdcard_support_info", UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO,
                 &L::get_sdcard_support_info)
          .answered({0xEF, 0xBE, 24, 183})
          .says("get sdcard support info oemid:[48879],support_value:[183]\n"),
      set_media_folder().complains("set camera media folder failed\n"),
      get_media_folder(),
      set("set_media_filenum_option", UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION,
          &L::set_media_filenum_option)
          .unknown_to_the_store()
          .complains("set_media_filenum_option failed\n"),
      get("get_media_filenum_option", UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION,
          &L::get_media_filenum_option)
          .says("get filenum_opt:[183]\n"),
  };
}

std::vector<Operation> network_and_remote_control() {
  return {
      set_text("set_wifi_passwd", UDP_CTRL_CAM_SET_WIFI_PASSWORD, &L::set_wifi_passwd,
               "correct-horse")
          .traces("set wifi_passwd  = correct-horse\n")
          .complains("set wifi passwd failed\n"),
      set_text("set_wifi_ssid", UDP_CTRL_CAM_SET_WIFI_SSID, &L::set_wifi_ssid, "field-camera-7")
          .traces("set wifi_ssid  = field-camera-7\n")
          .complains("set wifi ssid failed\n"),
      set("send_wifi_status", UDP_CTRL_CAM_SEND_WIFI_STATUS, &L::send_wifi_status)
          .complains("send_wifi_status failed\n"),
      set_text("send_rc_board_id", UDP_CTRL_CAM_SEND_RC_BOARD_ID, &L::send_rc_board_id, "RC-0815")
          .complains("send_rc_board_id failed\n"),
      set_text("set_country_code", UDP_CTRL_CAM_SET_COUNTRY_CODE, &L::set_country_code, "DE")
          .complains("set_country_code failed\n"),
      get_country_code().unknown_to_the_store().says("get country_code:\n"),
  };
}

std::vector<Operation> the_device() {
  return {
      get_camera_version(),
      set("set_rtos_time", UDP_CTRL_CAM_SET_SYS_TIME, &L::set_rtos_time)
          .complains("set system time failed\n"),
      run("upgrade_camera", UDP_CTRL_CAM_UPGRADE_CAMERA, &L::upgrade_camera)
          .complains("upgrade camera failed\n"),
      run("reboot_camera", UDP_CTRL_CAM_REBOOT_DEVICE, &L::reboot_camera),
      run("reset_cam_settings_cmd", UDP_CTRL_CAM_RESET_CAMERA_SETTINGS, &L::reset_cam_settings_cmd),
      run("recall_cam_settings_cmd", UDP_CTRL_CAM_CUSTOM_RECALL, &L::recall_cam_settings_cmd),
      run("set_cam_settings_cmd", UDP_CTRL_CAM_CUSTOM_SET, &L::set_cam_settings_cmd),
      set("set_drone_platform", UDP_CTRL_CAM_SET_DRONE_TYPE, &L::set_drone_platform)
          .complains("set_drone_platform failed\n"),
      exchange("set_property", UDP_CTRL_CAM_SET_PROPERTY, &L::set_property, "exposure=long")
          .traces("LcmRequest::set_property set prop: exposure=long\n")
          .answered(bytes_of_text("short", 128))
          .says("set property: new value: exposure=long, previous value: short\n")
          .complains("set_propery exposure=long failed\n"),
      exchange("get_property", UDP_CTRL_CAM_GET_PROPERTY, &L::get_property, "exposure")
          .traces("get property:exposure\n")
          .answered(bytes_of_text("short", 128))
          .says("get property:short\n"),
      set("set_survey_mode_flag", UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG, &L::set_survey_mode_flag)
          .complains("set_survey_mode_flag failed\n"),
      set_memory_save().unknown_to_the_store().complains("set_memory_save failed\n"),
      get_memory_save().unknown_to_the_store().says("get_memory_save:0, 0 \n"),
  };
}

std::vector<Operation> all() {
  std::vector<Operation> rows;
  for (auto&& group :
       {capture_and_recording(), video_and_streams(), exposure(), colour_and_picture(),
        zoom_and_focus(), storage(), network_and_remote_control(), the_device()}) {
    rows.insert(rows.end(), group.begin(), group.end());
  }
  return rows;
}

}  // namespace

const std::vector<Operation>& camera_operations() {
  static const std::vector<Operation> rows = all();
  return rows;
}

Operation camera_operation(const std::string& name) {
  const auto& rows = camera_operations();
  const auto row = std::find_if(rows.begin(), rows.end(),
                                [&](const Operation& operation) { return operation.name == name; });
  if (row == rows.end()) throw std::out_of_range(name);
  return *row;
}
