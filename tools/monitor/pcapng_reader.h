// Reads recordings of the bus, also those that other tools have cut, merged or edited.
#ifndef MONITOR_PCAPNG_READER_H
#define MONITOR_PCAPNG_READER_H

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "entry.h"

namespace vlm::monitor {

/// The entries of one file, in its order. The file may be of either byte order; packets of other
/// link types or other dissectors are passed over.
class PcapngReader {
 public:
  enum Outcome {
    kEntry,    // there is one
    kEnd,      // there are no more
    kForeign,  // the file is no recording of the bus
    kDamaged,  // the file is cut off or damaged; all entries before that have been read
  };

  /// Reads from `in`, which must outlive the reader.
  explicit PcapngReader(std::istream& in) : _in(in) {}

  /// Reads the next entry. After kForeign and kDamaged, which are final, error() says why.
  Outcome next(Entry& entry);
  const std::string& error() const { return _error; }

 private:
  struct Interface {
    bool is_ours = false;  // of the link type of recordings
    std::string name;
    bool binary = false;  // time in units of 2^-exponent seconds, else of 10^-exponent
    unsigned exponent = 6;
    std::int64_t offset_s = 0;
  };
  using Options = std::vector<std::pair<std::uint16_t, std::string>>;

  bool read_block(std::uint32_t& type);
  bool read_length(std::uint32_t type, std::uint32_t& length);
  bool take_block(std::uint32_t type, Entry& entry, bool& is_entry);
  bool take_section();
  bool take_interface();
  bool take_packet(Entry& entry, bool& is_entry);
  bool read_exactly(void* to, std::size_t size);
  bool finish(Outcome outcome, const std::string& why);
  bool options_from(std::size_t at, Options& options) const;
  std::int64_t time_of(const Interface& interface, std::uint64_t units) const;
  template <typename T>
  T load(std::size_t at) const;

  std::istream& _in;
  std::uint64_t _block_at = 0;   // where the block begins that is being read
  std::uint64_t _position = 0;   // bytes read
  Bytes _body;                   // of that block, without its lengths
  bool _swapped = false;         // the section has the other byte order
  std::uint64_t _strangers = 0;  // packets and interfaces of others
  std::uint64_t _entries = 0;
  std::vector<Interface> _interfaces;
  std::optional<Outcome> _final;
  std::string _error;
};

}  // namespace vlm::monitor

#endif  // MONITOR_PCAPNG_READER_H
