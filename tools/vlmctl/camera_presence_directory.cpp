// On the bus of this repository the directory tells who subscribes.
#include "open_camera.h"
#include "vlm_bus.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::ctl {

bool may_have_camera() { return bus::bus_has_subscriber(kRequestChannel); }

}  // namespace vlm::ctl
