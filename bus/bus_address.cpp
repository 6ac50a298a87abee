#include "bus_address.h"

#include <algorithm>
#include <charconv>

namespace vlm::bus {

namespace {

constexpr std::string_view kDirectory = "unix:";
constexpr std::string_view kPlain = "mqtt://";
constexpr std::string_view kSecure = "mqtts://";
constexpr int kPlainPort = 1883;
constexpr int kSecurePort = 8883;
constexpr int kLastPort = 65535;
constexpr std::size_t kMaxName = 64;
constexpr std::size_t kMaxHost = 255;

bool begins_with(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

bool is_letter_or_digit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Takes what stands before `separator`, with it, off the text; all of it when there is none.
std::string_view take_until(std::string_view& text, char separator) {
  const auto end = text.find(separator);
  const std::string_view part = text.substr(0, end);
  text.remove_prefix(end == text.npos ? text.size() : end + 1);
  return part;
}

bool is_host(std::string_view host) {
  return !host.empty() && host.size() <= kMaxHost &&
         std::all_of(host.begin(), host.end(), [](char c) {
           return is_letter_or_digit(c) || c == '-' || c == '.' || c == ':' || c == '_';
         });
}

bool parse_port(std::string_view text, int& port) {
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), port);
  return fault == std::errc{} && end == text.data() + text.size() && port > 0 && port <= kLastPort;
}

/// Takes apart HOST[:PORT] or [HOST][:PORT]; returns what is wrong with it.
const char* parse_server(std::string_view server, BrokerAddress& address) {
  address.port = address.tls ? kSecurePort : kPlainPort;
  std::string_view host = server;
  std::string_view port;
  if (begins_with(server, "[")) {
    if (server.find(']') == server.npos) return "the host is no name or number";
    server.remove_prefix(1);
    host = take_until(server, ']');
    if (!server.empty() && server.front() != ':') return "the host is no name or number";
    port = server;
  } else if (const auto colon = server.find(':'); colon != server.npos) {
    host = server.substr(0, colon);
    port = server.substr(colon);
    if (host.find(':') != host.npos) return "the host is no name or number";
  }
  if (!is_host(host)) return "the host is no name or number";
  if (!port.empty() && !parse_port(port.substr(1), address.port)) {
    return "the port is no number from 1 to 65535";
  }
  address.host = host;
  return nullptr;
}

/// Takes apart what stands behind the scheme; returns what is wrong with it.
const char* parse_broker(std::string_view rest, BrokerAddress& address) {
  std::string_view server = take_until(rest, '/');
  if (server.find('@') != server.npos) {
    const std::string_view user = take_until(server, '@');
    if (user.find(':') != user.npos) {
      return "a password has no place in an address, VLM_MQTT_PASSWORD_FILE names its file";
    }
    if (!is_topic_name(user)) return "the user is no name of letters, digits, - _ and .";
    address.user = user;
  }
  if (const char* fault = parse_server(server, address)) return fault;
  const std::string_view site = take_until(rest, '/');
  if (!is_topic_name(site)) return "the site is no name of letters, digits, - _ and .";
  address.site = site;
  if (!rest.empty() && !is_topic_name(rest)) {
    return "the camera is no name of letters, digits, - _ and .";
  }
  address.camera = rest;
  return nullptr;
}

std::string refusal(const std::string& text, const char* fault) {
  return "cannot use the bus " + text + ": " + fault;
}

std::optional<BrokerAddress> parse_broker_address(const std::string& text, std::string& error) {
  const auto address = parse_bus_address(text, error);
  if (!address) return std::nullopt;
  if (!address->broker) error = refusal(text, "it is no broker's, mqtt:// or mqtts://");
  return address->broker;
}

}  // namespace

bool is_topic_name(std::string_view name) {
  return !name.empty() && name.size() <= kMaxName &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return is_letter_or_digit(c) || c == '-' || c == '_' || c == '.';
         });
}

std::optional<BusAddress> parse_bus_address(const std::string& text, std::string& error) {
  BusAddress address;
  if (begins_with(text, kDirectory)) {
    address.directory = text.substr(kDirectory.size());
    if (!address.directory.empty()) return address;
    error = refusal(text, "it names no directory");
    return std::nullopt;
  }
  BrokerAddress broker;
  broker.tls = begins_with(text, kSecure);
  if (!broker.tls && !begins_with(text, kPlain)) {
    error = refusal(text, "an address begins with unix:, mqtt:// or mqtts://");
    return std::nullopt;
  }
  const auto scheme = broker.tls ? kSecure.size() : kPlain.size();
  if (const char* fault = parse_broker(std::string_view(text).substr(scheme), broker)) {
    error = refusal(text, fault);
    return std::nullopt;
  }
  address.broker = broker;
  return address;
}

std::optional<BrokerAddress> parse_camera_address(const std::string& text, std::string& error) {
  auto address = parse_broker_address(text, error);
  if (!address || !address->camera.empty()) return address;
  error = refusal(text, "it names no camera, as in mqtts://HOST/SITE/CAMERA");
  return std::nullopt;
}

std::optional<BrokerAddress> parse_site_address(const std::string& text, std::string& error) {
  auto address = parse_broker_address(text, error);
  if (!address || address->camera.empty()) return address;
  error = refusal(text, "a site is meant, as in mqtts://HOST/SITE, and no camera");
  return std::nullopt;
}

std::string text_of(const BrokerAddress& address) {
  const bool brackets = address.host.find(':') != std::string::npos;
  std::string text(address.tls ? kSecure : kPlain);
  text += brackets ? '[' + address.host + ']' : address.host;
  text += ':' + std::to_string(address.port) + '/' + address.site;
  if (!address.camera.empty()) text += '/' + address.camera;
  return text;
}

}  // namespace vlm::bus
