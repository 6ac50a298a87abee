#include "bus_address.h"

#include <gtest/gtest.h>

namespace {

using vlm::bus::BrokerAddress;
using vlm::bus::parse_bus_address;
using vlm::bus::parse_camera_address;
using vlm::bus::parse_site_address;

BrokerAddress broker_of(const std::string& text) {
  std::string error;
  const auto address = parse_bus_address(text, error);
  EXPECT_TRUE(address && address->broker) << text << ": " << error;
  return address && address->broker ? *address->broker : BrokerAddress{};
}

std::string error_of(const std::string& text) {
  std::string error;
  EXPECT_FALSE(parse_bus_address(text, error)) << text;
  return error;
}

TEST(BusAddressTest, TakesADirectory) {
  std::string error;
  const auto address = parse_bus_address("unix:/run/vlm_bus", error);
  ASSERT_TRUE(address);
  EXPECT_EQ(address->directory, "/run/vlm_bus");
  EXPECT_FALSE(address->broker);
}

TEST(BusAddressTest, TakesACameraBehindABroker) {
  const BrokerAddress address = broker_of("mqtt://anna@broker.example:1884/lab/cam-7");
  EXPECT_FALSE(address.tls);
  EXPECT_EQ(address.user, "anna");
  EXPECT_EQ(address.host, "broker.example");
  EXPECT_EQ(address.port, 1884);
  EXPECT_EQ(address.site, "lab");
  EXPECT_EQ(address.camera, "cam-7");
}

TEST(BusAddressTest, KnowsTheUsualPorts) {
  EXPECT_EQ(broker_of("mqtt://h/s/c").port, 1883);
  EXPECT_EQ(broker_of("mqtts://h/s/c").port, 8883);
  EXPECT_TRUE(broker_of("mqtts://h/s/c").tls);
  EXPECT_EQ(broker_of("mqtts://h/s/c").user, "");
}

TEST(BusAddressTest, TakesNumbersOfHosts) {
  EXPECT_EQ(broker_of("mqtt://127.0.0.1:1/s/c").host, "127.0.0.1");
  EXPECT_EQ(broker_of("mqtt://[::1]/s/c").host, "::1");
  EXPECT_EQ(broker_of("mqtt://[::1]:65535/s/c").port, 65535);
}

TEST(BusAddressTest, WritesAnAddressWithoutItsUser) {
  EXPECT_EQ(text_of(broker_of("mqtts://anna@h/s/c")), "mqtts://h:8883/s/c");
  EXPECT_EQ(text_of(broker_of("mqtt://[::1]/s")), "mqtt://[::1]:1883/s");
}

TEST(BusAddressTest, SaysWhatIsWrongWithAnAddress) {
  const struct {
    const char* text;
    const char* fault;
  } cases[] = {
      {"", "an address begins with unix:, mqtt:// or mqtts://"},
      {"/run/bus", "an address begins with unix:, mqtt:// or mqtts://"},
      {"http://h/s/c", "an address begins with unix:, mqtt:// or mqtts://"},
      {"mqtt:/h/s/c", "an address begins with unix:, mqtt:// or mqtts://"},
      {"unix:", "it names no directory"},
      {"mqtt://", "the host is no name or number"},
      {"mqtt:///s/c", "the host is no name or number"},
      {"mqtt://h h/s/c", "the host is no name or number"},
      {"mqtt://[::1/s/c", "the host is no name or number"},
      {"mqtt://[::1]x/s/c", "the host is no name or number"},
      {"mqtt://h:/s/c", "the port is no number from 1 to 65535"},
      {"mqtt://h:0/s/c", "the port is no number from 1 to 65535"},
      {"mqtt://h:65536/s/c", "the port is no number from 1 to 65535"},
      {"mqtt://h:18x/s/c", "the port is no number from 1 to 65535"},
      {"mqtt://h:-1/s/c", "the port is no number from 1 to 65535"},
      {"mqtt://anna:secret@h/s/c",
       "a password has no place in an address, VLM_MQTT_PASSWORD_FILE names its file"},
      {"mqtt://@h/s/c", "the user is no name of letters, digits, - _ and ."},
      {"mqtt://a+b@h/s/c", "the user is no name of letters, digits, - _ and ."},
      {"mqtt://h", "the site is no name of letters, digits, - _ and ."},
      {"mqtt://h//c", "the site is no name of letters, digits, - _ and ."},
      {"mqtt://h/s+/c", "the site is no name of letters, digits, - _ and ."},
      {"mqtt://h/s/#", "the camera is no name of letters, digits, - _ and ."},
      {"mqtt://h/s/c/d", "the camera is no name of letters, digits, - _ and ."},
      {"mqtt://h/s/c/", "the camera is no name of letters, digits, - _ and ."},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(error_of(each.text),
              std::string("cannot use the bus ") + each.text + ": " + each.fault);
  }
}

TEST(BusAddressTest, BoundsANameToWhatATopicTakes) {
  EXPECT_EQ(broker_of("mqtt://h/s/" + std::string(64, 'c')).camera.size(), 64U);
  error_of("mqtt://h/s/" + std::string(65, 'c'));
}

TEST(BusAddressTest, TellsACameraFromASite) {
  std::string error;
  EXPECT_TRUE(parse_camera_address("mqtt://h/s/c", error));
  EXPECT_TRUE(parse_site_address("mqtt://h/s", error));
  EXPECT_FALSE(parse_camera_address("mqtt://h/s", error));
  EXPECT_EQ(error,
            "cannot use the bus mqtt://h/s: it names no camera, as in mqtts://HOST/SITE/CAMERA");
  EXPECT_FALSE(parse_site_address("mqtt://h/s/c", error));
  EXPECT_EQ(error,
            "cannot use the bus mqtt://h/s/c: a site is meant, as in mqtts://HOST/SITE, and no "
            "camera");
  EXPECT_FALSE(parse_camera_address("unix:/run", error));
  EXPECT_EQ(error, "cannot use the bus unix:/run: it is no broker's, mqtt:// or mqtts://");
}

}  // namespace
