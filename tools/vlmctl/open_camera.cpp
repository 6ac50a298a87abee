#include "open_camera.h"

#include <cstdlib>

#include "bus_link.h"
#include "bus_transport.h"
#include "remote_transport.h"
#include "udp_link.h"

namespace vlm::ctl {

namespace {

constexpr std::chrono::seconds kServingLimit{5};
/// The service itself waits 3 s for the camera, and says so then.
constexpr std::chrono::seconds kUdpTimeout{4};

/// The local one, or that of a directory.
void choose_bus(const std::string& camera) {
  if (camera == kLocalBus) return;
  if (camera.find('/') == std::string::npos || camera.find("://") != std::string::npos) {
    fail(kUsage, "",
         "--camera takes local, the path of a bus, mqtts://HOST/SITE/CAMERA or udp://HOST[:PORT], "
         "not '" +
             camera + "'");
  }
  setenv("VLM_BUS", ("unix:" + camera).c_str(), 1);
}

client::Options client_options(const Settings& settings) {
  client::Options options;
  if (settings.timeout) options.reply = options.status_reply = *settings.timeout;
  return options;
}

std::unique_ptr<CameraLink> open_udp(const Settings& settings) {
  return std::make_unique<UdpLink>(settings.camera, settings.timeout.value_or(kUdpTimeout));
}

std::unique_ptr<CameraLink> open_bus(const Settings& settings) {
  choose_bus(settings.camera);
  if (!may_have_camera()) fail(kNoCamera, "", "no camera on the bus");
  // Its subscription lives as long as the process.
  static client::BusTransport& transport = *new client::BusTransport;
  if (!transport.wait_until_serving(kServingLimit)) {
    fail(kNoCamera, "", "the bus does not deliver");
  }
  return std::make_unique<BusLink>(transport, client_options(settings));
}

std::unique_ptr<CameraLink> open_remote(const Settings& settings) {
  client::RemoteFault fault;
  auto transport = client::reach_camera(settings.camera, kServingLimit, fault);
  if (!transport) fail(fault.in_address ? kUsage : kNoCamera, "", fault.text);
  // Its thread serves as long as the process.
  return std::make_unique<BusLink>(*transport.release(), client_options(settings));
}

/// The ways that a URL names.
struct Way {
  bool (*is_meant)(const std::string& camera);
  std::unique_ptr<CameraLink> (*open)(const Settings& settings);
};

constexpr Way kWays[] = {{UdpLink::is_url, open_udp}, {client::is_remote, open_remote}};

}  // namespace

std::unique_ptr<CameraLink> open_camera(const Settings& settings) {
  for (const Way& way : kWays) {
    if (way.is_meant(settings.camera)) return way.open(settings);
  }
  return open_bus(settings);
}

}  // namespace vlm::ctl
