// On the bus of this repository the directory tells who subscribes.
#include <unistd.h>

#include "bus_directory.h"
#include "camera_search.h"
#include "format.h"
#include "open_camera.h"
#include "vlm_bus.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::ctl {

bool may_have_camera() { return bus::bus_has_subscriber(kRequestChannel); }

/// The configured one, those that are the default in other sessions of the user, and the service's.
std::vector<std::string> places_of_buses() {
  const unsigned user = geteuid();
  std::vector<std::string> places;
  places.push_back(bus::BusDirectory::configured_path());
  places.push_back(host::format("/run/user/%u/vlm_bus", user));
  places.push_back(host::format("/tmp/vlm_bus-%u", user));
  places.emplace_back("/run/vlm_bus");
  return places;
}

}  // namespace vlm::ctl
