// What a numbered command can be: how it reads its parameters, which operation it calls and what it
// prints.
#ifndef VLM_TEST_ACTION_H
#define VLM_TEST_ACTION_H

#include <cstdarg>
#include <cstdio>
#include <variant>

#include "lcm_request.h"

/// Reads parameters with scanf `conversions`, from behind the first token of `line`. A parameter
/// that is missing leaves its variable as it was.
inline void scan(const char* line, const char* conversions, ...) {
  char format[64];
  std::snprintf(format, sizeof format, "%%*[^ ]%s", conversions);
  va_list variables;
  va_start(variables, conversions);
  std::vsscanf(line, format, variables);
  va_end(variables);
}

/// The one parameter of most commands.
template <typename T>
T scan(const char* line, const char* conversion) {
  T value{};
  scan(line, conversion, &value);
  return value;
}

/// A row that is a function of its own.
using Function = void (*)(const char* line);

/// An operation without parameters.
struct Run {
  bool (LcmRequest::*operation)();

  void operator()(const char* /*line*/) const { (lcm_request.*operation)(); }
};

enum PrintWhen { kWhenTrue, kAlways };

/// A query with one result, which is 0 where a failed query is printed too.
template <typename T>
struct Query {
  bool (LcmRequest::*operation)(T&);
  const char* format;
  PrintWhen when = kWhenTrue;

  void operator()(const char* /*line*/) const {
    T value{};
    if ((lcm_request.*operation)(value) || when == kAlways) std::printf(format, value);
  }
};

template <typename T>
Query(bool (LcmRequest::*)(T&), const char*, PrintWhen = kWhenTrue) -> Query<T>;

/// An operation with one numeric parameter, which may be printed before the call.
template <typename T>
struct Set {
  const char* conversion;
  bool (LcmRequest::*operation)(T);
  const char* before = nullptr;

  void operator()(const char* line) const {
    const T value = scan<T>(line, conversion);
    if (before != nullptr) std::printf(before, value);
    (lcm_request.*operation)(value);
  }
};

template <typename T>
Set(const char*, bool (LcmRequest::*)(T), const char* = nullptr) -> Set<T>;

/// An operation with one word as parameter, at most 19 characters.
struct SendText {
  const char* conversion;
  bool (LcmRequest::*operation)(const char*);

  void operator()(const char* line) const {
    char text[20] = {};
    scan(line, conversion, text);
    (lcm_request.*operation)(text);
  }
};

using Action = std::variant<Function, Run, SendText, Query<u8>, Query<u16>, Query<u32>, Set<u8>,
                            Set<u16>, Set<u32>, Set<unsigned long long>, Set<float>>;

#endif  // VLM_TEST_ACTION_H
