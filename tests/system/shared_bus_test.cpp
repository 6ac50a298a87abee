// Several consoles ask one camera at the same time: each sees the replies to all of them. A reply that
// has come must never be reported as a time-out, whatever else comes. How often they meet is up to the
// machine: what is proven for every order of replies stands in the engine's own tests.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "process.h"

namespace {

constexpr int kRequests = 300;

/// Commands that only ask.
constexpr std::array<int, 8> kQueries{1, 7, 9, 17, 19, 23, 40, 48};

/// What a transcript tells of its requests.
struct Tally {
  int sent = 0;
  int answered = 0;
  int false_timeouts = 0;  // reported although the own reply had been traced
};

bool starts(const std::string& line, const std::string& text) { return line.rfind(text, 0) == 0; }

Tally tally(const std::string& transcript) {
  Tally tally;
  std::string own;  // the pending command
  bool replied = false;
  std::istringstream lines(transcript);
  for (std::string line; std::getline(lines, line);) {
    if (starts(line, "Send ")) {
      own = line.substr(5);
      replied = false;
      ++tally.sent;
    } else if (starts(line, "LCM request ") && line.find(" took: ") != std::string::npos) {
      replied = replied || starts(line, "LCM request " + own + " took: ");
    } else if (starts(line, "Recv ")) {
      ++tally.answered;
    } else if (starts(line, "error: LCM request ")) {
      tally.false_timeouts += replied ? 1 : 0;
    }
  }
  return tally;
}

class SharedBus : public testing::TestWithParam<int> {
 protected:
  void start_camera() {
    _camera =
        std::make_unique<Process>(std::vector<std::string>{program("camera_sim")}, environment());
    _camera->read_until("camera_sim: ready");
  }

  /// Starts a console that asks its question `kRequests` times; its output goes to a file, so that
  /// no console waits for its reader.
  void start_console(int number) {
    const std::string line = "exec " + program_in_shell("vlm_test") + ">" + transcript(number);
    auto console =
        std::make_unique<Process>(std::vector<std::string>{"/bin/sh", "-c", line}, environment());
    const int query = kQueries[static_cast<std::size_t>(number) % kQueries.size()];
    std::string input;
    for (int i = 0; i < kRequests; ++i) input += std::to_string(query) + "\n";
    console->write(input);
    console->close_input();
    _consoles.push_back(std::move(console));
  }

  std::string transcript(int number) const { return _directory / std::to_string(number); }
  std::vector<std::string> environment() const { return {"VLM_BUS_DIR=" + (_directory / "bus")}; }

  TemporaryDirectory _directory;
  std::unique_ptr<Process> _camera;
  std::vector<std::unique_ptr<Process>> _consoles;
};

TEST_P(SharedBus, TakesNoReplyAwayThatHasCome) {
  start_camera();
  for (int number = 0; number < GetParam(); ++number) start_console(number);
  for (const auto& console : _consoles) EXPECT_EQ(console->wait(), 0);
  for (int number = 0; number < GetParam(); ++number) {
    const Tally seen = tally(_directory.read(std::to_string(number)));
    EXPECT_EQ(seen.sent, kRequests);
    EXPECT_GT(seen.answered, 0);
    EXPECT_EQ(seen.false_timeouts, 0) << "console " << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Consoles, SharedBus, testing::Values(2, 8));

}  // namespace
