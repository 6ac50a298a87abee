// The way over the message bus.
#ifndef VLMCTL_BUS_LINK_H
#define VLMCTL_BUS_LINK_H

#include "camera_link.h"

namespace vlm::ctl {

class BusLink : public CameraLink {
 public:
  /// `transport` is kept by the caller for as long as the link lives.
  BusLink(client::Transport& transport, const client::Options& options);

  std::string name() const override { return "the bus"; }
  bool can_get(const catalogue::Row& row) const override { return row.readable(); }
  bool can_set(const catalogue::Row& row) const override { return row.writable(); }
  bool can_run(const catalogue::Row& row) const override {
    return row.codes.run != catalogue::kNone;
  }
  bool is_bus() const override { return true; }

  client::Answer get(const catalogue::Row& row, const catalogue::Members& parameters) override;
  client::Answer set(const catalogue::Row& row, const catalogue::Value& value) override;
  client::Answer run(const catalogue::Row& row, const catalogue::Members& parameters) override;
  client::Answer send(u16 code, const catalogue::Payload& payload) override;
  void on_notification(client::CameraClient::Notified notified) override;

 private:
  client::Answer ask(const std::function<void(client::CameraClient::Done)>& start);

  client::ThreadScheduler _scheduler;
  client::CameraClient _client;
};

}  // namespace vlm::ctl

#endif  // VLMCTL_BUS_LINK_H
