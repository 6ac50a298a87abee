// Who takes a request out of the queue or out of flight, under the lock, is the one who ends it:
// the answer, its time-out and the end of the client may come at once.
#include "camera_client.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "envelope.h"

namespace vlm::client {

using catalogue::Field;
using catalogue::Members;
using catalogue::Payload;
using catalogue::Row;
using catalogue::Value;

namespace {

using Id = unsigned long long;

struct Request {
  Id id = 0;
  u16 code = 0;
  Payload payload{};
  const Row* row = nullptr;  // whose value the answer holds; null: none
  CameraClient::Done done;
  Scheduler::Id timer = 0;
  Scheduler::TimePoint sent{};
};

/// An answer that may still come.
struct Owed {
  u16 code;
  Scheduler::TimePoint until;
};

/// A request that has ended, and how: to be told outside the lock.
struct Ended {
  Request request;
  Answer answer;
};

userlcm_packet_t packet_of(const Request& request) {
  udp_ctrl_cam_t record{};
  record.cmd_type = request.code;
  std::memcpy(record.cmd_params, request.payload.data(), request.payload.size());
  return bus::camera_packet_from(kReplyChannel, record);
}

/// The message of a packet that the camera has sent; a short one is completed with zeros.
std::optional<msg_from_rep_t> message_of(const void* bytes, std::size_t length) {
  const auto packet = bus::read_record<userlcm_packet_t>(bytes, length);
  // The field may lack its terminator; the name with its terminator fits in either case.
  if (std::memcmp(packet.channel, kRequestChannel, sizeof kRequestChannel) != 0) {
    return std::nullopt;
  }
  return bus::read_record<msg_from_rep_t>(packet.msg_buf, sizeof packet.msg_buf);
}

u64 number_at(const Field& field, const u8* payload) {
  u64 number = 0;
  std::memcpy(&number, payload + field.offset, std::min<std::size_t>(field.width, sizeof number));
  return number;
}

/// Whether the answer repeats the parameter that says which of several is meant: a stream by a
/// fixed number, a slot by its name. A default may be answered with whatever it stands for.
bool repeats(const Row& row, const Field& parameter, const Payload& asked, const u8* answered) {
  const u64 wanted = number_at(parameter, asked.data());
  for (const Field& field : row.value.fields) {
    const bool same = std::strcmp(field.name, parameter.name) == 0 &&
                      field.is(catalogue::kFixed) == parameter.is(catalogue::kFixed) &&
                      field.offset == parameter.offset && field.width == parameter.width;
    if (!same) continue;
    const bool is_default =
        !parameter.is(catalogue::kFixed) && wanted == static_cast<u64>(parameter.initial);
    return is_default || number_at(field, answered) == wanted;
  }
  return true;
}

/// Whether the answer can be the request's. Without success it says nothing but its code.
bool can_answer(const Request& request, const udp_ctrl_cam_t& reply) {
  if (reply.err_code != VLM_ERR_NONE || request.row == nullptr) return true;
  const auto& parameters = request.row->parameters;
  return std::all_of(parameters.begin(), parameters.end(), [&](const Field& parameter) {
    return repeats(*request.row, parameter, request.payload, reply.cmd_params);
  });
}

Answer answer_of(const Request& request, const udp_ctrl_cam_t& reply) {
  Answer answer;
  answer.error = reply.err_code;
  if (reply.err_code == VLM_ERR_BUSY) {
    answer.outcome = Outcome::kBusy;
    return answer;
  }
  if (reply.err_code != VLM_ERR_NONE) {
    answer.outcome = Outcome::kRefused;
    return answer;
  }
  answer.outcome = Outcome::kDone;
  std::memcpy(answer.payload.data(), reply.cmd_params, answer.payload.size());
  if (request.row == nullptr) return answer;
  auto value = decode_reply(*request.row, reply.cmd_params, sizeof reply.cmd_params);
  if (value) answer.value = std::move(*value);
  if (!value) answer.outcome = Outcome::kGarbled;
  return answer;
}

Answer with_outcome(Outcome outcome) {
  Answer answer;
  answer.outcome = outcome;
  return answer;
}

Answer invalid(std::string reason) {
  Answer answer = with_outcome(Outcome::kInvalid);
  answer.reason = std::move(reason);
  return answer;
}

}  // namespace

/// Lives on in callbacks of transport and scheduler that are under way when the client ends.
struct CameraClient::State : std::enable_shared_from_this<State> {
  State(Transport& its_transport, Scheduler& its_scheduler, const Options& its_options)
      : transport(its_transport), scheduler(its_scheduler), options(its_options) {}

