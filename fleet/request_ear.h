// Hears the requests that other programs publish on the camera's bus.
#ifndef FLEET_REQUEST_EAR_H
#define FLEET_REQUEST_EAR_H

#include <cstddef>
#include <functional>
#include <string>

#include "request_desk.h"

namespace vlm::fleet {

using Heard = std::function<void(const void* packet, std::size_t length,
                                 const RequestDesk::Published& published)>;

/// Hands each packet that is published on kRequestChannel to `heard`, maybe after its answer has come,
/// on a thread of its own, for the rest of the process' life. False when that cannot be: `error` says
/// why.
bool overhear_requests(Heard heard, std::string& error);

}  // namespace vlm::fleet

#endif  // FLEET_REQUEST_EAR_H
