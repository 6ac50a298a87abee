// Every command of the service: the camera record that it publishes, its log lines and its reply.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "camctrl_app.h"
#include "camctrl_contract.h"
#include "camctrl_service.h"
#include "operation.h"
#include "pattern.h"
#include "scripted_bus.h"
#include "transcript.h"

namespace {

constexpr int kUnsupported = 1;
constexpr int kTimeout = 26;

class CamctrlCommands : public testing::Test {
 protected:
  CamctrlCommands() : _service(start_camctrl_service()), _app(UdpMasterK720Peer::port(_service)) {
    setenv("TZ", "UTC0", 1);
    bus().reset();
  }

  void TearDown() override {
    if (HasFailure()) std::fputs(_transcript.text().c_str(), stderr);
    restore_timeouts(_service);
  }

  Bytes ask(const Bytes& request) {
    const Bytes reply = _app.ask(request);
    settle(_service);
    return reply;
  }
  Bytes run(const CamctrlContract& row) { return ask(camctrl_request(row.option, row.data)); }

  /// The record of the one request published since the bus was reset.
  void expect_record(const CamctrlContract& row) {
    const udp_ctrl_cam_t record = bus().only_record();
    EXPECT_EQ(static_cast<int>(record.cmd_type), row.code) << row.name;
    EXPECT_EQ(Bytes(record.cmd_params, record.cmd_params + sizeof record.cmd_params),
              joined(row.params, Bytes(sizeof record.cmd_params - row.params.size())))
        << row.name;
    EXPECT_EQ(static_cast<int>(record.err_code), 0) << row.name;
  }

  ScriptedBus& bus() { return ScriptedBus::instance(); }

  UdpMasterK720& _service;
  CamctrlApp _app;
  Transcript _transcript;
};

class CamctrlCommand : public CamctrlCommands,
                       public testing::WithParamInterface<CamctrlContract> {};

TEST_P(CamctrlCommand, IsCarriedOutByTheCamera) {
  bus().answer(GetParam().answer);
  EXPECT_EQ(run(GetParam()), camctrl_reply(GetParam().option, 0, GetParam().reply));
  expect_record(GetParam());
}

TEST_P(CamctrlCommand, PassesOnAnErrorOfTheCameraWithoutData) {
  for (const int error : {5, 75, 0x1234}) {
    bus().reset();
    bus().answer(GetParam().answer, error);
    EXPECT_EQ(run(GetParam()), camctrl_reply(GetParam().option, error));
    expect_record(GetParam());
  }
}

TEST_P(CamctrlCommand, TimesOutWhenTheCameraIsSilent) {
  set_reply_timeout(_service, std::chrono::milliseconds(1));
  bus().stay_silent();
  EXPECT_EQ(run(GetParam()), camctrl_reply(GetParam().option, kTimeout));
  expect_record(GetParam());
}

/// The lines of the service, between its "camera_cmd" and "err_code" lines, with "-" where the
/// engine publishes the request.
std::vector<std::string> log_lines(const std::string& transcript) {
  static const std::string kPlace = "@process_camera_functions_and_reply: ";
  std::vector<std::string> lines;
  std::istringstream text(without_places(transcript));
  for (std::string line; std::getline(text, line);) {
    if (line.rfind("Send ", 0) == 0) lines.push_back("-");
    if (line == ")") lines.push_back(line);
    if (line.rfind(kPlace, 0) == 0) {
      lines.push_back(replaced(line.substr(kPlace.size()), "\\]\\[[1-9][0-9]*\\]:", "][LINE]:"));
    }
  }
  return lines;
}

std::vector<std::string> expected_lines(const CamctrlContract& row, int result) {
  const auto shown =
      row.kind == CamctrlContract::kSet || result == 0 ? row.log : std::vector<std::string>{};
  std::vector<std::string> lines{"camera_cmd = " + std::to_string(row.option)};
  if (row.kind == CamctrlContract::kGet) lines.emplace_back("-");
  lines.insert(lines.end(), shown.begin(), shown.end());
  if (row.kind == CamctrlContract::kSet) lines.emplace_back("-");
  lines.push_back("err_code = " + std::to_string(result));
  return lines;
}

TEST_P(CamctrlCommand, LogsBeforeItSetsAndAfterItGot) {
  bus().answer(GetParam().answer);
  run(GetParam());
  EXPECT_EQ(log_lines(_transcript.text()), expected_lines(GetParam(), 0));
}

TEST_P(CamctrlCommand, LogsNothingThatItDidNotGet) {
  bus().answer(GetParam().answer, 9);
  run(GetParam());
  EXPECT_EQ(log_lines(_transcript.text()), expected_lines(GetParam(), 9));
}

TEST_P(CamctrlCommand, ReadsDataThatIsMissingAsZero) {
  // What an earlier request left in the slot must not be taken for data.
  ask(camctrl_request(0, Bytes(253, 0xEE)));
  bus().answer(GetParam().answer);
  EXPECT_EQ(ask(camctrl_request(GetParam().option)),
            camctrl_reply(GetParam().option, 0, GetParam().reply));
  const udp_ctrl_cam_t record = bus().only_record();
  for (std::size_t i = 0; i < sizeof record.cmd_params; ++i) {
    const bool is_video_index = GetParam().option == 8 && i >= 5 && i < 9;
    EXPECT_EQ(record.cmd_params[i], is_video_index ? 0xFF : 0) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(All, CamctrlCommand, testing::ValuesIn(camctrl_contract()),
                         [](const auto& row) { return row.param.name; });

TEST_F(CamctrlCommands, HaveEachAnOptionOfTheirOwn) {
  std::set<int> options{kGetCameraType};
  for (const CamctrlContract& row : camctrl_contract()) {
    EXPECT_TRUE(options.insert(row.option).second) << row.name;
  }
}

TEST_F(CamctrlCommands, AnswerTheCameraTypeWithoutTheCamera) {
  bus().stay_silent();
  EXPECT_EQ(ask(camctrl_request(kGetCameraType)), camctrl_reply(kGetCameraType, 0, {11}));
  EXPECT_TRUE(bus().published().empty());
  EXPECT_EQ(log_lines(_transcript.text()),
            (std::vector<std::string>{"camera_cmd = 4096", "err_code = 0"}));
}

TEST_F(CamctrlCommands, AreUnsupportedWhateverElseIsAsked) {
  std::set<int> options{kGetCameraType};
  for (const CamctrlContract& row : camctrl_contract()) options.insert(row.option);
  for (int option = 0; option <= 0xFFFF; option += option < 0x1100 ? 1 : 251) {
    if (options.count(option) != 0) continue;
    EXPECT_EQ(ask(camctrl_request(option, {1, 2, 3})), camctrl_reply(option, kUnsupported));
  }
  EXPECT_TRUE(bus().published().empty());
}

TEST_F(CamctrlCommands, AnswerTheHeartbeatAsUnsupported) {
  EXPECT_EQ(ask(camctrl_request(0)), camctrl_reply(0, kUnsupported));
  EXPECT_EQ(log_lines(_transcript.text()),
            (std::vector<std::string>{"camera_cmd = 0", "err_code = 1"}));
}

TEST_F(CamctrlCommands, KeepTextsToTheirTwentyCharacters) {
  const std::string full = "ABCDEFGHIJKLMNOPQRST";
  ask(camctrl_request(29, bytes_of_text(full + "UVWXYZ", 26)));
  EXPECT_NE(without_places(_transcript.text()).find(": set ssid = " + full + "\n"),
            std::string::npos);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bus().only_record().cmd_params), 21),
            full + '\0');
  bus().reset();
  ask(camctrl_request(31, bytes_of_text(full + "UVWXYZ", 26)));
  EXPECT_NE(without_places(_transcript.text()).find(": set password = " + full + "\n"),
            std::string::npos);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bus().only_record().cmd_params), 22),
            full + std::string(2, '\0'));
}

