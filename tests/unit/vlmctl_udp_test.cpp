// The way of vlmctl over the UDP service: packets to the byte, and a service that the test plays.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <functional>
#include <thread>

#include "catalogue_text.h"
#include "exit_status.h"
#include "udp_link.h"
#include "velmar_udp_master_k720.h"

namespace {

using namespace vlm::ctl;
using namespace std::chrono_literals;
using vlm::catalogue::find;
using vlm::catalogue::Payload;
using vlm::catalogue::Row;
using vlm::client::Outcome;

const Row& row(const std::string& name) { return *find(name)->row; }

vlm::catalogue::Value value(const std::string& name, const std::string& written) {
  std::string error;
  const auto parsed = vlm::catalogue::parse(row(name).value, written, error);
  EXPECT_TRUE(parsed) << error;
  return *parsed;
}

Payload payload_of(const std::string& name, const std::string& written) {
  Payload payload{};
  std::string error;
  EXPECT_TRUE(encode(row(name).value, value(name, written), payload, error)) << error;
  return payload;
}

UdpData data_of(const std::string& name, const std::string& written) {
  return udp_data(row(name).remote.set, payload_of(name, written));
}

TEST(UdpPacket, OfAQuestionHasItsCrcBehindTheOption) {
  EXPECT_EQ(udp_request(4121, {}), (UdpData{0, 2, 0, 0, 0, 0, 0x10, 0x19, 0x5C, 0xE5}));
}

TEST(UdpPacket, HasTheProductsOwnCrc) {
  for (int option : {1, 8, 4121}) {
    const UdpData packet = udp_request(option, UdpData(9, static_cast<u8>(option)));
    const auto size = static_cast<int>(packet.size());
    const u16 crc = vlm_udp_getcrc16(packet.data() + 1, size - 3);
    EXPECT_EQ(packet[packet.size() - 2] << 8 | packet[packet.size() - 1], crc);
  }
}

TEST(UdpLayout, PutsFieldsInTheServicesOrder) {
  EXPECT_EQ(data_of("camera.mode", "photo"), (UdpData{2}));
  EXPECT_EQ(data_of("video", "1920x1080@30"), (UdpData{7, 0x80, 4, 0x38, 30, 0, 0, 0, 0}));
  EXPECT_EQ(data_of("photo", "mode=bracket,count=5,ev_step=-1/3,interval=1000"),
            (UdpData{0, 5, 0xFF, 3, 0, 0, 3, 0xE8, 4}));
  EXPECT_EQ(data_of("exposure", "shutter=1/1000,iso=400"), (UdpData{0, 1, 3, 0xE8, 0, 0, 1, 0x90}));
  EXPECT_EQ(data_of("exposure.iso_code", "400"), (UdpData{0, 0, 1, 0x90}));
  EXPECT_EQ(data_of("exposure.ev", "-1/3"), (UdpData{0xFF, 3}));
  EXPECT_EQ(data_of("exposure.shutter_code", "258"), (UdpData{2, 1}));
  EXPECT_EQ(data_of("camera.time", "1700000000"), (UdpData{0x65, 0x53, 0xF1, 0x00}));
  EXPECT_EQ(data_of("metering.spot", "10,20"), (UdpData{10, 20}));
  UdpData name(20, 0);
  name[0] = 'V';
  EXPECT_EQ(data_of("wifi.name", "V"), name);
}

TEST(UdpLayout, KnowsEveryOptionThatCarriesMoreThanAByte) {
  for (const Row& each : vlm::catalogue::rows()) {
    for (const int option : {each.remote.get, each.remote.set}) {
      if (option == vlm::catalogue::kNone || each.value.width <= 1) continue;
      EXPECT_GT(udp_size(option), 1U) << each.name();
    }
  }
}

TEST(UdpLayout, BringsAnswersIntoTheBussOrder) {
  const auto payload = bus_payload(4116, {7, 0x80, 4, 0x38, 30, 0, 0, 0, 0});
  ASSERT_TRUE(payload);
  EXPECT_EQ((std::vector<u8>(payload->begin(), payload->begin() + 9)),
            (std::vector<u8>{0x80, 7, 0x38, 4, 30, 0, 0, 0, 0}));
  EXPECT_FALSE(bus_payload(4116, {7, 0x80}));
}

/// A service on a free port of this machine; answers as the test says.
class UdpLinkTest : public testing::Test {
 protected:
  UdpLinkTest() : server(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(server.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    socklen_t size = sizeof address;
    getsockname(server.get(), reinterpret_cast<sockaddr*>(&address), &size);
    url = "udp://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  }

  /// Runs `ask` while the service answers its one request with `packets`.
  vlm::client::Answer asked(const std::function<vlm::client::Answer(UdpLink&)>& ask,
                            const std::vector<UdpData>& packets,
                            std::chrono::milliseconds timeout = 20s) {
    UdpLink link(url, timeout);
    std::thread service([&] {
      pollfd ready{server.get(), POLLIN, 0};
      if (poll(&ready, 1, 20000) != 1) return;
      sockaddr_in peer{};
      socklen_t size = sizeof peer;
      std::vector<u8> buffer(300);
      const ssize_t count = recvfrom(server.get(), buffer.data(), buffer.size(), 0,
                                     reinterpret_cast<sockaddr*>(&peer), &size);
      request.assign(buffer.begin(), buffer.begin() + count);
      for (const UdpData& packet : packets) {
        sendto(server.get(), packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&peer),
               size);
      }
    });
    const auto answer = ask(link);
    service.join();
    return answer;
  }
  vlm::client::Answer mode_with(const std::vector<UdpData>& packets,
                                std::chrono::milliseconds timeout = 20s) {
    return asked([](UdpLink& link) { return link.get(row("camera.mode"), {}); }, packets, timeout);
  }

  static UdpData reply(int option, const UdpData& data, int result = 0) {
    UdpData packet = udp_request(option, data);
    packet[0] = 0xFE;
    packet[5] = static_cast<u8>(result);
    const u16 crc = vlm_udp_getcrc16(packet.data() + 1, static_cast<int>(packet.size() - 3));
    packet[packet.size() - 2] = static_cast<u8>(crc >> 8);
    packet[packet.size() - 1] = static_cast<u8>(crc & 0xFF);
    return packet;
  }
  /// As the service refuses: the whole record, its CRC that of no data.
  static UdpData refusal(int option, u8 length, int result) {
    UdpData packet(264, 0);
    packet[1] = length;
    packet[5] = static_cast<u8>(result);
    packet[6] = static_cast<u8>(option >> 8);
    packet[7] = static_cast<u8>(option & 0xFF);
    const u16 crc = vlm_udp_getcrc16(packet.data() + 1, 7);
    packet[8] = static_cast<u8>(crc >> 8);
    packet[9] = static_cast<u8>(crc & 0xFF);
    return packet;
  }

  vlm::bus::UniqueFd server;
  std::string url;
  UdpData request;
};

TEST_F(UdpLinkTest, ReadsASetting) {
  const auto answer = mode_with({reply(4121, {2})});
  ASSERT_TRUE(answer.done());
  EXPECT_EQ(vlm::catalogue::format(row("camera.mode").value, answer.value), "photo");
  EXPECT_EQ(request, udp_request(4121, {}));
}

TEST_F(UdpLinkTest, PassesOverWhatIsNoAnswerToItsRequest) {
  UdpData broken = reply(4121, {1});
  broken.back() ^= 1;
  UdpData longer = reply(4121, {1});
  longer.push_back(0);
  const auto answer = mode_with(
      {{}, {1, 2, 3}, broken, longer, reply(4116, {1}), UdpData(300, 0), reply(4121, {2})});
  ASSERT_TRUE(answer.done());
  EXPECT_EQ(answer.payload[0], 2);
}

TEST_F(UdpLinkTest, TellsBusyRefusedAndUnanswered) {
  EXPECT_EQ(mode_with({refusal(4121, 2, VLM_ERR_BUSY)}).outcome, Outcome::kBusy);
  EXPECT_EQ(mode_with({refusal(4121, 5, VLM_ERR_PROTOCOL)}).outcome, Outcome::kRefused);
  EXPECT_EQ(mode_with({reply(4121, {}, VLM_ERR_IS_RECORDING)}).error, VLM_ERR_IS_RECORDING);
  EXPECT_EQ(mode_with({reply(4121, {}, VLM_ERR_IS_TIMEOUT)}).outcome, Outcome::kNoAnswer);
  EXPECT_EQ(mode_with({}, 20ms).outcome, Outcome::kNoAnswer);
}

TEST_F(UdpLinkTest, TakesNoAnswerWithoutItsValueForOne) {
  EXPECT_EQ(mode_with({reply(4121, {})}).outcome, Outcome::kGarbled);
  EXPECT_EQ(mode_with({reply(4121, {1, 2})}).outcome, Outcome::kGarbled);
}

TEST_F(UdpLinkTest, WritesAGroup) {
  const auto answer =
      asked([](UdpLink& link) { return link.set(row("video"), value("video", "1920x1080@30")); },
            {reply(8, {})});
  EXPECT_TRUE(answer.done());
  EXPECT_EQ(request, udp_request(8, {7, 0x80, 4, 0x38, 30, 0, 0, 0, 0}));
}

TEST_F(UdpLinkTest, SendsNothingThatItWouldCut) {
  UdpLink link(url, 20ms);
  EXPECT_EQ(link.set(row("wifi.password"), value("wifi.password", std::string(21, 'x'))).outcome,
            Outcome::kInvalid);
  EXPECT_EQ(link.set(row("camera.time"), value("camera.time", "4294967296")).outcome,
            Outcome::kInvalid);
  std::string error;
  const auto& slot = row("storage.format").parameters[0];
  EXPECT_EQ(link.run(row("storage.format"), {{&slot, *parse(slot, "all", error)}}).outcome,
            Outcome::kInvalid);
  pollfd ready{server.get(), POLLIN, 0};
  EXPECT_EQ(poll(&ready, 1, 0), 0);
}

TEST_F(UdpLinkTest, SaysWhenNobodyServes) {
  server = vlm::bus::UniqueFd();
  UdpLink link(url, 20s);
  EXPECT_EQ(link.get(row("camera.mode"), {}).outcome, Outcome::kNotSent);
}

TEST(UdpUrl, NamesHostAndPort) {
  for (const char* const wrong : {"udp://", "udp://:1", "udp://h:", "udp://h:0", "udp://h:65536",
                                  "udp://h:x", "udp://[::1", "udp://[::1]9"}) {
    try {
      const UdpLink link(wrong, 1s);
      ADD_FAILURE() << wrong;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, kUsage) << wrong;
    }
  }
  EXPECT_EQ(UdpLink("udp://127.0.0.1", 1s).name(), "udp://127.0.0.1");
}

}  // namespace
