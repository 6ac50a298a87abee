// Camera operations as test data: what a call sends, prints and hands out, one row an operation.
#ifndef OPERATION_H
#define OPERATION_H

#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "lcm_request.h"

using Bytes = std::vector<u8>;

/// The results with which the outcomes of the tests end.
constexpr int kCameraError = 0x15;
constexpr int kTimeOut = 26;
constexpr int kBusy = 2;

/// The memory of `value`: its little-endian bytes.
template <typename T>
Bytes bytes_of(const T& value) {
  static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>);
  Bytes bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

/// The characters of `text`, padded with zeros to `size`.
Bytes bytes_of_text(const std::string& text, std::size_t size = 0);

/// `count` different bytes, beginning with `first`.
Bytes counting(std::size_t count, u8 first = 0x11);

/// A text of `count` letters.
std::string letters(std::size_t count);

Bytes joined(Bytes front, const Bytes& back);

/// `format` with `value` for its conversion, or for both where it has two.
std::string formatted(const std::string& format, unsigned value);

/// The value of a numeric payload; its low four bytes if it has more.
unsigned number_in(const Bytes& payload);

/// The 132 bytes of the request that carries `payload`.
Bytes request_bytes(int code, const Bytes& payload);

/// One operation with one argument. `call` fills its variables with kUntouched bytes, runs the
/// operation, and returns what the variables then hold in `results`.
struct Operation {
  static constexpr u8 kUntouched = 0xA5;
  using Call = std::function<bool(LcmRequest& engine, Bytes& results)>;

  Operation(std::string operation_name, int command_code, Call run)
      : name(std::move(operation_name)), code(command_code), call(std::move(run)) {}

  Operation& sends(Bytes bytes);              // the request's payload
  Operation& traces(std::string format);      // between the ready line and the send, of the value
  Operation& prints(std::string lines);       // the same, literally
  Operation& answered(Bytes bytes);           // the reply's payload, and so the results
  Operation& yields(Bytes bytes);             // the results, where the reply is not all of them
  Operation& keeps(Bytes bytes);              // the variables before the call, where they hold any
  Operation& stored_with(std::string lines);  // what the result store prints
  Operation& unknown_to_the_store();          // it reports the code and stores nothing
  Operation& says(std::string lines);         // after a success
  Operation& complains(std::string lines);    // after a failure of the request
  Operation& ready_as(std::string caller);    // the name in the engine's lines, if not its own

  /// The same with another numeric argument.
  template <typename T>
  Operation with(T value) const {
    return Operation(*this).sends(bytes_of(value));
  }

  Bytes request() const { return request_bytes(code, payload); }
  udp_ctrl_cam_t success_reply() const;  // with noise behind the payload
  udp_ctrl_cam_t error_reply() const;    // with a payload that must not be used
  Bytes untouched() const;

  // What standard output shows of a call, by outcome; without durations.
  std::string success_transcript() const;
  std::string error_transcript() const;
  std::string time_out_transcript() const;
  std::string busy_transcript() const;  // behind a PendingRequest

  std::string name;
  int code;
  Call call;
  Bytes payload;
  std::string trace;
  std::string printed;
  Bytes reply;
  Bytes results;
  Bytes before;
  std::string stored;
  std::string done;
  std::string failed;
  std::string ready_name = name;

 private:
  std::string sent_transcript() const;
};

/// How long `engine` waits for any reply: a moment for a camera that stays silent, long for one that
/// answers. Only while no request is under way.
void set_reply_timeout(LcmRequest& engine, std::chrono::milliseconds timeout);

/// Another caller's request, which waits for the camera for as long as the object lives. The bus
/// must be silent, and the reply time-out long. Further callers wait but a moment for their turn.
class PendingRequest {
 public:
  explicit PendingRequest(LcmRequest& engine);
  ~PendingRequest();
  PendingRequest(const PendingRequest&) = delete;
  PendingRequest& operator=(const PendingRequest&) = delete;

  /// Lets the camera answer; returns what the caller got.
  bool finish();

 private:
  LcmRequest& _engine;
  bool _success = false;
  std::thread _caller;
};

// How rows are written: run, set, get and their kin. Arguments and answers are recognisable values
// of their width, unless one is given.

/// 183 in a byte, 48879 in two, 305419896 in four, 12.5; different bytes in a record.
template <typename T>
T distinctive() {
  static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>);
  if constexpr (std::is_floating_point_v<T>) {
    return T{12.5};
  } else if constexpr (std::is_integral_v<T>) {
    constexpr u64 kByWidth[] = {0, 0xB7, 0xBEEF, 0, 0x12345678, 0, 0, 0, 0x0123456789ABCDEF};
    return static_cast<T>(kByWidth[sizeof(T)]);
  } else {
    T record;
    std::memcpy(&record, counting(sizeof record).data(), sizeof record);
    return record;
  }
}

template <typename T>
T untouched() {
  T value;
  std::memset(&value, Operation::kUntouched, sizeof value);
  return value;
}

inline Operation run(const char* name, int code, bool (LcmRequest::*operation)()) {
  return {name, code, [=](LcmRequest& engine, Bytes&) { return (engine.*operation)(); }};
}

template <typename T>
Operation set(const char* name, int code, bool (LcmRequest::*operation)(T),
              std::common_type_t<T> value = distinctive<T>()) {
  return Operation(name, code,
                   [=](LcmRequest& engine, Bytes&) { return (engine.*operation)(value); })
      .sends(bytes_of(value));
}

template <typename T>
Operation set_record(const char* name, int code, bool (LcmRequest::*operation)(const T*),
                     std::common_type_t<T> record) {
  return Operation(name, code, [=](LcmRequest& engine, Bytes&) {
    const T copy = record;
    return (engine.*operation)(&copy);
  });
}

inline Operation set_text(const char* name, int code, bool (LcmRequest::*operation)(const char*),
                          const char* text) {
  return Operation(name, code,
                   [=](LcmRequest& engine, Bytes&) { return (engine.*operation)(text); })
      .sends(bytes_of_text(text));
}

template <typename T>
Operation get(const char* name, int code, bool (LcmRequest::*operation)(T&)) {
  return Operation(name, code,
                   [=](LcmRequest& engine, Bytes& results) {
                     T value = untouched<T>();
                     const bool success = (engine.*operation)(value);
                     results = bytes_of(value);
                     return success;
                   })
      .answered(bytes_of(distinctive<T>()));
}

template <typename T>
Operation get_record(const char* name, int code, bool (LcmRequest::*operation)(T*)) {
  return Operation(name, code,
                   [=](LcmRequest& engine, Bytes& results) {
                     T record = untouched<T>();
                     const bool success = (engine.*operation)(&record);
                     results = bytes_of(record);
                     return success;
                   })
      .answered(bytes_of(distinctive<T>()));
}

#endif  // OPERATION_H
