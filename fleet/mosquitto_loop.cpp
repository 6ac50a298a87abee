#include "mosquitto_loop.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <ctime>
#include <system_error>
#include <utility>

namespace vlm::fleet {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kMostConnecting = 50;  // more at once overflow a broker's listen backlog
constexpr milliseconds kKeepEvery{500};
constexpr milliseconds kFirstReconnect{1000};
constexpr milliseconds kLastReconnect{10000};
/// A pass that comes so much later than it should shows that the program, or the machine, stood.
constexpr milliseconds kStall{1000};
constexpr int kMostEvents = 64;

/// Goes on while the machine sleeps.
std::chrono::nanoseconds boot_time() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace

std::unique_ptr<bus::BrokerLoop> make_mosquitto_loop(std::string& error) {
  try {
    return std::make_unique<MosquittoLoop>();
  } catch (const std::system_error& fault) {
    error = fault.what();
    return nullptr;
  }
}

/// What its owner holds; the loop shares the link.
class MosquittoLoop::Connection : public bus::BrokerConnection {
 public:
  Connection(MosquittoLoop& loop, std::shared_ptr<MosquittoLink> link)
      : _loop(loop), _link(std::move(link)) {}
  ~Connection() override { _loop.remove(_link); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool publish(const bus::BrokerMessage& message, int qos) override {
    const bool published = _link->publish(message, qos);
    write_rest();
    return published;
  }
  int subscribe(const std::string& topic, bool no_local, int qos) override {
    const int ticket = _link->subscribe(topic, no_local, qos);
    write_rest();
    return ticket;
  }
  int mark() override {
    const int ticket = _link->mark();
    write_rest();
    return ticket;
  }
  void wake_at(TimePoint time) override { _loop.set_timer(*_link, time); }

 private:
  /// The library writes at once what the socket takes; the loop writes the rest.
  void write_rest() {
    if (!_link->wants_to_write()) return;
    const std::lock_guard<std::mutex> guard(_loop._mutex);
    _loop._writers.push_back(_link.get());
    _loop.wake();
  }

  MosquittoLoop& _loop;
  const std::shared_ptr<MosquittoLink> _link;
};

MosquittoLoop::MosquittoLoop()
    : _epoll(epoll_create1(EPOLL_CLOEXEC)), _event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  static const int initialised = mosquitto_lib_init();
  if (!_epoll || !_event || initialised != MOSQ_ERR_SUCCESS) {
    throw std::system_error(errno, std::system_category(), "a loop for the broker");
  }
  epoll_event event{};
  event.events = EPOLLIN;
  epoll_ctl(_epoll.get(), EPOLL_CTL_ADD, _event.get(), &event);
  _thread = std::thread([this] { run(); });
  pthread_setname_np(_thread.native_handle(), "BROKER");
}

MosquittoLoop::~MosquittoLoop() {
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    _ending = true;
    wake();
  }
  _thread.join();
}

std::unique_ptr<bus::BrokerConnection> MosquittoLoop::connect(const bus::BrokerPlan& plan,
                                                              bus::BrokerListener& listener,
                                                              std::string& error) {
  auto link = std::make_shared<MosquittoLink>(plan, listener);
  const std::string fault = link->prepare();
  if (!fault.empty()) {
    error = "cannot reach " + text_of(plan.address) + ": " + fault;
    return nullptr;
  }
  const std::lock_guard<std::mutex> guard(_mutex);
  _new.push_back(link);
  wake();
  return std::make_unique<Connection>(*this, std::move(link));
}

void MosquittoLoop::wake() const { eventfd_write(_event.get(), 1); }

/// Returns once the loop has let go of the link.
void MosquittoLoop::remove(const std::shared_ptr<MosquittoLink>& link) {
  std::unique_lock<std::mutex> lock(_mutex);
  _leaving.push_back(link);
  wake();
  _changed.wait(
      lock, [&] { return std::find(_leaving.begin(), _leaving.end(), link) == _leaving.end(); });
}

void MosquittoLoop::set_timer(MosquittoLink& link, TimePoint time) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _timers.emplace_back(&link, time);
  if (std::this_thread::get_id() != _thread.get_id()) wake();
}

void MosquittoLoop::run() {
  _last_pass = boot_time();
  for (;;) {
    take_orders();
    {
      const std::lock_guard<std::mutex> guard(_mutex);
      if (_ending && _links.empty()) return;
    }
    epoll_event events[kMostEvents];
    const int count = epoll_wait(_epoll.get(), events, kMostEvents, wait_ms(Clock::now()));
    see_stall();
    for (int i = 0; i < count; ++i) {
      auto* const link = static_cast<MosquittoLink*>(events[i].data.ptr);
      if (link == nullptr) {
        eventfd_t ignored = 0;
        eventfd_read(_event.get(), &ignored);
        continue;
      }
      if (link->state() == MosquittoLink::State::kDown) continue;
      link->exchange((events[i].events & ~static_cast<unsigned>(EPOLLOUT)) != 0);
      hand_on(*link);
    }
    const auto now = Clock::now();
    watch_all_writers();
    run_timers(now);
    keep_all(now);
    connect_due(now);
  }
}

