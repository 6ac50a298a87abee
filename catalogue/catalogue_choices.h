// What the numbers of the camera mean, as operators and apps are told. Several names may stand for
// one number; the first is the one that is shown.
#ifndef VLM_CATALOGUE_CHOICES_H
#define VLM_CATALOGUE_CHOICES_H

#include "catalogue.h"

namespace vlm::catalogue {

// The camera.

inline constexpr Choice kCameraModes[] = {{"video", 1}, {"photo", 2}};
// As the camera has it; the console shows recording as 1.
inline constexpr Choice kCameraStatuses[] = {{"idle", 0}, {"capturing", 2}, {"recording", 3}};
inline constexpr Choice kReadiness[] = {{"not-ready", 0}, {"ready", 1}};

// Switches whose numbers are not 0 and 1.

inline constexpr Choice kTwoIsOn[] = {{"off", 3}, {"on", 2}};
inline constexpr Choice kLowDelay[] = {{"off", 0x00}, {"on", 0x11}};

// Exposure and colour.

inline constexpr Choice kExposureModes[] = {{"auto", 0}, {"manual", 1}};
inline constexpr Choice kMeteringModes[] = {{"center", 0},
                                            {"average", 1},
                                            {"spot", 2},
                                            {"partial", 3, "reported, cannot be set", false},
                                            {"evaluative", 4, "reported, cannot be set", false}};
inline constexpr Choice kFlickerModes[] = {
    {"auto", 0, "as the apps read it"},   {"60hz", 1, "as the apps read it"},
    {"50hz", 2, "as the apps read it"},   {"off", 0, "as the console reads it"},
    {"on", 1, "as the console reads it"},
};
inline constexpr Choice kWhiteBalances[] = {
    {"auto", 0},        {"incandescent", 1},
    {"sunrise", 2},     {"sunset", 3},
    {"sunny", 4},       {"cloudy", 5},
    {"fluorescent", 7}, {"lock", 99},
    {"custom", 100},    {"manual", 100, "the apps' word for custom"},
};
inline constexpr Choice kColorModes[] = {
    {"nature", 0}, {"saturation", 1}, {"raw", 2}, {"night", 3}, {"vivid", 5, "not in the apps"}};
inline constexpr Choice kFlips[] = {{"0", 0}, {"90", 1}, {"180", 2}, {"270", 3}};
inline constexpr Choice kLevels[] = {{"low", 1}, {"middle", 2}, {"high", 3}};

// Pictures and video.

inline constexpr Choice kPhotoModes[] = {{"single", 0},
                                         {"burst", 3},
                                         {"bracket", 4, "automatic exposure bracketing"},
                                         {"horizontal-panorama", 5},
                                         {"hemispherical-panorama", 6}};
inline constexpr Choice kPhotoFormats[] = {{"jpg", 1}, {"dng", 130, "T63 only"}, {"jpg+dng", 131}};
inline constexpr Choice kPhotoQualities[] = {
    {"low", 0}, {"medium", 1}, {"high", 2}, {"ultra-high", 3}};
inline constexpr Choice kPhotoRatios[] = {
    {"3:2", 1, "offered by the apps alone"}, {"4:3", 2}, {"16:9", 3}};
inline constexpr Choice kVideoEncodings[] = {{"h264", 1}, {"h265", 3}, {"hevc", 3}};
inline constexpr Choice kVideoStandards[] = {{"ntsc", 0}, {"pal", 1}};
inline constexpr Choice kFileFormats[] = {{"mov", 0}, {"mp4", 1}};

// Lens.

inline constexpr Choice kZoomDrives[] = {{"tele", 1}, {"wide", 2}, {"stop", 3}};
inline constexpr Choice kFocusDrives[] = {{"far", 1}, {"near", 2}, {"stop", 3}};
inline constexpr Choice kFocusModes[] = {
    {"auto", 2}, {"manual", 3}, {"one-shot", 4}, {"infinity", 5}};
// Half a stop each.
inline constexpr Choice kIrises[] = {
    {"closed", 0x00}, {"f14", 0x05},  {"f11", 0x06},  {"f9.6", 0x07}, {"f8", 0x08},
    {"f6.8", 0x09},   {"f5.6", 0x0A}, {"f4.8", 0x0B}, {"f4", 0x0C},   {"f3.4", 0x0D},
    {"f2.8", 0x0E},   {"f2.4", 0x0F}, {"f2", 0x10},   {"f1.6", 0x11},
};

// Storage.

inline constexpr Choice kSlots[] = {{"external", 0}, {"internal", 3}};
inline constexpr Choice kQueriedSlots[] = {
    {"current", 255, "whichever is in use"}, {"external", 0}, {"internal", 3}};
inline constexpr Choice kFormattedSlots[] = {{"external", 0}, {"internal", 3}, {"all", 7}};
// The numbers have further names: 0 is an error, too, 2 inserted and formatted.
inline constexpr Choice kStorageStatuses[] = {
    {"removed", VLM_STORAGE_REMOVED},
    {"unrecognized", VLM_STORAGE_UNRECOGNIZED},
    {"ok", VLM_STORAGE_OK},
};
inline constexpr Choice kSpeedLevels[] = {{"low", 0}, {"high", 1}};
inline constexpr Choice kSpaces[] = {{"available", 0}, {"full", 1}};
inline constexpr Choice kNumberings[] = {{"auto-reset", 0}, {"sequential", 1}};

// Thermal sensor.

inline constexpr Choice kFfcModes[] = {{"manual", 0}, {"auto", 1}, {"external", 2}};
inline constexpr Choice kGainModes[] = {{"high", 0}, {"low", 1}, {"auto", 2}};

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_CHOICES_H
