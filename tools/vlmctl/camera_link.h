// A camera, as the sub-commands ask it, whatever the way: one request at a time, each waits for its
// end.
#ifndef VLMCTL_CAMERA_LINK_H
#define VLMCTL_CAMERA_LINK_H

#include "camera_client.h"

namespace vlm::ctl {

class CameraLink {
 public:
  virtual ~CameraLink() = default;

  /// "the bus", "udp://192.168.1.10:9528"
  virtual std::string name() const = 0;

  // Which of the catalogue's commands go this way.
  virtual bool can_get(const catalogue::Row& row) const = 0;
  virtual bool can_set(const catalogue::Row& row) const = 0;
  virtual bool can_run(const catalogue::Row& row) const = 0;
  /// Whether any code may be sent, and messages that nobody asked for arrive.
  virtual bool is_bus() const = 0;

  // Of what goes this way. Each sends one request, once.
  virtual client::Answer get(const catalogue::Row& row, const catalogue::Members& parameters) = 0;
  virtual client::Answer set(const catalogue::Row& row, const catalogue::Value& value) = 0;
  virtual client::Answer run(const catalogue::Row& row, const catalogue::Members& parameters) = 0;
  virtual client::Answer send(u16 code, const catalogue::Payload& payload) = 0;

  /// Messages that nobody asked for go to `notified`, on another thread; empty: to nobody.
  virtual void on_notification(client::CameraClient::Notified notified) = 0;
};

}  // namespace vlm::ctl

#endif  // VLMCTL_CAMERA_LINK_H
