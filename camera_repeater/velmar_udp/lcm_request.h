// The request engine: a blocking request/reply client for camera commands over the one-way bus.
//
// One request is outstanding at a time. A caller reserves the engine, publishes a record and blocks
// until the camera's reply or a time-out; the bus listener thread delivers replies with
// receive_msg. Every operation below returns true when the camera accepted the command, and false
// when the engine stayed busy for 3 s (nothing is sent then), when no reply came in 3 s (0.5 s for
// get_camera_status) or when the camera answered with an error. Getters leave their outputs as they
// were when they fail. Any thread may call any operation; transcripts go to standard output.
#ifndef LCM_REQUEST_H
#define LCM_REQUEST_H

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <string_view>

#include "velmar_flag_cond.h"
#include "velmar_mutex.h"
#include "vlm_userlcm_control_camera.h"

/// Handed from the notifier to the waiter of a notification.
union LcmNotificationParam {
  u32 noti_param;
};

class LcmRequest {
 public:
  enum State { IDLE = 0, BUSY = 1 };

  /// What the last successful reply of each kind said; all zero from the start.
  struct Data {
    u8 video_status;
    u8 video_fps;
    u16 video_resolution_h;
    u16 video_resolution_v;
    u8 cam_mode;
    float shutter_s;
    float iso_value;
    s8 ev_num;
    u8 ev_dem;
    u8 encode_mode;
    udp_ctrl_cam_air_params_t air_params;
    udp_ctrl_cam_lepton_area_temp_t temp_status;
    udp_ctrl_cam_temp_bar_range_t temp_bar;
    u8 eis_flag;
    u8 color_mode;
    u8 image_quality;
    u8 image_format;
    u8 wb_locked;
    u8 dewarp_mode;
    lepton_env_temp_t th_env_temp;
    vlm_thermal_dewarp_t th_dewarp;
    vlm_stream_prop_t stream_prop;
    u16 rgain;
    u16 bgain;
    char property_str[128];
    u32 gain_mode;
    vlm_camera_pn_info_t pn_info;
    vlm_radiometric_point_settings_t rad_point;
    vlm_radiometric_area_settings_t rad_area;
    vlm_SSO_setting_t sso;
    vlm_ACE_setting_t ace;
    vlm_DDE_setting_t dde;
    vlm_radiometric_area_coordinate_t roi;
    udp_ctrl_cam_digital_zoom_params_t th_dzoom;
    u32 framerate_divisor;
    u8 photo_ratio;
    u8 file_format;
    udp_ctrl_cam_photo_mode_t capture_mode;
    u8 flip_type;
    u8 low_delay_mode;
    u8 custom_wb;
    u8 wdr_mode;
    u32 palette_type;
    u32 interval_time_s;
    u32 lock_state;
    u32 run_mode;
    u8 file_num_option;
    u8 cam_lock;
    udp_ctrl_sdcard_support_info_t sd_sp_info;
    u16 ev_value;
    u16 shutter;
    u16 iso;
    float zoom;
    u16 iris;
    u16 focus;
    u32 dzoom;
    u8 deflog_onoff;
    u8 dzoom_onoff;
    u8 osd_onoff;
    u8 mem_save_data[15];
    u8 wb_mode;
    u8 meter_mode;
    u8 flicker_mode;
    u32 recording_time;
    u32 available_kib;
    u32 total_kib;
    u32 camera_version;
    u8 ae_mode;
    u8 enable_flag;
    char folder[64];
    u8 x_ratio;
    u8 y_ratio;
    u16 speed_mbps;
    u8 level;
    u8 space_state;
    u8 system_mode;
    udp_ctrl_cam_request_list_t request_list;
    char country_code[10];
    udp_ctrl_cam_sdcard_storage_t storage_info;
    u8 focus_mode;

    static char module_name[8];
  };

  /// What the streaming process last said.
  struct rtsp_data {
    u8 rtsp_fc_flag;
    u8 rtsp_fc_debug_flag;
  };

  /// How long the engine waits.
  struct Timeouts {
    std::chrono::milliseconds ready{3000};        // for another caller's request to end
    std::chrono::milliseconds reply{3000};        // for the camera
    std::chrono::milliseconds status_reply{500};  // for the camera's answer to GET_CAMERA_STATUS
    std::chrono::milliseconds rtsp_reply{200};    // for the streaming process
  };

