// The camera-control service as a program, with the simulated camera behind it.

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "camctrl_app.h"
#include "camctrl_service.h"
#include "pattern.h"
#include "transcript.h"
#include "udp_service_program.h"

namespace {

TEST_F(UdpServiceProgram, ServesTheCamera) {
  start_camera();
  const CamctrlApp app(start_service());
  EXPECT_EQ(app.ask(camctrl_request(4121)), camctrl_reply(4121, 0, {1}));
  EXPECT_EQ(without_places(without_durations(_service->read_until("0x01 0x20 0xc9 \n"))),
            "@receive_commands_from_apps: Received msg:rev_len = 10\n"
            "0x00 0x02 0x00 0x00 0x00 0x00 0x10 0x19 \n"
            "0x5c 0xe5 \n"
            "@process_camera_functions_and_reply: camera_cmd = 4121\n"
            "get_camera_mode() is ready.\n"
            "Send GET_CAMERA_MODE\n"
            "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
            "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
            "Recv GET_CAMERA_MODE Ack OK\n"
            "@process_camera_functions_and_reply: camera_mode = 1(1-video;2-photo)\n"
            "@process_camera_functions_and_reply: err_code = 0\n"
            "To send msg:\n"
            "0xfe 0x03 0x00 0x00 0x00 0x00 0x10 0x19 \n"
            "0x01 0x20 0xc9 \n");
}

TEST_F(UdpServiceProgram, NamesItsSourcesByTheirPathsInTheRepository) {
  CamctrlApp(start_service()).send(camctrl_request(0));
  EXPECT_EQ(_service->read_until("receive_commands_from_apps]"),
            "[camera_repeater/velmar_udp/velmar_udp_master_k720.cpp:receive_commands_from_apps]");
}

TEST_F(UdpServiceProgram, ShowsWhatItRefusedBeforeItWaits) {
  const CamctrlApp app(start_service());
  Bytes wrong = camctrl_request(4121);
  wrong.back() = static_cast<u8>(wrong.back() ^ 1);
  constexpr int kRefused = 3;
  constexpr int kProtocol = 27;
  for (int i = 0; i < kRefused; ++i) app.send(wrong);
  for (int i = 0; i < kRefused; ++i) {
    EXPECT_EQ(app.receive(), camctrl_error_reply(wrong, kProtocol));
    EXPECT_EQ(without_places(_service->read_until("(CRC error)\n")),
              "@receive_commands_from_apps: Received msg:rev_len = 10\n" + byte_dump(wrong) +
                  "@check_msg_from_apps: CRC data error!\n"
                  "@receive_commands_from_apps: VLM_ERR_PROTOCOL(CRC error)\n");
  }
}

TEST_F(UdpServiceProgram, AnswersForACameraThatDoesNot) {
  const int port = start_service();
  EXPECT_EQ(CamctrlApp(port).ask(camctrl_request(4121)), camctrl_reply(4121, 26));
}

TEST_F(UdpServiceProgram, PrintsNotifications) {
  start_camera();
  start_service();
  _camera->write("card remove\n");
  EXPECT_EQ(_service->read_until("sdcard is removed\n"),
            "storage notification: status 0, storage id 0, count 2\nsdcard is removed\n");
}

TEST_F(UdpServiceProgram, DoesNotDisturbAConsoleOnTheSameBus) {
  start_camera();
  const auto console = start("vlm_test");
  console->write("1\n");
  console->read_until("camera_mode = 1(1:video,2:photo)\n\n");
  console->read_until("\n");
  start_service();
  console->write("1\nq\n");
  EXPECT_EQ(without_durations(console->read_all()),
            "get_camera_mode() is ready.\n"
            "Send GET_CAMERA_MODE\n"
            "LCM request GET_CAMERA_MODE took: N ms, error 0\n"
            "finish waiting for cmd GET_CAMERA_MODE response. error code: 0\n"
            "Recv GET_CAMERA_MODE Ack OK\n"
            "camera_mode = 1(1:video,2:photo)\n"
            "\n"
            "Please input cmd below:[cmd_type] [param0] [param1] ...\n");
}

TEST_F(UdpServiceProgram, EndsCleanlyOnASignal) {
  for (const int signal : {SIGTERM, SIGINT}) {
    start_service();
    _service->signal(signal);
    EXPECT_EQ(_service->wait(), 0) << signal;
    EXPECT_EQ(_service->errors(), "");
  }
}

TEST_F(UdpServiceProgram, KeepsItsLogOnTheSdCard) {
  _directory.make_dir("card");
  _directory.write("card/trigger");
  const int port = start_service();
  CamctrlApp(port).ask(camctrl_request(3));  // no camera
  const std::string log = _directory.read("card/test.log");
  EXPECT_NE(log.find("Capture"), std::string::npos) << log;
  EXPECT_NE(log.find("error: LCM request TAKE_PHOTO timeout"), std::string::npos) << log;
}

TEST_F(UdpServiceProgram, RunsTheTimeLogWhenAskedTo) {
  _directory.write("log_time");
  start_camera();
  start_service({"--sdcard", _directory.path(), "--log-time"});
  _service->read_until("SD card is OK\n");
  const std::string name = "log_time_dir/log_time_file_0001.log";
  std::string lines;
  for (int i = 0; i < 500 && lines.size() < 80; ++i) {
    usleep(10'000);  // the thread writes a line each 10 ms, and tells nobody
    lines = _directory.read(name);
  }
  EXPECT_EQ(lines.substr(0, 5), "0001-");
}

#ifdef NO_THREADS
TEST_F(UdpServiceProgram, SaysWhichThreadCannotBeMade) {
  const std::string why = ": Resource temporarily unavailable\n";
  const std::string last = "vlm_udp_service: no thread for the time log" + why;
  std::vector<std::string> told;
  for (int made = 0; told.empty() || told.back() != last; ++made) {
    ASSERT_LT(made, 20);
    Process service({program("vlm_udp_service"), "--port", "0", "--log-time"},
                    {"VLM_BUS_DIR=" + _directory / "bus", "LD_PRELOAD=" NO_THREADS,
                     "NO_THREADS_AFTER=" + std::to_string(made)});
    EXPECT_EQ(service.wait(), 1) << made;
    told.push_back(service.errors());
  }
  EXPECT_EQ(told.front(), "vlm_udp_service: no thread for the output" + why);
}
#endif

TEST_F(UdpServiceProgram, IsRefusedAPortInUse) {
  const UdpSocket other;
  const std::string port = std::to_string(other.port());
  const Outcome outcome = run("vlm_udp_service", {"--port", port});
  EXPECT_EQ(without_places(outcome.output), "@init_udp_server: bind error.\n");
  EXPECT_EQ(outcome.errors, "vlm_udp_service: port " + port + " cannot be served: is it in use?\n");
  EXPECT_EQ(outcome.status, 1);
}

TEST_F(UdpServiceProgram, FailsWithoutABus) {
  _directory.write("bus");
  const Outcome outcome = run("vlm_udp_service", {"--port", "0"});
  EXPECT_EQ(outcome.output, "");
  EXPECT_NE(outcome.errors.find("vlm_udp_service: the bus does not deliver\n"), std::string::npos)
      << outcome.errors;
  EXPECT_EQ(outcome.status, 1);
}

TEST_F(UdpServiceProgram, RefusesAWrongCommandLine) {
  const struct {
    std::vector<std::string> options;
    const char* error;
  } faults[] = {
      {{"--port"}, "a value is missing: --port"},
      {{"--port", "x"}, "no port: x"},
      {{"--port="}, "no port: "},
      {{"--port=-1"}, "no port: -1"},
      {{"--port=65536"}, "no port: 65536"},
      {{"--port=9528x"}, "no port: 9528x"},
      {{"--bind", "camera"}, "no address: camera"},
      {{"--allow", "10.0.0.1/8"}, "no network: 10.0.0.1/8"},
      {{"--rate", "0"}, "no rate of 1 to 1000000: 0"},
      {{"--rate", "1000001"}, "no rate of 1 to 1000000: 1000001"},
      {{"--sdcard"}, "a value is missing: --sdcard"},
      {{"--sdcard", std::string(28, 'c'), "--log-time"},
       "the time log takes no card path of more than 27 characters"},
      {{"--fast"}, "not an option: --fast"},
      {{"-p"}, "not an option: -p"},
      {{"9528"}, "not an option: 9528"},
  };
  for (const auto& fault : faults) {
    const Outcome outcome = run("vlm_udp_service", fault.options);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, std::string("vlm_udp_service: ") + fault.error + "\n");
    EXPECT_EQ(outcome.status, 2);
  }
}

TEST_F(UdpServiceProgram, TellsItsUseAndVersion) {
  const Outcome help = run("vlm_udp_service", {"--help"});
  EXPECT_EQ(help.output.rfind("Usage: vlm_udp_service [OPTION]...\n", 0), 0U) << help.output;
  EXPECT_EQ(help.status, 0);
  const Outcome version = run("vlm_udp_service", {"--version"});
  EXPECT_EQ(version.output, "vlm_udp_service 1.0.0\n");
  EXPECT_EQ(version.status, 0);
}

// --- The page for developers of applications ---

std::string source(const std::string& path) {
  std::ifstream file(VLM_DOCS_DIR "/" + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string page() { return source("camctrl_protocol.md"); }

/// What stands between the fences of the block that follows `marker`.
std::string block(const std::string& marker) {
  const std::string text = page();
  const auto begin = text.find('\n', text.find("```", text.find(marker))) + 1;
  return text.substr(begin, text.find("```", begin) - begin);
}

Bytes bytes_of(const std::string& hex) {
  Bytes bytes;
  std::istringstream text(hex);
  for (int byte = 0; text >> std::hex >> byte;) bytes.push_back(static_cast<u8>(byte));
  return bytes;
}

TEST_F(UdpServiceProgram, AnswersAsItsPageSays) {
  start_camera();
  const int port = start_service();
  const CamctrlApp app(port);
  EXPECT_EQ(app.ask(camctrl_request(7, {2})), camctrl_reply(7, 0));
  EXPECT_EQ(app.ask(bytes_of(block("The datagram:"))), bytes_of(block("one data byte longer:")));
}

TEST_F(UdpServiceProgram, RefusesAsItsPageSays) {
  const CamctrlApp app(start_service());
  Bytes refusal = bytes_of(block("These are the first bytes of the reply"));
  refusal.resize(264);
  EXPECT_EQ(app.ask(bytes_of(block("With one bit of its CRC flipped"))), refusal);
}

/// The numbers that `pattern` captures in `text`.
std::vector<int> numbers(const std::string& text, const std::string& pattern) {
  std::vector<int> all;
  for (const Match& match : matches_in(text, pattern)) all.push_back(std::stoi(match[1]));
  return all;
}

TEST(UdpServicePage, NamesEveryResult) {
  const std::string text = page();
  const auto begin = text.find("## Results");
  const auto listed = numbers(text.substr(begin, text.find("\n\nAnother number", begin) - begin),
                              R"(\n\| (\d+) \|)");
  const auto defined = numbers(source("../camera_repeater/velmar_udp/vlm_camera_codes.h"),
                               R"(VLM_ERR_\w+ = (\d+),)");
  ASSERT_GT(defined.size(), 80U);
  EXPECT_EQ(listed, defined);
}

std::size_t count(const std::string& text, const std::string& word) {
  std::size_t found = 0;
  for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) ++found;
  return found;
}

struct Vector {
  std::string meaning;
  Bytes request;
  Bytes reply;
};

std::vector<Vector> vectors() {
  constexpr char kForm[] =
      R"re("meaning": "([^"]*)",\s*"request": "([^"]*)",\s*"reply": "([^"]*)")re";
  std::vector<Vector> all;
  for (const Match& match : matches_in(source("camctrl_vectors.json"), kForm)) {
    all.push_back({match[1], bytes_of(match[2]), bytes_of(match[3])});
  }
  return all;
}

TEST_F(UdpServiceProgram, AnswersAsItsVectorsSay) {
  start_camera();
  const CamctrlApp app(start_service());
  const auto all = vectors();
  EXPECT_EQ(all.size(), count(source("camctrl_vectors.json"), "\"meaning\""));
  for (const Vector& one : all) EXPECT_EQ(app.ask(one.request), one.reply) << one.meaning;
}

TEST(UdpServicePage, HasAVectorForEveryCommand) {
  std::set<int> asked;
  for (const Vector& one : vectors()) {
    const bool answered = one.reply.size() < 264 && one.reply.at(4) == 0 && one.reply.at(5) == 0;
    if (answered) asked.insert(one.reply.at(6) << 8 | one.reply.at(7));
  }
  const std::string text = page();
  const auto begin = text.find("## Commands");
  const auto listed = numbers(text.substr(begin, text.find("Every other command", begin) - begin),
                              R"(\n\| (\d+) \|)");
  EXPECT_EQ(asked, std::set<int>(listed.begin(), listed.end()));
  EXPECT_EQ(asked.size(), 40U);
}

TEST_F(UdpServiceProgram, IsNotFloodedByTheClientOfItsPageWhenBusy) {
  const UdpSocket busy_service;
  _directory.write("client.py", block("## A client in Python"));
  Process client(
      {"/usr/bin/env", "python3", _directory / "client.py", std::to_string(busy_service.port())});
  int sender = 0;
  for (int asked = 0; asked < 8; ++asked) {
    const Bytes request = busy_service.receive(&sender);
    busy_service.send(camctrl_error_reply(request, 2), sender);
  }
  EXPECT_EQ(client.read_all(), "");
  EXPECT_EQ(client.wait(), 1);
  EXPECT_NE(client.errors().find("TimeoutError: the service is busy\n"), std::string::npos)
      << client.errors();
  Bytes more;
  EXPECT_FALSE(busy_service.poll(more));
}

TEST_F(UdpServiceProgram, ServesTheClientOfItsPage) {
  start_camera();
  const int port = start_service();
  _directory.write("client.py", block("## A client in Python"));
  Process client({"/usr/bin/env", "python3", _directory / "client.py", std::to_string(port)});
  EXPECT_EQ(client.read_all(), block("It prints:"));
  EXPECT_EQ(client.errors(), "");
  EXPECT_EQ(client.wait(), 0);
}

}  // namespace
