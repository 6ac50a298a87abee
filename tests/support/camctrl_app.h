// The camera-control UDP protocol from an application's side: packets built by the protocol's
// definition, and a socket on the loopback.
#ifndef CAMCTRL_APP_H
#define CAMCTRL_APP_H

#include <netinet/in.h>

#include <string>
#include <vector>

#include "vlm_camera_payloads.h"

using Bytes = std::vector<u8>;

/// The CRC of packets, bit by bit.
u16 camctrl_crc(const Bytes& data);

/// A request with `data`; all that the service does not read is 0.
Bytes camctrl_request(int cmd, const Bytes& data = {});

/// The service's reply to an executed command.
Bytes camctrl_reply(int cmd, int result, const Bytes& data = {});

/// The service's 264-byte reply to a request that it did not execute.
Bytes camctrl_error_reply(const Bytes& request, int result);

/// The dump of bytes that service and client print.
std::string byte_dump(const Bytes& bytes);

/// A datagram socket on 127.0.0.1. Every wait is limited to 20 s; failures throw.
class UdpSocket {
 public:
  /// Binds `port`; 0: a free one.
  explicit UdpSocket(int port = 0);
  ~UdpSocket();
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  int fd() const { return _fd; }
  int port() const;

  void send(const Bytes& bytes, int port) const;
  /// The next datagram; `sender`, when given, receives the port it came from.
  Bytes receive(int* sender = nullptr) const;
  /// A datagram that has already arrived; false when there is none.
  bool poll(Bytes& datagram) const;

 private:
  int _fd;
};

/// The right to serve `port`, which only one test of this user on this machine has at a time.
class PortLock {
 public:
  /// Blocks until it is free.
  explicit PortLock(int port);
  ~PortLock();
  PortLock(const PortLock&) = delete;
  PortLock& operator=(const PortLock&) = delete;

 private:
  int _fd;
};

/// An application that talks to one service.
class CamctrlApp {
 public:
  explicit CamctrlApp(int service_port) : _service_port(service_port) {}

  void send(const Bytes& request) const { _socket.send(request, _service_port); }
  Bytes receive() const { return _socket.receive(); }
  Bytes ask(const Bytes& request) const {
    send(request);
    return receive();
  }
  const UdpSocket& socket() const { return _socket; }

 private:
  UdpSocket _socket;
  int _service_port;
};

#endif  // CAMCTRL_APP_H
