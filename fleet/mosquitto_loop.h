// The thread that serves all connections of a program to brokers.
#ifndef FLEET_MOSQUITTO_LOOP_H
#define FLEET_MOSQUITTO_LOOP_H

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "mosquitto_connection.h"
#include "unique_fd.h"

namespace vlm::fleet {

/// Null when it cannot be made: `error` says why.
std::unique_ptr<bus::BrokerLoop> make_mosquitto_loop(std::string& error);

class MosquittoLoop : public bus::BrokerLoop {
 public:
  MosquittoLoop();
  ~MosquittoLoop() override;
  MosquittoLoop(const MosquittoLoop&) = delete;
  MosquittoLoop& operator=(const MosquittoLoop&) = delete;

  std::unique_ptr<bus::BrokerConnection> connect(const bus::BrokerPlan& plan,
                                                 bus::BrokerListener& listener,
                                                 std::string& error) override;

 private:
  class Connection;
  using TimePoint = std::chrono::steady_clock::time_point;
  using Links = std::list<std::shared_ptr<MosquittoLink>>;

  void run();
  void take_orders();
  void connect_due(TimePoint now);
  void run_timers(TimePoint now);
  void keep_all(TimePoint now);
  void watch(MosquittoLink& link);
  void watch_all_writers();
  int wait_ms(TimePoint now);
  TimePoint next_attempt();
  void see_stall();
  void hand_on(MosquittoLink& link);
  void wake() const;
  void remove(const std::shared_ptr<MosquittoLink>& link);
  void set_timer(MosquittoLink& link, TimePoint time);

  const bus::UniqueFd _epoll;
  const bus::UniqueFd _event;
  std::mt19937 _random{std::random_device()()};
  Links _links;  // of the loop's thread alone, and all below up to the mutex
  TimePoint _keep_at{};
  bool _patient = true;  // with a broker, until it has once not answered a goodbye in time
  std::chrono::nanoseconds _last_pass{0};

  std::mutex _mutex;  // guards all members below but the thread
  std::condition_variable _changed;
  std::vector<std::shared_ptr<MosquittoLink>> _new;
  std::vector<std::shared_ptr<MosquittoLink>> _leaving;
  std::vector<std::pair<MosquittoLink*, TimePoint>> _timers;
  std::vector<MosquittoLink*> _writers;  // have more to write than the socket took
  bool _ending = false;
  std::thread _thread;
};

}  // namespace vlm::fleet

#endif  // FLEET_MOSQUITTO_LOOP_H
