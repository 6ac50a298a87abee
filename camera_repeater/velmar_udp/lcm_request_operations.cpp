// The catalogue of camera operations, one member a command.

#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "lcm_request_pattern.h"
#include "velmar_log.h"

namespace {

// Levels of the trace log.
constexpr int kLogCommand = 0;
constexpr int kLogSuccess = 1;
constexpr int kLogFailure = 2;
constexpr int kLogPlain = 4;

constexpr std::size_t kPropertySize = sizeof(LcmRequest::Data::property_str);

/// The text in a caller's buffer, which it may fill without a terminator.
std::string_view property_text(const char* buffer) {
  return {buffer, strnlen(buffer, kPropertySize)};
}

bool is_assignment(std::string_view text) { return text.find('=') != text.npos; }

}  // namespace

bool LcmRequest::get_all_request_list(udp_ctrl_cam_request_list_t* list) {
  return ask(UDP_CTRL_CAM_GET_ALL_REQUEST).into(&Data::request_list, *list).send();
}

// --- Capture and recording ---

bool LcmRequest::send_capture_cmd(int* perr, unsigned int* wait_noti_flag) {
  vlm_log_print(kLogCommand, "Capture");
  if (perr != nullptr) *perr = VLM_ERR_FAILED;
  return ask(UDP_CTRL_CAM_TAKE_PHOTO)
      .code_into(perr)
      .armed(wait_noti_flag)
      .logged(kLogFailure, "Fail", kLogSuccess, "OK")
      .send("Error: Capture image failed", "Capture image");
}

bool LcmRequest::send_stop_capture_cmd() {
  return ask(UDP_CTRL_CAM_STOP_PHOTO, "stop_capture_cmd")
      .send("Error: Stop capture image failed", "stop capture image");
}

bool LcmRequest::send_start_video_cmd() {
  return ask(UDP_CTRL_CAM_START_RECORD).send("Error: Start recording failed", "Start recording");
}

bool LcmRequest::send_stop_video_cmd() {
  return ask(UDP_CTRL_CAM_STOP_RECORD).send("Error: Stop recording failed", "Stop recording");
}

bool LcmRequest::set_camera_mode(u8 mode, int* perr, unsigned int* wait_noti_flag) {
  return ask(UDP_CTRL_CAM_SET_CAMERA_MODE)
      .code_into(perr)
      .armed(wait_noti_flag)
      .trace("Set LCM camera mode: %d\n", mode)
      .with(mode)
      .send();
}

bool LcmRequest::get_camera_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_CAMERA_MODE)
      .into(&Data::cam_mode, mode)
      .send("error: not successful");
}

bool LcmRequest::get_camera_status(u8& status) {
  return ask(UDP_CTRL_CAM_GET_CAMERA_STATUS).into(&Data::video_status, status).send();
}

bool LcmRequest::set_cam_mode_lock(u8 lock) {
  return ask(UDP_CTRL_CAM_SET_CAM_MODE_LOCK).with(lock).send("set_cam_mode_lock failed");
}

bool LcmRequest::get_cam_mode_lock(u8& lock) {
  return ask(UDP_CTRL_CAM_GET_CAM_MODE_LOCK).into(&Data::cam_lock, lock).send() &&
         say("get cam_lock:[%d]\n", lock);
}

bool LcmRequest::set_capture_mode(const udp_ctrl_cam_photo_mode_t* mode) {
  return ask(UDP_CTRL_CAM_SET_PHOTO_MODE).with(*mode).send("set_capture_mode failed");
}

bool LcmRequest::get_capture_mode(udp_ctrl_cam_photo_mode_t* mode) {
  return ask(UDP_CTRL_CAM_GET_PHOTO_MODE).into(&Data::capture_mode, *mode).send() &&
         say("get PhotoMode:[%d],image_number:[%d],ev_num/ev_dem:[%d]/[%d]\n", mode->capture_mode,
             mode->photo_amount, mode->ev_step.ev_num, mode->ev_step.ev_dem);
}

// --- Video and streams ---

