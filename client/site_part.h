// What programs do with all cameras of a site at once, in the shared object that has all about brokers.
#ifndef VLM_CLIENT_SITE_PART_H
#define VLM_CLIENT_SITE_PART_H

namespace vlm::client {

/// What the shared object offers as vlm_site_part.
struct SitePart {
  /// Does what `vlmctl --site` says: `words`, `count` of them and a null, begin with the site. Returns
  /// the exit status.
  int (*run)(int count, char** words);
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_SITE_PART_H
