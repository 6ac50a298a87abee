// The table of the catalogue: a row a command, or a pair of commands that read and write one thing.
// Ascending by name. Programs that need it at compile time include this; others catalogue.h.
#ifndef VLM_CATALOGUE_TABLE_H
#define VLM_CATALOGUE_TABLE_H

#include "catalogue_fields.h"

namespace vlm::catalogue {

// What must be set first.

inline constexpr Need kPhotoModeFirst[] = {{"camera.mode", "photo", VLM_ERR_IS_NOT_PHOTO_MODE}};
inline constexpr Need kVideoModeFirst[] = {{"camera.mode", "video", VLM_ERR_IS_NOT_VIDEO_MODE}};
inline constexpr Need kUnlockedFirst[] = {{"camera.mode_lock", "off", VLM_ERR_IS_CAM_MODE_LOCKING}};
inline constexpr Need kSpotFirst[] = {{"metering.mode", "spot", VLM_ERR_IS_NOT_SPOT_METERING}};
inline constexpr Need kCustomFirst[] = {{"white_balance.mode", "custom", VLM_ERR_IS_NOT_MANUAL_WB}};

// What changes with it.

inline constexpr const char* kMovesSettings[] = {"*"};
inline constexpr const char* kMovesStatus[] = {"camera.status"};
inline constexpr const char* kMovesMode[] = {"camera.mode"};
inline constexpr const char* kMovesVersion[] = {"camera.version"};
inline constexpr const char* kMovesIsoCode[] = {"exposure.iso_code"};
inline constexpr const char* kMovesExposure[] = {"exposure"};
inline constexpr const char* kMovesZoom[] = {"lens.zoom"};
inline constexpr const char* kMovesDigitalZoom[] = {"lens.digital_zoom"};
inline constexpr const char* kMovesFocus[] = {"lens.focus"};
inline constexpr const char* kMovesStorage[] = {"storage"};
inline constexpr const char* kMovesSecondStream[] = {"stream.1"};
inline constexpr const char* kMovesVideo[] = {"video"};
inline constexpr const char* kMovesTemperatures[] = {"thermal.temperatures"};
inline constexpr const char* kMovesSensor[] = {"thermal.sensor"};

inline constexpr Row kRows[] = {
    // The camera.
    reading(group("camera.all", kSnapshot).tells("The main settings at once"),
            UDP_CTRL_CAM_GET_ALL_REQUEST),
    setting(text("camera.board_id", 128).from(1, 128).tells("Identifier of the remote control"),
            kNone, UDP_CTRL_CAM_SEND_RC_BOARD_ID),
    setting(text("camera.country", 10).from(1, 10).starts("US").tells("Country code of the radio"),
            UDP_CTRL_CAM_GET_COUNTRY_CODE, UDP_CTRL_CAM_SET_COUNTRY_CODE),
    setting(bytes("camera.memory", 15).tells("What programs keep in the camera"),
            UDP_CTRL_CAM_MEMORY_SAVE_INQ, UDP_CTRL_CAM_MEMORY_SAVE_SET),
    setting(
        choice<u8>("camera.mode", kCameraModes).starts(1).tells("Records video or takes photos"),
        UDP_CTRL_CAM_GET_CAMERA_MODE, UDP_CTRL_CAM_SET_CAMERA_MODE)
        .over_udp(VELMAR_CAMERACTRL_GET_CAMERA_MODE, VELMAR_CAMERACTRL_SET_CAMERA_MODE)
        .refuses(VLM_ERR_IS_UNSUPPORTED_CAMMODE)
        .after(kUnlockedFirst),
    setting(on_off<u8>("camera.mode_lock").open().tells("Keeps the camera mode from being changed"),
            UDP_CTRL_CAM_GET_CAM_MODE_LOCK, UDP_CTRL_CAM_SET_CAM_MODE_LOCK),
    setting(number<u16>("camera.platform").tells("Product number of the carrier"), kNone,
            UDP_CTRL_CAM_SET_DRONE_TYPE),
    action(nothing("camera.reboot").flagged(kDestructive).tells("Restarts the camera"),
           UDP_CTRL_CAM_REBOOT_DEVICE)
        .over_udp(VELMAR_MISC_REBOOT_DEVICE),
    reading(choice<u8>("camera.status", kCameraStatuses)
                .flagged(kVolatile)
                .tells("What the camera is doing"),
            UDP_CTRL_CAM_GET_CAMERA_STATUS),
    setting(number<u8>("camera.survey_mode").tells("Flag of survey flights"),
            UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG, UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG),
    setting(number<u64>("camera.time").in("s").tells("Clock, in seconds since 1970-01-01 UTC"),
            kNone, UDP_CTRL_CAM_SET_SYS_TIME)
        .over_udp(kNone, VELMAR_MISC_SET_TIME),
    reading(number<u8>("camera.type").tells("Model number, known to the UDP service alone"), kNone)
        .over_udp(VELMAR_CAMERACTRL_GET_CAMERA_TYPE, kNone),
    action(nothing("camera.upgrade")
               .flagged(kDestructive | kService)
               .tells("Installs the firmware on the card"),
           UDP_CTRL_CAM_UPGRADE_CAMERA)
        .moves(kMovesVersion),
    reading(group("camera.version", kVersion).tells("Model and firmware"),
            UDP_CTRL_CAM_GET_CAMERA_VERSION)
        .over_udp(VELMAR_MISC_GET_VER, kNone),

    // Exposure.
    setting(group("exposure", kExposure).tells("Manual exposure: time and sensitivity"),
            UDP_CTRL_CAM_GET_SHUTTER_ISO, UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_SHUTTER_ISO)
        .replies_from(offsetof(udp_ctrl_cam_shutter_iso_t, sht_num))
        .refuses(VLM_ERR_INVALID_SHUTTER_VALUE)
        .moves(kMovesIsoCode),
    setting(ratio<s8>("exposure.ev").in("EV").open().tells("Exposure compensation"),
            UDP_CTRL_CAM_GET_PARAMS_EV, UDP_CTRL_CAM_SET_PARAMS_EV)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_EV),
    setting(number<u16>("exposure.iso_code").starts(100).tells("Sensitivity, as the sensor has it"),
            UDP_CTRL_CAM_GET_ISO, UDP_CTRL_CAM_SET_ISO)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_ISO)
        .moves(kMovesExposure),
    setting(choice<u8>("exposure.mode", kExposureModes).tells("Who chooses the exposure"),
            UDP_CTRL_CAM_GET_AE_MODE, UDP_CTRL_CAM_SET_AE_MODE)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_AEMODE)
        .refuses(VLM_ERR_IS_UNKOWN_AEMODE),
    setting(number<u16>("exposure.shutter_code").tells("Exposure time, as the sensor has it"),
            UDP_CTRL_CAM_GET_SHUTTER, UDP_CTRL_CAM_SET_SHUTTER)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_SHUTTER),

    // The picture.
    setting(choice<u8>("image.color_mode", kColorModes).tells("Style of colours"),
            UDP_CTRL_CAM_GET_COLOR_MODE, UDP_CTRL_CAM_SET_COLOR_MODE)
        .over_udp(VELMAR_CAMERACTRL_GET_IQ_TYPE, VELMAR_CAMERACTRL_SET_IQ_TYPE),
    setting(on_off<u8>("image.defog", kTwoIsOn).starts(3).tells("Defogging"), kNone,
            UDP_CTRL_CAM_SET_DEFOG_ONOFF),
    setting(choice<u8>("image.defog_level", kLevels).starts(1).tells("Strength of the defogging"),
            UDP_CTRL_CAM_GET_DEFOG_LEVEL, UDP_CTRL_CAM_SET_DEFOG_LEVEL),
    setting(on_off<u8>("image.dewarp").tells("Straightens what the lens bends"),
            UDP_CTRL_CAM_GET_IMAGE_DEWARP, UDP_CTRL_CAM_SET_IMAGE_DEWARP),
    setting(choice<u8>("image.flicker", kFlickerModes)
                .tells("Against flickering light; the console and the apps read its numbers "
                       "differently"),
            UDP_CTRL_CAM_GET_FLICKER_MODE, UDP_CTRL_CAM_SET_FLICKER_MODE)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_FLICKER_MODE),
    setting(choice<u8>("image.flip", kFlips).in("deg").tells("Turns the picture"),
            UDP_CTRL_CAM_GET_IMAGE_FLIP, UDP_CTRL_CAM_SET_IMAGE_FLIP),
    setting(on_off<u8>("image.osd").tells("Shows data in the picture"), UDP_CTRL_CAM_GET_OSD_STATUS,
            UDP_CTRL_CAM_SET_OSD_STATUS),
    setting(on_off<u8>("image.wdr").open().tells("Wide dynamic range"), UDP_CTRL_CAM_GET_WDR_MODE,
            UDP_CTRL_CAM_SET_WDR_MODE),

    // The lens.
    action(nothing("lens.autofocus").tells("Focuses once"), UDP_CTRL_CAM_AUTO_FOCUS)
        .moves(kMovesFocus),
    setting(number<u32>("lens.digital_zoom")
                .from(VLM_DIGITAL_ZOOM_LEAST, VLM_DIGITAL_ZOOM_MOST)
                .starts(VLM_DIGITAL_ZOOM_LEAST)
                .tells("Digital zoom"),
            UDP_CTRL_CAM_GET_DIGITAL_ZOOM, UDP_CTRL_CAM_SET_DIGITAL_ZOOM),
    action(nothing("lens.digital_zoom_drive").tells("Moves the digital zoom until stopped"),
           UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP)
        .asks(kDriveZoom)
        .moves(kMovesDigitalZoom),
    setting(
        on_off<u32>("lens.digital_zoom_enabled", kTwoIsOn).starts(2).tells("Digital zoom at all"),
        kNone, UDP_CTRL_CAM_DZOOM_ONOFF),
    setting(number<u32>("lens.focus")
                .from(VLM_FOCUS_FAR_END, VLM_FOCUS_NEAR_END)
                .starts(0x4000)
                .tells("Position of the focus, from far to near"),
            UDP_CTRL_CAM_GET_FOCUS, UDP_CTRL_CAM_SET_FOCUS),
    action(nothing("lens.focus_drive").tells("Moves the focus until stopped"),
           UDP_CTRL_CAM_FOCUS_FAR_NEAR_STOP)
        .asks(kDriveFocus)
        .moves(kMovesFocus),
    setting(number<u32>("lens.focus_limit")
                .from(VLM_FOCUS_FAR_END, VLM_FOCUS_NEAR_END)
                .starts(VLM_FOCUS_NEAR_END)
                .tells("Nearest position that the focus may take"),
            kNone, UDP_CTRL_CAM_SET_FOCUS_LIMITE)
        .moves(kMovesFocus),
    setting(choice<u8>("lens.focus_mode", kFocusModes).starts(2).tells("Who chooses the focus"),
            UDP_CTRL_CAM_GET_FOCUS_MODE, UDP_CTRL_CAM_SET_FOCUS_MODE),
    setting(choice<u16>("lens.iris", kIrises).starts(0x0A).tells("Aperture"), UDP_CTRL_CAM_GET_IRIS,
            UDP_CTRL_CAM_SET_IRIS),
    setting(number<float>("lens.zoom")
                .in("x")
                .from(VLM_ZOOM_LEAST, VLM_ZOOM_MOST)
                .starts(VLM_ZOOM_LEAST)
                .tells("Optical zoom"),
            UDP_CTRL_CAM_GET_ZOOM, UDP_CTRL_CAM_SET_ZOOM),
    action(nothing("lens.zoom_drive").tells("Moves the optical zoom until stopped"),
           UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP)
        .asks(kDriveZoom)
        .moves(kMovesZoom),

    // Metering.
    setting(choice<u8>("metering.mode", kMeteringModes).tells("Where the exposure is measured"),
            UDP_CTRL_CAM_GET_METER_MODE, UDP_CTRL_CAM_SET_METER_MODE)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_METER_MODE)
        .refuses(VLM_ERR_IS_INVALID_METER),
    setting(group("metering.spot", kSpot, ",").tells("The spot that is measured"),
            UDP_CTRL_CAM_GET_SPOT_METERING_COORDS, UDP_CTRL_CAM_SET_SPOT_METERING_COORDS)
        .over_udp(VELMAR_CAMERACTRL_GET_SPOT_METERING_COORDS,
                  VELMAR_CAMERACTRL_SET_SPOT_METERING_COORDS)
        .after(kSpotFirst),

    // Photos.
    setting(group("photo", kPhoto).tells("What a capture takes"), UDP_CTRL_CAM_GET_PHOTO_MODE,
            UDP_CTRL_CAM_SET_PHOTO_MODE)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_PHOTO_MODE)
        .refuses(VLM_ERR_UNSUPPORTED_PHOTO_MODE),
    setting(choice<u8>("photo.format", kPhotoFormats).starts(1).tells("Files of a photo"),
            UDP_CTRL_CAM_GET_IMAGE_FORMAT, UDP_CTRL_CAM_SET_IMAGE_FORMAT)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_PHOTO_FORMAT)
        .refuses(VLM_ERR_UNSUPPORTED_PHOTO_FORMAT),
    setting(choice<u8>("photo.quality", kPhotoQualities).starts(2).tells("Quality of the JPEG"),
            UDP_CTRL_CAM_GET_IMAGE_QUALITY, UDP_CTRL_CAM_SET_IMAGE_QUALITY)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_PHOTO_QUALITY),
    setting(choice<u8>("photo.ratio", kPhotoRatios).starts(2).tells("Width to height"),
            UDP_CTRL_CAM_GET_PHOTO_RATIO, UDP_CTRL_CAM_SET_PHOTO_RATIO)
        .over_udp(VELMAR_CAMERACTRL_GET_PHOTO_RATIO, VELMAR_CAMERACTRL_SET_PHOTO_RATIO),
    action(nothing("photo.stop").tells("Ends a series of photos"), UDP_CTRL_CAM_STOP_PHOTO)
        .over_udp(VELMAR_CAMERACTRL_STOP_PHOTO)
        .moves(kMovesStatus),
    action(nothing("photo.take").tells("Takes a photo, or begins a series"),
           UDP_CTRL_CAM_TAKE_PHOTO)
        .over_udp(VELMAR_CAMERACTRL_TAKE_PHOTO)
        .after(kPhotoModeFirst)
        .moves(kMovesStatus),
    action(nothing("photo.timed_start").flagged(kThermal).tells("Takes photos at an interval"),
           UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO)
        .asks(kInterval)
        .after(kPhotoModeFirst)
        .moves(kMovesStatus),
    action(nothing("photo.timed_stop").flagged(kThermal).tells("Ends them"),
           UDP_CTRL_CAM_STOP_TIMED_TAKE_PHOTO)
        .moves(kMovesStatus),

    // Properties.
    action(text("property.get", 128).tells("Reads a named property"), UDP_CTRL_CAM_GET_PROPERTY)
        .asks(kAskProperty),
    action(text("property.set", 128).tells("Writes a named property; the result is what it was"),
           UDP_CTRL_CAM_SET_PROPERTY)
        .asks(kAssignProperty),

    // Recording.
    action(nothing("recording.start").tells("Begins to record"), UDP_CTRL_CAM_START_RECORD)
        .over_udp(VELMAR_CAMERACTRL_RECORD_START)
        .after(kVideoModeFirst)
        .moves(kMovesStatus),
    action(nothing("recording.stop").tells("Ends the recording"), UDP_CTRL_CAM_STOP_RECORD)
        .over_udp(VELMAR_CAMERACTRL_RECORD_STOP)
        .moves(kMovesStatus),
    reading(number<u32>("recording.time")
                .in("s")
                .flagged(kVolatile)
                .tells("Length of the recording under way"),
            UDP_CTRL_CAM_GET_RECORDING_TIME),

    // Settings as a whole.
    action(nothing("settings.recall").tells("Brings back what settings.store kept"),
           UDP_CTRL_CAM_CUSTOM_RECALL)
        .moves(kMovesSettings),
    action(nothing("settings.reset")
               .flagged(kDestructive | kService)
               .tells("Every setting as it was delivered"),
           UDP_CTRL_CAM_RESET_CAMERA_SETTINGS)
        .over_udp(VELMAR_MISC_RESET_SETTINGS)
        .moves(kMovesSettings),
    action(nothing("settings.store").tells("Keeps the settings for settings.recall"),
           UDP_CTRL_CAM_CUSTOM_SET),

    // Storage.
    reading(group("storage", kStorage).flagged(kVolatile).tells("The card"),
            UDP_CTRL_CAM_GET_SDCARD_STORAGE)
        .asks(kAskSlot),
    reading(group("storage.card", kCard).flagged(kVolatile).tells("What the card can do"),
            UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE),
    setting(group("storage.folder", kFolder).tells("Where files go"), UDP_CTRL_CAM_GET_MEDIA_FOLDER,
            UDP_CTRL_CAM_SET_MEDIA_FOLDER)
        .refuses(VLM_ERR_WRONG_DIRNAME),
    action(nothing("storage.format")
               .flagged(kDestructive | kService)
               .tells("Erases a card; over UDP always the external one"),
           UDP_CTRL_CAM_FORMAT_SDCARD)
        .over_udp(VELMAR_MISC_FORMAT_SDCARD)
        .asks(kFormatSlot)
        .moves(kMovesStorage),
    reading(group("storage.maker", kMaker).tells("Who made the card"),
            UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO),
    setting(choice<u8>("storage.numbering", kNumberings)
                .starts(1)
                .tells("Whether the numbers of files begin anew on an empty card"),
            UDP_CTRL_CAM_GET_MEDIA_FILENUM_OPTION, UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION),
    action(nothing("storage.speed_test").tells("Measures the card"),
           UDP_CTRL_CAM_TEST_T_CARD_SPEED),

    // Streams.
    setting(group("stream.0", kMainStream).tells("The main stream"), UDP_CTRL_CAM_GET_STREAM_PROP,
            UDP_CTRL_CAM_SET_STREAM_PROP)
        .asks(kAskMainStream),
    setting(number<u32>("stream.0.framerate_divisor")
                .from(1, 4294967295.0)
                .starts(1)
                .tells("Every so many frames are sent"),
            UDP_CTRL_CAM_GET_MAIN_STREAM_FRAMERATE_DIVISOR,
            UDP_CTRL_CAM_SET_MAIN_STREAM_FRAMERATE_DIVISOR),
    setting(group("stream.1", kSecondStream).tells("The second stream"),
            UDP_CTRL_CAM_GET_STREAM_PROP, UDP_CTRL_CAM_SET_STREAM_PROP)
        .asks(kAskSecondStream),
    setting(number<u32>("stream.second_bitrate")
                .in("bit/s")
                .from(1, 4294967295.0)
                .starts(2000000)
                .tells("Of the second stream, by the command of its own"),
            kNone, UDP_CTRL_CAM_SET_SECOND_STREAM_BITRATE)
        .moves(kMovesSecondStream),
    setting(group("stream.second_size", kSecondStreamSize, "x")
                .tells("Of the second stream, by the command of its own"),
            kNone, UDP_CTRL_CAM_SET_SECOND_STREAM_RESOLUTION)
        .refuses(VLM_ERR_UNSUPPORTED_VFMT)
        .moves(kMovesSecondStream),

    // The thermal sensor.
    setting(number<s16>("thermal.ace").in("", 100).flagged(kThermal).tells("Contrast enhancement"),
            UDP_CTRL_CAM_GET_ACE, UDP_CTRL_CAM_SET_ACE),
    setting(group("thermal.air", kAir).flagged(kThermal).tells("Between scene and camera"),
            UDP_CTRL_CAM_GET_AIR_PARAMS, UDP_CTRL_CAM_SET_AIR_PARAMS),
    setting(group("thermal.area", kArea)
                .flagged(kThermal)
                .tells("The area whose temperatures are told"),
            UDP_CTRL_CAM_GET_RADIOMETRIC_AREA, UDP_CTRL_CAM_SET_RADIOMETRIC_AREA)
        .moves(kMovesTemperatures),
    action(nothing("thermal.calibrate")
               .flagged(kThermal | kDestructive | kService)
               .tells("Calibrates the sensor at its calibration temperature"),
           UDP_CTRL_CAM_RUN_THERMAL_CALI)
        .moves(kMovesSensor),
    action(nothing("thermal.calibrate_fpa")
               .flagged(kThermal | kDestructive | kService)
               .tells("Calibrates the focal plane at its calibration temperature"),
           UDP_CTRL_CAM_RUN_FPA_THERMAL_CALI)
        .moves(kMovesSensor),
    setting(number<s16>("thermal.calibration_temperature")
                .flagged(kThermal | kService)
                .tells("For thermal.calibrate"),
            kNone, UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP),
    setting(number<s16>("thermal.dde").in("", 100).flagged(kThermal).tells("Detail enhancement"),
            UDP_CTRL_CAM_GET_DDE, UDP_CTRL_CAM_SET_DDE),
    setting(group("thermal.dewarp", kThermalDewarp)
                .flagged(kThermal)
                .tells("Straightens what the lens bends"),
            UDP_CTRL_CAM_GET_TH_DEWARP, UDP_CTRL_CAM_SET_TH_DEWARP),
    setting(group("thermal.environment", kEnvironment)
                .flagged(kThermal)
                .tells("Temperature of the surroundings"),
            UDP_CTRL_CAM_GET_TH_ENV_TEMP, UDP_CTRL_CAM_SET_TH_ENV_TEMP)
        .moves(kMovesTemperatures),
    action(nothing("thermal.ffc").flagged(kThermal).tells("Flat-field correction, now"),
           UDP_CTRL_CAM_RUN_FFC_NORMALIZATION),
    setting(choice<u32>("thermal.ffc_mode", kFfcModes)
                .starts(1)
                .flagged(kThermal)
                .tells("What triggers the flat-field correction"),
            UDP_CTRL_CAM_GET_RUN_FFC_MODE, UDP_CTRL_CAM_SET_RUN_FFC_MODE),
    setting(number<s16>("thermal.fpa_calibration_temperature")
                .flagged(kThermal | kService)
                .tells("For thermal.calibrate_fpa"),
            kNone, UDP_CTRL_CAM_SET_FPA_THERMAL_CALI_TEMP),
    setting(
        choice<u32>("thermal.gain", kGainModes).starts(2).flagged(kThermal).tells("Sensitivity"),
        UDP_CTRL_CAM_GET_GAIN_MODE, UDP_CTRL_CAM_SET_GAIN_MODE),
    setting(number<u32>("thermal.palette").flagged(kThermal).tells("Colours, by number"),
            UDP_CTRL_CAM_GET_PALETTE_TYPE, UDP_CTRL_CAM_SET_PALETTE_TYPE),
    setting(group("thermal.point", kPoint)
                .flagged(kThermal)
                .tells("The point whose temperature is told"),
            UDP_CTRL_CAM_GET_RADIOMETRIC_POINT, UDP_CTRL_CAM_SET_RADIOMETRIC_POINT),
    setting(on_off<u32>("thermal.range_lock")
                .flagged(kThermal)
                .tells("Locks the range of the temperature bar"),
            UDP_CTRL_CAM_GET_LOCK_RANGE_STATE, UDP_CTRL_CAM_SET_LOCK_RANGE_STATE)
        .moves(kMovesTemperatures),
    setting(group("thermal.roi", kRoi).flagged(kThermal).tells("Region that controls the picture"),
            UDP_CTRL_CAM_GET_ROI, UDP_CTRL_CAM_SET_ROI),
    action(nothing("thermal.save")
               .flagged(kThermal | kService)
               .tells("Keeps the thermal settings over a restart"),
           UDP_CTRL_CAM_TH_SAVE_CONF),
    reading(group("thermal.sensor", kSensor).flagged(kThermal).tells("The sensor's data sheet"),
            UDP_CTRL_CAM_GET_CAMERA_PN_INFO),
    setting(number<s8>("thermal.sso").flagged(kThermal).tells("Scene optimization"),
            UDP_CTRL_CAM_GET_SSO, UDP_CTRL_CAM_SET_SSO),
    setting(group("thermal.temperature_bar", kTemperatureBar)
                .flagged(kThermal)
                .tells("Range of the colours"),
            UDP_CTRL_CAM_GET_TEMPERATURE_BAR, UDP_CTRL_CAM_SET_TEMPERATURE_BAR)
        .moves(kMovesTemperatures),
    reading(group("thermal.temperatures", kTemperatures)
                .flagged(kThermal | kVolatile)
                .tells("Measured temperatures"),
            UDP_CTRL_CAM_GET_TEMPERATURE_STATUS),
    setting(number<s32>("thermal.usb_pass_through")
                .flagged(kThermal | kService)
                .tells("Gives the sensor's USB to the outside"),
            kNone, UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL),
    setting(
        group("thermal.zoom", kThermalZoom).flagged(kThermal).tells("Digital zoom of the sensor"),
        UDP_CTRL_CAM_GET_TH_DIGITAL_ZOOM, UDP_CTRL_CAM_SET_TH_DIGITAL_ZOOM),

    // Video.
    setting(group("video", kVideo, "x@").tells("Size and rate of the recorded video"),
            UDP_CTRL_CAM_GET_PARAMS_VIDEO, UDP_CTRL_CAM_SET_PARAMS_VIDEO)
        .over_udp(VELMAR_CAMERACTRL_GET_VIDEO, VELMAR_CAMERACTRL_SET_VIDEO)
        .refuses(VLM_ERR_UNSUPPORTED_VFMT),
    setting(choice<u8>("video.encoding", kVideoEncodings).starts(1).tells("Compression"),
            UDP_CTRL_CAM_GET_VIDEO_ENCODE_MODE, UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE)
        .over_udp(VELMAR_CAMERACTRL_GET_VIDEO_ENCODE_MODE, VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE),
    setting(choice<u8>("video.file_format", kFileFormats).starts(1).tells("Files of recordings"),
            UDP_CTRL_CAM_GET_FILE_FORMAT, UDP_CTRL_CAM_SET_FILE_FORMAT)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_FILE_TYPE),
    setting(on_off<u8>("video.low_delay", kLowDelay).tells("Streams with less delay"),
            UDP_CTRL_CAM_GET_LOWDELAY_STREAM, UDP_CTRL_CAM_SET_LOWDELAY_STREAM),
    setting(on_off<u8>("video.stabilization").open().tells("Electronic image stabilization"),
            UDP_CTRL_CAM_GET_EIS_STATUS, UDP_CTRL_CAM_SET_EIS_STATUS),
    setting(choice<u8>("video.standard", kVideoStandards).tells("Television standard"),
            UDP_CTRL_CAM_GET_SYSTEM_MODE, UDP_CTRL_CAM_SET_SYSTEM_MODE)
        .over_udp(VELMAR_CAMERACTRL_GET_SYSTEM_MODE, VELMAR_CAMERACTRL_SET_SYSTEM_MODE)
        .refuses(VLM_ERR_IS_UNSUPPORTED_SYSMODE),

    // White balance.
    setting(number<u16>("white_balance.blue_gain").starts(256).tells("Gain of blue"),
            UDP_CTRL_CAM_GET_BGAIN_VALUE, UDP_CTRL_CAM_SET_BGAIN),
    setting(number<u8>("white_balance.custom")
                .in("hundred K")
                .from(30, 80)
                .starts(55)
                .open()
                .tells("Colour temperature; the console sends the low byte of one in kelvins"),
            UDP_CTRL_CAM_GET_CUSTOM_WB, UDP_CTRL_CAM_SET_CUSTOM_WB)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_MANUAL_WB)
        .refuses(VLM_ERR_INVALID_MANUAL_WB_TYPE)
        .after(kCustomFirst),
    setting(choice<u8>("white_balance.mode", kWhiteBalances).tells("Kind of light"),
            UDP_CTRL_CAM_GET_WB_MODE, UDP_CTRL_CAM_SET_PARAMS_WB)
        .over_udp(VELMAR_CAMERACTRL_GET_AWB_MODE, VELMAR_CAMERACTRL_SET_AWB_MODE)
        .refuses(VLM_ERR_IS_INVALID_AWB),
    setting(number<u16>("white_balance.red_gain").starts(256).tells("Gain of red"),
            UDP_CTRL_CAM_GET_RGAIN_VALUE, UDP_CTRL_CAM_SET_RGAIN),

    // Wi-Fi.
    setting(text("wifi.name", 20).from(1, 20).starts("VLMSIM").tells("Name of the network"), kNone,
            UDP_CTRL_CAM_SET_WIFI_SSID)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_DRONE_NAME)
        .refuses(VLM_ERR_INVALID_DRONENAME),
    setting(text("wifi.password", 21)
                .from(1, 21)
                .starts("12345678")
                .flagged(kSecret)
                .tells("Password of the network; over UDP at most 20 characters"),
            kNone, UDP_CTRL_CAM_SET_WIFI_PASSWORD)
        .over_udp(kNone, VELMAR_CAMERACTRL_SET_DRONE_PASSWORD)
        .refuses(VLM_ERR_INVALID_DRONEPWD),
    setting(choice<u8>("wifi.status", kReadiness).tells("Tells the camera whether Wi-Fi is ready"),
            kNone, UDP_CTRL_CAM_SEND_WIFI_STATUS),
};

inline constexpr char kNoPayloadDefined[] = "what its payload holds is defined nowhere";

inline constexpr Exception kExceptions[] = {
    {UDP_CTRL_CAM_GET_WIFI_FREQ_SEL, kNoPayloadDefined},
    {UDP_CTRL_CAM_SET_WIFI_FREQ_SEL, kNoPayloadDefined},
    {UDP_CTRL_CAM_GET_WIFI_CHANNEL, kNoPayloadDefined},
    {UDP_CTRL_CAM_SET_WIFI_CHANNEL, kNoPayloadDefined},
    {UDP_CTRL_CAM_GET_MAX_GAIN, kNoPayloadDefined},
    {UDP_CTRL_CAM_SET_MAX_GAIN, kNoPayloadDefined},
    {UDP_CTRL_CAM_GET_VIDEO_ENCRYPT, kNoPayloadDefined},
    {UDP_CTRL_CAM_SET_VIDEO_ENCRYPT, kNoPayloadDefined},
    {UDP_CTRL_CAM_GET_VIDEO_PASSWD, kNoPayloadDefined},
    {UDP_CTRL_CAM_SET_VIDEO_PASSWD, kNoPayloadDefined},
};

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_TABLE_H