  void make(Request request);
  void send_next();
  void receive(const void* packet, std::size_t length);
  void answered(const udp_ctrl_cam_t& reply);
  void time_over(Id id);
  void not_published(Id id);
  void give_up();
  void close();
  void refuse(const Done& done, std::string reason);
  void tell(const Done& done, const Answer& answer);

  // Called with the lock held.
  Scheduler::Id timer_of(Id id, std::chrono::milliseconds delay);
  Request take_in_flight();
  Request take_waiting(std::size_t place);
  std::vector<Request> take_all();
  void owe(u16 code);
  bool is_owed(u16 code);
  void settle(u16 code);

  Transport& transport;
  Scheduler& scheduler;
  const Options options;

  mutable std::mutex mutex;  // guards all members below; taken before the scheduler's
  std::vector<Request> waiting;
  std::optional<Request> in_flight;
  std::vector<Owed> owed;  // in the order in which they end
  Counts counts;
  Notified notified;
  Id next_id = 1;
  bool closed = false;
  int telling = 0;  // callbacks that are due or running
  std::condition_variable told;
};

// --- State ---

Scheduler::Id CameraClient::State::timer_of(Id id, std::chrono::milliseconds delay) {
  return scheduler.after(delay, [weak = weak_from_this(), id] {
    if (const auto state = weak.lock()) state->time_over(id);
  });
}

/// Queues the request, or ends it when no more may wait.
void CameraClient::State::make(Request request) {
  Outcome outcome = Outcome::kBusy;
  bool queued = false;
  const Done done = request.done;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    if (closed) outcome = Outcome::kCancelled;
    queued = !closed && waiting.size() < options.waiting;
    if (queued) {
      request.id = next_id++;
      request.timer = timer_of(request.id, options.ready);
      waiting.push_back(std::move(request));
    } else {
      ++telling;
    }
  }
  if (!queued) return tell(done, with_outcome(outcome));
  send_next();
}

/// Publishes the first request that waits, unless one is in flight. It is in flight before it is
/// published, so that no answer comes too early.
void CameraClient::State::send_next() {
  userlcm_packet_t packet{};
  Id id = 0;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    if (in_flight || waiting.empty()) return;
    in_flight = std::move(waiting.front());
    waiting.erase(waiting.begin());
    scheduler.cancel(in_flight->timer);
    const bool status = in_flight->code == UDP_CTRL_CAM_GET_CAMERA_STATUS;
    in_flight->timer = timer_of(in_flight->id, status ? options.status_reply : options.reply);
    in_flight->sent = scheduler.now();
    packet = packet_of(*in_flight);
    id = in_flight->id;
  }
  if (!transport.publish(packet, sizeof(msg_from_rep_t))) not_published(id);
}

void CameraClient::State::receive(const void* packet, std::size_t length) {
  const auto message = message_of(packet, length);
  if (!message) return;
  if (message->msg_type == LCM_CONTROL_CAMERA) {
    udp_ctrl_cam_t reply;
    std::memcpy(&reply, message->msg_data, sizeof reply);
    return answered(reply);
  }
  const bool known =
      message->msg_type >= LCM_SDCARD_STATUS && message->msg_type <= LCM_CAPTURE_IMAGE_RESULT;
  if (!known) return;
  std::unique_lock<std::mutex> lock(mutex);
  if (closed || !notified) return;
  const Notified hearer = notified;
  ++telling;
  lock.unlock();
  hearer(*message);
  lock.lock();
  --telling;
  told.notify_all();
}

