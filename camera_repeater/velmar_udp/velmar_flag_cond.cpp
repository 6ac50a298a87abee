#include "velmar_flag_cond.h"

#include <chrono>

#include "velmar_output.h"

void VelmarFlagCond::setTarget(std::uint32_t target, bool reset) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _setTarget_locked(target, reset);
}

void VelmarFlagCond::setFlag(std::uint32_t bits, FlagOp op) {
  const std::lock_guard<std::mutex> guard(_mutex);
  switch (op) {
    case OP_OR: _flag |= bits; break;
    case OP_CLEAR: _flag &= ~bits; break;
    default: _flag = bits; break;
  }
  _notify_if_reached_locked();
}

bool VelmarFlagCond::waitForFlag(int timeout_ms) {
  std::unique_lock<std::mutex> lock(_mutex);
  return _waitForFlag_locked(timeout_ms, lock);
}

bool VelmarFlagCond::waitForFlag(std::uint32_t target, bool reset, int timeout_ms) {
  std::unique_lock<std::mutex> lock(_mutex);
  _setTarget_locked(target, reset);
  return _waitForFlag_locked(timeout_ms, lock);
}

bool VelmarFlagCond::_waitForFlag_locked(int timeout_ms, std::unique_lock<std::mutex>& lock) {
  const auto reached = [this] { return _flag == _target_flag; };
  if (reached()) return true;
  if (timeout_ms == 0) return false;
  show_output();
  if (timeout_ms < 0) {
    _cond.wait(lock, reached);
    return true;
  }
  return _cond.wait_until(
      lock, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms), reached);
}

void VelmarFlagCond::resetFlag() {
  const std::lock_guard<std::mutex> guard(_mutex);
  _flag = 0;
  _notify_if_reached_locked();
}

std::uint32_t VelmarFlagCond::targetFlag() {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _target_flag;
}

std::uint32_t VelmarFlagCond::flag() {
  const std::lock_guard<std::mutex> guard(_mutex);
  return _flag;
}

void VelmarFlagCond::_setTarget_locked(std::uint32_t target, bool reset) {
  _target_flag = target;
  if (reset) _flag = 0;
  _notify_if_reached_locked();
}

void VelmarFlagCond::_notify_if_reached_locked() {
  if (_flag == _target_flag) _cond.notify_one();
}
