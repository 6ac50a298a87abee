// A way to no camera, for checks: whoever would send a request has passed them.
#ifndef VLMCTL_CHECKING_LINK_H
#define VLMCTL_CHECKING_LINK_H

#include "camera_link.h"

namespace vlm::ctl {

/// Thrown in place of a request.
struct Checked {};

class CheckingLink : public CameraLink {
 public:
  /// Offers what the bus does, or the UDP service.
  CheckingLink(std::string name, bool is_bus) : _name(std::move(name)), _is_bus(is_bus) {}

  std::string name() const override { return _name; }
  bool can_get(const catalogue::Row& row) const override {
    return _is_bus ? row.readable() : row.remote.get != catalogue::kNone;
  }
  bool can_set(const catalogue::Row& row) const override {
    return _is_bus ? row.writable() : row.remote.set != catalogue::kNone;
  }
  bool can_run(const catalogue::Row& row) const override {
    return (_is_bus ? row.codes.run : row.remote.run) != catalogue::kNone;
  }
  bool is_bus() const override { return _is_bus; }

  client::Answer get(const catalogue::Row&, const catalogue::Members&) override { throw Checked{}; }
  client::Answer set(const catalogue::Row&, const catalogue::Value&) override { throw Checked{}; }
  client::Answer run(const catalogue::Row&, const catalogue::Members&) override { throw Checked{}; }
  client::Answer send(u16, const catalogue::Payload&) override { throw Checked{}; }
  void on_notification(client::CameraClient::Notified) override { throw Checked{}; }

 private:
  const std::string _name;
  const bool _is_bus;
};

}  // namespace vlm::ctl

#endif  // VLMCTL_CHECKING_LINK_H
