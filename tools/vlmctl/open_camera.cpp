#include "open_camera.h"

#include <cstdlib>

#include "bus_link.h"
#include "bus_transport.h"
#include "format.h"
#include "remote_transport.h"
#include "udp_link.h"

namespace vlm::ctl {

namespace {

constexpr std::chrono::seconds kServingLimit{5};
/// The service itself waits 3 s for the camera, and says so then.
constexpr std::chrono::seconds kUdpTimeout{4};

/// Its threads serve as long as the process.
client::Transport* g_transport;

/// The local one, or that of a directory.
void choose_bus(const std::string& camera) {
  if (camera == kLocalBus) return;
  if (camera.find('/') == std::string::npos || camera.find("://") != std::string::npos) {
    fail(kUsage, "",
         host::format("--camera takes local, the path of a bus, udp://HOST[:PORT] or "
                      "mqtts://HOST/SITE/CAMERA, not '%s'",
                      camera.c_str()));
  }
  setenv("VLM_BUS", ("unix:" + camera).c_str(), 1);
}

client::Options client_options(const Settings& settings) {
  client::Options options;
  if (settings.timeout) options.reply = options.status_reply = *settings.timeout;
  return options;
}

client::Transport* open_bus(const std::string& camera) {
  choose_bus(camera);
  if (!may_have_camera()) fail(kNoCamera, "", "no camera on the bus");
  auto* const transport = new client::BusTransport;  // its subscription stays
  if (!transport->wait_until_serving(kServingLimit)) {
    fail(kNoCamera, "", "the bus does not deliver");
  }
  return transport;
}

client::Transport* open_remote(const std::string& camera) {
  client::RemoteFault fault;
  auto transport = client::reach_camera(camera, kServingLimit, fault);
  if (!transport) fail(fault.in_address ? kUsage : kNoCamera, "", fault.text);
  return transport.release();
}

}  // namespace

std::unique_ptr<CameraLink> open_camera(const Settings& settings) {
  if (UdpLink::is_url(settings.camera)) {
    return std::make_unique<UdpLink>(settings.camera, settings.timeout.value_or(kUdpTimeout));
  }
  const auto open = client::is_remote(settings.camera) ? open_remote : open_bus;
  g_transport = open(settings.camera);
  return std::make_unique<BusLink>(*g_transport, client_options(settings));
}

}  // namespace vlm::ctl