  LcmRequest();
  LcmRequest(const LcmRequest&) = delete;
  LcmRequest& operator=(const LcmRequest&) = delete;

  // --- The engine (lcm_request.cpp) ---

  /// Reserves the engine; waits up to 3 s for another request to end. `caller` names the operation
  /// in the transcript; may be null. After true the caller owns the engine and must follow with
  /// exactly one send_and_wait.
  bool get_ready(const char* caller);

  /// Publishes `cmd` without waiting; send_and_wait calls it with the engine's lock held.
  void send_ctrl_cam(const udp_ctrl_cam_t& cmd) VLM_REQUIRES(_mutex);

  /// Publishes `cmd` and waits for its reply. True when the reply came with code 0. `result`, when
  /// given, receives the final code: 0, the camera's error, 26 for a time-out, 3 for an
  /// inconsistency. Releases the engine in every case.
  bool send_and_wait(const udp_ctrl_cam_t& cmd, int* result);

  /// Entry for every received record of type 3, on the listener thread. A reply that nothing waits
  /// for is reported and dropped. The first reply to the pending command decides its outcome: what
  /// comes behind it, before the caller has woken, is only reported and stored.
  void receive_msg(const udp_ctrl_cam_t& reply);

  /// Code of the current or last request; meaningful to the thread that just completed one.
  u16 get_error_code() const { return m_err_code; }

  /// Maps a camera status byte in place: 3 becomes 1, 2 stays, every other value becomes 0.
  static void convert_to_lcm_camera_status(u8& status);

  // --- Notifications ---

  /// Arms a wait for the flag value `target`, from a cleared flag.
  void prepare_wait_lcm_notification(u32 target);

  /// Waits at most `timeout_ms` (negative: without limit) for the armed value. On true `*param`,
  /// when given, receives what the notifier handed over.
  bool wait_lcm_notification(int timeout_ms, LcmNotificationParam* param);

  /// Hands `*param` over, when given, and sets `bits` of the flag.
  void update_lcm_notification(u32 bits, const LcmNotificationParam* param);

  // --- Side channel to the streaming process (lcm_request_rtsp.cpp) ---
  // Its own lock and time-out (200 ms): a side-channel request and a camera request can wait at the
  // same time.

  /// Publishes one command with `len` (at most 64) bytes of `data`, which may be null. False, with
  /// a message and nothing sent, when `cmd` is not 1 to 14 or `len` is too large.
  bool send_msg_to_rtsp(LCM_RTSP_UDP_CMD cmd, const void* data, unsigned int len);

  /// The same, and waits for the acknowledgement: true when it came in time.
  bool send_msg_rtsp_and_wait(LCM_RTSP_UDP_CMD cmd, const void* data, unsigned int len);

  /// Entry for each message of the streaming process; `data` points to at least one byte for an
  /// acknowledgement that carries a flag.
  void receive_msg_from_rtsp(LCM_RTSP_UDP_CMD cmd, const void* data);

  /// Stores the flag of an acknowledgement that carries one; called with the channel's lock held.
  void save_lcm_rtsp_result(LCM_RTSP_UDP_CMD cmd, const void* data) VLM_REQUIRES(_rtsp_mutex);

  bool send_rtsp_live_view_fps(unsigned int fps);
  bool set_rtsp_flow_control(u8 flag);
  bool set_rtsp_flow_control_debug(u8 flag);
  bool get_rtsp_flow_control(u8& flag);
  bool get_rtsp_flow_control_debug(u8& flag);

  // --- Camera operations (lcm_request_operations.cpp) ---
  // `perr`, when given, receives the result code (2: the engine was busy). `wait_noti_flag`, when
  // given, points to the notification value to arm before sending. Records and texts must not be
  // null.

  bool get_all_request_list(udp_ctrl_cam_request_list_t* list);

  bool send_capture_cmd(int* perr, unsigned int* wait_noti_flag);
  bool send_stop_capture_cmd();
  bool send_start_video_cmd();
  bool send_stop_video_cmd();
  bool set_camera_mode(u8 mode, int* perr, unsigned int* wait_noti_flag);
  bool get_camera_mode(u8& mode);
  bool get_camera_status(u8& status);
  bool set_cam_mode_lock(u8 lock);
  bool get_cam_mode_lock(u8& lock);
  bool set_capture_mode(const udp_ctrl_cam_photo_mode_t* mode);
  bool get_capture_mode(udp_ctrl_cam_photo_mode_t* mode);

