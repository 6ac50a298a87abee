// Other message systems of Debian, as contenders: each makes the exchange of bare.h, 321 bytes there
// and back between two processes, in the quickest way that it has for it. What was tried for each, and
// was slower, stands in its source. A daemon that a system needs is a private one, of this program's own
// and on its core, like everything else.
#ifndef BENCH_PEERS_H
#define BENCH_PEERS_H

#include <unistd.h>

#include <cstdio>
#include <string>

#include "contender.h"

namespace vlm::bench {

/// Those whose packages were there at the build: VLM_PEER_... says which, and where the daemon is.
/// `directory` is for sockets and settings. To be called before there are threads.
Contender* cyclone_dds_peer(const std::string& directory);
Contender* cyclone_dds_waitset_peer(const std::string& directory);
Contender* mqtt_peer(const std::string& directory);
Contender* sd_bus_peer(const std::string& directory);
Contender* zeromq_peer(const std::string& directory);

/// Becomes a daemon, whose words nobody wants: that it does not serve, its clients find out.
template <typename... Arguments>
void run_daemon(const char* program, Arguments... arguments) {
  if (std::freopen("/dev/null", "w", stderr) != nullptr)
    execl(program, program, arguments..., nullptr);
}

}  // namespace vlm::bench

#endif  // BENCH_PEERS_H