TEST_F(CamctrlCommands, ReadNoDataFromALengthOfOne) {
  Bytes request{0, 1, 0, 0, 0, 0, 0x00};
  const u16 crc = camctrl_crc({request.begin() + 1, request.end()});
  request.push_back(static_cast<u8>(crc >> 8));  // at the place of the command's low byte
  request.push_back(static_cast<u8>(crc));
  const int option = crc >> 8;
  EXPECT_EQ(ask(request), camctrl_reply(option, kUnsupported)) << option;
}

TEST_F(CamctrlCommands, ShowAShortNameWhole) {
  bus().answer(joined(bytes_of_text("V7", 8), {1, 2, 3, 0}));
  EXPECT_EQ(
      ask(camctrl_request(23)),
      camctrl_reply(23, 0, joined(bytes_of_text("V7", 8), {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0})));
  EXPECT_NE(without_places(_transcript.text()).find(": camera version:V7_1.2.3_\n"),
            std::string::npos);
}

TEST_F(CamctrlCommands, SetTimesBeyondSigned32Bits) {
  ask(camctrl_request(24, {0xF4, 0x86, 0x57, 0x00}));
  EXPECT_EQ(log_lines(_transcript.text()),
            (std::vector<std::string>{"camera_cmd = 24",
                                      "SET_TIME: -192522496(UTC Fri Jan  1 00:00:00 2100", ")", "-",
                                      "err_code = 0"}));
  const udp_ctrl_cam_t record = bus().only_record();
  EXPECT_EQ(Bytes(record.cmd_params, record.cmd_params + 8),
            (Bytes{0x00, 0x57, 0x86, 0xF4, 0, 0, 0, 0}));
}

TEST_F(CamctrlCommands, CheckLengthAndCrc) {
  camctrl_msg_t msg{};
  const auto check = [&msg] { return UdpMasterK720::check_msg_from_apps(msg); };
  EXPECT_EQ(check(), -1) << "length 0";
  for (int len = 1; len <= 255; ++len) {
    msg = {};
    msg.header.len = static_cast<u8>(len);
    msg.payload.params[0] = 0x5A;
    u8* bytes = reinterpret_cast<u8*>(&msg);
    const u16 crc = camctrl_crc({bytes + 1, bytes + len + 6});
    bytes[len + 6] = static_cast<u8>(crc >> 8);
    bytes[len + 7] = static_cast<u8>(crc);
    EXPECT_EQ(check(), 0) << len;
    for (const int offset : {1, len + 5, len + 6, len + 7}) {
      bytes[offset] = static_cast<u8>(bytes[offset] ^ 0x80);
      EXPECT_EQ(check(), -1) << len << " at " << offset;
      bytes[offset] = static_cast<u8>(bytes[offset] ^ 0x80);
    }
  }
}

TEST_F(CamctrlCommands, BeginAReplyWithItsStartByte) {
  camctrl_msg_t reply{};
  UdpMasterK720::feedback_initial(reply, 3, 0x4001);
  EXPECT_EQ(reply.header.stx, 0xFE);
  EXPECT_EQ(reply.header.len, 3);
  EXPECT_EQ(reply.payload.cmd, camctrl_be16(0x4001));
  UdpMasterK720::feedback_fill_crc(reply, 3);
  EXPECT_EQ(UdpMasterK720::check_msg_from_apps(reply), 0);
}

}  // namespace
