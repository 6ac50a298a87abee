// A broker as programs see it: what the shared object of the package vlm-fleet implements. Programs
// that no address sends to a broker never load it.
#ifndef BROKER_H
#define BROKER_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "broker_files.h"
#include "bus_address.h"

namespace vlm::bus {

/// A message of the broker. Its payload is a packet of the bus; what is to be known about it stands
/// in its properties.
struct BrokerMessage {
  std::string topic;
  std::string payload;
  bool retained = false;  // to be kept by the broker, or kept until now
  std::string response_topic;
  std::string correlation;                // any bytes
  std::optional<std::uint32_t> expiry_s;  // how long it is worth delivering
  std::vector<std::pair<std::string, std::string>> properties;

  /// The value of the property `name`, empty when there is none.
  std::string property(const char* name) const {
    for (const auto& [key, value] : properties) {
      if (key == name) return value;
    }
    return {};
  }
};

/// What happens to a connection; all on the thread of its loop.
class BrokerListener {
 public:
  virtual ~BrokerListener() = default;

  /// The connection stands, anew: nothing is subscribed.
  virtual void on_connected() = 0;
  /// It has gone, or was refused; the loop tries again.
  virtual void on_lost(const std::string& why) = 0;
  virtual void on_message(const BrokerMessage& message) = 0;
  /// The broker has taken the subscription or the mark `ticket`; or refused it.
  virtual void on_acknowledged(int ticket, bool granted) = 0;
  /// The time of wake_at() has come.
  virtual void on_due() = 0;
  /// The loop stood still for `gap`: what now comes may be as old.
  virtual void on_stall(std::chrono::milliseconds gap) = 0;
};

/// A connection that comes back when it is lost. Any thread.
class BrokerConnection {
 public:
  /// Closes it, and waits until no callback runs. Not to be called by a callback.
  virtual ~BrokerConnection() = default;

  /// Never waits. False when the message was not handed to the broker.
  virtual bool publish(const BrokerMessage& message, int qos) = 0;
  /// Returns the ticket of the acknowledgement, -1 when not connected.
  virtual int subscribe(const std::string& topic, bool no_local, int qos) = 0;
  /// Acknowledged behind everything that is on its way from the broker.
  virtual int mark() = 0;
  /// Sets the time of on_due(), in place of the one before.
  virtual void wake_at(std::chrono::steady_clock::time_point time) = 0;
};

/// How a connection is made.
struct BrokerPlan {
  BrokerAddress address;
  BrokerFiles files;
  std::string client_id;
  /// What the broker publishes when the connection has been lost for `will_delay`.
  std::optional<BrokerMessage> will;
  std::chrono::seconds will_delay{0};
};

/// One thread that serves any number of connections. Reconnects come after 1 to 10 s, at random, and
/// no more than 50 connections are in the making at once.
class BrokerLoop {
 public:
  /// All its connections must have gone.
  virtual ~BrokerLoop() = default;

  /// Never waits; `listener` must outlive the connection. Null when the plan cannot be followed:
  /// `error` says why.
  virtual std::unique_ptr<BrokerConnection> connect(const BrokerPlan& plan,
                                                    BrokerListener& listener,
                                                    std::string& error) = 0;
};

/// Null when it cannot be made: `error` says why.
using LoopMaker = std::unique_ptr<BrokerLoop> (*)(std::string& error);

/// What the shared object offers as vlm_broker_part.
struct BrokerPart {
  LoopMaker make_loop;
};

/// A loop of the shared object. Null when there is none: `error` says why.
std::unique_ptr<BrokerLoop> make_broker_loop(std::string& error);

}  // namespace vlm::bus

#endif  // BROKER_H
