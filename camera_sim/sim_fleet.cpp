#include "sim_fleet.h"

#include <cstring>
#include <utility>

#include "envelope.h"

namespace vlm::sim {

SimFleet::SimFleet(const bus::BrokerAddress& site, const SimOptions& options, u64 seed,
                   Outlets outlets)
    : _outlets(std::move(outlets)), _wanted(options.fleet) {
  for (u64 number = 1; number <= options.fleet; ++number) add(site, options, number, seed);
}

SimFleet::~SimFleet() {
  // From here on only the broker's thread asks cameras, and no longer than their bridges live.
  for (Camera& camera : _cameras) camera.peer->stop();
}

void SimFleet::add(const bus::BrokerAddress& site, const SimOptions& options, u64 number,
                   u64 seed) {
  Camera& camera = _cameras.emplace_back();
  camera.name = options.prefix + std::to_string(number);
  bus::BrokerAddress address = site;
  address.camera = camera.name;
  camera.bridge = std::make_unique<fleet::Bridge>(
      fleet::Bridge::Plan{address, bus::broker_files_of_environment(), {}, VLM_VERSION},
      bridge_outlets(camera));
  camera.peer = std::make_unique<CameraPeer>(
      CameraTraits{options.thermal, options.live, options.card_kib, seed + number - 1},
      options.faults, peer_outlets(camera));
}

CameraPeer::Outlets SimFleet::peer_outlets(Camera& camera) const {
  CameraPeer::Outlets outlets;
  outlets.publish = [&camera](const userlcm_packet_t* packet, unsigned length,
                              const char* channel) {
    const bool rtsp = std::strcmp(channel, kRtspReplyChannel) == 0;
    const auto take = rtsp ? &fleet::Bridge::from_rtsp : &fleet::Bridge::from_camera;
    (camera.bridge.get()->*take)(packet, bus::kEnvelopeSize + length);
    return 0;
  };
  outlets.complain = [this, &camera](const std::string& line) {
    _outlets.complain(camera.name + ": " + line);
  };
  if (_outlets.trace) {
    outlets.trace = [this, &camera](const std::string& line) {
      _outlets.trace(camera.name + ' ' + line);
    };
  }
  return outlets;
}

fleet::Bridge::Outlets SimFleet::bridge_outlets(Camera& camera) {
  fleet::Bridge::Outlets outlets;
  outlets.publish = [&camera](const userlcm_packet_t* packet, unsigned length,
                              const char* channel) {
    if (std::strcmp(channel, kRtspRequestChannel) == 0) {
      camera.peer->receive_rtsp(packet, static_cast<unsigned>(bus::kEnvelopeSize + length));
    } else {
      camera.peer->receive(packet, static_cast<unsigned>(bus::kEnvelopeSize + length));
    }
    return 0;
  };
  outlets.settled = [this] { count_present(); };
  outlets.over = [this](const std::string& why) { _outlets.complain(why); };
  // What happens to one connection happens to all: one of them tells.
  const bool tells = &camera == &_cameras.front();
  outlets.tell = [this, tells](const std::string& line) {
    if (tells) _outlets.complain(line);
  };
  return outlets;
}

void SimFleet::count_present() {
  if (++_present == _wanted) _outlets.ready();
}

std::string SimFleet::start() {
  std::string error;
  _loop = bus::make_broker_loop(error);
  if (!_loop) return error;
  for (Camera& camera : _cameras) {
    if (!camera.bridge->start(*_loop, error)) return error;
  }
  return {};
}

}  // namespace vlm::sim
