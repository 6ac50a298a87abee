// Sees to it that one process of a kind serves a bus: two simulated cameras would both answer.
//
// On the bus of this repository the process holds a lock on a file in the bus directory. The system
// gives it to one of any number that start at the same moment, and takes it back when the process
// ends, however it ends. The board's own bus has no directory: there the process asks on the channel
// that it serves, see role_inquiry.h.
#ifndef BUS_ROLE_H
#define BUS_ROLE_H

#include <functional>
#include <string>

namespace vlm::bus {

/// Starts serving `channel` in `role`, which `subscribe` does, and keeps the role until the process
/// ends. Returns an empty text, or why it does not serve: another process has the role, which
/// `force`, the option --force of its program, overrides, or `subscribe` failed. To be called once.
std::string serve_in_role(const std::string& role, const std::string& channel, bool force,
                          const std::function<bool()>& subscribe);

/// To be called first with each packet of the channel. True: it is not for anyone else. Bus threads.
bool is_role_packet(const void* packet, unsigned int length);

}  // namespace vlm::bus

#endif  // BUS_ROLE_H
