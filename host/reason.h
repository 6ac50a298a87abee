// Why a call to the system failed.
#ifndef HOST_REASON_H
#define HOST_REASON_H

#include <cerrno>
#include <string>
#include <system_error>

namespace vlm::host {

/// The words for an error number; without one, for the last error of this thread.
inline std::string reason(int error = errno) { return std::system_category().message(error); }

}  // namespace vlm::host

#endif  // HOST_REASON_H
