// The service's two subscriptions: the camera's replies and the streaming process' answers, handed to
// the request engine.
#ifndef BUS_LISTENERS_H
#define BUS_LISTENERS_H

namespace vlm::service {

/// Starts both listener threads, which serve until the process ends. False when the bus does not
/// deliver to them within 5 s, with errno 0, or when a thread cannot be made, with the reason in errno.
bool start_bus_listeners();

}  // namespace vlm::service

#endif  // BUS_LISTENERS_H
