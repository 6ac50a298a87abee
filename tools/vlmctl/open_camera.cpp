#include "open_camera.h"

#include <cstdlib>

#include "bus_link.h"
#include "bus_transport.h"
#include "udp_link.h"

namespace vlm::ctl {

namespace {

constexpr std::chrono::seconds kServingLimit{5};
/// The service itself waits 3 s for the camera, and says so then.
constexpr std::chrono::seconds kUdpTimeout{4};

/// "local", or the directory of a bus.
void choose_bus(const std::string& camera) {
  if (camera == "local") return;
  if (camera.find('/') == std::string::npos) {
    throw Failure{
        kUsage, "",
        "--camera takes local, the path of a bus or udp://HOST[:PORT], not '" + camera + "'"};
  }
  setenv("VLM_BUS_DIR", camera.c_str(), 1);
}

client::Options client_options(const Settings& settings) {
  client::Options options;
  if (settings.timeout) options.reply = options.status_reply = *settings.timeout;
  return options;
}

}  // namespace

std::unique_ptr<CameraLink> open_camera(const Settings& settings) {
  if (settings.camera.rfind("udp://", 0) == 0) {
    return std::make_unique<UdpLink>(settings.camera, settings.timeout.value_or(kUdpTimeout));
  }
  choose_bus(settings.camera);
  if (!may_have_camera()) throw Failure{kNoCamera, "", "no camera on the bus"};
  // Its subscription lives as long as the process.
  static client::BusTransport& transport = *new client::BusTransport;
  if (!transport.wait_until_serving(kServingLimit)) {
    throw Failure{kNoCamera, "", "the bus does not deliver"};
  }
  return std::make_unique<BusLink>(transport, client_options(settings));
}

}  // namespace vlm::ctl