bool LcmRequest::set_video_param(u8 fps, u16 width, u16 height) {
  const udp_ctrl_video_t video{{width, height}, fps, -1};
  return ask(UDP_CTRL_CAM_SET_PARAMS_VIDEO)
      .trace("Set LCM video fps:    %d\n", fps)
      .trace("Set LCM video width:  %d\n", width)
      .trace("Set LCM video height: %d\n", height)
      .with(video)
      .send();
}

bool LcmRequest::get_video_params(u8& fps, u16& width, u16& height) {
  return ask(UDP_CTRL_CAM_GET_PARAMS_VIDEO)
      .into(&Data::video_fps, fps, &Data::video_resolution_h, width, &Data::video_resolution_v,
            height)
      .send();
}

bool LcmRequest::set_video_encode_mode(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE)
      .trace("encoding_mode = %d\n", mode)
      .with(mode)
      .send("set video_encode_mode failed", "set video_encode_mode OK");
}

bool LcmRequest::get_video_encode_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE).into(&Data::encode_mode, mode).send();
}

bool LcmRequest::set_color_encoding(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_SYSTEM_MODE)
      .trace("set color_encoding = %d\n", mode)
      .with(mode)
      .send("set_color_encoding failed");
}

bool LcmRequest::get_color_encoding(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_SYSTEM_MODE).into(&Data::system_mode, mode).send() &&
         say("get color_encoding:%d\n", mode);
}

bool LcmRequest::get_recording_time(u32& seconds) {
  return ask(UDP_CTRL_CAM_GET_RECORDING_TIME).into(&Data::recording_time, seconds).send();
}

bool LcmRequest::set_eis_status(u8 status) {
  return ask(UDP_CTRL_CAM_SET_EIS_STATUS)
      .trace("set eis = %d\n", status)
      .with(status)
      .send("set_eis_status failed");
}

bool LcmRequest::get_eis_status(u8& status) {
  return ask(UDP_CTRL_CAM_GET_EIS_STATUS).into(&Data::eis_flag, status).send() &&
         say("get eis = %d\n", status);
}

bool LcmRequest::set_low_delay_stream(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_LOWDELAY_STREAM)
      .trace("set low_delay_stream = %#x\n", mode)
      .with(mode)
      .send("set_low_delay_stream failed");
}

bool LcmRequest::get_low_delay_stream(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_LOWDELAY_STREAM).into(&Data::low_delay_mode, mode).send() &&
         say("get low_delay_mode:%#x\n", mode);
}

bool LcmRequest::set_main_stream_framerate_divisor(const u32* divisor) {
  if (divisor == nullptr) return false;
  return ask(UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR)
      .with(*divisor)
      .send("set_main_stream_framerate_divisor failed");
}

bool LcmRequest::get_main_stream_framerate_divisor(u32& divisor) {
  return ask(UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR)
             .into(&Data::framerate_divisor, divisor)
             .send() &&
         say("get frame rate divisor = %d\n", divisor);
}

bool LcmRequest::set_2nd_stream_bitrate(u32 bitrate) {
  return ask(UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE)
      .with(bitrate)
      .send("set_2nd_stream_bitrate failed");
}

bool LcmRequest::set_2nd_stream_resolution(const vlm_second_stream_resolution_t* resolution) {
  return ask(UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION)
      .with(*resolution)
      .send("set_2nd_stream_resolution failed");
}

bool LcmRequest::set_stream_prop(const vlm_stream_prop_t* prop) {
  return ask(UDP_CTRL_CAM_SET_STREAM_PROP).with(*prop).send("set_stream_prop failed");
}

bool LcmRequest::get_stream_prop(vlm_stream_prop_t* prop) {
  return ask(UDP_CTRL_CAM_GET_STREAM_PROP).into(&Data::stream_prop, *prop).send() &&
         say("get_stream_prop:[%d], bitrate:[%d]\n", prop->stream_id, prop->bitrate);
}

// --- Exposure ---

bool LcmRequest::set_camera_ae(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_AE_MODE).trace("set AE = %d\n", mode).with(mode).send();
}

