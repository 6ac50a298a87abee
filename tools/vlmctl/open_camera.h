// The way to the camera that --camera names.
#ifndef VLMCTL_OPEN_CAMERA_H
#define VLMCTL_OPEN_CAMERA_H

#include <memory>

#include "session.h"

namespace vlm::ctl {

/// The --camera that is the bus of this machine.
constexpr char kLocalBus[] = "local";

/// Throws Failure: no such way, no bus, or no camera on it.
std::unique_ptr<CameraLink> open_camera(const Settings& settings);

/// Whether a camera may be on the bus: false only where the bus can tell that there is none.
bool may_have_camera();

}  // namespace vlm::ctl

#endif  // VLMCTL_OPEN_CAMERA_H
