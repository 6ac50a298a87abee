// `vlmctl --site SITE ...`: a command on all cameras of a site, or the list of them.
#ifndef FLEET_SITE_RUN_H
#define FLEET_SITE_RUN_H

#include <string>
#include <vector>

namespace vlm::fleet {

/// The command line behind `vlmctl --site`. What is left in `words` each camera's vlmctl gets.
struct SiteOrder {
  std::string site;  // an address, or the name of a site of VLM_BUS's broker
  bool all_cameras = false;
  bool lists = false;  // list --cameras
  bool json = false;
  std::string command;  // its first word that is no option; empty: none was given
  std::vector<std::string> words;
};

SiteOrder parse_site_order(const std::vector<std::string>& words);

/// Does it; returns the exit status.
int run_site_order(const SiteOrder& order);

}  // namespace vlm::fleet

#endif  // FLEET_SITE_RUN_H
