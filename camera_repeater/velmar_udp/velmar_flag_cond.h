// A 32-bit flag word that writers change bit-wise, and the value of it that a reader waits for.
#ifndef VELMAR_FLAG_COND_H
#define VELMAR_FLAG_COND_H

#include <condition_variable>
#include <cstdint>
#include <mutex>

/// How setFlag combines the given bits with the flag.
enum FlagOp : int {
  OP_NONE = 0,   // replace
  OP_OR = 1,     // set
  OP_CLEAR = 2,  // clear
};

/// Thread-safe; one waiting reader at a time, since a change wakes one. The mutex is a leaf: no
/// member calls out with it held.
class VelmarFlagCond {
 public:
  /// Arms the wait: `target` is the awaited value; `reset` clears the flag first.
  void setTarget(std::uint32_t target, bool reset);

  /// Combines `bits` with the flag; an `op` that is none of the three replaces.
  void setFlag(std::uint32_t bits, FlagOp op);

  /// Waits until the flag equals the target: at most `timeout_ms`, without limit when negative,
  /// not at all when 0. Returns whether they are equal at the end.
  bool waitForFlag(int timeout_ms);

  /// Arms and waits in one step, so that no change in between is missed.
  bool waitForFlag(std::uint32_t target, bool reset, int timeout_ms);

  void resetFlag();
  std::uint32_t targetFlag();
  std::uint32_t flag();

 private:
  bool _waitForFlag_locked(int timeout_ms, std::unique_lock<std::mutex>& lock);
  void _setTarget_locked(std::uint32_t target, bool reset);
  void _notify_if_reached_locked();

  std::mutex _mutex;  // guards the two below
  std::condition_variable _cond;
  std::uint32_t _flag = 0;
  std::uint32_t _target_flag = 0;
};

#endif  // VELMAR_FLAG_COND_H
