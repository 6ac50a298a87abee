#include "velmar_udp_master_k720.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "camctrl_app.h"
#include "camctrl_service.h"
#include "pattern.h"
#include "scripted_bus.h"
#include "transcript.h"

namespace {

constexpr int kGetCameraType = 4096;
constexpr int kGetCameraMode = 4121;
constexpr int kSetAeMode = 14;
constexpr int kBusy = 2;
constexpr int kProtocol = 27;

const Bytes kCameraTypeReply = camctrl_reply(kGetCameraType, 0, {11});

class UdpService : public testing::Test {
 protected:
  UdpService()
      : _service(start_camctrl_service()),
        _port(UdpMasterK720Peer::port(_service)),
        _app(_port),
        _other_app(_port) {
    ScriptedBus::instance().reset();
  }

  /// The transcript holds the messages of failed assertions, too.
  void TearDown() override {
    if (HasFailure()) std::fputs(_transcript.text().c_str(), stderr);
  }

  /// One request and its reply; the service is idle again afterwards.
  Bytes ask(const Bytes& request) {
    const Bytes reply = _app.ask(request);
    settle(_service);
    return reply;
  }

  int occurrences(const std::string& line) const {
    const std::string text = without_places(_transcript.text());
    int count = 0;
    for (std::size_t at = 0; (at = text.find(line, at)) != std::string::npos; ++at) ++count;
    return count;
  }

  ScriptedBus& bus() { return ScriptedBus::instance(); }

  UdpMasterK720& _service;
  int _port;
  CamctrlApp _app;
  CamctrlApp _other_app;
  Transcript _transcript;
};

Bytes broken(Bytes request) {
  request.back() = static_cast<u8>(request.back() ^ 1);
  return request;
}

Bytes with(Bytes bytes, std::size_t offset, u8 value) {
  bytes.at(offset) = value;
  return bytes;
}

// --- Start ---

int threads_named(const std::string& name) {
  int count = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string line;
    std::getline(std::ifstream(task.path() / "comm") >> std::ws, line);
    count += line == name ? 1 : 0;
  }
  return count;
}

TEST_F(UdpService, RunsItsTwoThreads) {
  const int receiving = threads_named("RCVCMD");
  const int processing = threads_named("PCCMD");
  EXPECT_GE(receiving, 1);
  EXPECT_GE(processing, 1);
  start_camctrl_service();
  EXPECT_EQ(threads_named("RCVCMD"), receiving + 1);
  EXPECT_EQ(threads_named("PCCMD"), processing + 1);
}

TEST_F(UdpService, ServesEveryAddressOfTheMachine) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ASSERT_EQ(
      getsockname(UdpMasterK720Peer::fd(_service), reinterpret_cast<sockaddr*>(&address), &size),
      0);
  EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_ANY));
  EXPECT_EQ(ntohs(address.sin_port), _port);
}

TEST_F(UdpService, IsStartedOnTheGivenPort) {
  int port = 0;
  {
    const UdpSocket probe;
    port = probe.port();
  }
  EXPECT_EQ(vlm_udp_master_k720_init(port), 0);
  EXPECT_EQ(vlm_udp_master_k720_port(), port);
  EXPECT_EQ(CamctrlApp(port).ask(camctrl_request(kGetCameraType)), kCameraTypeReply);
}

TEST_F(UdpService, TakesAFreePortWhenAskedForNone) {
  EXPECT_EQ(vlm_udp_master_k720_init(0), 0);
  EXPECT_NE(vlm_udp_master_k720_port(), 0);
  EXPECT_EQ(CamctrlApp(vlm_udp_master_k720_port()).ask(camctrl_request(kGetCameraType)),
            kCameraTypeReply);
}

TEST_F(UdpService, IsRefusedAPortInUse) {
  EXPECT_EQ(vlm_udp_master_k720_init(_port), -1);
  EXPECT_EQ(without_places(_transcript.text()), "@init_udp_server: bind error.\n");
  EXPECT_EQ(ask(camctrl_request(kGetCameraType)), kCameraTypeReply) << "the first serves on";
}

TEST_F(UdpService, IsRefusedWithoutASocket) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const int result = vlm_udp_master_k720_init(0);
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(without_places(_transcript.text()), "@init_udp_server: socket failed.\n");
}

TEST_F(UdpService, LeavesTheReasonInErrno) {
  errno = 0;
  EXPECT_EQ(vlm_udp_master_k720_init(_port), -1);
  EXPECT_EQ(errno, EADDRINUSE);

  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  errno = 0;
  const int result = vlm_udp_master_k720_init(0);
  const int error = errno;
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EMFILE);
}

