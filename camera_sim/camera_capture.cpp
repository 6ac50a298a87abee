// Recording and series hold no timers: each call brings them up to date from the time that has
// passed since they began, so the outcome does not depend on how often anyone looks.
#include "camera_capture.h"

#include <algorithm>
#include <cstdio>

#include "catalogue_value.h"
#include "payload_bytes.h"

namespace vlm::sim {

namespace {

/// Pictures of a series that has no end of its own.
constexpr u32 kUntilStopped = 0xFFFFFFFF;
// Panoramas: pictures, and the time in which the gimbal turns to the next.
constexpr u32 kHorizontalPanorama = 9;
constexpr u32 kHemisphericalPanorama = 25;
constexpr u64 kPanoramaIntervalMs = 500;

// Values of the image format, and what a raw picture takes; a JPEG is the smallest file.
constexpr u32 kDngKib = 24 * 1024;
constexpr u32 kFormatDng = catalogue::number_of<u32>(catalogue::kPhotoFormats, "dng");
constexpr u32 kFormatJpegAndDng = catalogue::number_of<u32>(catalogue::kPhotoFormats, "jpg+dng");

/// Names have four digits.
constexpr u32 kLastFileNumber = 9999;
/// Result in the data of a picture that could not be kept.
constexpr s8 kPictureLost = -1;

}  // namespace

CameraCapture::CameraCapture(const CameraSettings& settings, CameraStorage& storage,
                             NotificationQueue& notifications)
    : _settings(settings), _storage(storage), _notifications(notifications) {}

std::optional<vlm_err_t> CameraCapture::answer(int code, const u8* in, u8* out, u64 now_ms) {
  switch (code) {
    case UDP_CTRL_CAM_GET_CAMERA_MODE: store(out, _mode); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_SET_CAMERA_MODE: return set_mode(in, now_ms);
    case UDP_CTRL_CAM_TAKE_PHOTO: return take_photo(now_ms);
    case UDP_CTRL_CAM_START_RECORD: return start_recording(now_ms);
    case UDP_CTRL_CAM_STOP_RECORD: return stop_recording();
    case UDP_CTRL_CAM_GET_CAMERA_STATUS: store(out, status()); return VLM_ERR_NONE;
    case UDP_CTRL_CAM_GET_RECORDING_TIME:
      store(out, recording_seconds(now_ms));
      return VLM_ERR_NONE;
    case UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO: return start_timed_photos(in, now_ms);
    // Stopping when nothing runs does no harm: there is no result that would tell.
    case UDP_CTRL_CAM_STOP_PHOTO:
    case UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO: _series = {}; return VLM_ERR_NONE;
    default: return std::nullopt;
  }
}

void CameraCapture::advance(u64 now_ms) {
  if (_recording) write_video(now_ms);
  while (capturing() && _series.due_ms <= now_ms) finish_picture();
}

void CameraCapture::halt() {
  _recording = false;
  _series = {};
}

void CameraCapture::restart_numbering() {
  constexpr u32 kSequential = catalogue::number_of<u32>(catalogue::kNumberings, "sequential");
  if (_settings[UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION] != kSequential) _file_number = 0;
}

u8 CameraCapture::status() const {
  if (_recording) return VLM_STATUS_ON_BUS_RECORDING;
  return capturing() ? VLM_STATUS_ON_BUS_CAPTURING : VLM_STATUS_IDLE;
}

u32 CameraCapture::recording_seconds(u64 now_ms) const {
  return _recording ? static_cast<u32>((now_ms - _recording_since_ms) / 1000) : 0;
}

std::optional<u64> CameraCapture::next_due_ms() const {
  if (!capturing()) return std::nullopt;
  return _series.due_ms;
}

/// A change to the mode in force is a change all the same, and is notified.
vlm_err_t CameraCapture::set_mode(const u8* in, u64 now_ms) {
  const catalogue::Row& row = *catalogue::find_by_code(UDP_CTRL_CAM_SET_CAMERA_MODE);
  if (!takes(row.value, in)) return row.refusal;
  if (_recording) return VLM_ERR_IS_RECORDING;
  if (capturing()) return VLM_ERR_IS_CAPTURING;
  if (_settings[UDP_CTRL_CAM_SET_CAM_MODE_LOCK] != 0) return VLM_ERR_IS_CAM_MODE_LOCKING;
  _mode = in[0];
  _notifications.add(notification(LCM_UPDATE_CAMERA_MODE, now_ms + kModeChangeMs, _mode));
  return VLM_ERR_NONE;
}

/// Needs room for a second of video at least.
vlm_err_t CameraCapture::start_recording(u64 now_ms) {
  if (_mode != kVideoMode) return VLM_ERR_IS_NOT_VIDEO_MODE;
  if (_recording) return VLM_ERR_IS_RECORDING;
  const vlm_err_t room = _storage.room_for(kVideoKibPerSecond);
  if (room != VLM_ERR_NONE) return room;
  _recording = true;
  _recording_since_ms = now_ms;
  _video_written_kib = 0;
  return VLM_ERR_NONE;
}

vlm_err_t CameraCapture::stop_recording() {
  if (!_recording) return VLM_ERR_IS_NOT_RECORDING;
  _recording = false;
  return VLM_ERR_NONE;
}

vlm_err_t CameraCapture::take_photo(u64 now_ms) {
  const vlm_err_t ready = ready_for_pictures();
  if (ready == VLM_ERR_NONE) start(planned_series(), now_ms);
  return ready;
}

/// The thermal sensor's time lapse, whatever the capture mode.
vlm_err_t CameraCapture::start_timed_photos(const u8* in, u64 now_ms) {
  const catalogue::Row& row = *catalogue::find_by_code(UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO);
  if (!takes(row.parameters[0], in)) return row.refusal;
  const vlm_err_t ready = ready_for_pictures();
  if (ready == VLM_ERR_NONE) {
    start({SeriesKind::kTimeLapse, kUntilStopped, u64{load<u32>(in)} * 1000, 0}, now_ms);
  }
  return ready;
}

/// Success, or why no picture can be begun; the kind of the series under way decides which.
vlm_err_t CameraCapture::ready_for_pictures() const {
  if (_mode != kPhotoMode) return VLM_ERR_IS_NOT_PHOTO_MODE;
  switch (_series.kind) {
    case SeriesKind::kNone: return _storage.room_for(picture_kib());
    case SeriesKind::kPictures: return VLM_ERR_IS_CAPTURING;
    case SeriesKind::kPanorama: return VLM_ERR_IS_PANORAMA_PHOTOING;
    case SeriesKind::kTimeLapse: return VLM_ERR_IS_TIMELAPSE_CAPTURING;
  }
  return VLM_ERR_FAILED;
}

/// What the capture mode asks for. A single picture with an interval is a time lapse.
CameraCapture::Series CameraCapture::planned_series() const {
  const auto mode = _settings.record<udp_ctrl_cam_photo_mode_t>(UDP_CTRL_CAM_SET_PHOTO_MODE);
  // No picture begins before the one before it is finished.
  const u64 interval_ms = std::max<u64>(mode.interval_ms, kPictureMs);
  switch (mode.capture_mode) {
    case VLM_CAPTURE_BURST:
    case VLM_CAPTURE_AEB: return {SeriesKind::kPictures, mode.photo_amount, interval_ms, 0};
    case VLM_CAPTURE_HORIZONTAL_PANORAMA:
      return {SeriesKind::kPanorama, kHorizontalPanorama, kPanoramaIntervalMs, 0};
    case VLM_CAPTURE_HEMISPHERICAL_PANORAMA:
      return {SeriesKind::kPanorama, kHemisphericalPanorama, kPanoramaIntervalMs, 0};
    default:
      if (mode.interval_ms == 0) return {SeriesKind::kPictures, 1, 0, 0};
      return {SeriesKind::kTimeLapse, kUntilStopped, interval_ms, 0};
  }
}

/// The first picture is exposed at once, whatever the interval.
void CameraCapture::start(Series series, u64 now_ms) {
  _series = series;
  _series.due_ms = now_ms + kPictureMs;
}

/// Brings the card up to date with the recording; a full card or none ends it.
void CameraCapture::write_video(u64 now_ms) {
  const u64 elapsed_ms = now_ms - _recording_since_ms;
  const u64 recorded_kib =
      elapsed_ms / 1000 * kVideoKibPerSecond + elapsed_ms % 1000 * kVideoKibPerSecond / 1000;
  const u64 owed_kib = recorded_kib - _video_written_kib;
  if (_storage.room_for(owed_kib) != VLM_ERR_NONE) _recording = false;
  _storage.write(owed_kib);
  _video_written_kib = recorded_kib;
}

/// Finishes the picture under way. Without room for it the series ends with a failed one.
void CameraCapture::finish_picture() {
  const u64 due_ms = _series.due_ms;
  if (_storage.room_for(picture_kib()) != VLM_ERR_NONE) {
    _series = {};
    _notifications.add(notification(LCM_MISC_IMAGE_INFO, due_ms, exif(kPictureLost)));
    return;
  }
  _storage.write(picture_kib());
  ++_image_index;
  _file_number = _file_number % kLastFileNumber + 1;
  _notifications.add({LCM_CAPTURE_IMAGE_RESULT, due_ms, {}});
  _notifications.add(notification(LCM_MISC_IMAGE_INFO, due_ms, exif(0)));
  if (_series.left != kUntilStopped && --_series.left == 0) {
    _series = {};
  } else {
    _series.due_ms += _series.interval_ms;
  }
}

/// Space that the next picture takes.
u32 CameraCapture::picture_kib() const {
  switch (_settings[UDP_CTRL_CAM_SET_IMAGE_FORMAT]) {
    case kFormatDng: return kDngKib;
    case kFormatJpegAndDng: return kSmallestFileKib + kDngKib;
    default: return kSmallestFileKib;
  }
}

/// Data of the newest picture: a flight to the north-east that looks around.
udp_ctrl_cam_misc_image_info_t CameraCapture::exif(s8 result) const {
  udp_ctrl_cam_misc_image_info_t info{};
  const double way = _image_index;
  info.pitch = -15.0F;
  info.yaw = static_cast<float>(_image_index * u64{15} % 360);
  info.latitude = 48.137 + way * 0.00001;
  info.longitude = 11.575 + way * 0.00002;
  info.altitude = 120.0F;
  info.image_index = _image_index;
  info.result = result;
  if (result == kPictureLost) return info;

  const auto folder = _settings.record<udp_ctrl_cam_media_folder_t>(UDP_CTRL_CAM_SET_MEDIA_FOLDER);
  const bool dng = _settings[UDP_CTRL_CAM_SET_IMAGE_FORMAT] == kFormatDng;
  char url[sizeof info.url];
  // The folder's text may fill its field; of a folder that is in force only three digits are left.
  std::snprintf(url, sizeof url, "/sdcard/DCIM/%.3sMEDIA/IMG_%04u.%s",
                folder.enable_flag != 0 ? folder.folder : "100", _file_number, dng ? "DNG" : "JPG");
  std::memcpy(info.url, url, sizeof url);
  return info;
}

}  // namespace vlm::sim