/// What other threads have asked for since the last pass.
void MosquittoLoop::take_orders() {
  std::vector<std::shared_ptr<MosquittoLink>> leaving;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    _links.insert(_links.end(), _new.begin(), _new.end());
    _new.clear();
    leaving = _leaving;
  }
  for (const auto& link : leaving) {
    const int descriptor = link->descriptor();
    if (descriptor >= 0) epoll_ctl(_epoll.get(), EPOLL_CTL_DEL, descriptor, nullptr);
    _patient = link->disconnect(_patient);
    _links.remove(link);
  }
  const std::lock_guard<std::mutex> guard(_mutex);
  const auto has_left = [&](const MosquittoLink* link) {
    return std::any_of(leaving.begin(), leaving.end(),
                       [&](const auto& each) { return each.get() == link; });
  };
  _writers.erase(std::remove_if(_writers.begin(), _writers.end(), has_left), _writers.end());
  _timers.erase(std::remove_if(_timers.begin(), _timers.end(),
                               [&](const auto& timer) { return has_left(timer.first); }),
                _timers.end());
  _leaving.erase(std::remove_if(_leaving.begin(), _leaving.end(),
                                [&](const auto& each) { return has_left(each.get()); }),
                 _leaving.end());
  for (const auto& [link, time] : _timers) link->wake_at = time;
  _timers.clear();
  _changed.notify_all();
}

/// Until something is due; no longer than a pass may take unnoticed.
int MosquittoLoop::wait_ms(TimePoint now) {
  TimePoint next = std::max(_keep_at, now);
  for (const auto& link : _links) {
    next = std::min(next, link->wake_at);
    if (link->state() == MosquittoLink::State::kDown) next = std::min(next, link->connect_at);
  }
  const auto left = std::chrono::ceil<milliseconds>(next - now).count();
  return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void MosquittoLoop::see_stall() {
  const auto now = boot_time();
  const auto gap = std::chrono::duration_cast<milliseconds>(now - _last_pass) - kKeepEvery;
  _last_pass = now;
  if (gap < kStall) return;
  for (const auto& link : _links) link->stall(gap);
}

/// What has been read may have gathered while the program stood, at whatever place it did.
void MosquittoLoop::hand_on(MosquittoLink& link) {
  see_stall();
  link.tell();
  watch(link);
}

void MosquittoLoop::watch_all_writers() {
  std::vector<MosquittoLink*> writers;
  {
    const std::lock_guard<std::mutex> guard(_mutex);
    writers.swap(_writers);
  }
  for (MosquittoLink* link : writers) watch(*link);
}

/// Waits for the link's descriptor as it is now; one that has been closed is waited for no more.
void MosquittoLoop::watch(MosquittoLink& link) {
  const int descriptor = link.descriptor();
  const bool writing = link.wants_to_write();
  if (descriptor == link.polled && writing == link.polled_for_writing) return;
  if (descriptor < 0) {
    // The library closes one that did not come to be connected only when it makes the next.
    epoll_ctl(_epoll.get(), EPOLL_CTL_DEL, link.polled, nullptr);
    link.connect_at = next_attempt();
  } else {
    epoll_event event{};
    event.events = writing ? EPOLLIN | EPOLLOUT : EPOLLIN;
    event.data.ptr = &link;
    const int change = descriptor == link.polled ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
    epoll_ctl(_epoll.get(), change, descriptor, &event);
  }
  link.polled = descriptor;
  link.polled_for_writing = writing;
}

/// At random, so that a fleet that has lost its broker does not come back as one.
MosquittoLoop::TimePoint MosquittoLoop::next_attempt() {
  std::uniform_int_distribution<milliseconds::rep> delay(kFirstReconnect.count(),
                                                         kLastReconnect.count());
  return Clock::now() + milliseconds(delay(_random));
}

void MosquittoLoop::run_timers(TimePoint now) {
  for (const auto& link : _links) {
    if (link->wake_at > now) continue;
    link->wake_at = TimePoint::max();
    link->listener().on_due();
  }
}

void MosquittoLoop::keep_all(TimePoint now) {
  if (now < _keep_at) return;
  _keep_at = now + kKeepEvery;
  for (const auto& link : _links) {
    link->keep();
    hand_on(*link);
  }
}

void MosquittoLoop::connect_due(TimePoint now) {
  auto connecting = std::count_if(_links.begin(), _links.end(), [](const auto& link) {
    return link->state() == MosquittoLink::State::kConnecting;
  });
  for (const auto& link : _links) {
    if (connecting >= kMostConnecting) return;
    if (link->state() != MosquittoLink::State::kDown || link->connect_at > now) continue;
    if (link->connect()) {
      ++connecting;
      watch(*link);
    } else {
      link->connect_at = next_attempt();
    }
  }
}

}  // namespace vlm::fleet
