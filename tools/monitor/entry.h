// What a recording of the bus is made of.
#ifndef MONITOR_ENTRY_H
#define MONITOR_ENTRY_H

#include <cstdint>
#include <string>
#include <vector>

namespace vlm::monitor {

using Bytes = std::vector<unsigned char>;

/// The channel of entries that are a comment alone; no channel of the bus has such a name.
constexpr char kNotesChannel[] = "vlm_bus/notes";
/// The comment of a packet whose secrets have been blanked.
constexpr char kRedacted[] = "redacted";

/// A packet of the bus, or a comment alone.
struct Entry {
  std::int64_t time_ns = 0;  // since 1970
  std::string channel;       // where it was published
  Bytes packet;              // sender's channel (64 bytes) and message; none: a comment alone
  std::string comment;
};

/// The comment that tells of lost packets.
std::string loss_comment(std::uint64_t count);
/// How many packets the comment says were lost; 0 for another comment.
std::uint64_t loss_in(const std::string& comment);

}  // namespace vlm::monitor

#endif  // MONITOR_ENTRY_H