bool LcmRequest::get_camera_ae(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_AE_MODE).into(&Data::ae_mode, mode).send();
}

bool LcmRequest::set_camera_ev(u16 ev) {
  return ask(UDP_CTRL_CAM_SET_PARAMS_EV).trace("set ev value %02x\n", ev).with(ev).send();
}

bool LcmRequest::get_camera_ev(u16& ev) {
  return ask(UDP_CTRL_CAM_GET_PARAMS_EV).into(&Data::ev_value, ev).send();
}

bool LcmRequest::get_shutter_iso(float& shutter_s, float& iso) {
  return ask(UDP_CTRL_CAM_GET_SHUTTER_ISO)
      .into(&Data::shutter_s, shutter_s, &Data::iso_value, iso)
      .send();
}

bool LcmRequest::send_shutter_iso_cmd(u16 sht_num, u16 sht_dem, u32 iso) {
  const udp_ctrl_cam_shutter_iso_t shutter_iso{0, sht_num, sht_dem, iso};
  return ask(UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO)
      .trace("set sht_num: %d, sht_dem: %d, iso ID: %d\n", sht_num, sht_dem, iso)
      .with(shutter_iso)
      .send();
}

bool LcmRequest::send_shutter_cmd(u16 shutter) {
  return ask(UDP_CTRL_CAM_SET_SHUTTER)
      .trace("set ctrl_cam shutter: %02x\n", shutter)
      .with(shutter)
      .send();
}

bool LcmRequest::get_shutter_cmd(u16& shutter) {
  return ask(UDP_CTRL_CAM_GET_SHUTTER).into(&Data::shutter, shutter).send();
}

bool LcmRequest::send_iso_cmd(u16 iso) { return ask(UDP_CTRL_CAM_SET_ISO).with(iso).send(); }

bool LcmRequest::get_iso_cmd(u16& iso) {
  return ask(UDP_CTRL_CAM_GET_ISO).into(&Data::iso, iso).send();
}

bool LcmRequest::set_meter_mode(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_METER_MODE).trace("set meter_mode = %d\n", mode).with(mode).send();
}

bool LcmRequest::get_meter_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_METER_MODE).into(&Data::meter_mode, mode).send();
}

bool LcmRequest::set_spot_metering_coords(u8 x, u8 y) {
  return ask(UDP_CTRL_CAM_SET_SPOT_METERING_COORDS)
      .trace("set x_ratio  = %d,y_ratio = %d\n", x, y)
      .with(udp_ctrl_cam_coords_ratio_t{x, y})
      .send("set spot metering coords failed");
}

bool LcmRequest::get_spot_metering_coords(u8& x, u8& y) {
  return ask(UDP_CTRL_CAM_GET_SPOT_METERING_COORDS)
      .into(&Data::x_ratio, x, &Data::y_ratio, y)
      .send("get_spot_metering_coords failed");
}

bool LcmRequest::set_flicker_mode(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_FLICKER_MODE)
      .trace("set flicker_mode = %d\n", mode)
      .with(mode)
      .send();
}

bool LcmRequest::get_flicker_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_FLICKER_MODE).into(&Data::flicker_mode, mode).send();
}

bool LcmRequest::set_iris(u16 iris) {
  return ask(UDP_CTRL_CAM_SET_IRIS).with(iris).send("set_iris failed");
}

bool LcmRequest::get_iris(u16& iris) {
  return ask(UDP_CTRL_CAM_GET_IRIS).into(&Data::iris, iris).send() && say("get iris:[%d]\n", iris);
}

// --- Colour and picture ---

bool LcmRequest::send_wb_cmd(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_PARAMS_WB).trace("set wb: %d\n", mode).with(mode).send();
}

bool LcmRequest::get_wb_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_WB_MODE).into(&Data::wb_mode, mode).send();
}

bool LcmRequest::set_custom_wb(u8 wb) {
  return ask(UDP_CTRL_CAM_SET_CUSTOM_WB)
      .trace("set custom_wb = %d\n", wb)
      .with(wb)
      .send("set_custom_wb failed");
}