void CameraClient::State::answered(const udp_ctrl_cam_t& reply) {
  Ended ended;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    const bool late = is_owed(reply.cmd_type);
    const bool own =
        in_flight && in_flight->code == reply.cmd_type && can_answer(*in_flight, reply);
    if (!own) {
      ++(late ? counts.late : counts.unasked);
      if (late) settle(reply.cmd_type);
      return;
    }
    ++counts.answers;
    ended.request = take_in_flight();
    ended.answer = answer_of(ended.request, reply);
    ended.answer.round_trip = scheduler.now() - ended.request.sent;
    ended.answer.doubtful = late;
  }
  tell(ended.request.done, ended.answer);
  send_next();
}

/// Ends the request that still waits or is in flight.
void CameraClient::State::time_over(Id id) {
  Ended ended;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    const auto queued = std::find_if(waiting.begin(), waiting.end(),
                                     [id](const Request& each) { return each.id == id; });
    if (queued != waiting.end()) {
      ended = {take_waiting(static_cast<std::size_t>(queued - waiting.begin())),
               with_outcome(Outcome::kBusy)};
    } else if (in_flight && in_flight->id == id) {
      owe(in_flight->code);
      ended = {take_in_flight(), with_outcome(Outcome::kNoAnswer)};
    } else {
      return;
    }
  }
  tell(ended.request.done, ended.answer);
  send_next();
}

void CameraClient::State::not_published(Id id) {
  Request request;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    if (!in_flight || in_flight->id != id) return;
    request = take_in_flight();
  }
  tell(request.done, with_outcome(Outcome::kNotSent));
  send_next();
}

void CameraClient::State::give_up() {
  std::vector<Request> rest;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    if (in_flight) owe(in_flight->code);
    rest = take_all();
  }
  for (const Request& request : rest) tell(request.done, with_outcome(Outcome::kCancelled));
}

void CameraClient::State::close() {
  std::vector<Request> rest;
  {
    const std::lock_guard<std::mutex> guard(mutex);
    closed = true;
    rest = take_all();
  }
  for (const Request& request : rest) tell(request.done, with_outcome(Outcome::kCancelled));
  std::unique_lock<std::mutex> lock(mutex);
  told.wait(lock, [this] { return telling == 0; });
}

/// Ends a request that never was one.
void CameraClient::State::refuse(const Done& done, std::string reason) {
  {
    const std::lock_guard<std::mutex> guard(mutex);
    ++telling;
  }
  tell(done, invalid(std::move(reason)));
}

/// Runs a callback that has been counted as due, in the same turn of the lock in which its request
/// was taken: so the end of the client waits for it.
void CameraClient::State::tell(const Done& done, const Answer& answer) {
  if (done) done(answer);
  const std::lock_guard<std::mutex> guard(mutex);
  --telling;
  told.notify_all();
}

Request CameraClient::State::take_in_flight() {
  Request request = std::move(*in_flight);
  in_flight.reset();
  scheduler.cancel(request.timer);
  ++telling;
  return request;
}

Request CameraClient::State::take_waiting(std::size_t place) {
  Request request = std::move(waiting[place]);
  waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(place));
  scheduler.cancel(request.timer);
  ++telling;
  return request;
}

std::vector<Request> CameraClient::State::take_all() {
  std::vector<Request> all;
  if (in_flight) all.push_back(take_in_flight());
  while (!waiting.empty()) all.push_back(take_waiting(0));
  return all;
}

void CameraClient::State::owe(u16 code) { owed.push_back({code, scheduler.now() + options.owed}); }

/// Whether an answer of that code may still come for a request whose time was over.
bool CameraClient::State::is_owed(u16 code) {
  while (!owed.empty() && owed.front().until < scheduler.now()) owed.erase(owed.begin());
  return std::any_of(owed.begin(), owed.end(),
                     [code](const Owed& each) { return each.code == code; });
}

void CameraClient::State::settle(u16 code) {
  owed.erase(std::find_if(owed.begin(), owed.end(),
                          [code](const Owed& each) { return each.code == code; }));
}

// --- CameraClient ---

