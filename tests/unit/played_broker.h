// A broker that the test plays, whose loop has a thread as the real one has.
#ifndef PLAYED_BROKER_H
#define PLAYED_BROKER_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "broker.h"

/// One for a test, which sets it up before anybody connects.
class PlayedBroker {
 public:
  using Message = vlm::bus::BrokerMessage;

  PlayedBroker() { the() = this; }
  ~PlayedBroker() { the() = nullptr; }
  PlayedBroker(const PlayedBroker&) = delete;
  PlayedBroker& operator=(const PlayedBroker&) = delete;

  std::vector<Message> retained;
  std::set<std::string> denied;  // topics that nobody may subscribe
  std::string refusal;           // of the connection; empty: it is taken
  bool silent = false;           // tells nothing at all
  std::string loop_fault;        // why there is no loop; empty: there is one
  std::string plan_fault;        // likewise, no connection
  /// Answers what is published; null: nothing comes.
  std::function<std::vector<Message>(const Message&)> answers;

  /// As bus::LoopMaker.
  static std::unique_ptr<vlm::bus::BrokerLoop> make_loop(std::string& error) {
    error = the()->loop_fault;
    return error.empty() ? std::make_unique<Loop>(*the()) : nullptr;
  }

  std::vector<std::string> subscribed() const {
    const std::lock_guard<std::mutex> guard(_mutex);
    return _subscribed;
  }
  std::vector<Message> published() const {
    const std::lock_guard<std::mutex> guard(_mutex);
    return _published;
  }
  vlm::bus::BrokerPlan plan() const {
    const std::lock_guard<std::mutex> guard(_mutex);
    return _plan;
  }
  /// Sends it to the client, behind all that is on its way already.
  void send(const Message& message) {
    put([message](auto& listener) { listener.on_message(message); });
  }
  void lose(const std::string& why) {
    put([why](auto& listener) { listener.on_lost(why); });
  }
  /// Returns when the client has taken all that was sent.
  void settle() {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return _events.empty() && !_telling; });
  }

 private:
  using Event = std::function<void(vlm::bus::BrokerListener&)>;

  class Connection : public vlm::bus::BrokerConnection {
   public:
    Connection(PlayedBroker& broker, vlm::bus::BrokerListener& listener)
        : _broker(broker), _thread([&broker, &listener] { broker.tell_all(listener); }) {}
    ~Connection() override {
      _broker.end();
      _thread.join();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool publish(const Message& message, int) override { return _broker.take(message); }
    int subscribe(const std::string& topic, bool, int) override { return _broker.subscribe(topic); }
    int mark() override { return _broker.acknowledge(true); }
    void wake_at(std::chrono::steady_clock::time_point) override {}

   private:
    PlayedBroker& _broker;
    std::thread _thread;
  };

  class Loop : public vlm::bus::BrokerLoop {
   public:
    explicit Loop(PlayedBroker& broker) : _broker(broker) {}
    std::unique_ptr<vlm::bus::BrokerConnection> connect(const vlm::bus::BrokerPlan& plan,
                                                        vlm::bus::BrokerListener& listener,
                                                        std::string& error) override {
      error = _broker.plan_fault;
      if (!error.empty()) return nullptr;
      _broker.welcome(plan);
      return std::make_unique<Connection>(_broker, listener);
    }

   private:
    PlayedBroker& _broker;
  };

  static PlayedBroker*& the() {
    static PlayedBroker* only = nullptr;
    return only;
  }

  static bool matches(const std::string& filter, const std::string& topic) {
    const auto plus = filter.find('+');
    if (plus == std::string::npos) return filter == topic;
    const std::string end = filter.substr(plus + 1);
    return topic.size() > plus + end.size() && topic.compare(0, plus, filter, 0, plus) == 0 &&
           topic.compare(topic.size() - end.size(), end.size(), end) == 0;
  }

  void welcome(const vlm::bus::BrokerPlan& plan) {
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      _plan = plan;
      _ended = false;
    }
    if (silent) return;
    if (!refusal.empty()) return lose(refusal);
    put([](auto& listener) { listener.on_connected(); });
  }

  int subscribe(const std::string& topic) {
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      _subscribed.push_back(topic);
    }
    const bool granted = denied.count(topic) == 0;
    for (const Message& message : retained) {
      if (granted && matches(topic, message.topic)) send(message);
    }
    return acknowledge(granted);
  }

  int acknowledge(bool granted) {
    const int ticket = next_ticket();
    put([ticket, granted](auto& listener) { listener.on_acknowledged(ticket, granted); });
    return ticket;
  }

  int next_ticket() {
    const std::lock_guard<std::mutex> guard(_mutex);
    return ++_ticket;
  }

  bool take(const Message& message) {
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      _published.push_back(message);
    }
    if (answers) {
      for (const Message& answer : answers(message)) send(answer);
    }
    return true;
  }

  void put(Event event) {
    const std::lock_guard<std::mutex> guard(_mutex);
    _events.push_back(std::move(event));
    _changed.notify_all();
  }

  void end() {
    const std::lock_guard<std::mutex> guard(_mutex);
    _ended = true;
    _changed.notify_all();
  }

  void tell_all(vlm::bus::BrokerListener& listener) {
    std::unique_lock<std::mutex> lock(_mutex);
    for (;;) {
      _changed.wait(lock, [this] { return _ended || !_events.empty(); });
      if (_ended) return;
      const Event event = std::move(_events.front());
      _events.pop_front();
      _telling = true;
      lock.unlock();
      event(listener);
      lock.lock();
      _telling = false;
      _changed.notify_all();
    }
  }

  mutable std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  std::deque<Event> _events;
  std::vector<std::string> _subscribed;
  std::vector<Message> _published;
  vlm::bus::BrokerPlan _plan;
  int _ticket = 0;
  bool _telling = false;
  bool _ended = false;
};

#endif  // PLAYED_BROKER_H
