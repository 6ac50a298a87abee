#include "camctrl_app.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u16>(port));
  return address;
}

sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

u8 high(int value) { return static_cast<u8>(value >> 8); }
u8 low(int value) { return static_cast<u8>(value); }

Bytes packet(u8 stx, int result, int cmd, const Bytes& data) {
  const u8 head[] = {
      stx,     low(static_cast<int>(data.size()) + 2), 0, 0, high(result), low(result), high(cmd),
      low(cmd)};
  Bytes bytes;
  bytes.reserve(sizeof head + data.size() + 2);
  for (const u8 byte : head) bytes.push_back(byte);
  for (const u8 byte : data) bytes.push_back(byte);
  const u16 crc = camctrl_crc({bytes.begin() + 1, bytes.end()});
  bytes.push_back(high(crc));
  bytes.push_back(low(crc));
  return bytes;
}

}  // namespace

u16 camctrl_crc(const Bytes& data) {
  u32 crc = 0xFFFF;
  for (const u8 byte : data) {
    for (int bit = 0; bit < 8; ++bit) {
      const bool out = ((crc ^ (byte >> bit)) & 1U) != 0;
      crc = out ? crc >> 1 ^ 0x8408 : crc >> 1;
    }
  }
  return static_cast<u16>(crc);
}

Bytes camctrl_request(int cmd, const Bytes& data) { return packet(0, 0, cmd, data); }

Bytes camctrl_reply(int cmd, int result, const Bytes& data) {
  return packet(0xFE, result, cmd, data);
}

Bytes camctrl_error_reply(const Bytes& request, int result) {
  Bytes bytes{request.at(0), request.at(1), 0, 0, high(result), low(result),
              request.at(6), request.at(7)};
  const u16 crc = camctrl_crc({bytes.begin() + 1, bytes.end()});
  bytes.push_back(high(crc));
  bytes.push_back(low(crc));
  bytes.resize(264);
  return bytes;
}

std::string byte_dump(const Bytes& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    char byte[8];
    std::snprintf(byte, sizeof byte, "0x%02x ", bytes[i]);
    text += byte;
    if ((i + 1) % 8 == 0) text += "\n";
  }
  return text + "\n";
}

UdpSocket::UdpSocket(int port) : _fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  if (_fd < 0) fail("socket");
  const timeval limit{20, 0};
  setsockopt(_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  sockaddr_in address = loopback(port);
  if (bind(_fd, generic(address), sizeof address) == 0) return;
  const int error = errno;
  close(_fd);
  errno = error;
  fail("bind");
}

UdpSocket::~UdpSocket() { close(_fd); }

int UdpSocket::port() const {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(_fd, generic(address), &size) != 0) fail("getsockname");
  return ntohs(address.sin_port);
}

void UdpSocket::send(const Bytes& bytes, int port) const {
  sockaddr_in address = loopback(port);
  if (sendto(_fd, bytes.data(), bytes.size(), 0, generic(address), sizeof address) < 0) {
    fail("sendto");
  }
}

Bytes UdpSocket::receive(int* sender) const {
  Bytes bytes(65536);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  const ssize_t count = recvfrom(_fd, bytes.data(), bytes.size(), 0, generic(address), &size);
  if (count < 0) fail("recvfrom");
  bytes.resize(static_cast<std::size_t>(count));
  if (sender != nullptr) *sender = ntohs(address.sin_port);
  return bytes;
}

bool UdpSocket::poll(Bytes& datagram) const {
  u8 bytes[65536];
  const ssize_t count = recv(_fd, bytes, sizeof bytes, MSG_DONTWAIT);
  if (count < 0 && errno != EAGAIN) fail("recv");
  if (count >= 0) datagram.assign(bytes, bytes + count);
  return count >= 0;
}

PortLock::PortLock(int port) {
  const std::string path =
      "/tmp/vlm_test_port_" + std::to_string(port) + "." + std::to_string(getuid()) + ".lock";
  _fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (_fd < 0 || flock(_fd, LOCK_EX) != 0) fail(path.c_str());
}

PortLock::~PortLock() { close(_fd); }
