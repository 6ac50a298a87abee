#include "pcapng_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include "pcapng_format.h"

namespace vlm::monitor {

namespace {

using namespace pcapng;

constexpr std::uint32_t kPcapMagics[] = {0xA1B2C3D4, 0xD4C3B2A1, 0xA1B23C4D, 0x4D3CB2A1};
constexpr std::uint32_t kBlockOverhead = 12;  // type and both lengths
constexpr std::int64_t kNsPerSecond = 1'000'000'000;

template <typename T>
T swapped(T value) {
  auto* const bytes = reinterpret_cast<unsigned char*>(&value);
  std::reverse(bytes, bytes + sizeof value);
  return value;
}

std::size_t padded(std::size_t size) { return (size + 3) / 4 * 4; }

std::uint16_t big_endian(const unsigned char* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

/// Where the datagram begins behind the tags of an exported PDU; none when it is not for our
/// dissector.
std::optional<std::size_t> datagram_in(const unsigned char* pdu, std::size_t size) {
  bool is_ours = false;
  for (std::size_t at = 0; at + 4 <= size;) {
    const std::uint16_t tag = big_endian(pdu + at);
    const std::size_t length = big_endian(pdu + at + 2);
    at += 4;
    if (length > size - at) return std::nullopt;
    if (tag == kEndOfTags) return is_ours ? std::optional(at) : std::nullopt;
    const std::string_view value(reinterpret_cast<const char*>(pdu + at), length);
    if (tag == kDissectorTag) is_ours = value.substr(0, value.find('\0')) == kDissector;
    at += length;
  }
  return std::nullopt;
}

}  // namespace

PcapngReader::Outcome PcapngReader::next(Entry& entry) {
  while (!_final) {
    std::uint32_t type = 0;
    bool is_entry = false;
    if (read_block(type) && take_block(type, entry, is_entry) && is_entry) {
      ++_entries;
      return kEntry;
    }
  }
  return *_final;
}

/// Always false, so that readers can end with it.
bool PcapngReader::finish(Outcome outcome, const std::string& why) {
  _final = outcome;
  _error = outcome == kDamaged ? why + " at byte " + std::to_string(_block_at) : why;
  return false;
}

bool PcapngReader::read_exactly(void* to, std::size_t size) {
  _in.read(static_cast<char*>(to), static_cast<std::streamsize>(size));
  _position += static_cast<std::uint64_t>(_in.gcount());
  return static_cast<std::size_t>(_in.gcount()) == size;
}

/// Reads a whole block into `_body`. False when that was the last, or is none.
bool PcapngReader::read_block(std::uint32_t& type) {
  _block_at = _position;
  if (!read_exactly(&type, sizeof type)) {
    if (_position != _block_at) {
      return _block_at == 0 ? finish(kForeign, "not a pcapng file") : finish(kDamaged, "cut off");
    }
    if (_block_at == 0) return finish(kForeign, "the file is empty");
    if (_entries == 0 && _strangers != 0) {
      return finish(kForeign, "a pcapng file without a packet of the bus");
    }
    return finish(kEnd, "");
  }
  std::uint32_t length = 0;
  if (!read_length(type, length)) return false;
  const std::size_t have = _body.size();  // the byte order of a section header
  _body.resize(length - kBlockOverhead);
  std::uint32_t again = 0;
  if (!read_exactly(_body.data() + have, _body.size() - have) ||
      !read_exactly(&again, sizeof again)) {
    return finish(kDamaged, "cut off");
  }
  if ((_swapped ? swapped(again) : again) != length) return finish(kDamaged, "damaged");
  type = _swapped ? swapped(type) : type;
  return true;
}

/// Reads the length of the block; of a section header the byte order as well, into `_body`.
bool PcapngReader::read_length(std::uint32_t type, std::uint32_t& length) {
  _body.clear();
  if (_block_at == 0 && type != kSectionHeader) {
    const bool is_pcap =
        std::find(std::begin(kPcapMagics), std::end(kPcapMagics), type) != std::end(kPcapMagics);
    return finish(kForeign,
                  is_pcap ? "a pcap file; recordings of the bus are pcapng" : "not a pcapng file");
  }
  if (!read_exactly(&length, sizeof length)) return finish(kDamaged, "cut off");
  if (type == kSectionHeader) {
    std::uint32_t order = 0;
    if (!read_exactly(&order, sizeof order)) return finish(kDamaged, "cut off");
    if (order != kByteOrder && swapped(order) != kByteOrder) {
      return _block_at == 0 ? finish(kForeign, "not a pcapng file") : finish(kDamaged, "damaged");
    }
    _swapped = order != kByteOrder;
    _body.resize(sizeof order);
  }
  if (_swapped) length = swapped(length);
  const bool possible =
      length % 4 == 0 && length >= kBlockOverhead + _body.size() && length <= kMaxBlock;
  return possible || finish(kDamaged, "damaged");
}

template <typename T>
T PcapngReader::load(std::size_t at) const {
  T value;
  std::memcpy(&value, _body.data() + at, sizeof value);
  return _swapped ? swapped(value) : value;
}

bool PcapngReader::take_block(std::uint32_t type, Entry& entry, bool& is_entry) {
  constexpr std::uint32_t kObsoletePacket = 2;
  constexpr std::uint32_t kSimplePacket = 3;
  switch (type) {
    case kSectionHeader: return take_section() || finish(kDamaged, "damaged");
    case kInterface: return take_interface() || finish(kDamaged, "damaged");
    case kEnhancedPacket: return take_packet(entry, is_entry) || finish(kDamaged, "damaged");
    case kObsoletePacket:
    case kSimplePacket: ++_strangers; return true;
    default: return true;
  }
}

bool PcapngReader::take_section() {
  _interfaces.clear();
  return _body.size() >= 16;
}

bool PcapngReader::take_interface() {
  Options options;
  if (_body.size() < 8 || !options_from(8, options)) return false;
  Interface interface;
  interface.is_ours = load<std::uint16_t>(0) == kExportedPdu;
  for (const auto& [code, value] : options) {
    if (code == kInterfaceName) interface.name = value;
    if (code == kTimeResolution && value.size() == 1) {
      const auto units = static_cast<unsigned char>(value[0]);
      interface.binary = (units & 0x80) != 0;
      interface.exponent = units & 0x7FU;
    }
    if (code == kTimeOffset && value.size() == sizeof interface.offset_s) {
      std::memcpy(&interface.offset_s, value.data(), value.size());
      if (_swapped) interface.offset_s = swapped(interface.offset_s);
    }
  }
  if (!interface.is_ours) ++_strangers;
  _interfaces.push_back(std::move(interface));
  return true;
}

bool PcapngReader::take_packet(Entry& entry, bool& is_entry) {
  constexpr std::size_t kHead = 20;
  if (_body.size() < kHead) return false;
  const auto number = load<std::uint32_t>(0);
  const std::size_t size = load<std::uint32_t>(12);
  const std::size_t original = load<std::uint32_t>(16);
  if (number >= _interfaces.size() || size > _body.size() - kHead) return false;
  const Interface& interface = _interfaces[number];
  const unsigned char* const pdu = _body.data() + kHead;
  const auto datagram = interface.is_ours ? datagram_in(pdu, size) : std::nullopt;
  if (!datagram) {
    ++_strangers;
    return true;
  }
  Options options;
  if (size < original || !options_from(kHead + padded(size), options)) return false;
  entry = {};
  entry.time_ns =
      time_of(interface, std::uint64_t{load<std::uint32_t>(4)} << 32 | load<std::uint32_t>(8));
  entry.channel = interface.name;
  entry.packet.assign(pdu + *datagram, pdu + size);
  for (const auto& [code, value] : options) {
    if (code == kComment && entry.comment.empty()) entry.comment = value;
  }
  is_entry = true;
  return true;
}

/// False when they do not fit into the block.
bool PcapngReader::options_from(std::size_t at, Options& options) const {
  while (at + 4 <= _body.size()) {
    const auto code = load<std::uint16_t>(at);
    const std::size_t size = load<std::uint16_t>(at + 2);
    at += 4;
    if (code == kEndOfOptions) return true;
    if (size > _body.size() - at) return false;
    options.emplace_back(code, std::string(reinterpret_cast<const char*>(_body.data()) + at, size));
    at += padded(size);
  }
  return at >= _body.size();
}

/// Times outside 1970 to 2043 come out as the nearest one inside, so that no sum or difference of
/// two leaves a 64-bit number of nanoseconds.
std::int64_t PcapngReader::time_of(const Interface& interface, std::uint64_t units) const {
  constexpr std::int64_t kLatestNs = std::int64_t{1} << 61;
  constexpr std::int64_t kLatestS = kLatestNs / kNsPerSecond;
  long double per_second = 1;
  for (unsigned i = 0; i < interface.exponent; ++i) per_second *= interface.binary ? 2 : 10;
  const long double about_ns = static_cast<long double>(units) / per_second * kNsPerSecond;
  std::int64_t ns = kLatestNs;
  if (about_ns < kLatestNs) {
    // Whole nanoseconds are exact also where a long double is not.
    const bool whole = !interface.binary && interface.exponent <= 9;
    ns = whole ? static_cast<std::int64_t>(units) * std::llround(kNsPerSecond / per_second)
               : static_cast<std::int64_t>(about_ns);
  }
  const std::int64_t offset_s = std::clamp(interface.offset_s, -kLatestS, kLatestS);
  return std::clamp<std::int64_t>(ns + offset_s * kNsPerSecond, 0, kLatestNs);
}

}  // namespace vlm::monitor
