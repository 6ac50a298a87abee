#include "udp_link.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "assignment.h"
#include "interruption.h"
#include "vlm_udp_camctrl_defines.h"

namespace vlm::ctl {

using catalogue::Payload;
using catalogue::Row;
using client::Answer;
using client::Outcome;

namespace {

constexpr char kScheme[] = "udp://";
constexpr char kDefaultPort[] = "9528";

constexpr std::size_t kLengthPlace = 1;
constexpr std::size_t kResultPlace = 4;
constexpr std::size_t kOptionPlace = 6;
constexpr std::size_t kDataPlace = 8;
constexpr std::size_t kCrcSize = 2;
/// Refusals are the whole record, whatever their length says.
constexpr std::size_t kRecordSize = sizeof(camctrl_msg_t);

/// CRC-16/MCRF4XX.
u16 crc_of(const u8* bytes, std::size_t size) {
  u32 crc = 0xFFFF;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0x8408 : crc >> 1;
  }
  return static_cast<u16>(crc);
}

u16 number_at(const UdpData& packet, std::size_t place) {
  return static_cast<u16>(packet[place] << 8 | packet[place + 1]);
}

void append(UdpData& packet, u16 number) {
  packet.push_back(static_cast<u8>(number >> 8));
  packet.push_back(static_cast<u8>(number & 0xFF));
}

/// Whether the CRC behind `size` data bytes is right.
bool is_sound(const UdpData& packet, std::size_t size) {
  const std::size_t end = kDataPlace + size;
  return packet.size() >= end + kCrcSize &&
         number_at(packet, end) == crc_of(packet.data() + kLengthPlace, end - kLengthPlace);
}

Answer with_error(int error) {
  Answer answer;
  answer.error = error;
  answer.outcome = Outcome::kRefused;
  if (error == VLM_ERR_NONE) answer.outcome = Outcome::kDone;
  if (error == VLM_ERR_BUSY) answer.outcome = Outcome::kBusy;
  // The service's own time-out: the camera did not answer it.
  if (error == VLM_ERR_IS_TIMEOUT) answer.outcome = Outcome::kNoAnswer;
  return answer;
}

Answer with_outcome(Outcome outcome, std::string reason = "") {
  Answer answer;
  answer.outcome = outcome;
  answer.reason = std::move(reason);
  return answer;
}

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses addresses_of(const std::string& host, const std::string& port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_DGRAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
  if (error != 0) fail(kNoCamera, host, gai_strerror(error));
  return Addresses(found);
}

/// A socket that sends to the service and hears nobody else. None: it cannot be reached.
bus::UniqueFd connected(const std::string& host, const std::string& port) {
  const Addresses addresses = addresses_of(host, port);
  for (const addrinfo* each = addresses.get(); each != nullptr; each = each->ai_next) {
    bus::UniqueFd made(socket(each->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (made && connect(made.get(), each->ai_addr, each->ai_addrlen) == 0) return made;
  }
  return {};
}

bool is_port(const std::string& written) {
  return !written.empty() && written.size() <= 5 &&
         written.find_first_not_of("0123456789") == std::string::npos && std::stoi(written) >= 1 &&
         std::stoi(written) <= 65535;
}

}  // namespace

UdpData udp_request(int option, const UdpData& data) {
  UdpData packet{0, static_cast<u8>(data.size() + kCrcSize), 0, 0, 0, 0};
  append(packet, static_cast<u16>(option));
  packet.insert(packet.end(), data.begin(), data.end());
  append(packet, crc_of(packet.data() + kLengthPlace, packet.size() - kLengthPlace));
  return packet;
}

std::optional<Answer> udp_answer(int option, const UdpData& packet) {
  const bool whole = packet.size() >= kDataPlace + kCrcSize &&
                     number_at(packet, kOptionPlace) == static_cast<u16>(option);
  if (!whole) return std::nullopt;
  Answer answer = with_error(number_at(packet, kResultPlace));
  if (packet.size() == kRecordSize && answer.error != VLM_ERR_NONE) {
    // Its CRC is that of a packet without data.
    if (!is_sound(packet, 0)) return std::nullopt;
    return answer;
  }
  const std::size_t length = packet[kLengthPlace];
  if (length < kCrcSize || packet.size() != kDataPlace + length) return std::nullopt;
  if (!is_sound(packet, length - kCrcSize)) return std::nullopt;
  const UdpData data(packet.begin() + kDataPlace, packet.end() - kCrcSize);
  if (answer.done() && !data.empty()) {
    const auto payload = bus_payload(option, data);
    if (!payload) return with_outcome(Outcome::kGarbled);
    answer.payload = *payload;
  }
  return answer;
}

bool UdpLink::is_url(const std::string& camera) { return camera.rfind(kScheme, 0) == 0; }

UdpLink::UdpLink(const std::string& url, std::chrono::milliseconds timeout)
    : _url(url), _timeout(timeout), _port(kDefaultPort) {
  const std::string address = url.substr(sizeof kScheme - 1);
  const bool bracketed = !address.empty() && address[0] == '[';
  const std::size_t host_end = bracketed ? address.find(']') : address.rfind(':');
  _host = bracketed ? address.substr(1, host_end - 1) : address.substr(0, host_end);
  const std::size_t colon = bracketed && host_end != std::string::npos ? host_end + 1 : host_end;
  if (colon < address.size()) _port = address.substr(colon + 1);
  const bool wrong = _host.empty() || !is_port(_port) ||
                     (bracketed && host_end == std::string::npos) ||
                     (colon < address.size() && address[colon] != ':');
  if (wrong) fail(kUsage, url, "udp://HOST[:PORT] is wanted");
  _socket = connected(_host, _port);
  if (!_socket) fail(kNoCamera, url, "it cannot be reached");
}

/// The answer to the request that is out, if it has come and is one. No value: `deadline` has passed.
std::optional<Answer> UdpLink::receive(int option, bool reads, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd ready{_socket.get(), POLLIN, 0};
    if (left.count() <= 0) return std::nullopt;
    if (interrupted()) return with_outcome(Outcome::kCancelled);
    if (poll(&ready, 1, static_cast<int>(std::min(left, kLookInterval).count())) <= 0) continue;
    // One byte more than the longest, so that a longer one is seen.
    std::array<u8, kRecordSize + 1> buffer{};
    const ssize_t size = recv(_socket.get(), buffer.data(), buffer.size(), 0);
    if (size < 0 && errno == ECONNREFUSED) return with_outcome(Outcome::kNotSent);
    if (size < 0) continue;
    auto answer = udp_answer(option, UdpData(buffer.data(), buffer.data() + size));
    if (!answer) continue;
    const bool empty = answer->done() && reads && size == kDataPlace + kCrcSize;
    return empty ? with_outcome(Outcome::kGarbled) : *answer;
  }
}

Answer UdpLink::ask(int option, const UdpData& data) {
  if (interrupted()) return with_outcome(Outcome::kCancelled);
  if (!_socket) _socket = connected(_host, _port);
  const UdpData packet = udp_request(option, data);
  const auto start = Clock::now();
  if (!_socket || ::send(_socket.get(), packet.data(), packet.size(), MSG_NOSIGNAL) < 0) {
    return with_outcome(Outcome::kNotSent);
  }
  const Row* const row = catalogue::find_by_option(option);
  const bool reads = row != nullptr && row->remote.get == option;
  auto answer = receive(option, reads, start + _timeout);
  const bool owed =
      !answer || answer->outcome == Outcome::kNoAnswer || answer->outcome == Outcome::kCancelled;
  if (owed) _socket = {};
  if (!answer) return with_outcome(Outcome::kNoAnswer);
  answer->round_trip = Clock::now() - start;
  return *answer;
}

Answer UdpLink::get(const Row& row, const catalogue::Members&) {
  Answer answer = ask(row.remote.get, {});
  if (!answer.done()) return answer;
  auto value = decode(row.value, answer.payload.data(), answer.payload.size());
  if (!value) return with_outcome(Outcome::kGarbled);
  answer.value = std::move(*value);
  return answer;
}

Answer UdpLink::set(const Row& row, const catalogue::Value& value) {
  Payload payload{};
  std::string error;
  if (!encode(row.value, value, payload, error)) return with_outcome(Outcome::kInvalid, error);
  const UdpData data = udp_data(row.remote.set, payload);
  // What does not fit into the service's narrower fields is not to be cut.
  const auto carried = bus_payload(row.remote.set, data);
  const auto arrived = decode(row.value, carried->data(), carried->size());
  if (!arrived || !is_same(row.value, value, *arrived)) {
    return with_outcome(Outcome::kInvalid, "the value does not fit into what " + _url + " takes");
  }
  return ask(row.remote.set, data);
}

Answer UdpLink::run(const Row& row, const catalogue::Members& parameters) {
  Payload payload{};
  std::string error;
  if (!encode_parameters(row, parameters, payload, error)) {
    return with_outcome(Outcome::kInvalid, error);
  }
  // The service formats the external card, 0, whatever is asked.
  const bool ignored = row.remote.run == VELMAR_MISC_FORMAT_SDCARD && payload[0] != 0;
  if (ignored) return with_outcome(Outcome::kInvalid, _url + " formats the external card alone");
  return ask(row.remote.run, udp_data(row.remote.run, payload));
}

Answer UdpLink::send(u16, const Payload&) {
  return with_outcome(Outcome::kInvalid, "codes cannot be sent over " + _url);
}

void UdpLink::on_notification(client::CameraClient::Notified) {}

}  // namespace vlm::ctl
