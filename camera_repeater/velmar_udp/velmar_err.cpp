#include "velmar_err.h"

#include <cstdio>
#include <cstring>

#include "velmar_table.h"
#include "vlm_camera_codes.h"

namespace {

struct ErrorText {
  int code;
  const char* text;
};

// Scripts match these texts, misspellings and the newline of 29 included.
constexpr ErrorText kErrorTexts[] = {
    {VLM_ERR_NONE, "VLM success"},
    {VLM_ERR_UNSUPPORTED_COMMAND, "VLM unsupported command"},
    {VLM_ERR_BUSY, "VLM busy"},
    {VLM_ERR_FAILED, "VLM failed"},
    {VLM_ERR_PERMISSION_DENIED, "VLM permission denied"},
    {VLM_ERR_IS_RECORDING, "VLM is recording"},
    {VLM_ERR_IS_NOT_RECORDING, "VLM is not recording"},
    {VLM_ERR_IS_STREAMING, "VLM is streaming"},
    {VLM_ERR_IS_NOT_STREAMING, "VLM is not streaming"},
    {VLM_ERR_IS_CAPTURING, "VLM is capturing"},
    {VLM_ERR_IS_VIDEO_MODE, "VLM is video mode"},
    {VLM_ERR_IS_NOT_VIDEO_MODE, "VLM is not video mode"},
    {VLM_ERR_IS_PHOTO_MODE, "VLM is photo mode"},
    {VLM_ERR_IS_NOT_PHOTO_MODE, "VLM is not photo mode"},
    {VLM_ERR_IS_SAME_VFMT, "VLM is same vfmt"},
    {VLM_ERR_UNSUPPORTED_VFMT, "VLM is unsupported vfmt"},
    {VLM_ERR_IS_UNKOWN_AEMODE, "VLM is unknow aemode"},
    {VLM_ERR_IS_INVALID_DEN, "VLM is invalid den"},
    {VLM_ERR_IS_EXPOSURE_AUTO, "VLM is auto exposure"},
    {VLM_ERR_IS_EXPOSURE_MANU, "VLM is manual exposure"},
    {VLM_ERR_IS_INVALID_ISO, "VLM is invalid ISO"},
    {VLM_ERR_IS_INVALID_EV, "VLM is invalid EV"},
    {VLM_ERR_IS_FORMATE_FAIL, "VLM is format fail"},
    {VLM_ERR_IS_INVALID_AWB, "VLM is invalid awb"},
    {VLM_ERR_IS_UNSUPPORTED_CAMMODE, "VLM is unsupported cammode"},
    {VLM_ERR_IS_INVALID_METER, "VLM is invalid meter"},
    {VLM_ERR_IS_TIMEOUT, "VLM is timeout"},
    {VLM_ERR_PROTOCOL, "VLM err protocol"},
    {VLM_ERR_DATA_LENGTH_MISMATCH, "VLM data length mismatch"},
    {VLM_ERR_DELETE_ALBUM_RESOURCE, "VLM delete album resource err\n"},
    {VLM_ERR_OPENDIR_ERR, "VLM opendir err"},
    {VLM_ERR_OPEN_FCABIN_ERR, "VLM open fca bin err"},
    {VLM_ERR_VERIFY_FCABIN_ERR, "VLM verify fca bin err"},
    {VLM_ERR_OPEN_ESCABIN_ERR, "VLM open esc bin err"},
    {VLM_ERR_VERIFY_ESCABIN_ERR, "VLM verify esc bin err"},
    {VLM_ERR_UNSUPPORTED_PHOTO_FORMAT, "VLM unsupported photo format"},
    {VLM_ERR_UNSUPPORTED_AEB_PHOTO_NUMBER, "VLM unsupported aeb photo number"},
    {VLM_ERR_UNSUPPORTED_BURST_INTERVAL_VALUE, "VLM unsupported burst interval value"},
    {VLM_ERR_UNSUPPORTED_BURST_PHOTO_NUMBER, "VLM unsupported burst photo number"},
    {VLM_ERR_UNSUPPORTED_PHOTO_MODE, "VLM unsupported photo mode"},
    {VLM_ERR_IS_NO_SPACE, "VLM is no space"},
    {VLM_ERR_IS_TIMELAPSE_CAPTURING, "VLM is timelapse capturing"},
    {VLM_ERR_CAMERA_NOT_INITIAL, "VLM is not initial"},
    {VLM_ERR_INVALID_SHUTTER_VALUE, "VLM is invalid shutter value"},
    {VLM_ERR_INVALID_AUDIO_VOLUME, "VLM err invalid audio volue"},
    {VLM_ERR_IS_UPGRADING_QUORIN_CAMERA, "VLM err is upgrading quorin camera"},
    {VLM_ERR_IS_UPGRADING_QUORIN_FC, "VLM err is upgrading quorin fc"},
    {VLM_ERR_IS_UPGRADING_QUORIN_ESC, "VLM err is upgrading quorin esc"},
    {VLM_ERR_IS_UPGRADING_QUORIN_UNKNOW, "VLM err is upgrading quorin unknow"},
    {VLM_ERR_INVALID_DRONEPWD, "VLM err is invalid camera passwd"},
    {VLM_ERR_IS_NOT_SPOT_METERING, "VLM err is not spot metering mode"},
    {VLM_ERR_IS_NOT_MANUAL_WB, "VLM err is not manual wb"},
    {VLM_ERR_INVALID_MANUAL_WB_TYPE, "VLM err is invalid manual wb"},
    {VLM_ERR_SDCARD_NOT_READY, "VLM err sdcard is not ready"},
    {VLM_ERR_GET_VIDEO, "VLM err get video param"},
    {VLM_ERR_GET_PHOTO, "VLM err get photo param"},
    {VLM_ERR_IS_INVALID_PARAM, "VLM err invalid param"},
    {VLM_ERR_SDCARD_IS_FULL, "VLM err no enough sdcard space"},
    {VLM_ERR_VIDEO_FMT_IN_H265, "VLM err not support 4KP48/50/60 in H265"},
    {VLM_ERR_100FPS_PAL, "VLM err not support 100fps in PAL"},
    {VLM_ERR_UNSUPPORT_ROTATE_RES, "Not support rotate in the res"},
    {VLM_ERR_IS_PANORAMA_PHOTOING, "Camera is in panorama photoing"},
    {VLM_ERR_CAMERA_FIRMWARE_VER_INVALID, "Invalid camera firmware version"},
    {VLM_ERR_CAMERA_FIRMWARE_NAME_INVALID, "Invalid camera firmware name"},
    {VLM_ERR_NOT_EXPOSURE_AUTO_MODE, "VLM is not auto exposure mode"},
    {VLM_ERR_WRONG_DIRNAME, "dirname range must be 101~999"},
    {VLM_ERR_OUTDATED_DIRNAME, "dirname is outdated or exists"},
    {VLM_ERR_CREATDIR_FAILED, "create dirname failed"},
    {VLM_ERR_IN_TRACKING, "operation is not supported in visual tracking mode"},
    {VLM_ERR_IN_RECOGNITION, "operation is not supported in face/gesture recognition mode"},
    {VLM_ERR_IN_AUTOCAP, "operation fail in auto capture mode"},
    {VLM_ERR_IS_CAM_MODE_LOCKING, "VLM err is camera mode locking"},
};
static_assert(is_ascending_by_code(kErrorTexts));

thread_local char vlm_unknown_err[50];

}  // namespace

const char* vlm_strerr(int err) {
  const ErrorText* const row = find_by_code(kErrorTexts, err);
  if (row != nullptr) return row->text;
  // Callers may copy the whole buffer: nothing of a longer number stays behind a shorter one.
  std::memset(vlm_unknown_err, 0, sizeof vlm_unknown_err);
  std::snprintf(vlm_unknown_err, sizeof vlm_unknown_err, "VLM unknown error number:%d", err);
  return vlm_unknown_err;
}
