// What a camera says it is: the value of camera.version.
#ifndef VLMCTL_CAMERA_VERSION_H
#define VLMCTL_CAMERA_VERSION_H

#include <string>

#include "catalogue_value.h"

namespace vlm::ctl {

/// "VLMSIM"; "?" where it is not told.
std::string model_text(const catalogue::Value& version);
/// "1.4.0R"
std::string firmware_text(const catalogue::Value& version);

}  // namespace vlm::ctl

#endif  // VLMCTL_CAMERA_VERSION_H