  bool set_video_param(u8 fps, u16 width, u16 height);
  bool get_video_params(u8& fps, u16& width, u16& height);
  bool set_video_encode_mode(u8 mode);
  bool get_video_encode_mode(u8& mode);
  bool set_color_encoding(u8 mode);
  bool get_color_encoding(u8& mode);
  bool get_recording_time(u32& seconds);
  bool set_eis_status(u8 status);
  bool get_eis_status(u8& status);
  bool set_low_delay_stream(u8 mode);
  bool get_low_delay_stream(u8& mode);
  bool set_main_stream_framerate_divisor(const u32* divisor);
  bool get_main_stream_framerate_divisor(u32& divisor);
  bool set_2nd_stream_bitrate(u32 bitrate);
  bool set_2nd_stream_resolution(const vlm_second_stream_resolution_t* resolution);
  bool set_stream_prop(const vlm_stream_prop_t* prop);
  bool get_stream_prop(vlm_stream_prop_t* prop);

  bool set_camera_ae(u8 mode);
  bool get_camera_ae(u8& mode);
  bool set_camera_ev(u16 ev);
  bool get_camera_ev(u16& ev);
  bool get_shutter_iso(float& shutter_s, float& iso);
  bool send_shutter_iso_cmd(u16 sht_num, u16 sht_dem, u32 iso);
  bool send_shutter_cmd(u16 shutter);
  bool get_shutter_cmd(u16& shutter);
  bool send_iso_cmd(u16 iso);
  bool get_iso_cmd(u16& iso);
  bool set_meter_mode(u8 mode);
  bool get_meter_mode(u8& mode);
  bool set_spot_metering_coords(u8 x, u8 y);
  bool get_spot_metering_coords(u8& x, u8& y);
  bool set_flicker_mode(u8 mode);
  bool get_flicker_mode(u8& mode);
  bool set_iris(u16 iris);
  bool get_iris(u16& iris);

  bool send_wb_cmd(u8 mode);
  bool get_wb_mode(u8& mode);
  bool set_custom_wb(u8 wb);
  bool get_custom_wb(u8& wb);
  bool set_RGain_value(u16 gain);
  bool get_RGain_value(u16& gain);
  bool set_BGain_value(u16 gain);
  bool get_BGain_value(u16& gain);
  bool set_color_mode(u8 mode);
  bool get_color_mode(u8& mode);
  bool set_image_quality(u8 quality);
  bool get_image_quality(u8& quality);
  bool set_image_format(u8 format);
  bool get_image_format(u8& format);
  bool set_photo_ratio(u8 ratio);
  bool get_photo_ratio(u8& ratio);
  bool set_file_format(u8 format);
  bool get_file_format(u8& format);
  bool set_image_flip_type(u8 type);
  bool get_image_flip_type(u8& type);
  bool set_image_dewarp(u8 mode);
  bool get_image_dewarp(u8& mode);
  bool set_wdr_mode(u8 mode);
  bool get_wdr_mode(u8& mode);
  bool set_defog_onoff(u8 onoff);
  bool set_defog_level(u8 level);
  bool get_defog_level(u8& level);
  bool set_osd_status(u8 status);
  bool get_osd_status(u8& status);

  bool set_zoom(float zoom);
  bool get_zoom(float& zoom);
  bool set_digital_zoom(u32 zoom);
  bool get_digital_zoom(u32& zoom);
  bool set_dzoom_onoff(u32 onoff);
  bool set_zoom_control(u32 direction);
  bool set_dzoom_control(u32 direction);
  bool set_focus_control(u32 direction);
  bool set_focus(u32 position);
  /// The stored 16-bit position, widened.
  bool get_focus(u32& position);
  bool set_focus_mode(u8 mode);
  bool get_focus_mode(u8& mode);
  bool set_focus_limit(u32 limit);

  bool send_format_sdcard_cmd(u8 slot);
  bool get_sdcard_storage(u8 id, udp_ctrl_cam_sdcard_storage_t& storage);
  bool test_sdcard_speed();
  bool get_sdcard_attribute(u16& speed_mbps, u8& level, u8& space_state);
  bool get_sdcard_support_info(udp_ctrl_sdcard_support_info_t* info);
  bool set_media_folder(u8 enable_flag, const char* folder_name);
  /// `name` has room for 64 bytes; a name that fills them has no terminator.
  bool get_media_folder(u8& enable_flag, char* name);
  bool set_media_filenum_option(u8 option);
  bool get_media_filenum_option(u8& option);

