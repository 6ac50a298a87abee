#include "lcm_request.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "time_helper.h"
#include "velmar_cmd.h"
#include "velmar_err.h"
#include "velmar_log.h"
#include "velmar_output.h"

namespace {

/// Made before every other static object of the program, whose initialisers may use the engine in
/// whatever order they are linked; never destroyed.
union EngineStorage {
  EngineStorage() : engine() {}
  ~EngineStorage() {}
  EngineStorage(const EngineStorage&) = delete;
  EngineStorage& operator=(const EngineStorage&) = delete;

  LcmRequest engine;
};

// 101 is the first priority that a program may use.
__attribute__((init_priority(101))) EngineStorage g_engine;

// A level of its own in the trace log: a time stamp, no counter.
constexpr int kLogPlain = 4;

// Between them stands a command's name, behind them the result.
constexpr std::string_view kFinished = "finish waiting for cmd ";
constexpr std::string_view kFinishedWith = " response. error code: ";

void report_still_pending(int state, int last_sent, const char* caller) {
  std::printf("Error: a request is already pending:[%d], last sent cmd: %s\n", state,
              vlm_strcmd(last_sent));
  show_output();  // the log's card may take its time, here and below
  vlm_log_print(kLogPlain, "Error: a request is already pending.");
  if (caller != nullptr) {
    vlm_log_print(kLogPlain, " %s() failed.", caller);
    std::printf(" %s() failed.", caller);
  }
  std::printf("\n");
}

}  // namespace

LcmRequest& lcm_request = g_engine.engine;

LcmRequest::LcmRequest() {
  std::memcpy(_packet.channel, kReplyChannel, sizeof kReplyChannel);
  _packet.msg_buf[offsetof(msg_from_rep_t, msg_type)] = LCM_CONTROL_CAMERA;
}

bool LcmRequest::get_ready(const char* caller) {
  MutexLock lock(_mutex);
  const auto idle = [this]() VLM_REQUIRES(_mutex) { return _state == IDLE; };
  if (!lock.wait_at_most(_lcm_ready_cond, _timeouts.ready, idle)) {
    report_still_pending(_state, _last_cmd_type_sent, caller);
    return false;
  }
  _state = BUSY;
  print_pieces({caller != nullptr ? caller : "(null)", "() is ready.\n"});
  return true;
}

void LcmRequest::send_ctrl_cam(const udp_ctrl_cam_t& cmd) {
  std::memcpy(_packet.msg_buf + offsetof(msg_from_rep_t, msg_data), &cmd, sizeof cmd);
  _lcm_request_time_start = time_ms();
  _last_cmd_type_sent = cmd.cmd_type;
  // A lost request shows as a time-out, whatever the bus says.
  send_msg_to_lcm(&_packet, sizeof(msg_from_rep_t), kRequestChannel);
}

bool LcmRequest::send_and_wait(const udp_ctrl_cam_t& cmd, int* result) {
  return send_and_wait(cmd, result, {});
}

bool LcmRequest::send_and_wait(const udp_ctrl_cam_t& cmd, int* result, const Results& results) {
  MutexLock lock(_mutex);
  send_ctrl_cam(cmd);
  const std::string_view name = vlm_strcmd(cmd.cmd_type);
  print_pieces({"Send ", name, "\n"});

  const bool answered = wait_for_reply(lock, cmd, name);
  const bool consistent = cmd.cmd_type == _last_cmd_type_sent && _state == BUSY;
  if (answered && consistent && m_err_code == VLM_ERR_NONE) {
    print_pieces({kFinished, name, kFinishedWith, "0\nRecv ", name, " Ack OK\n"});
    for (const Result& copy : results) {
      if (copy.size != 0) std::memcpy(copy.out, copy.field, copy.size);
    }
  } else {
    report_failure(answered, cmd, name);
  }
  const int err = m_err_code;
  if (result != nullptr) *result = err;

  _state = IDLE;
  _last_cmd_type_sent = -1;
  _last_cmd_type_received = -1;
  _lcm_ready_cond.notify_one();
  return err == VLM_ERR_NONE;
}

