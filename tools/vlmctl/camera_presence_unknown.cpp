// The board's own bus does not tell who subscribes.
#include "open_camera.h"

namespace vlm::ctl {

bool may_have_camera() { return true; }

}  // namespace vlm::ctl
