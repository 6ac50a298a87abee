// What the shared object offers to the programs.
#include "broker_bus.h"
#include "broker_transport.h"
#include "mosquitto_loop.h"
#include "remote_bus.h"
#include "remote_transport.h"
#include "site_part.h"
#include "site_run.h"

namespace vlm::fleet {

namespace {

/// A camera that its bridge has left is none: that is told at once.
client::Transport* reach(const std::string& text, std::chrono::milliseconds limit,
                         client::RemoteFault& fault) {
  const auto address = bus::parse_camera_address(text, fault.text);
  fault.in_address = !address;
  if (!address) return nullptr;
  auto camera = BrokerCamera::reach(*address, bus::broker_files_of_environment(),
                                    make_mosquitto_loop, fault.text);
  if (!camera || !camera->wait_until_serving(limit, fault.text)) return nullptr;
  const std::string presence = camera->presence();
  if (presence.empty() || presence == kOffline) {
    fault.text = "no camera " + address->camera + " on " + text_of(*address);
    return nullptr;
  }
  return std::make_unique<BrokerTransport>(std::move(camera)).release();
}

int run_site(const std::vector<std::string>& line, std::size_t command) {
  return run_site_order(parse_site_order(line, command), make_mosquitto_loop);
}

}  // namespace

}  // namespace vlm::fleet

#pragma GCC visibility push(default)
extern "C" {
extern const vlm::bus::BrokerPart vlm_broker_part;
extern const vlm::bus::RemoteBus vlm_remote_bus;
extern const vlm::client::RemotePart vlm_remote_transport;
extern const vlm::client::SitePart vlm_site_part;
}
#pragma GCC visibility pop

const vlm::bus::BrokerPart vlm_broker_part{vlm::fleet::make_mosquitto_loop};
const vlm::bus::RemoteBus vlm_remote_bus{vlm::fleet::publish_remotely, vlm::fleet::serve_remotely,
                                         vlm::fleet::remote_has_subscriber};
const vlm::client::RemotePart vlm_remote_transport{vlm::fleet::reach};
const vlm::client::SitePart vlm_site_part{vlm::fleet::run_site};