TEST(UdpServiceObject, CanBeDestroyedUnused) {
  UdpMasterK720 service;
  EXPECT_EQ(UdpMasterK720Peer::port(service), 0);
  EXPECT_EQ(UdpMasterK720Peer::fd(service), 0);
  EXPECT_EQ(service.udp_trylock(), 0);
  EXPECT_EQ(service.udp_trylock(), -1);
  EXPECT_EQ(service.udp_unlock(), 0);
  EXPECT_EQ(service.udp_lock(), 0);
  EXPECT_EQ(service.udp_unlock(), 0);
}

// --- Requests ---

TEST_F(UdpService, ReportsEachStepOfARequest) {
  EXPECT_EQ(ask(camctrl_request(kGetCameraType)), kCameraTypeReply);
  EXPECT_EQ(without_places(_transcript.text()),
            "@receive_commands_from_apps: Received msg:rev_len = 10\n"
            "0x00 0x02 0x00 0x00 0x00 0x00 0x10 0x00 \n"
            "0xd1 0xa5 \n"
            "@process_camera_functions_and_reply: camera_cmd = 4096\n"
            "@process_camera_functions_and_reply: err_code = 0\n"
            "To send msg:\n"
            "0xfe 0x03 0x00 0x00 0x00 0x00 0x10 0x00 \n"
            "0x0b 0xcd 0x1a \n");
}

TEST_F(UdpService, ShowsWhereAMessageComesFrom) {
  ask(camctrl_request(kGetCameraType));
  const std::string text = _transcript.text();
  const auto received =
      matches_in(text,
                 "^\\[[^\\n]*velmar_udp_master_k720\\.cpp:receive_commands_from_apps\\]"
                 "\\[[1-9][0-9]*\\]: Received msg:rev_len = 10\n");
  EXPECT_FALSE(received.empty()) << text;
  const auto executed =
      matches_in(text,
                 "\n\\[[^\\n]*velmar_udp_master_k720_commands\\.cpp:"
                 "process_camera_functions_and_reply\\]\\[[1-9][0-9]*\\]: camera_cmd = ");
  EXPECT_FALSE(executed.empty()) << text;
}

TEST_F(UdpService, EndsADumpOfWholeRowsWithAnEmptyLine) {
  ask(camctrl_request(kSetAeMode, {0, 0, 0, 0, 0, 0}));
  EXPECT_NE(_transcript.text().find("Received msg:rev_len = 16\n"
                                    "0x00 0x08 0x00 0x00 0x00 0x00 0x00 0x0e \n"
                                    "0x00 0x00 0x00 0x00 0x00 0x00 0x9b 0x5d \n"
                                    "\n"),
            std::string::npos)
      << _transcript.text();
}

TEST_F(UdpService, ReadsNeitherStartByteNorTheUninterpretedFields) {
  const Bytes request = camctrl_request(kGetCameraType);
  EXPECT_EQ(ask(with(request, 0, 0x77)), kCameraTypeReply);
  Bytes marked{0x55, 2, 1, 2, 3, 4, 0x10, 0x00};
  const u16 crc = camctrl_crc({marked.begin() + 1, marked.end()});
  marked.push_back(static_cast<u8>(crc >> 8));
  marked.push_back(static_cast<u8>(crc));
  EXPECT_EQ(ask(marked), kCameraTypeReply);
}

TEST_F(UdpService, RefusesAWrongCrc) {
  for (const std::size_t offset : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U}) {
    const Bytes right = camctrl_request(kSetAeMode, {1});
    const Bytes request = with(right, offset, static_cast<u8>(right[offset] ^ 0x10));
    EXPECT_EQ(ask(request), camctrl_error_reply(request, kProtocol)) << offset;
  }
  EXPECT_TRUE(bus().published().empty());
}

TEST_F(UdpService, ReportsAWrongCrc) {
  const Bytes request = broken(camctrl_request(kGetCameraType));
  ask(request);
  EXPECT_EQ(without_places(_transcript.text()),
            "@receive_commands_from_apps: Received msg:rev_len = 10\n" + byte_dump(request) +
                "@check_msg_from_apps: CRC data error!\n"
                "@receive_commands_from_apps: VLM_ERR_PROTOCOL(CRC error)\n");
}

TEST_F(UdpService, RefusesALengthOfZero) {
  const Bytes request = with(camctrl_request(kGetCameraType), 1, 0);
  EXPECT_EQ(ask(request), camctrl_error_reply(request, kProtocol));
  EXPECT_EQ(without_places(_transcript.text()),
            "@receive_commands_from_apps: Received msg:rev_len = 10\n" + byte_dump(request) +
                "@check_msg_from_apps: incorrect len field\n"
                "@receive_commands_from_apps: VLM_ERR_PROTOCOL(CRC error)\n");
}

