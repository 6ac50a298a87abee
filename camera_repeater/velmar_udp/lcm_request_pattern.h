// The one pattern of all camera operations: reserve the engine, build the record, trace, send, and
// on success copy the result out. Included only by the sources of LcmRequest.
#ifndef LCM_REQUEST_PATTERN_H
#define LCM_REQUEST_PATTERN_H

#include <type_traits>

#include "lcm_request.h"

/// One request in the making: ask() reserves the engine, send() ends it. When the engine stayed busy
/// the steps between do nothing and send() fails with nothing sent and nothing printed.
class LcmRequest::Request {
 public:
  Request(LcmRequest& engine, const char* caller, udp_ctrl_cam_cmds code);
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  /// Hands the result code out, unless `perr` is null.
  Request& code_into(int* perr);

  /// Puts `payload` at the start of the record's parameters.
  template <typename T>
  Request& with(const T& payload) {
    static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>);
    static_assert(sizeof(T) <= sizeof(udp_ctrl_cam_t::cmd_params));
    return with_bytes(&payload, sizeof payload);
  }

  /// The same with the first `size` bytes; bytes that do not fit the record are left out.
  Request& with_bytes(const void* bytes, std::size_t size);

  /// The same with at most `size` characters of a text; the rest stays zero.
  Request& with_text(const char* text, std::size_t size = sizeof(udp_ctrl_cam_t::cmd_params));

  /// Hands results out on success, with the answer of this request and no later one:
  /// into(&Data::field, out, &Data::field, out, ...), where `out` is a variable of the field's type,
  /// or a pointer to room for a field that is an array. Once a request.
  template <typename... FieldsAndOuts>
  Request& into(FieldsAndOuts&&... fields_and_outs) {
    static_assert(sizeof...(fields_and_outs) <= 2 * kMostResults);
    hand_out(_results.begin(), fields_and_outs...);
    return *this;
  }

  /// Prints a line between the ready line and the send.
  Request& trace(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Arms the notification wait, unless `target` is null.
  Request& armed(const unsigned int* target);

  /// Logs `failed` or `done` by outcome, before the texts of send().
  Request& logged(int failed_level, const char* failed, int done_level, const char* done);

  /// Sends and waits. True for success.
  bool send();

  /// The same, and prints the line of the outcome where there is one.
  bool send(const char* failed, const char* done = nullptr);

 private:
  struct LogEntry {
    int level;
    const char* text;
  };

  // Addresses only: the bytes behind them are read when the answer has come, under the lock.

  template <typename T, typename... Rest>
  void hand_out(Result* result, T Data::*field, T& out, Rest&&... rest) {
    *result = {&out, &(_engine._data.*field), sizeof(T)};
    hand_out(result + 1, rest...);
  }

  template <typename T, std::size_t size, typename... Rest>
  void hand_out(Result* result, T (Data::*field)[size], T* out, Rest&&... rest) {
    *result = {out, &(_engine._data.*field), sizeof(T[size])};
    hand_out(result + 1, rest...);
  }

  // The module name is the one field that all engines share.
  template <typename T, std::size_t size, typename... Rest>
  void hand_out(Result* result, T (*field)[size], T* out, Rest&&... rest) {
    *result = {out, field, sizeof(T[size])};
    hand_out(result + 1, rest...);
  }

  void hand_out(Result* /*end*/) {}

  LcmRequest& _engine;
  int* _perr = nullptr;
  bool _ready;
  udp_ctrl_cam_t _record{};
  Results _results{};
  LogEntry _log_done{};
  LogEntry _log_failed{};
};

inline LcmRequest::Request LcmRequest::ask(udp_ctrl_cam_cmds code, const char* caller) {
  return Request(*this, caller, code);
}

#endif  // LCM_REQUEST_PATTERN_H
