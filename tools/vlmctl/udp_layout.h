// How values travel over the UDP service: its records have another order of fields and of bytes than
// those of the bus.
#ifndef VLMCTL_UDP_LAYOUT_H
#define VLMCTL_UDP_LAYOUT_H

#include <optional>
#include <vector>

#include "catalogue_value.h"

namespace vlm::ctl {

using UdpData = std::vector<u8>;

/// The data bytes of a request with `option`, from the parameters of the same request on the bus.
UdpData udp_data(int option, const catalogue::Payload& payload);
/// The parameters that the bus would have brought; no value: the data have the wrong length.
std::optional<catalogue::Payload> bus_payload(int option, const UdpData& data);

/// How many data bytes an option has; those that are not known are one byte long.
std::size_t udp_size(int option);

}  // namespace vlm::ctl

#endif  // VLMCTL_UDP_LAYOUT_H