bool LcmRequest::get_custom_wb(u8& wb) {
  return ask(UDP_CTRL_CAM_GET_CUSTOM_WB).into(&Data::custom_wb, wb).send() &&
         say("get custom_wb:%d\n", wb);
}

bool LcmRequest::set_RGain_value(u16 gain) {
  return ask(UDP_CTRL_CAM_SET_RGAIN).trace("set R gain value = %d \n", gain).with(gain).send();
}

bool LcmRequest::get_RGain_value(u16& gain) {
  return ask(UDP_CTRL_CAM_GET_RGAIN_VALUE).into(&Data::rgain, gain).send();
}

bool LcmRequest::set_BGain_value(u16 gain) {
  return ask(UDP_CTRL_CAM_SET_BGAIN).trace("set B gain value = %d \n", gain).with(gain).send();
}

bool LcmRequest::get_BGain_value(u16& gain) {
  return ask(UDP_CTRL_CAM_GET_BGAIN_VALUE).into(&Data::bgain, gain).send();
}

bool LcmRequest::set_color_mode(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_COLOR_MODE).trace("set color_mode = %d\n", mode).with(mode).send();
}

bool LcmRequest::get_color_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_COLOR_MODE).into(&Data::color_mode, mode).send();
}

bool LcmRequest::set_image_quality(u8 quality) {
  return ask(UDP_CTRL_CAM_SET_IMAGE_QUALITY)
      .trace("set image_quality = %d\n", quality)
      .with(quality)
      .send();
}

bool LcmRequest::get_image_quality(u8& quality) {
  return ask(UDP_CTRL_CAM_GET_IMAGE_QUALITY).into(&Data::image_quality, quality).send();
}

bool LcmRequest::set_image_format(u8 format) {
  return ask(UDP_CTRL_CAM_SET_IMAGE_FORMAT)
      .trace("set image_format = %d\n", format)
      .with(format)
      .send();
}

bool LcmRequest::get_image_format(u8& format) {
  return ask(UDP_CTRL_CAM_GET_IMAGE_FORMAT).into(&Data::image_format, format).send();
}

bool LcmRequest::set_photo_ratio(u8 ratio) {
  return ask(UDP_CTRL_CAM_SET_PHOTO_RATIO)
      .trace("set photo_ratio = %d\n", ratio)
      .with(ratio)
      .send("set_photo_ratio failed");
}

bool LcmRequest::get_photo_ratio(u8& ratio) {
  return ask(UDP_CTRL_CAM_GET_PHOTO_RATIO).into(&Data::photo_ratio, ratio).send() &&
         say("get photo_ratio:%d\n", ratio);
}

bool LcmRequest::set_file_format(u8 format) {
  return ask(UDP_CTRL_CAM_SET_FILE_FORMAT)
      .trace("set file_format = %d\n", format)
      .with(format)
      .send("set_file_format failed");
}

bool LcmRequest::get_file_format(u8& format) {
  return ask(UDP_CTRL_CAM_GET_FILE_FORMAT).into(&Data::file_format, format).send() &&
         say("get file_format:%d\n", format);
}

bool LcmRequest::set_image_flip_type(u8 type) {
  return ask(UDP_CTRL_CAM_SET_IMAGE_FLIP)
      .trace("set image_flip_type = %d\n", type)
      .with(type)
      .send("set_image_flip_type failed");
}

bool LcmRequest::get_image_flip_type(u8& type) {
  return ask(UDP_CTRL_CAM_GET_IMAGE_FLIP).into(&Data::flip_type, type).send() &&
         say("get image_flip_type:%d\n", type);
}

bool LcmRequest::set_image_dewarp(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_IMAGE_DEWARP).with(mode).send("set_image_dewarp failed");
}

bool LcmRequest::get_image_dewarp(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_IMAGE_DEWARP).into(&Data::dewarp_mode, mode).send() &&
         say("get dewarp_mode:%d\n", mode);
}