  bool set_wifi_passwd(const char* password);
  bool set_wifi_ssid(const char* ssid);
  bool send_wifi_status(u8 status);
  bool send_rc_board_id(const char* id);
  bool set_country_code(const char* code);
  /// `code` has room for 10 bytes; a code that fills them has no terminator.
  bool get_country_code(char* code);

  /// `version` holds major, minor, patch and branch, lowest byte first; `name` has room for 8
  /// bytes; a name that fills them has no terminator.
  bool get_camera_version(u32& version, char* name);
  bool set_rtos_time(unsigned long long time_sec);
  bool upgrade_camera();
  bool reboot_camera();
  bool reset_cam_settings_cmd();
  bool recall_cam_settings_cmd();
  bool set_cam_settings_cmd();
  bool set_drone_platform(u16 platform);
  /// `in_prop` holds "name=value", fewer than 128 characters, in a buffer of 128 bytes, which
  /// receives the previous value; a value that fills it has no terminator. Other texts are refused
  /// with a message and nothing sent.
  bool set_property(char* in_prop);
  /// `prop` holds a name without '=' in a buffer of 128 bytes, which receives the value, likewise; a
  /// name may fill the buffer.
  bool get_property(char* prop);
  bool set_survey_mode_flag(u8 flag);
  /// Always 0 and true: the camera keeps no such flag yet, so nothing is sent.
  bool get_survey_mode_flag(u8& flag);
  /// `data` points to 15 bytes, here and in the getter.
  bool set_memory_save(const u8* data);
  bool get_memory_save(u8* data);

  // --- Thermal sensor (lcm_request_thermal.cpp) ---

  bool ir_get_camera_pn(vlm_camera_pn_info_t* info);
  bool ir_set_gain_mode(u32 mode);
  bool ir_get_gain_mode(u32& mode);
  bool ir_set_palette_type(u32 type);
  bool ir_get_palette_type(u32& type);
  bool ir_start_timed_take_photo(u32 interval_s);
  bool ir_stop_timed_take_photo();
  bool ir_set_air_params(const udp_ctrl_cam_air_params_t* params);
  bool ir_get_air_params(udp_ctrl_cam_air_params_t* params);
  bool ir_set_temperature_bar(const udp_ctrl_cam_temp_bar_range_t* range);
  bool ir_get_temperature_bar(udp_ctrl_cam_temp_bar_range_t* range);
  bool ir_set_lock_status(u32 status);
  bool ir_get_lock_status(u32& status);
  bool ir_set_ffc_run_mode(u32 mode);
  bool ir_get_ffc_run_mode(u32& mode);
  bool ir_run_ffc_normalization();
  bool ir_get_temperature_status(udp_ctrl_cam_lepton_area_temp_t* status);
  bool ir_set_radiometric_point(const vlm_radiometric_point_settings_t* point);
  bool ir_get_radiometric_point(vlm_radiometric_point_settings_t* point);
  bool ir_set_radiometric_area(const vlm_radiometric_area_settings_t* area);
  bool ir_get_radiometric_area(vlm_radiometric_area_settings_t* area);
  bool ir_set_SSO(const vlm_SSO_setting_t* sso);
  bool ir_get_SSO(vlm_SSO_setting_t* sso);
  bool ir_set_ACE(const vlm_ACE_setting_t* ace);
  bool ir_get_ACE(vlm_ACE_setting_t* ace);
  bool ir_set_DDE(const vlm_DDE_setting_t* dde);
  bool ir_get_DDE(vlm_DDE_setting_t* dde);
  bool ir_set_ROI(const vlm_radiometric_area_coordinate_t* roi);
  bool ir_get_ROI(vlm_radiometric_area_coordinate_t* roi);
  bool ir_set_digital_zoom(const udp_ctrl_cam_digital_zoom_params_t* zoom);
  bool ir_get_digital_zoom(udp_ctrl_cam_digital_zoom_params_t* zoom);
  bool ir_set_env_temp(const lepton_env_temp_t* temp);
  bool ir_get_env_temp(lepton_env_temp_t* temp);
  bool ir_set_dewarp(const vlm_thermal_dewarp_t* dewarp);
  bool ir_get_dewarp(vlm_thermal_dewarp_t* dewarp);
  bool ir_save_conf();
  bool ir_set_thermal_calibration_temp(short temp);
  bool ir_run_thermal_calibration();
  bool ir_set_fpa_calibration_temp(short temp);
  bool ir_run_fpa_calibration();
  bool ir_usb_pass_through_ctrl(int mode);

