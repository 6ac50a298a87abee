// The way over the UDP camera-control service, for the settings and actions that it offers.
#ifndef VLMCTL_UDP_LINK_H
#define VLMCTL_UDP_LINK_H

#include <chrono>
#include <optional>
#include <string>

#include "camera_link.h"
#include "exit_status.h"
#include "udp_layout.h"
#include "unique_fd.h"

namespace vlm::ctl {

/// One request is out at a time, on a socket that hears nobody but the service. After a time-out the
/// next request has another socket: an answer that is late goes to nobody.
class UdpLink : public CameraLink {
 public:
  /// Whether it is for this way to open.
  static bool is_url(const std::string& camera);

  /// "udp://HOST[:PORT]", an IPv6 address in brackets. Throws Failure: no such address.
  UdpLink(const std::string& url, std::chrono::milliseconds timeout);

  std::string name() const override { return _url; }
  bool can_get(const catalogue::Row& row) const override {
    return row.remote.get != catalogue::kNone;
  }
  bool can_set(const catalogue::Row& row) const override {
    return row.remote.set != catalogue::kNone;
  }
  bool can_run(const catalogue::Row& row) const override {
    return row.remote.run != catalogue::kNone;
  }
  bool is_bus() const override { return false; }

  client::Answer get(const catalogue::Row& row, const catalogue::Members& parameters) override;
  client::Answer set(const catalogue::Row& row, const catalogue::Value& value) override;
  client::Answer run(const catalogue::Row& row, const catalogue::Members& parameters) override;
  client::Answer send(u16 code, const catalogue::Payload& payload) override;
  void on_notification(client::CameraClient::Notified notified) override;

 private:
  using Clock = std::chrono::steady_clock;

  client::Answer ask(int option, const UdpData& data);
  std::optional<client::Answer> receive(int option, bool reads, Clock::time_point deadline);

  const std::string _url;
  const std::chrono::milliseconds _timeout;
  std::string _host;
  std::string _port;
  bus::UniqueFd _socket;
};

/// A request as it travels.
UdpData udp_request(int option, const UdpData& data);

/// What `packet` answers to a request with `option`; no value: it is no answer to it.
std::optional<client::Answer> udp_answer(int option, const UdpData& packet);

}  // namespace vlm::ctl

#endif  // VLMCTL_UDP_LINK_H