TEST_F(UdpService, EchoesStartByteLengthAndCommandInAnErrorReply) {
  const Bytes request = broken(with(camctrl_request(0x4F05, {1, 2, 3}), 0, 0xA5));
  const Bytes reply = ask(request);
  ASSERT_EQ(reply.size(), 264U);
  EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 8), (Bytes{0xA5, 5, 0, 0, 0, 27, 0x4F, 0x05}));
  const u16 crc = camctrl_crc({reply.begin() + 1, reply.begin() + 8});
  EXPECT_EQ(reply[8], crc >> 8) << "as for a length of 2";
  EXPECT_EQ(reply[9], crc & 0xFF);
  EXPECT_EQ(Bytes(reply.begin() + 10, reply.end()), Bytes(254, 0));
}

TEST_F(UdpService, NeitherAnswersNorReportsAnEmptyDatagram) {
  _app.send({});
  EXPECT_EQ(ask(camctrl_request(kGetCameraType)), kCameraTypeReply);
  const std::string text = without_places(_transcript.text());
  EXPECT_EQ(text.rfind("@receive_commands_from_apps: Received msg:rev_len = 10\n", 0), 0U) << text;
}

TEST_F(UdpService, TakesTheLargestLength) {
  Bytes data(253, 0xAB);
  data[0] = 1;
  const Bytes request = camctrl_request(kSetAeMode, data);
  ASSERT_EQ(request.size(), 263U);
  ASSERT_EQ(request[1], 255);
  EXPECT_EQ(ask(request), camctrl_reply(kSetAeMode, 0));
  EXPECT_EQ(ask(broken(request)), camctrl_error_reply(broken(request), kProtocol));
}

TEST_F(UdpService, TakesDatagramsOfAnySize) {
  ask(Bytes(264, 0));  // lest a short datagram be completed to a right one
  for (const std::size_t size : {1U, 9U, 10U, 263U, 264U, 265U, 2000U, 60000U}) {
    for (const u8 byte : {u8{0}, u8{0x5A}, u8{0xFF}}) {
      const Bytes reply = ask(Bytes(size, byte));
      EXPECT_EQ(reply.size(), 264U) << size;
      EXPECT_EQ(reply[5], kProtocol) << size;
    }
  }
  EXPECT_EQ(ask(camctrl_request(kGetCameraType)), kCameraTypeReply);
}

TEST_F(UdpService, CutsALongDatagramAtTheRecord) {
  Bytes request = camctrl_request(kGetCameraType);
  request.resize(2000, 0xEE);
  EXPECT_EQ(ask(request), kCameraTypeReply) << "nobody compares the size with the length";
  request.resize(264);
  EXPECT_EQ(without_places(_transcript.text())
                .rfind("@receive_commands_from_apps: Received msg:rev_len = 264\n" +
                           byte_dump(request) + "@process_camera_functions_and_reply",
                       0),
            0U);
}

TEST_F(UdpService, FindsBehindAShortDatagramWhatTheSlotHeldBefore) {
  const Bytes request = camctrl_request(kGetCameraType);
  EXPECT_EQ(ask(request), kCameraTypeReply);
  EXPECT_EQ(ask({request.begin(), request.begin() + 9}), kCameraTypeReply);
  EXPECT_EQ(ask({0x00}), kCameraTypeReply);
  const Bytes other = camctrl_request(kGetCameraMode);
  const Bytes mixed{other[0], other[1], other[2], other[3],  other[4],
                    other[5], other[6], other[7], request[8]};
  EXPECT_EQ(ask(mixed), camctrl_error_reply(mixed, kProtocol));
}

// --- One at a time ---

TEST_F(UdpService, AnswersBusyWhileACommandRuns) {
  bus().stay_silent();
  _app.send(camctrl_request(kGetCameraMode));
  bus().wait_for_published(1);

  const Bytes request = camctrl_request(kGetCameraType);
  EXPECT_EQ(_app.ask(request), camctrl_error_reply(request, kBusy));
  const Bytes wrong = broken(request);
  EXPECT_EQ(_app.ask(wrong), camctrl_error_reply(wrong, kBusy)) << "nothing is checked";

  lcm_request.receive_msg(camera_record(UDP_CTRL_CAM_GET_CAMERA_MODE, {2}));
  EXPECT_EQ(_app.receive(), camctrl_reply(kGetCameraMode, 0, {2}));
  settle(_service);
  EXPECT_EQ(ask(request), kCameraTypeReply);
  EXPECT_EQ(bus().published().size(), 1U);

  EXPECT_EQ(occurrences("@receive_commands_from_apps: VLM_ERR_BUSY\n"), 2);
}