bool LcmRequest::set_wdr_mode(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_WDR_MODE)
      .trace("set wdr_mode = %d\n", mode)
      .with(mode)
      .send("set_wdr_mode failed");
}

bool LcmRequest::get_wdr_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_WDR_MODE).into(&Data::wdr_mode, mode).send() &&
         say("get wdr: %d\n", mode);
}

bool LcmRequest::set_defog_onoff(u8 onoff) {
  return ask(UDP_CTRL_CAM_SET_DEFOG_ONOFF).with(onoff).send("set_defog_onoff failed");
}

bool LcmRequest::set_defog_level(u8 level) {
  return ask(UDP_CTRL_CAM_SET_DEFOG_LEVEL).with(level).send("set_defog_level failed");
}

bool LcmRequest::get_defog_level(u8& level) {
  return ask(UDP_CTRL_CAM_GET_DEFOG_LEVEL).into(&Data::deflog_onoff, level).send() &&
         say("get defog level:[%d]\n", level);
}

bool LcmRequest::set_osd_status(u8 status) {
  return ask(UDP_CTRL_CAM_SET_OSD_STATUS)
      .trace("set_osd_status = %d\n", status)
      .with(status)
      .send();
}

bool LcmRequest::get_osd_status(u8& status) {
  return ask(UDP_CTRL_CAM_GET_OSD_STATUS).into(&Data::osd_onoff, status).send();
}

// --- Zoom and focus ---

bool LcmRequest::set_zoom(float zoom) {
  return ask(UDP_CTRL_CAM_SET_ZOOM).with(zoom).send("set_zoom failed");
}

bool LcmRequest::get_zoom(float& zoom) {
  return ask(UDP_CTRL_CAM_GET_ZOOM).into(&Data::zoom, zoom).send() &&
         say("get zoom:[%0.1f]\n", static_cast<double>(zoom));
}

bool LcmRequest::set_digital_zoom(u32 zoom) {
  return ask(UDP_CTRL_CAM_SET_DIGITAL_ZOOM).with(zoom).send("set_digital_zoom failed");
}

bool LcmRequest::get_digital_zoom(u32& zoom) {
  return ask(UDP_CTRL_CAM_GET_DIGITAL_ZOOM).into(&Data::dzoom, zoom).send() &&
         say("get digital zoom:[%d]\n", zoom);
}

bool LcmRequest::set_dzoom_onoff(u32 onoff) {
  // Its neighbour's failure text, which scripts know.
  return ask(UDP_CTRL_CAM_DZOOM_ONOFF).with(onoff).send("set_digital_zoom failed");
}

bool LcmRequest::set_zoom_control(u32 direction) {
  return ask(UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP).with(direction).send();
}

bool LcmRequest::set_dzoom_control(u32 direction) {
  return ask(UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP).with(direction).send();
}

bool LcmRequest::set_focus_control(u32 direction) {
  return ask(UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP).with(direction).send("set_focus_control failed");
}

bool LcmRequest::set_focus(u32 position) {
  return ask(UDP_CTRL_CAM_SET_FOCUS).with(position).send("set_focus failed");
}

bool LcmRequest::get_focus(u32& position) {
  u16 focus = 0;
  if (!ask(UDP_CTRL_CAM_GET_FOCUS).into(&Data::focus, focus).send()) return false;
  position = focus;
  return say("get focus:[%d]\n", position);
}

bool LcmRequest::set_focus_mode(u8 mode) {
  return ask(UDP_CTRL_CAM_SET_FOCUS_MODE).with(mode).send("set_focus_mode failed");
}

bool LcmRequest::get_focus_mode(u8& mode) {
  return ask(UDP_CTRL_CAM_GET_FOCUS_MODE).into(&Data::focus_mode, mode).send();
}

bool LcmRequest::set_focus_limit(u32 limit) {
  return ask(UDP_CTRL_CAM_SET_FOCUS_LIMITE).with(limit).send("set_focus_limit failed");
}

// --- Storage ---

