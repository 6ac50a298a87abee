// Looks for cameras: `vlmctl list --cameras`.
#ifndef VLMCTL_CAMERA_SEARCH_H
#define VLMCTL_CAMERA_SEARCH_H

#include <vector>

#include "session.h"

namespace vlm::ctl {

/// The cameras that answer, on the buses of this machine and on the one that `settings` name.
std::vector<FoundCamera> find_cameras(const Settings& settings);

/// Where --camera finds buses of this machine: directories, or "local" where the bus is no directory.
/// Not all need exist.
std::vector<std::string> places_of_buses();

}  // namespace vlm::ctl

#endif  // VLMCTL_CAMERA_SEARCH_H
