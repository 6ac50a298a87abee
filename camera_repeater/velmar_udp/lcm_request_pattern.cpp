#include "lcm_request_pattern.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "velmar_log.h"
#include "velmar_output.h"

LcmRequest::Request::Request(LcmRequest& engine, const char* caller, udp_ctrl_cam_cmds code)
    : _engine(engine), _ready(engine.get_ready(caller)) {
  _record.cmd_type = static_cast<u16>(code);
}

LcmRequest::Request& LcmRequest::Request::code_into(int* perr) {
  _perr = perr;
  return *this;
}

LcmRequest::Request& LcmRequest::Request::with_bytes(const void* bytes, std::size_t size) {
  std::memcpy(_record.cmd_params, bytes, std::min(size, sizeof _record.cmd_params));
  return *this;
}

LcmRequest::Request& LcmRequest::Request::with_text(const char* text, std::size_t size) {
  return with_bytes(text, strnlen(text, std::min(size, sizeof _record.cmd_params)));
}

LcmRequest::Request& LcmRequest::Request::trace(const char* format, ...) {
  if (!_ready) return *this;
  va_list args;
  va_start(args, format);
  std::vprintf(format, args);
  va_end(args);
  return *this;
}

LcmRequest::Request& LcmRequest::Request::armed(const unsigned int* target) {
  if (_ready && target != nullptr) _engine.prepare_wait_lcm_notification(*target);
  return *this;
}

LcmRequest::Request& LcmRequest::Request::logged(int failed_level, const char* failed,
                                                 int done_level, const char* done) {
  _log_done = {done_level, done};
  _log_failed = {failed_level, failed};
  return *this;
}

bool LcmRequest::Request::send() { return send(nullptr); }

bool LcmRequest::Request::send(const char* failed, const char* done) {
  if (!_ready) {
    if (_perr != nullptr) *_perr = VLM_ERR_BUSY;
    return false;
  }
  const bool success = _engine.send_and_wait(_record, _perr, _results);
  const LogEntry& entry = success ? _log_done : _log_failed;
  if (entry.text != nullptr) {
    show_output();  // the log's card may take its time
    vlm_log_print(entry.level, "%s", entry.text);
  }
  const char* const text = success ? done : failed;
  if (text != nullptr) std::puts(text);
  return success;
}
