#include "pcapng_writer.h"

#include "pcapng_format.h"

namespace vlm::monitor {

namespace {

using namespace pcapng;

constexpr std::size_t kLongestOption = 0xFFFF;

// All fields in the byte order of this machine, which the section header tells.
template <typename T>
void put(T value, std::string& out) {
  out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void pad(std::string& out) { out.append((4 - out.size() % 4) % 4, '\0'); }

void put_big_endian(std::uint16_t value, std::string& out) {
  out += static_cast<char>(value >> 8);
  out += static_cast<char>(value & 0xFF);
}

void put_option(Option option, const std::string& value, std::string& body) {
  const std::string text = value.substr(0, kLongestOption);
  put<std::uint16_t>(option, body);
  put(static_cast<std::uint16_t>(text.size()), body);
  body += text;
  pad(body);
}

void put_block(BlockType type, const std::string& body, std::string& out) {
  const auto size = static_cast<std::uint32_t>(body.size() + 3 * sizeof(std::uint32_t));
  put<std::uint32_t>(type, out);
  put(size, out);
  out += body;
  put(size, out);
}

/// The tags that name the dissector.
std::string exported_pdu_tags() {
  std::string name = kDissector;
  pad(name);
  std::string tags;
  put_big_endian(kDissectorTag, tags);
  put_big_endian(static_cast<std::uint16_t>(name.size()), tags);
  tags += name;
  put_big_endian(kEndOfTags, tags);
  put_big_endian(0, tags);
  return tags;
}

}  // namespace

void PcapngWriter::begin(const std::string& program, std::string& out) {
  _interfaces.clear();
  std::string body;
  put(kByteOrder, body);
  put<std::uint16_t>(1, body);  // version 1.0
  put<std::uint16_t>(0, body);
  put<std::int64_t>(-1, body);  // the section's length is not told
  put_option(kSectionApplication, program, body);
  put_option(kEndOfOptions, "", body);
  put_block(kSectionHeader, body, out);
}

void PcapngWriter::add(const Entry& entry, std::string& out) {
  static const std::string tags = exported_pdu_tags();
  const std::uint32_t interface = interface_of(entry.channel, out);
  const auto time = static_cast<std::uint64_t>(entry.time_ns);
  const auto size = static_cast<std::uint32_t>(tags.size() + entry.packet.size());
  std::string body;
  put(interface, body);
  put(static_cast<std::uint32_t>(time >> 32), body);
  put(static_cast<std::uint32_t>(time), body);
  put(size, body);  // captured
  put(size, body);  // original
  body += tags;
  body.append(reinterpret_cast<const char*>(entry.packet.data()), entry.packet.size());
  pad(body);
  if (!entry.comment.empty()) {
    put_option(kComment, entry.comment, body);
    put_option(kEndOfOptions, "", body);
  }
  put_block(kEnhancedPacket, body, out);
}

std::uint32_t PcapngWriter::interface_of(const std::string& channel, std::string& out) {
  const auto number = static_cast<std::uint32_t>(_interfaces.size());
  const auto [place, is_new] = _interfaces.emplace(channel, number);
  if (is_new) {
    std::string body;
    put(kExportedPdu, body);
    put<std::uint16_t>(0, body);
    put<std::uint32_t>(0, body);  // packets of any length
    put_option(kInterfaceName, channel, body);
    put_option(kTimeResolution, std::string(1, '\x09'), body);
    put_option(kEndOfOptions, "", body);
    put_block(kInterface, body, out);
  }
  return place->second;
}

}  // namespace vlm::monitor