bool LcmRequest::send_format_sdcard_cmd(u8 slot) {
  return ask(UDP_CTRL_CAM_FORMAT_SDCARD)
      .trace("format cardslot=%d\n", slot)
      .with(slot)
      .send("format sdcard failed", "format sdcard OK");
}

bool LcmRequest::get_sdcard_storage(u8 id, udp_ctrl_cam_sdcard_storage_t& storage) {
  return ask(UDP_CTRL_CAM_GET_SDCARD_STORAGE).with(id).into(&Data::storage_info, storage).send();
}

bool LcmRequest::test_sdcard_speed() {
  return ask(UDP_CTRL_CAM_TEST_T_CARD_SPEED)
      .send("test sdcard speed failed", "test sdcard speed OK");
}

bool LcmRequest::get_sdcard_attribute(u16& speed_mbps, u8& level, u8& space_state) {
  return ask(UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE)
      .into(&Data::speed_mbps, speed_mbps, &Data::level, level, &Data::space_state, space_state)
      .send();
}

bool LcmRequest::get_sdcard_support_info(udp_ctrl_sdcard_support_info_t* info) {
  return ask(UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO).into(&Data::sd_sp_info, *info).send() &&
         say("get sdcard support info oemid:[%d],support_value:[%d]\n", info->oemid,
             info->is_support);
}

bool LcmRequest::set_media_folder(u8 enable_flag, const char* folder_name) {
  udp_ctrl_cam_media_folder_t folder{};
  folder.enable_flag = enable_flag;
  std::memcpy(folder.folder, folder_name, strnlen(folder_name, sizeof folder.folder));
  vlm_log_print(kLogPlain, "SetMediaFolderReady");
  return ask(UDP_CTRL_CAM_SET_MEDIA_FOLDER)
      .with(folder)
      .logged(kLogPlain, "SetMediaFolderFAIL", kLogPlain, "SetMediaFolderOK")
      .send("set camera media folder failed");
}

bool LcmRequest::get_media_folder(u8& enable_flag, char* name) {
  std::array<char, sizeof(Data::folder)> folder;
  if (!ask(UDP_CTRL_CAM_GET_MEDIA_FOLDER)
           .into(&Data::enable_flag, enable_flag, &Data::folder, folder.data())
           .send()) {
    return false;
  }
  std::strncpy(name, folder.data(), folder.size());
  return true;
}

bool LcmRequest::set_media_filenum_option(u8 option) {
  return ask(UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION)
      .with(option)
      .send("set_media_filenum_option failed");
}

bool LcmRequest::get_media_filenum_option(u8& option) {
  return ask(UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION).into(&Data::file_num_option, option).send() &&
         say("get filenum_opt:[%d]\n", option);
}

// --- Network and remote control ---

bool LcmRequest::set_wifi_passwd(const char* password) {
  return ask(UDP_CTRL_CAM_SET_WIFI_PASSWORD)
      .trace("set wifi_passwd  = %s\n", password)
      .with_text(password, 21)
      .send("set wifi passwd failed");
}

bool LcmRequest::set_wifi_ssid(const char* ssid) {
  return ask(UDP_CTRL_CAM_SET_WIFI_SSID)
      .trace("set wifi_ssid  = %s\n", ssid)
      .with_text(ssid, 20)
      .send("set wifi ssid failed");
}

bool LcmRequest::send_wifi_status(u8 status) {
  return ask(UDP_CTRL_CAM_SEND_WIFI_STATUS).with(status).send("send_wifi_status failed");
}

bool LcmRequest::send_rc_board_id(const char* id) {
  return ask(UDP_CTRL_CAM_SEND_RC_BOARD_ID).with_text(id).send("send_rc_board_id failed");
}

bool LcmRequest::set_country_code(const char* code) {
  return ask(UDP_CTRL_CAM_SET_COUNTRY_CODE).with_text(code).send("set_country_code failed");
}

bool LcmRequest::get_country_code(char* code) {
  return ask(UDP_CTRL_CAM_GET_COUNTRY_CODE).into(&Data::country_code, code).send() &&
         say("get country_code:%.10s\n", code);
}