TEST_F(UdpService, AnswersBusyWhileAHostKeepsTheMutex) {
  const Bytes request = camctrl_request(kGetCameraType);
  ASSERT_EQ(_service.udp_lock(), 0);
  EXPECT_EQ(_app.ask(request), camctrl_error_reply(request, kBusy));
  EXPECT_EQ(_app.ask(broken(request)), camctrl_error_reply(broken(request), kBusy));
  _service.udp_unlock();
  EXPECT_EQ(ask(request), kCameraTypeReply);
  ASSERT_EQ(_service.udp_trylock(), 0);
  EXPECT_EQ(_app.ask(request), camctrl_error_reply(request, kBusy));
  _service.udp_unlock();
  EXPECT_EQ(ask(request), kCameraTypeReply);
  EXPECT_EQ(occurrences("@receive_commands_from_apps: VLM_ERR_BUSY\n"), 3);
}

TEST_F(UdpService, NeverRefusesASenderThatHasItsReply) {
  for (int i = 0; i < 3000; ++i) {
    ASSERT_EQ(_app.ask(camctrl_request(kGetCameraType)), kCameraTypeReply) << i;
    ASSERT_EQ(_other_app.ask(camctrl_request(0)), camctrl_reply(0, 1)) << i;
  }
}

TEST_F(UdpService, TakesARequestAsSoonAsItHasStarted) {
  for (int i = 0; i < 20; ++i) {
    const int port = UdpMasterK720Peer::port(start_camctrl_service());
    ASSERT_EQ(CamctrlApp(port).ask(camctrl_request(kGetCameraType)), kCameraTypeReply);
  }
}

TEST_F(UdpService, SendsTheReplyOfARunningCommandToTheLatestSender) {
  bus().stay_silent();
  _app.send(camctrl_request(kSetAeMode, {1}));
  bus().wait_for_published(1);

  const Bytes request = camctrl_request(251, {3});
  EXPECT_EQ(_other_app.ask(request), camctrl_error_reply(request, kBusy));
  lcm_request.receive_msg(camera_record(UDP_CTRL_CAM_SET_AE_MODE));
  EXPECT_EQ(_other_app.receive(), camctrl_reply(kSetAeMode, 0));
  settle(_service);

  EXPECT_EQ(bus().only_record().cmd_params[0], 1);
  EXPECT_EQ(ask(camctrl_request(kGetCameraType)), kCameraTypeReply) << "and nothing before it";
}

TEST_F(UdpService, SendsTheReplyOfARunningCommandToTheSenderOfAnEmptyDatagram) {
  bus().stay_silent();
  _app.send(camctrl_request(kSetAeMode, {1}));
  bus().wait_for_published(1);

  _other_app.send({});
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (UdpMasterK720Peer::latest_sender(_service) != _other_app.socket().port()) {
    ASSERT_LT(std::chrono::steady_clock::now(), limit);
    std::this_thread::yield();
  }
  lcm_request.receive_msg(camera_record(UDP_CTRL_CAM_SET_AE_MODE));
  EXPECT_EQ(_other_app.receive(), camctrl_reply(kSetAeMode, 0));
  settle(_service);
}

TEST_F(UdpService, RunsOverTheSlotOnceForEachValidatedMessage) {
  const Bytes request = camctrl_request(kGetCameraType);
  ask(request);
  _service.udp_lock();
  _service.udp_produce();
  _service.udp_produce();
  _service.udp_sendsignal();
  _service.udp_unlock();
  EXPECT_EQ(_app.receive(), kCameraTypeReply);
  EXPECT_EQ(_app.receive(), kCameraTypeReply);
  settle(_service);
  EXPECT_EQ(ask(camctrl_request(0)), camctrl_reply(0, 1)) << "and no third time";
}

TEST_F(UdpService, SurvivesATimeOutOfTheCamera) {
  set_reply_timeout(_service, std::chrono::milliseconds(1));
  bus().stay_silent();
  EXPECT_EQ(ask(camctrl_request(kGetCameraMode)), camctrl_reply(kGetCameraMode, 26));
  restore_timeouts(_service);
  bus().answer({1});
  EXPECT_EQ(ask(camctrl_request(kGetCameraMode)), camctrl_reply(kGetCameraMode, 0, {1}));
}

}  // namespace
