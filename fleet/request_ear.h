// Hears the requests that other programs publish on the camera's bus. The process has one ear.
#ifndef FLEET_REQUEST_EAR_H
#define FLEET_REQUEST_EAR_H

#include <functional>
#include <string>

#include "bridge.h"

namespace vlm::fleet {

/// Calls `ring` on a thread of its own, for the rest of the process' life, when there may be something
/// to take: at once, or after a rest of a few milliseconds. False when that cannot be: `error` says why.
bool listen_for_requests(std::function<void()> ring, std::string& error);

/// Hands what has been published on kRequestChannel until now, this program's own requests included, to
/// `heard`; maybe after its answer has come. Any thread, once the ear listens.
void take_requests(const Bridge::Heard& heard);

}  // namespace vlm::fleet

#endif  // FLEET_REQUEST_EAR_H