// --- The device ---

bool LcmRequest::get_camera_version(u32& version, char* name) {
  return ask(UDP_CTRL_CAM_GET_CAMERA_VERSION)
      .into(&Data::camera_version, version, &Data::module_name, name)
      .send();
}

bool LcmRequest::set_rtos_time(unsigned long long time_sec) {
  vlm_log_print(kLogPlain, "SetTimeReady");
  return ask(UDP_CTRL_CAM_SET_SYS_TIME)
      .with(u64{time_sec})
      .logged(kLogPlain, "SetTimeFAIL", kLogPlain, "SetTimeOK")
      .send("set system time failed");
}

bool LcmRequest::upgrade_camera() {
  return ask(UDP_CTRL_CAM_UPGRADE_CAMERA).send("upgrade camera failed");
}

bool LcmRequest::reboot_camera() { return ask(UDP_CTRL_CAM_REBOOT_DEVICE).send(); }

bool LcmRequest::reset_cam_settings_cmd() { return ask(UDP_CTRL_CAM_RESET_CAMERA_SETTINGS).send(); }

bool LcmRequest::recall_cam_settings_cmd() { return ask(UDP_CTRL_CAM_CUSTOM_RECALL).send(); }

bool LcmRequest::set_cam_settings_cmd() { return ask(UDP_CTRL_CAM_CUSTOM_SET).send(); }

bool LcmRequest::set_drone_platform(u16 platform) {
  return ask(UDP_CTRL_CAM_SET_DRONE_TYPE).with(platform).send("set_drone_platform failed");
}

bool LcmRequest::set_property(char* in_prop) {
  const std::string sent(property_text(in_prop));  // the answer overwrites the caller's buffer
  if (sent.size() == kPropertySize || !is_assignment(sent)) {
    return !say("LcmRequest::set_property bad prop: %s\n", sent.c_str());
  }
  const std::string failed = "set_propery " + sent + " failed";
  return ask(UDP_CTRL_CAM_SET_PROPERTY)
             .trace("LcmRequest::set_property set prop: %s\n", sent.c_str())
             .with_text(sent.c_str())
             .into(&Data::property_str, in_prop)
             .send(failed.c_str()) &&
         say("set property: new value: %s, previous value: %.128s\n", sent.c_str(), in_prop);
}

bool LcmRequest::get_property(char* prop) {
  const std::string_view name = property_text(prop);
  if (name.empty() || is_assignment(name)) {
    return !say("LcmRequest::get_property bad prop: %.128s\n", prop);
  }
  return ask(UDP_CTRL_CAM_GET_PROPERTY)
             .trace("get property:%.128s\n", prop)
             .with_text(prop)
             .into(&Data::property_str, prop)
             .send() &&
         say("get property:%.128s\n", prop);
}

bool LcmRequest::set_survey_mode_flag(u8 flag) {
  return ask(UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG).with(flag).send("set_survey_mode_flag failed");
}

bool LcmRequest::get_survey_mode_flag(u8& flag) {
  flag = 0;
  // The line number is part of the text.
  return say("%s(),L%d survey_flag is not the real value, reserved it for future\n", __func__,
             2552);
}

bool LcmRequest::set_memory_save(const u8* data) {
  return ask(UDP_CTRL_CAM_MEMORY_SAVE_SET)
      .with_bytes(data, sizeof(Data::mem_save_data))
      .send("set_memory_save failed");
}

bool LcmRequest::get_memory_save(u8* data) {
  return ask(UDP_CTRL_CAM_MEMORY_SAVE_INQ).into(&Data::mem_save_data, data).send() &&
         say("get_memory_save:%d, %d \n", data[0], data[1]);
}

// --- Without the class ---

int lcm_request_upgrade_camera() { return lcm_request.upgrade_camera() ? 1 : 0; }

int lcm_request_set_drone_platform(unsigned short platform) {
  return lcm_request.set_drone_platform(platform) ? 1 : 0;
}
