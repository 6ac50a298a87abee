// `vlmctl --site SITE ...`: a command on all cameras of a site, or the list of them.
#ifndef FLEET_SITE_RUN_H
#define FLEET_SITE_RUN_H

#include "broker.h"
#include "site_order.h"

namespace vlm::fleet {

/// Does it with a loop of `make_loop`; returns the exit status.
int run_site_order(const SiteOrder& order, bus::LoopMaker make_loop);

}  // namespace vlm::fleet

#endif  // FLEET_SITE_RUN_H
