// How a request to a camera ended.
#ifndef VLM_CLIENT_ANSWER_H
#define VLM_CLIENT_ANSWER_H

#include <chrono>
#include <string>

#include "catalogue_value.h"

namespace vlm::client {

enum class Outcome {
  kDone,       // the camera answered with success
  kRefused,    // the camera answered with an error, `Answer::error`
  kBusy,       // the camera said so, or other requests of this client did not end in time: not done
  kNoAnswer,   // published, and not answered in time: it may have been done
  kNotSent,    // the bus did not take it
  kInvalid,    // not a value, parameter or command of the catalogue: never sent, see `reason`
  kGarbled,    // answered with success, but the answer does not hold the value
  kCancelled,  // the client has ended: it may have been done
};

/// "done", "refused" ...
const char* text(Outcome outcome);

struct Answer {
  // Not inline, as answers are copied in many places and programs are to stay small.
  Answer();
  Answer(const Answer& other);
  Answer(Answer&& other) noexcept;
  Answer& operator=(const Answer& other);
  Answer& operator=(Answer&& other) noexcept;
  ~Answer();

  Outcome outcome = Outcome::kNoAnswer;
  int error = 0;           // the camera's result, a vlm_err_t value; 0 when it gave none
  std::string reason;      // of kInvalid: what is wrong with it
  catalogue::Value value;  // of a reading, a setting that was read, or an action with a result
  catalogue::Payload payload{};            // the answer's parameters, with success alone
  std::chrono::nanoseconds round_trip{0};  // from the publish to the answer
  /// An earlier request of the same code is still owed its answer, and this may be it: see
  /// CameraClient.
  bool doubtful = false;

  bool done() const { return outcome == Outcome::kDone; }
};

}  // namespace vlm::client

#endif  // VLM_CLIENT_ANSWER_H
