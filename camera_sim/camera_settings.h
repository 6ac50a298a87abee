// The settings of the simulated camera: what a set command writes and a get command reads back.
// Two tables describe them, one of plain values and one of records; what a value may be, and which
// error refuses it, is a column there.
#ifndef CAMERA_SIM_CAMERA_SETTINGS_H
#define CAMERA_SIM_CAMERA_SETTINGS_H

#include <array>
#include <optional>
#include <vector>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"
#include "vlm_userlcm_control_camera.h"

/// The plain values, in the order of their table.
enum class Setting : u8 {
  kAeMode,
  kEv,
  kWhiteBalance,
  kMeterMode,
  kFlicker,
  kColorMode,
  kImageQuality,
  kImageFormat,
  kSystemMode,
  kEncodeMode,
  kPhotoRatio,
  kFileFormat,
  kFlip,
  kLowDelay,
  kCustomWb,
  kShutter,
  kIso,
  kWdr,
  kDronePlatform,
  kDewarp,
  kWifiStatus,
  kEis,
  kSurveyMode,
  kFramerateDivisor,
  kFilenumOption,
  kModeLock,
  kDzoomSwitch,
  kIris,
  kFocusMode,
  kDefogSwitch,
  kDefogLevel,
  kRedGain,
  kBlueGain,
  kOsd,
  kPalette,
  kLockRange,
  kFfcMode,
  kGainMode,
  kSso,
  kAce,
  kDde,
  kCalibrationTemp,
  kFpaCalibrationTemp,
  kUsbPassThrough,
  kCount
};

/// Values that the camera gives a meaning beyond keeping them.
constexpr u32 kWhiteBalanceCustom = 100;
constexpr u32 kMeterSpot = 2;
constexpr u32 kEncodeH265 = 3;
constexpr u32 kSystemPal = 1;
constexpr u32 kFilenumSequential = 1;
constexpr u32 kExposureAuto = 0;
constexpr u32 kFocusAuto = 2;

/// Streams by `vlm_stream_prop_t::stream_id`: the main one and the second one.
constexpr u32 kStreamCount = 2;

/// The settings that are records or texts, each as its payload carries it.
struct CameraRecords {
  udp_ctrl_video_t video;
  udp_ctrl_cam_photo_mode_t photo_mode;
  udp_ctrl_cam_coords_ratio_t spot;
  udp_ctrl_cam_media_folder_t folder;
  udp_ctrl_cam_shutter_t shutter;
  std::array<vlm_stream_prop_t, kStreamCount> streams;
  // Texts fill their field without a terminator where they are that long.
  char country_code[10];
  char wifi_ssid[20];
  char wifi_password[21];
  char board_id[128];
  u8 memory[15];
  udp_ctrl_cam_air_params_t air_params;
  udp_ctrl_cam_temp_bar_range_t temp_bar;
  vlm_radiometric_point_settings_t point;
  vlm_radiometric_area_settings_t area;
  vlm_radiometric_area_coordinate_t roi;
  udp_ctrl_cam_digital_zoom_params_t thermal_zoom;
  lepton_env_temp_t env_temp;
  vlm_thermal_dewarp_t thermal_dewarp;
};

/// A value: copying it saves all settings, assigning restores them. Not synchronised.
class CameraSettings {
 public:
  /// Every setting at its default.
  CameraSettings();

  /// Carries out get or set command `code`: takes the 128 bytes of `in`, leaves the answer in the
  /// zeroed 128 bytes of `out`, and returns the result. No value: the code is no setting's.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out);

  u32 operator[](Setting setting) const { return _values[static_cast<std::size_t>(setting)]; }
  const CameraRecords& records() const { return _records; }

  /// Every setting as it is: the requests that would set them so.
  std::vector<udp_ctrl_cam_t> as_requests() const;

  /// Whether recorded video may have this format under `encode_mode` and `system_mode`.
  static vlm_err_t check_video(const udp_ctrl_video_t& video, u32 encode_mode, u32 system_mode);

 private:
  std::optional<vlm_err_t> answer_plain(int code, const u8* in, u8* out);
  std::optional<vlm_err_t> answer_record(int code, const u8* in, u8* out);
  std::optional<vlm_err_t> answer_special(int code, const u8* in, u8* out);
  void get_exposure(u8* out) const;
  vlm_err_t set_exposure(const u8* in);
  vlm_err_t set_second_bitrate(u32 bitrate);
  vlm_err_t set_second_resolution(const vlm_second_stream_resolution_t& resolution);
  vlm_err_t get_stream(const u8* in, u8* out) const;
  vlm_err_t set_stream(const vlm_stream_prop_t& wanted);

  std::array<u32, static_cast<std::size_t>(Setting::kCount)> _values{};
  CameraRecords _records{};
};

#endif  // CAMERA_SIM_CAMERA_SETTINGS_H
