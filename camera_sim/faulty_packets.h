// What the faults do to the packets of replies.
#ifndef CAMERA_SIM_FAULTY_PACKETS_H
#define CAMERA_SIM_FAULTY_PACKETS_H

#include "packet_schedule.h"
#include "sim_faults.h"

namespace vlm::sim {

/// Cuts, lengthens and changes the packet of a reply as its fate says.
void damage(OutgoingPacket& reply, const Fate& fate);

/// A reply to another command than `code`, that succeeded with any data; the same for a seed.
udp_ctrl_cam_t stray_reply(u16 code, u64 seed);

}  // namespace vlm::sim

#endif  // CAMERA_SIM_FAULTY_PACKETS_H
