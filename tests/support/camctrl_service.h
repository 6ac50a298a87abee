// A camera-control service inside the test process, on a free port.
#ifndef CAMCTRL_SERVICE_H
#define CAMCTRL_SERVICE_H

#include <chrono>
#include <stdexcept>
#include <string>

#include "camctrl_app.h"
#include "lcm_request_peer.h"
#include "pattern.h"
#include "velmar_udp_master_k720.h"

struct UdpMasterK720Peer {
  static int port(const UdpMasterK720& service) { return service.m_udp_server_port; }
  static int fd(const UdpMasterK720& service) { return service.m_udp_server_fd; }
  /// What the processing thread holds while it executes a command; a datagram that arrives when
  /// none is being executed waits for it without limit.
  static pthread_mutex_t& mutex(UdpMasterK720& service) { return service.m_mutex; }
  /// The port of the sender of the latest datagram, to which replies go.
  static int latest_sender(UdpMasterK720& service) {
    const MutexLock lock(service.m_slot_mutex);
    return ntohs(service.m_peer_client_addr.sin_port);
  }
};

/// Blocks until the service has done with, and told all about, what it has answered.
inline void settle(UdpMasterK720& service) {
  service.udp_lock();
  service.udp_unlock();
}

/// Its threads never end, so that it is never freed.
inline UdpMasterK720& start_camctrl_service() {
  auto& service = *new UdpMasterK720;
  if (service.master_initialization(0) != 0) throw std::runtime_error("no service");
  return service;
}

/// How long the engine waits for the camera on behalf of this service.
inline void set_reply_timeout(UdpMasterK720& service, std::chrono::milliseconds timeout) {
  service.udp_lock();
  LcmRequestPeer::timeouts(lcm_request).reply = timeout;
  service.udp_unlock();
}

inline void restore_timeouts(UdpMasterK720& service) {
  service.udp_lock();
  LcmRequestPeer::timeouts(lcm_request) = LcmRequest::Timeouts{};
  service.udp_unlock();
}

/// `text` with each "[path/file:function][line]: " replaced by "@function: ".
inline std::string without_places(const std::string& text) {
  return replaced(text,
                  "\\[[^\\[\\]]*velmar_udp_master_k720\\w*\\.cpp:(\\w+)\\]\\[[0-9]+\\]: ", "@$1: ");
}

#endif  // CAMCTRL_SERVICE_H
