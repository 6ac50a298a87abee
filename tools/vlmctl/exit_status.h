// How the program ends: what scripts rely on.
#ifndef VLMCTL_EXIT_STATUS_H
#define VLMCTL_EXIT_STATUS_H

#include <string>
#include <string_view>

namespace vlm::ctl {

enum ExitStatus {
  kDone = 0,
  kRefused = 1,       // by the camera
  kUsage = 2,         // the command line is wrong
  kNoAnswer = 3,      // in time, or none that holds the value
  kBusy = 4,          // camera or service, to the end
  kNotAllowed = 5,    // unknown name, or a value that is not allowed
  kNotOffered = 6,    // cannot be read, written or run, at all or on this way
  kNoCamera = 7,      // no bus, or no camera on it
  kDiffers = 8,       // what was read back is not what was set
  kPartly = 9,        // some of several failed, or the output could not be written
  kDifferences = 10,  // two sets of settings differ
  kRanOut = 11,       // what was waited for did not come
};

/// Why a command, or one step of it, failed. Commands throw it; the program reports it once.
struct Failure {
  // Not inline, as there are many of them and the program is to stay small.
  Failure(ExitStatus its_status, std::string_view its_subject, std::string_view its_message,
          int its_code = 0);
  Failure(const Failure& other);
  Failure(Failure&& other) noexcept;
  Failure& operator=(const Failure& other);
  Failure& operator=(Failure&& other) noexcept;
  ~Failure();

  ExitStatus status;
  std::string subject;  // the setting or action; empty: the command itself
  std::string message;
  int code;  // the camera's result, a vlm_err_t value; 0: it gave none
};

/// Throws it.
[[noreturn]] void fail(ExitStatus status, std::string_view subject, std::string_view message);
[[noreturn]] void fail(ExitStatus status, const char* subject, const char* message);

}  // namespace vlm::ctl

#endif  // VLMCTL_EXIT_STATUS_H
