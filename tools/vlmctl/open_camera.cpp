#include "open_camera.h"

#include <cstdlib>

#include "broker_transport.h"
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
        "--camera takes local, the path of a bus, mqtts://HOST/SITE/CAMERA or udp://HOST[:PORT], "
        "not '" +
            camera + "'"};
  }
  setenv("VLM_BUS", ("unix:" + camera).c_str(), 1);
}

client::Options client_options(const Settings& settings) {
  client::Options options;
  if (settings.timeout) options.reply = options.status_reply = *settings.timeout;
  return options;
}

bool is_broker_address(const std::string& camera) {
  return camera.rfind("mqtt://", 0) == 0 || camera.rfind("mqtts://", 0) == 0;
}

/// A camera behind a broker, of which the broker keeps whether it is there.
std::unique_ptr<CameraLink> open_remote_camera(const Settings& settings) {
  std::string error;
  const auto address = bus::parse_camera_address(settings.camera, error);
  if (!address) throw Failure{kUsage, "", error};
  auto transport =
      client::BrokerTransport::reach(*address, bus::broker_files_of_environment(), error);
  if (!transport || !transport->wait_until_serving(kServingLimit, error)) {
    throw Failure{kNoCamera, "", error};
  }
  const std::string presence = transport->presence();
  if (presence.empty() || presence == "offline") {
    throw Failure{kNoCamera, "", "no camera " + address->camera + " on " + text_of(*address)};
  }
  // Its thread serves as long as the process.
  return std::make_unique<BusLink>(*transport.release(), client_options(settings));
}

}  // namespace

std::unique_ptr<CameraLink> open_camera(const Settings& settings) {
  if (settings.camera.rfind("udp://", 0) == 0) {
    return std::make_unique<UdpLink>(settings.camera, settings.timeout.value_or(kUdpTimeout));
  }
  if (is_broker_address(settings.camera)) return open_remote_camera(settings);
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
