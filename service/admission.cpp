#include "admission.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace vlm::service {

namespace {

constexpr unsigned kAddressBits = 32;

std::string text_of(const in_addr& address) {
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &address, text, sizeof text);
  return text;
}

bool parse_prefix(const std::string& text, unsigned& bits) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, bits);
  return error == std::errc() && stop == end && bits <= kAddressBits;
}

std::uint32_t mask_of(unsigned bits) {
  return bits == 0 ? 0 : ~std::uint32_t{0} << (kAddressBits - bits);
}

}  // namespace

bool parse_address(const std::string& text, in_addr& address) {
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

std::optional<Network> parse_network(const std::string& text) {
  const auto slash = text.find('/');
  unsigned bits = kAddressBits;
  if (slash != text.npos && !parse_prefix(text.substr(slash + 1), bits)) return std::nullopt;
  in_addr address{};
  if (!parse_address(text.substr(0, slash), address)) return std::nullopt;
  const Network network{ntohl(address.s_addr), mask_of(bits)};
  if (!network.holds(network.address)) return std::nullopt;
  return network;
}

Admission::Admission(AdmissionRules rules, Tell tell)
    : _rules(std::move(rules)), _tell(std::move(tell)) {}

bool Admission::admits(const sockaddr_in& sender, Clock::time_point now) {
  const std::uint32_t address = ntohl(sender.sin_addr.s_addr);
  const std::lock_guard<std::mutex> guard(_mutex);
  if (!is_allowed(address)) {
    ++_foreign;
  } else if (!is_slow_enough(address, now)) {
    ++_hasty;
  } else {
    return true;
  }
  drop(sender.sin_addr, now);
  return false;
}

bool Admission::is_allowed(std::uint32_t address) const {
  const auto holds = [address](const Network& network) { return network.holds(address); };
  return _rules.allowed.empty() || std::any_of(_rules.allowed.begin(), _rules.allowed.end(), holds);
}

bool Admission::is_slow_enough(std::uint32_t address, Clock::time_point now) {
  if (_rules.rate == 0) return true;
  Allowance& allowance = allowance_of(address, now);
  const double grown = std::chrono::duration<double>(now - allowance.since).count() * _rules.rate;
  allowance.left = std::min<double>(allowance.left + grown, _rules.rate);
  allowance.since = now;
  if (allowance.left < 1) return false;
  allowance.left -= 1;
  return true;
}

Admission::Allowance& Admission::allowance_of(std::uint32_t address, Clock::time_point now) {
  const auto known = _senders.find(address);
  if (known != _senders.end()) return known->second;
  if (_senders.size() == kMostSenders) {
    const auto silent_for_longer = [](const auto& a, const auto& b) {
      return a.second.since < b.second.since;
    };
    _senders.erase(std::min_element(_senders.begin(), _senders.end(), silent_for_longer));
  }
  return _senders.emplace(address, Allowance{static_cast<double>(_rules.rate), now}).first->second;
}

/// Counts it, and tells of it unless that has just been done. Under the lock.
void Admission::drop(const in_addr& sender, Clock::time_point now) {
  _last = text_of(sender);
  if (_last_line && now < *_last_line + kBetweenLines) return;
  _last_line = now;
  tell("datagrams dropped so far");
}

void Admission::tell_rest() {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (_told < _foreign + _hasty) tell("datagrams dropped in all");
}

/// Under the lock.
void Admission::tell(const std::string& beginning) {
  _told = _foreign + _hasty;
  _tell(beginning + ": " + std::to_string(_foreign) + " of senders that are not allowed, " +
        std::to_string(_hasty) + " of senders that sent too many; the last of " + _last);
}

}  // namespace vlm::service
