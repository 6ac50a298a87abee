// What programs do with all cameras of a site at once, in the shared object that has all about brokers.
#ifndef VLM_CLIENT_SITE_PART_H
#define VLM_CLIENT_SITE_PART_H

#include <cstddef>
#include <string>
#include <vector>

namespace vlm::client {

/// What the shared object offers as vlm_site_part.
struct SitePart {
  /// Does what `vlmctl --site` says: `line` are the words behind the program's name, whose command
  /// stands at `command`, the options before it known to be right. Returns the exit status.
  int (*run)(const std::vector<std::string>& line, std::size_t command);
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_SITE_PART_H
