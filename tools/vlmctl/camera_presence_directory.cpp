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
  std::vector<std::string> places;
  places.push_back(bus::BusDirectory::configured_path());
  places.push_back("/run/user/" + user + "/vlm_bus");
  places.push_back("/tmp/vlm_bus-" + user);
  places.emplace_back("/run/vlm_bus");
  return places;
}

}  // namespace vlm::ctl
