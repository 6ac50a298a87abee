// A camera-control service inside the test process, on a free port.
#ifndef CAMCTRL_SERVICE_H
#define CAMCTRL_SERVICE_H

#include <chrono>
#include <regex>
#include <stdexcept>
#include <string>

#include "camctrl_app.h"
#include "lcm_request_peer.h"
#include "velmar_udp_master_k720.h"

struct UdpMasterK720Peer {
  static int port(const UdpMasterK720& service) { return service.m_udp_server_port; }
  static int fd(const UdpMasterK720& service) { return service.m_udp_server_fd; }
};

/// Blocks until the service waits for a request: until then it would answer "busy", even to the one
/// that it has just replied to. It must have answered one.
inline void settle(UdpMasterK720& service) {
  service.udp_lock();
  service.udp_unlock();
}

/// The service's first answer to a request that needs no camera; as long as the service starts, it
/// answers "busy".
inline Bytes first_answer(int port) {
  constexpr int kGetCameraType = 4096;
  const CamctrlApp app(port);
  for (;;) {
    const Bytes reply = app.ask(camctrl_request(kGetCameraType));
    if (reply.size() != 264) return reply;
  }
}

/// Its threads never end, so that it is never freed.
inline UdpMasterK720& start_camctrl_service() {
  auto& service = *new UdpMasterK720;
  if (service.master_initialization(0) != 0) throw std::runtime_error("no service");
  first_answer(UdpMasterK720Peer::port(service));
  settle(service);
  return service;
}

/// How long the engine waits for the camera on behalf of this service.
inline void set_reply_timeout(UdpMasterK720& service, std::chrono::milliseconds timeout) {
  service.udp_lock();
  LcmRequestPeer::timeouts(lcm_request).reply = timeout;
  service.udp_unlock();
}

/// `text` with each "[path/file:function][line]: " replaced by "@function: ".
inline std::string without_places(const std::string& text) {
  static const std::regex place(
      "\\[[^\\[\\]]*velmar_udp_master_k720\\w*\\.cpp:(\\w+)\\]\\[[0-9]+\\]: ");
  return std::regex_replace(text, place, "@$1: ");
}

#endif  // CAMCTRL_SERVICE_H
