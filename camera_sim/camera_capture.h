// Camera mode, recording and pictures of the simulated camera.
//
// Video mode records; photo mode takes pictures, one or a series of them: a burst, a bracket, a
// panorama, a time lapse, or the timed pictures of the thermal sensor. Either fills the card as
// time passes, and keeps the mode while it runs.
#ifndef CAMERA_SIM_CAMERA_CAPTURE_H
#define CAMERA_SIM_CAMERA_CAPTURE_H

#include <optional>

#include "camera_notifications.h"
#include "camera_settings.h"
#include "camera_storage.h"
#include "catalogue_choices.h"

namespace vlm::sim {

constexpr u8 kVideoMode = catalogue::number_of<u8>(catalogue::kCameraModes, "video");
constexpr u8 kPhotoMode = catalogue::number_of<u8>(catalogue::kCameraModes, "photo");

/// From the command that changes the mode to its notification.
constexpr u64 kModeChangeMs = 30;
/// From the exposure of a picture to its notification.
constexpr u64 kPictureMs = 200;
/// What a second of video takes.
constexpr u64 kVideoKibPerSecond = 7680;

class CameraCapture {
 public:
  CameraCapture(const CameraSettings& settings, CameraStorage& storage,
                NotificationQueue& notifications);

  /// Carries out the command `code` at `now_ms` as CameraSettings::answer does; no value: none of
  /// its codes.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out, u64 now_ms);
  /// Lets time pass up to `now_ms`: writes what has been recorded and finishes pictures.
  void advance(u64 now_ms);
  /// Ends recording and pictures at once, as a loss of power does.
  void halt();
  /// To be told when the card has been emptied or changed: picture numbers may start anew.
  void restart_numbering();

  u8 mode() const { return _mode; }
  bool recording() const { return _recording; }
  bool capturing() const { return _series.kind != SeriesKind::kNone; }
  /// The camera's own status byte: 0 idle, 2 capturing, 3 recording.
  u8 status() const;
  /// Length of the recording under way; 0 when there is none.
  u32 recording_seconds(u64 now_ms) const;
  u32 pictures_taken() const { return _image_index; }
  /// When the next picture will be finished.
  std::optional<u64> next_due_ms() const;

 private:
  enum class SeriesKind { kNone, kPictures, kPanorama, kTimeLapse };
  struct Series {
    SeriesKind kind = SeriesKind::kNone;
    u32 left = 0;  // pictures to come, the one under way included
    u64 interval_ms = 0;
    u64 due_ms = 0;  // of the picture under way
  };

  vlm_err_t set_mode(const u8* in, u64 now_ms);
  vlm_err_t start_recording(u64 now_ms);
  vlm_err_t stop_recording();
  vlm_err_t take_photo(u64 now_ms);
  vlm_err_t start_timed_photos(const u8* in, u64 now_ms);
  vlm_err_t ready_for_pictures() const;
  Series planned_series() const;
  void start(Series series, u64 now_ms);
  void write_video(u64 now_ms);
  void finish_picture();
  u32 picture_kib() const;
  udp_ctrl_cam_misc_image_info_t exif(s8 result) const;

  const CameraSettings& _settings;
  CameraStorage& _storage;
  NotificationQueue& _notifications;

  u8 _mode = kVideoMode;
  bool _recording = false;
  u64 _recording_since_ms = 0;
  u64 _video_written_kib = 0;  // of the recording under way
  Series _series;
  u32 _image_index = 0;  // pictures since the start
  u32 _file_number = 0;  // of the newest picture
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_CAPTURE_H
