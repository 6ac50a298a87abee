// What the service does when nobody takes its output, or when there is too little of what it needs.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "camctrl_app.h"
#include "camctrl_service.h"
#include "runnable.h"
#include "udp_service_program.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kGetCameraType = 4096;
const Bytes kCameraTypeReply = camctrl_reply(kGetCameraType, 0, {11});

/// Lines that the service prints about a request for the camera type.
constexpr long kLinesOfARequest = 8;

#ifdef VLM_SANITIZED  // which sleep a second at the end
constexpr std::chrono::seconds kTimeToEnd{10};
#else
constexpr std::chrono::seconds kTimeToEnd{1};
#endif

/// Far more than a pipe and the service's memory hold lines of.
constexpr int kManyRequests = 5000;

long lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

class UdpServiceOutput : public UdpServiceProgram {
 protected:
  static int answered(const CamctrlApp& app, int requests) {
    int count = 0;
    for (int i = 0; i < requests; ++i) {
      count += app.ask(camctrl_request(kGetCameraType)) == kCameraTypeReply;
    }
    return count;
  }

  /// Ends the service by a signal; it has a second.
  void expect_end() const {
    const auto start = Clock::now();
    _service->signal(SIGTERM);
    EXPECT_EQ(_service->wait(), 0);
    EXPECT_LT(Clock::now() - start, kTimeToEnd);
  }

  /// Starts the service from a line of shell, in which "$0" "$@" stands for it and its options.
  void start_in_shell(const std::string& line, const std::string& port) {
    std::vector<std::string> words{"/bin/sh", "-c", line};
    for (const auto& word : runnable({program("vlm_udp_service")})) words.push_back(word);
    words.insert(words.end(), {"--port", port, "--sdcard", _directory / "card"});
    _service = std::make_unique<Process>(words, environment());
  }

