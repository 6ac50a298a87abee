// Where a bus is, as VLM_BUS and the programs' options write it:
//
//   unix:DIR                                       the bus in a directory of this machine
//   mqtt://[USER@]HOST[:PORT]/SITE/CAMERA          a camera behind a broker; port 1883
//   mqtts://[USER@]HOST[:PORT]/SITE/CAMERA         likewise, over TLS; port 8883
//
// Where all cameras of a site are meant, CAMERA is left out.
#ifndef BUS_ADDRESS_H
#define BUS_ADDRESS_H

#include <optional>
#include <string>
#include <string_view>

namespace vlm::bus {

/// A broker, and what of it is meant.
struct BrokerAddress {
  bool tls = false;
  std::string user;  // empty: nobody is named
  std::string host;
  int port = 0;
  std::string site;
  std::string camera;  // empty: all of the site
};

struct BusAddress {
  std::string directory;  // when there is no broker
  std::optional<BrokerAddress> broker;
};

/// No value when `text` is no address: `error` says why, with the text in it.
std::optional<BusAddress> parse_bus_address(const std::string& text, std::string& error);

/// Likewise, of a broker's camera alone.
std::optional<BrokerAddress> parse_camera_address(const std::string& text, std::string& error);

/// Likewise, of a broker's site alone.
std::optional<BrokerAddress> parse_site_address(const std::string& text, std::string& error);

/// True when `name` can be one level of a topic: 1 to 64 letters, digits, '-', '_' and '.'.
bool is_topic_name(std::string_view name);

/// "mqtts://host:8883/site/camera"; the user is no part of it.
std::string text_of(const BrokerAddress& address);

}  // namespace vlm::bus

#endif  // BUS_ADDRESS_H
