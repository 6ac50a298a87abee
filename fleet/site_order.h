// The command line of `vlmctl --site SITE ...`: a command for all cameras of a site, or their list.
#ifndef FLEET_SITE_ORDER_H
#define FLEET_SITE_ORDER_H

#include <cstddef>
#include <string>
#include <vector>

namespace vlm::fleet {

struct SiteOrder {
  std::string site;  // an address, or the name of a site of VLM_BUS's broker
  bool all_cameras = false;
  bool names_camera = false;  // also --camera
  bool lists = false;         // list --cameras
  bool json = false;
  std::string command;
  std::vector<std::string> words;  // what each camera's vlmctl gets
};

/// Reads the words behind the program's name; the command stands at `command`, and the options before
/// it are known to be right.
SiteOrder parse_site_order(const std::vector<std::string>& line, std::size_t command);

}  // namespace vlm::fleet

#endif  // FLEET_SITE_ORDER_H
