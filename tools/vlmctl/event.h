// Messages of the camera that nobody asked for, as text and as JSON.
#ifndef VLMCTL_EVENT_H
#define VLMCTL_EVENT_H

#include <string>
#include <utility>
#include <vector>

#include "vlm_userlcm_control_camera.h"

namespace vlm::ctl {

struct Event {
  std::string name;                                          // "storage", "picture" ...
  std::vector<std::pair<const char*, std::string>> details;  // names and values, these in JSON

  void add(const char* detail, const std::string& json);
};

/// Of a message of types 5 to 8.
Event event_of(const msg_from_rep_t& message);

}  // namespace vlm::ctl

#endif  // VLMCTL_EVENT_H