 private:
  class Request;
  friend struct LcmRequestPeer;  // lets tests look at the state and shorten the time-outs

  /// A result to hand out: `size` bytes of the store or of its module name. Unused when zero.
  struct Result {
    void* out;
    const void* field;
    std::size_t size;
  };

  static constexpr std::size_t kMostResults = 3;
  using Results = std::array<Result, kMostResults>;

  // The one pattern of all operations, see lcm_request_pattern.h. `caller` is the operation's name.
  Request ask(udp_ctrl_cam_cmds code, const char* caller = __builtin_FUNCTION());

  /// Prints a text; always true, so that it chains behind a success.
  static bool say(const char* format, ...) __attribute__((format(printf, 1, 2)));

  /// send_and_wait, which on success also copies `results` while the engine is still the caller's:
  /// no other request's answer can come in between.
  bool send_and_wait(const udp_ctrl_cam_t& cmd, int* result, const Results& results);
  bool wait_for_reply(MutexLock& lock, const udp_ctrl_cam_t& cmd, std::string_view name)
      VLM_REQUIRES(_mutex);
  void report_failure(bool answered, const udp_ctrl_cam_t& cmd, std::string_view name)
      VLM_REQUIRES(_mutex);
  /// The reply to the pending command has been recorded.
  bool is_answered() const VLM_REQUIRES(_mutex);
  void save_lcm_result(const udp_ctrl_cam_t& reply) VLM_REQUIRES(_mutex);

  bool set_rtsp_flag(LCM_RTSP_UDP_CMD cmd, u8 flag, u8 rtsp_data::*echoed, const char* name,
                     const char* caller = __builtin_FUNCTION());
  bool get_rtsp_flag(LCM_RTSP_UDP_CMD cmd, u8& flag, u8 rtsp_data::*stored, const char* name,
                     const char* caller = __builtin_FUNCTION());

  // The camera request and its result.
  Mutex _mutex;
  State _state VLM_GUARDED_BY(_mutex) = IDLE;
  int _last_cmd_type_sent VLM_GUARDED_BY(_mutex) = -1;      // -1 when none is in flight
  int _last_cmd_type_received VLM_GUARDED_BY(_mutex) = -1;  // -1 when none is pending
  u64 _lcm_request_time_start VLM_GUARDED_BY(_mutex) = 0;
  Data _data VLM_GUARDED_BY(_mutex) = Data();         // zero, its padding too
  userlcm_packet_t _packet VLM_GUARDED_BY(_mutex){};  // of each request: all but its record stays
  std::atomic<u16> m_err_code{0};                     // written under _mutex, read without it
  std::condition_variable _lcm_response_cond;         // a reply has been recorded
  std::condition_variable _lcm_ready_cond;            // the engine is idle again

  // The side channel.
  Mutex _rtsp_turn;  // one request at a time; taken before _rtsp_mutex
  Mutex _rtsp_mutex;
  int _last_rtsp_command_id_received VLM_GUARDED_BY(_rtsp_mutex) = -1;  // -1 when none is pending
  rtsp_data _rtsp_data VLM_GUARDED_BY(_rtsp_mutex){};
  std::atomic<u64> _rtsp_lcm_request_time_start{0};  // send_msg_to_rtsp takes no lock
  std::condition_variable _rtsp_cond;                // an answer has been recorded

  // Notifications: the flag has a lock of its own.
  VelmarFlagCond _lcm_notification_cond;
  std::atomic<LcmNotificationParam> _lcm_notification_param{};

  Timeouts _timeouts;  // constant while requests are under way
};

/// The one engine of the process, the only way to the camera. Initialisers of static objects may use
/// it. It is never destroyed: the listener thread may still deliver a reply while the process exits.
extern LcmRequest& lcm_request;

extern "C" {

/// LcmRequest::receive_msg on the global engine.
void lcm_request_receive_msg(udp_ctrl_cam_t* reply);
/// LcmRequest::upgrade_camera on the global engine; 1 for success, 0 otherwise.
int lcm_request_upgrade_camera();
/// LcmRequest::set_drone_platform on the global engine; 1 for success, 0 otherwise.
int lcm_request_set_drone_platform(unsigned short platform);

}  // extern "C"

#endif  // LCM_REQUEST_H
