// One connection to a broker, by libmosquitto. The loop's thread reads and keeps it alive, any thread
// publishes: each call of the library is made under the connection's lock, and no listener is called
// under it.
#ifndef FLEET_MOSQUITTO_CONNECTION_H
#define FLEET_MOSQUITTO_CONNECTION_H

#include <mosquitto.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "broker.h"

namespace vlm::fleet {

class MosquittoLoop;

/// The part of a connection that its loop serves.
class MosquittoLink {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  enum class State { kDown, kConnecting, kUp };

  MosquittoLink(const bus::BrokerPlan& plan, bus::BrokerListener& listener);
  ~MosquittoLink();
  MosquittoLink(const MosquittoLink&) = delete;
  MosquittoLink& operator=(const MosquittoLink&) = delete;

  /// Prepares the connection; what is wrong with the plan, or empty.
  std::string prepare();

  // On the loop's thread.

  /// Begins to connect; false with on_lost() when that fails. Waits for the network's answer only where
  /// the host has several addresses, which are tried one after the other.
  bool connect();
  /// Reads and writes what can be.
  void exchange(bool readable);
  /// Keeps the connection alive, gives up one that does not come about, and reads what has come.
  void keep();
  /// Tells the listener what has been read.
  void tell();
  /// The program stood still for `gap`: what the broker sends comes late.
  void stall(std::chrono::milliseconds gap);
  /// Says goodbye to the broker; a `patient` one first waits, for half a second, until the broker has
  /// what it is to keep. False when it was not, or that time was over.
  bool disconnect(bool patient);
  bus::BrokerListener& listener() const { return _listener; }
  State state() const { return _state; }
  /// -1 while there is none.
  int descriptor() const;
  bool wants_to_write() const;

  // Any thread.

  bool publish(const bus::BrokerMessage& message, int qos);
  int subscribe(const std::string& topic, bool no_local, int qos);
  int mark();

  // The loop's own notes about it.
  int polled = -1;  // the descriptor that it waits for
  bool polled_for_writing = false;
  TimePoint connect_at{};
  TimePoint wake_at = TimePoint::max();

 private:
  static constexpr int kNoBeat = -1;

  struct Event {
    enum Kind { kConnected, kMessage, kAcknowledged } kind;
    int ticket = 0;
    bool granted = false;
    bus::BrokerMessage message;
  };

  struct Destroy {
    void operator()(mosquitto* handle) const { mosquitto_destroy(handle); }
  };

  static void on_connect(mosquitto*, void* self, int code, int flags, const mosquitto_property*);
  static void on_message(mosquitto*, void* self, const mosquitto_message* message,
                         const mosquitto_property* properties);
  static void on_publish(mosquitto*, void* self, int ticket);
  static void on_subscribe(mosquitto*, void* self, int ticket, int count, const int* granted,
                           const mosquitto_property*);
  static void on_unsubscribe(mosquitto*, void* self, int ticket, const mosquitto_property*);
  static void on_disconnect(mosquitto*, void* self, int code, const mosquitto_property*);

  std::string set_identity();
  int set_will();
  void lose(const std::string& why);
  bool finish();
  int connect_now();
  void drop_what_is_late() const;
  void beat(TimePoint now);
  void look_for_stall();

  const bus::BrokerPlan _plan;
  bus::BrokerListener& _listener;
  mutable std::mutex _mutex;  // guards all members below up to the loop's
  std::unique_ptr<mosquitto, Destroy> _handle;
  std::atomic<State> _state{State::kDown};  // read without it, too
  std::vector<Event> _events;
  std::string _refusal;           // why the connection has ended
  std::size_t _unsent = 0;        // messages handed over since the socket was full
  std::set<int> _unacknowledged;  // messages that the broker has to acknowledge

  // Of the loop's thread alone.
  TimePoint _begun{};     // to connect
  int _beat = kNoBeat;    // the ticket of a mark that has not been acknowledged
  TimePoint _beat_at{};   // when the last one was made
  bool _stalled = false;  // since that mark, and the listener knows
};

}  // namespace vlm::fleet

#endif  // FLEET_MOSQUITTO_CONNECTION_H
