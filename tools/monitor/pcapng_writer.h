// Entries as the bytes of a pcapng file.
#ifndef MONITOR_PCAPNG_WRITER_H
#define MONITOR_PCAPNG_WRITER_H

#include <cstdint>
#include <map>
#include <string>

#include "entry.h"

namespace vlm::monitor {

/// One section of a file. Appends to the text it is given.
class PcapngWriter {
 public:
  /// Begins the section; `program` is named in it.
  void begin(const std::string& program, std::string& out);
  /// Adds an entry, with its channel's interface when that is new.
  void add(const Entry& entry, std::string& out);

 private:
  std::uint32_t interface_of(const std::string& channel, std::string& out);

  std::map<std::string, std::uint32_t> _interfaces;
};

}  // namespace vlm::monitor

#endif  // MONITOR_PCAPNG_WRITER_H
