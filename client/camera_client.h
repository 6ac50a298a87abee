// A camera, as programs use it: settings, readings and actions of the catalogue in, typed values
// out. Asynchronous, silent, and any number of them in a process, one for each camera.
//
//   queued ──sent──► in flight ──answer──► done, refused, busy
//     │                  │ └──time over──► no answer; its code is owed
//     └──time over──► busy
//
// One request is in flight at a time, because the camera's records carry no identity but their
// code; the others wait for their turn in the order in which they came.
//
// Answers find their request by the code. One to another code never ends a wait and never hides the
// request's own. After a time-out the code is owed: the answer may still come. While another code
// is in flight it is told by its code, counted as late and dropped. While the same code is in
// flight it is told where the answer says what it answers (the number of a stream, the slot of a
// card) and that differs. Otherwise it cannot be told: neither from the request's own answer, nor,
// when it is the only one that comes, from one whose request was lost. Then the first answer is
// taken, and marked as doubtful while the code is owed.
#ifndef VLM_CLIENT_CAMERA_CLIENT_H
#define VLM_CLIENT_CAMERA_CLIENT_H

#include <chrono>
#include <functional>
#include <memory>

#include "answer.h"
#include "scheduler.h"
#include "transport.h"

namespace vlm::client {

/// How long a client waits, and for how many.
struct Options {
  std::chrono::milliseconds ready{3000};        // for one's turn
  std::chrono::milliseconds reply{3000};        // for the camera
  std::chrono::milliseconds status_reply{500};  // for its answer to GET_CAMERA_STATUS
  std::chrono::milliseconds owed{30000};        // for an answer that is late, to be known as such
  std::size_t waiting = 256;                    // requests; the next one is busy at once
};

/// What came that nobody waited for.
struct Counts {
  unsigned long long answers = 0;  // to a request in flight
  unsigned long long late = 0;     // to one whose time was over
  unsigned long long unasked = 0;  // others
};

class CameraClient {
 public:
  /// Runs once for each request, on the thread that delivered the answer, saw the time-out, or made
  /// the request when it never became one. It may make requests, but not destroy the client.
  using Done = std::function<void(const Answer&)>;
  /// Takes a message of types 5 to 8: storage, picture data, change of mode, picture taken.
  using Notified = std::function<void(const msg_from_rep_t&)>;

  /// Both are kept by the caller for as long as the client lives.
  CameraClient(Transport& transport, Scheduler& scheduler, const Options& options = {});
  /// Ends all requests as cancelled. When it returns no callback is running, and none will.
  ~CameraClient();
  CameraClient(const CameraClient&) = delete;
  CameraClient& operator=(const CameraClient&) = delete;

  // Any thread may make requests.

  /// Reads a setting or a reading.
  void get(const catalogue::Row& row, Done done, const catalogue::Members& parameters = {});
  /// Writes a setting; a group as a whole, or where a mask in its record allows it, in parts.
  void set(const catalogue::Row& row, const catalogue::Value& value, Done done);
  /// Writes one field of a group: reads the group first and writes it back changed, in two requests.
  void set_field(const catalogue::Item& item, const catalogue::Value& value, Done done);
  /// Runs an action.
  void run(const catalogue::Row& row, Done done, const catalogue::Members& parameters = {});
  /// Sends any code with any parameters; the answer's value stays empty.
  void send(u16 code, const catalogue::Payload& payload, Done done);

  /// Messages that no request asked for go to `notified`; empty: to nobody.
  void on_notification(Notified notified);

  /// Ends all requests as cancelled, as if their time were over: the answer to the one in flight is
  /// owed. Callbacks may make new ones.
  void give_up();

  Counts counts() const;

 private:
  struct State;

  const std::shared_ptr<State> _state;
};

/// Blocks until the request that `start` makes has ended: await([&](auto done) { client.get(row,
/// done); }). Not to be called on the threads of transport or scheduler. Meanwhile `look` is called
/// every `interval`, if there is one; it may give up.
Answer await(const std::function<void(CameraClient::Done)>& start,
             const std::function<void()>& look = nullptr,
             std::chrono::milliseconds interval = std::chrono::milliseconds(50));

}  // namespace vlm::client

#endif  // VLM_CLIENT_CAMERA_CLIENT_H
