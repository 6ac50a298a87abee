#include "output_relay.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>

#include "temporary_directory.h"

namespace {

using namespace vlm::service;

constexpr std::chrono::seconds kPlenty{20};
const std::string kNote = " lines of output were dropped: nobody took them\n";

/// A relay into a pipe that the test reads.
class OutputRelayToAPipe : public testing::Test {
 protected:
  OutputRelayToAPipe() : _ends(make_pipe()), _relay(*new OutputRelay(_ends[1], "test")) {
    std::signal(SIGPIPE, SIG_IGN);
    if (!_relay.start()) throw std::runtime_error("no thread");
  }
  ~OutputRelayToAPipe() override { close(_ends[0]); }  // the relay keeps the other for good

  static std::array<int, 2> make_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return ends;
  }

  void print(const std::string& text) { _relay.append(text.data(), text.size()); }

  /// What has come up to `marker`.
  std::string read_until(const std::string& marker) {
    std::string text;
    while (text.size() < marker.size() ||
           text.compare(text.size() - marker.size(), marker.size(), marker) != 0) {
      pollfd ready{_ends[0], POLLIN, 0};
      if (poll(&ready, 1, 20000) != 1) throw std::runtime_error("nothing came after " + text);
      char byte = 0;
      if (read(_ends[0], &byte, 1) != 1) throw std::runtime_error("the end came after " + text);
      text += byte;
    }
    return text;
  }

  /// More than pipe and memory hold, each line in two pieces.
  void print_too_much() {
    for (long i = 0; i < kTooMany; ++i) {
      print("line " + std::to_string(i));
      print(kRest);
    }
  }

  /// Reads that. Each line must be whole and in its place, or be counted where it is missing. Returns
  /// how many are missing.
  long read_with_gaps() {
    long dropped = 0;
    for (long next = 0; next < kTooMany;) {
      const std::string text = read_until("\n");
      if (text == "line " + std::to_string(next) + kRest) {
        ++next;
        continue;
      }
      const long gap = text.rfind("test: ", 0) == 0 ? std::stol(text.substr(6)) : 0;
      if (gap == 0 || text != "test: " + std::to_string(gap) + kNote) {
        throw std::runtime_error("instead of line " + std::to_string(next) + ": " + text);
      }
      next += gap;
      dropped += gap;
    }
    return dropped;
  }

  static constexpr long kTooMany = 20000;
  static constexpr char kRest[] = " of a program that says more than anyone wants to know\n";

  std::array<int, 2> _ends;
  OutputRelay& _relay;
};

TEST_F(OutputRelayToAPipe, PassesLinesOnInOrder) {
  print("one\ntwo\n");
  print("thr");
  print("ee\n");
  EXPECT_EQ(read_until("three\n"), "one\ntwo\nthree\n");
}

TEST_F(OutputRelayToAPipe, TakesALineThatIsNotWholeYet) {
  print("no end");
  EXPECT_EQ(read_until("end"), "no end");
}

TEST_F(OutputRelayToAPipe, DropsWholeLinesAndSaysWhereAndHowMany) {
  print_too_much();
  EXPECT_GT(read_with_gaps(), 0);
  print("all is well\n");
  EXPECT_EQ(read_until("\n"), "all is well\n");
}

TEST_F(OutputRelayToAPipe, WaitsForAReaderNoLongerThanItIsTold) {
  print_too_much();
  _relay.drain(std::chrono::milliseconds(1));
  SUCCEED() << "it returned";
}

TEST_F(OutputRelayToAPipe, HasWrittenAllOnceDrained) {
  print("one\n");
  _relay.drain(kPlenty);
  pollfd ready{_ends[0], POLLIN, 0};
  EXPECT_EQ(poll(&ready, 1, 0), 1);
  EXPECT_EQ(read_until("\n"), "one\n");
}

TEST_F(OutputRelayToAPipe, WritesToAPipeThatDoesNotBlock) {
  fcntl(_ends[1], F_SETFL, O_NONBLOCK);
  const std::string text(200'000, '.');  // more than the pipe holds, less than the memory
  print(text + "\n");
  EXPECT_EQ(read_until("\n"), text + "\n");
}

TEST_F(OutputRelayToAPipe, GivesAStreamThatTakesLines) {
  std::FILE* const stream = _relay.open_stream(_IOLBF);
  ASSERT_NE(stream, nullptr);
  std::fprintf(stream, "%d and ", 1);
  std::fputs("2\n", stream);
  EXPECT_EQ(read_until("\n"), "1 and 2\n");
}

TEST(OutputRelay, FindsItsNextReader) {
  std::signal(SIGPIPE, SIG_IGN);
  const TemporaryDirectory directory;
  const std::string path = directory / "fifo";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const auto reader = [&path] { return open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); };
  const int first = reader();
  const int writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  auto& relay = *new OutputRelay(writer, "test");
  ASSERT_TRUE(relay.start());
  const auto print = [&relay](const std::string& text) {
    relay.append(text.data(), text.size());
    relay.drain(kPlenty);
  };
  const auto waiting = [](int fd) {
    std::array<char, 4096> text{};
    const ssize_t size = read(fd, text.data(), text.size());
    return std::string(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  };
  print("one\n");
  EXPECT_EQ(waiting(first), "one\n");
  close(first);
  print("two\nthree\n");
  print("four\n");
  const int second = reader();
  print("five\n");
  EXPECT_EQ(waiting(second), "test: 3" + kNote + "five\n");
  close(second);
}

}  // namespace
