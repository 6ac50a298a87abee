// On the bus of this repository the directory tells who subscribes.
#include <unistd.h>

#include "bus_directory.h"
#include "camera_search.h"
#include "open_camera.h"
#include "vlm_bus.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::ctl {

bool may_have_camera() { return bus::bus_has_subscriber(kRequestChannel); }

/// The configured one, those that are the default in other sessions of the user, and the service's.
std::vector<std::string> places_of_buses() {
  const std::string user = std::to_string(geteuid());
  return {bus::BusDirectory::configured_path(), "/run/user/" + user + "/vlm_bus",
          "/tmp/vlm_bus-" + user, "/run/vlm_bus"};
}

}  // namespace vlm::ctl
