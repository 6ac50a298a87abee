#include "bus_link.h"

#include <utility>

namespace vlm::ctl {

using client::Answer;
using client::await;

BusLink::BusLink(client::Transport& transport, const client::Options& options)
    : _client(transport, _scheduler, options) {}

Answer BusLink::get(const catalogue::Row& row, const catalogue::Members& parameters) {
  return await([&](auto done) { _client.get(row, std::move(done), parameters); });
}

Answer BusLink::set(const catalogue::Row& row, const catalogue::Value& value) {
  return await([&](auto done) { _client.set(row, value, std::move(done)); });
}

Answer BusLink::run(const catalogue::Row& row, const catalogue::Members& parameters) {
  return await([&](auto done) { _client.run(row, std::move(done), parameters); });
}

Answer BusLink::send(u16 code, const catalogue::Payload& payload) {
  return await([&](auto done) { _client.send(code, payload, std::move(done)); });
}

void BusLink::on_notification(client::CameraClient::Notified notified) {
  _client.on_notification(std::move(notified));
}

}  // namespace vlm::ctl