bool LcmRequest::wait_for_reply(MutexLock& lock, const udp_ctrl_cam_t& cmd, std::string_view name) {
  const auto timeout =
      cmd.cmd_type == UDP_CTRL_CAM_GET_CAMERA_STATUS ? _timeouts.status_reply : _timeouts.reply;
  const auto answered = [&]() VLM_REQUIRES(_mutex) {
    return _last_cmd_type_received == cmd.cmd_type;
  };
  if (!lock.wait_at_most(_lcm_response_cond, timeout, answered)) {
    std::printf("error: LCM request %s timeout waiting for answer\n", name.data());
    show_output();
    vlm_log_print(kLogPlain, "error: LCM request %s timeout waiting for answer", name.data());
    m_err_code = VLM_ERR_IS_TIMEOUT;
    return false;
  }
  return true;
}

/// Says why the request has no result, and leaves the reason in m_err_code.
void LcmRequest::report_failure(bool answered, const udp_ctrl_cam_t& cmd, std::string_view name) {
  if (answered) {
    const char* const sent = vlm_strcmd(_last_cmd_type_sent);
    print_pieces({kFinished, sent, kFinishedWith, Decimal(m_err_code), "\n"});
    if (cmd.cmd_type != _last_cmd_type_sent) {
      m_err_code = VLM_ERR_FAILED;
      std::printf(
          "!!!!CRITICAL!!!! last sent cmd %s was changed unexpectedly. it is supposed to be %s\n",
          sent, name.data());
    }
  }
  if (_state != BUSY) {
    m_err_code = VLM_ERR_FAILED;
    std::puts(
        "!!!!CRITICAL!!!! the state of the lcm_request machine is supposed to be BUSY, but it's "
        "IDEL.");
  }
  const char* const reason = vlm_strerr(m_err_code);
  std::printf("LCM request %s failed with: %s\n", name.data(), reason);
  show_output();
  vlm_log_print(kLogPlain, "LCM request %s failed with: %s", name.data(), reason);
}

void LcmRequest::receive_msg(const udp_ctrl_cam_t& reply) {
  MutexLock lock(_mutex);
  if (_state != BUSY) {
    std::puts("not waiting on answer");
    lock.unlock();
    show_output();
    return;
  }
  const Decimal took(elapsed_ms(_lcm_request_time_start, time_ms()));
  print_pieces({"LCM request ", vlm_strcmd(reply.cmd_type), " took: ", took, " ms, error ",
                Decimal(reply.err_code), "\n"});
  if (reply.err_code == VLM_ERR_NONE) save_lcm_result(reply);
  // Whoever waits still has to wake up: what comes until then must not take its answer away.
  if (!is_answered()) {
    _last_cmd_type_received = reply.cmd_type;
    m_err_code = reply.err_code;
  }
  const bool answered = is_answered();
  // The woken caller needs the lock at once: give it back first.
  lock.unlock();
  _lcm_response_cond.notify_one();
  // A caller that has its answer prints more, and shows all of it together.
  if (!answered) show_output();
}

bool LcmRequest::is_answered() const {
  return _last_cmd_type_received != -1 && _last_cmd_type_received == _last_cmd_type_sent;
}

void LcmRequest::prepare_wait_lcm_notification(u32 target) {
  _lcm_notification_cond.setTarget(target, true);
}

bool LcmRequest::wait_lcm_notification(int timeout_ms, LcmNotificationParam* param) {
  const bool reached = _lcm_notification_cond.waitForFlag(timeout_ms);
  if (reached && param != nullptr) *param = _lcm_notification_param;
  return reached;
}

void LcmRequest::update_lcm_notification(u32 bits, const LcmNotificationParam* param) {
  // Before the flag, so that the reader that sees the flag reads the parameter stored with it.
  if (param != nullptr) _lcm_notification_param = *param;
  _lcm_notification_cond.setFlag(bits, OP_OR);
}

bool LcmRequest::say(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vprintf(format, args);
  va_end(args);
  return true;
}

void lcm_request_receive_msg(udp_ctrl_cam_t* reply) {
  if (reply != nullptr) lcm_request.receive_msg(*reply);
}