  /// Asks until it serves: its output does not tell.
  static void await(const CamctrlApp& app) {
    Bytes reply;
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    while (!app.socket().poll(reply) && Clock::now() < deadline) {
      app.send(camctrl_request(kGetCameraType));
      usleep(10'000);  // an unbound port tells nothing
    }
    while (app.socket().poll(reply)) usleep(10'000);
  }

  static int free_port() { return UdpSocket().port(); }
};

TEST_F(UdpServiceOutput, UnreadDoesNotStopIt) {
  const CamctrlApp app(start_service());
  EXPECT_EQ(answered(app, kManyRequests), kManyRequests);
  expect_end();
}

TEST_F(UdpServiceOutput, SaysHowManyLinesNobodyTook) {
  const CamctrlApp app(start_service());
  EXPECT_EQ(answered(app, kManyRequests), kManyRequests);
  std::string text = _service->read_until(" lines of output were dropped: nobody took them\n");

  const std::string note = text.substr(text.rfind("vlm_udp_service: "));
  text.erase(text.size() - note.size());
  const long dropped = std::stol(note.substr(std::string("vlm_udp_service: ").size()));
  EXPECT_GT(dropped, 0);
  // The last reply may be here before the lines of its request: then they stand behind the note.
  const long late = kManyRequests * kLinesOfARequest - lines(text) - dropped;
  EXPECT_TRUE(late == 0 || late == kLinesOfARequest) << late;

  const std::string request =
      "@receive_commands_from_apps: Received msg:rev_len = 10\n"
      "0x00 0x02 0x00 0x00 0x00 0x00 0x10 0x00 \n"
      "0xd1 0xa5 \n"
      "@process_camera_functions_and_reply: camera_cmd = 4096\n"
      "@process_camera_functions_and_reply: err_code = 0\n"
      "To send msg:\n"
      "0xfe 0x03 0x00 0x00 0x00 0x00 0x10 0x00 \n"
      "0x0b 0xcd 0x1a \n";
  std::string expected;
  while (lines(expected) < lines(text)) expected += request;
  const std::string plain = without_places(text);
  EXPECT_TRUE(plain == expected.substr(0, plain.size())) << "whole lines in order, up to the gap";
  if (late != 0) {
    EXPECT_EQ(without_places(_service->read_until("0x0b 0xcd 0x1a \n")), request);
  }
  EXPECT_EQ(answered(app, 1), 1);
  EXPECT_EQ(without_places(_service->read_until("0x0b 0xcd 0x1a \n")), request) << "and behind it";
}

TEST_F(UdpServiceOutput, WithoutAReaderDoesNotEndIt) {
  const CamctrlApp app(start_service());
  EXPECT_EQ(answered(app, 1), 1);
  _service->close_output();
  EXPECT_EQ(answered(app, kManyRequests / 10), kManyRequests / 10);
  expect_end();
}

TEST_F(UdpServiceOutput, ThatTheDiskHasNoRoomForDoesNotStopIt) {
  const int port = free_port();
  start_in_shell("exec \"$0\" \"$@\" >/dev/full", std::to_string(port));
  const CamctrlApp app(port);
  await(app);
  EXPECT_EQ(answered(app, kManyRequests / 10), kManyRequests / 10);
  expect_end();
}

TEST_F(UdpServiceOutput, IsNotMissed) {
  const int port = free_port();
  start_in_shell("exec \"$0\" \"$@\" <&- >&- 2>&-", std::to_string(port));
  const CamctrlApp app(port);
  await(app);
  EXPECT_EQ(answered(app, kManyRequests / 10), kManyRequests / 10);
  expect_end();
}

TEST_F(UdpServiceOutput, IsWrittenWholeBeforeItEnds) {
  const CamctrlApp app(start_service());
  EXPECT_EQ(answered(app, 20), 20);
  _service->signal(SIGTERM);
  EXPECT_EQ(_service->wait(), 0);
  EXPECT_EQ(lines(_service->read_all()), 20 * kLinesOfARequest);
}

// --- Too little of what it needs ---

class UdpServiceShortage : public UdpServiceOutput {
 protected:
  enum Outcome { kServes, kFails, kNotStarted };

  /// Starts the service behind a line of shell that takes something away. It must serve, or end with
  /// status 1 and a message.
  Outcome start_short_of(const std::string& limit) {
    if (Process(
            {"/bin/sh", "-c", limit + " && " + program_in_shell("vlm_udp_service") + "--version"})
            .wait() != 0) {
      return kNotStarted;  // the system cannot even load it
    }
    start_in_shell(limit + " && exec \"$0\" \"$@\"", "0");
    std::string output;
    try {
      output = _service->read_until("serving port ");
    } catch (const std::runtime_error&) {
      EXPECT_EQ(_service->wait(), 1) << limit;
      EXPECT_NE(_service->errors().find("vlm_udp_service: "), std::string::npos)
          << limit << _service->errors();
      return kFails;
    }
    const CamctrlApp app(std::stoi(_service->read_until("\n")));
    EXPECT_EQ(answered(app, 2), 2) << limit;
    expect_end();
    return kServes;
  }

  /// Tries each of the limits; some must be too low, and some must do.
  void expect_truth(const std::string& command, int from, int to, int step) {
    int served = 0;
    int failed = 0;
    for (int limit = from; limit <= to; limit += step) {
      const Outcome outcome = start_short_of(command + std::to_string(limit));
      served += outcome == kServes;
      failed += outcome == kFails;
    }
    EXPECT_GT(served, 0);
    EXPECT_GT(failed, 0);
  }
};

#ifndef VLM_SANITIZED  // sanitizers need terabytes of addresses
TEST_F(UdpServiceShortage, OfMemoryEndsItUnlessBothThreadsLive) {
  if (program_in_shell("vlm_udp_service") != program("vlm_udp_service") + " ") {
    GTEST_SKIP() << "the emulator's memory would be short";
  }
  expect_truth("ulimit -v ", 8000, 84000, 1000);
}
#endif

}  // namespace
