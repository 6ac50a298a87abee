#include "bus_link.h"

#include <utility>

#include "interruption.h"

namespace vlm::ctl {

using client::Answer;

namespace {

Answer cancelled() {
  Answer answer;
  answer.outcome = client::Outcome::kCancelled;
  return answer;
}

}  // namespace

BusLink::BusLink(client::Transport& transport, const client::Options& options)
    : _client(transport, _scheduler, options) {}

/// Nothing is sent once there was an interruption; one that comes later ends the wait.
Answer BusLink::ask(const std::function<void(client::CameraClient::Done)>& start) {
  if (interrupted()) return cancelled();
  const auto look = [this] {
    if (interrupted()) _client.give_up();
  };
  return await(start, look, kLookInterval);
}

Answer BusLink::get(const catalogue::Row& row, const catalogue::Members& parameters) {
  return ask([&](auto done) { _client.get(row, std::move(done), parameters); });
}

Answer BusLink::set(const catalogue::Row& row, const catalogue::Value& value) {
  return ask([&](auto done) { _client.set(row, value, std::move(done)); });
}

Answer BusLink::run(const catalogue::Row& row, const catalogue::Members& parameters) {
  return ask([&](auto done) { _client.run(row, std::move(done), parameters); });
}

Answer BusLink::send(u16 code, const catalogue::Payload& payload) {
  return ask([&](auto done) { _client.send(code, payload, std::move(done)); });
}

void BusLink::on_notification(client::CameraClient::Notified notified) {
  _client.on_notification(std::move(notified));
}

}  // namespace vlm::ctl
