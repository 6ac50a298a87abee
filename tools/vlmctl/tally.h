// How a command that does several things ends.
#ifndef VLMCTL_TALLY_H
#define VLMCTL_TALLY_H

#include "exit_status.h"

namespace vlm::ctl {

class Tally {
 public:
  void succeeded() { ++_successes; }
  void failed(int status) {
    _mixed = _mixed || (_status != kDone && _status != status);
    _status = status;
  }

  /// Of one thing, or where all failed alike, their own; else, part of several failed.
  int status() const {
    const bool alike = _status != kDone && !_mixed && _successes == 0;
    if (_status == kDone) return kDone;
    return alike ? _status : kPartly;
  }

 private:
  unsigned _successes = 0;
  int _status = kDone;  // of the last failure
  bool _mixed = false;
};

}  // namespace vlm::ctl

#endif  // VLMCTL_TALLY_H