CameraClient::CameraClient(Transport& transport, Scheduler& scheduler, const Options& options)
    : _state(std::make_shared<State>(transport, scheduler, options)) {
  transport.listen([weak = std::weak_ptr<State>(_state)](const void* packet, std::size_t length) {
    if (const auto state = weak.lock()) state->receive(packet, length);
  });
}

CameraClient::~CameraClient() {
  _state->transport.listen(nullptr);
  _state->close();
}

void CameraClient::get(const Row& row, Done done, const Members& parameters) {
  Request request;
  std::string error;
  if (!row.readable()) {
    return _state->refuse(done, std::string(row.name()) + " cannot be read");
  }
  if (!encode_parameters(row, parameters, request.payload, error)) {
    return _state->refuse(done, std::move(error));
  }
  request.code = static_cast<u16>(row.codes.get);
  request.row = &row;
  request.done = std::move(done);
  _state->make(std::move(request));
}

void CameraClient::set(const Row& row, const Value& value, Done done) {
  Request request;
  std::string error;
  if (!row.writable()) {
    return _state->refuse(done, std::string(row.name()) + " cannot be written");
  }
  if (!encode(row.value, value, request.payload, error)) {
    return _state->refuse(done, std::move(error));
  }
  request.code = static_cast<u16>(row.codes.set);
  request.done = std::move(done);
  _state->make(std::move(request));
}

void CameraClient::set_field(const catalogue::Item& item, const Value& value, Done done) {
  std::string error;
  if (item.whole()) return set(*item.row, value, std::move(done));
  if (!check(*item.field, value, error)) return _state->refuse(done, std::move(error));
  if (!item.row->writable()) {
    return _state->refuse(done, std::string(item.row->name()) + " cannot be written");
  }
  get(*item.row, [this, item, value, done](const Answer& read) {
    if (!read.done()) return done(read);
    Members members = std::get<Members>(read.value);
    for (auto& member : members) {
      if (member.field == item.field) member.value = value;
    }
    set(*item.row, members, done);
  });
}

void CameraClient::run(const Row& row, Done done, const Members& parameters) {
  Request request;
  std::string error;
  if (row.codes.run == catalogue::kNone) {
    return _state->refuse(done, std::string(row.name()) + " is not an action");
  }
  if (!encode_parameters(row, parameters, request.payload, error)) {
    return _state->refuse(done, std::move(error));
  }
  request.code = static_cast<u16>(row.codes.run);
  request.row = &row;
  request.done = std::move(done);
  _state->make(std::move(request));
}

void CameraClient::send(u16 code, const Payload& payload, Done done) {
  Request request;
  request.code = code;
  request.payload = payload;
  request.done = std::move(done);
  _state->make(std::move(request));
}

void CameraClient::on_notification(Notified notified) {
  const std::lock_guard<std::mutex> guard(_state->mutex);
  _state->notified = std::move(notified);
}

void CameraClient::give_up() { _state->give_up(); }

Counts CameraClient::counts() const {
  const std::lock_guard<std::mutex> guard(_state->mutex);
  return _state->counts;
}

Answer await(const std::function<void(CameraClient::Done)>& start,
             const std::function<void()>& look, std::chrono::milliseconds interval) {
  struct Arrival {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Answer> answer;
  };
  // Shared: whoever tells the answer is still at it while it is taken.
  const auto arrival = std::make_shared<Arrival>();
  start([arrival](const Answer& answer) {
    const std::lock_guard<std::mutex> guard(arrival->mutex);
    arrival->answer.emplace(answer);  // not assigned: assignment of variants is much code
    arrival->changed.notify_all();
  });
  std::unique_lock<std::mutex> lock(arrival->mutex);
  const auto has_come = [&] { return arrival->answer.has_value(); };
  if (!look) arrival->changed.wait(lock, has_come);
  while (
      !arrival->changed.wait_until(lock, std::chrono::steady_clock::now() + interval, has_come)) {
    lock.unlock();
    look();
    lock.lock();
  }
  return *arrival->answer;
}

}  // namespace vlm::client
