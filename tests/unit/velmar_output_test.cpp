#include "velmar_output.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <string>
#include <thread>

namespace {

/// What a program prints that runs `body` and then ends.
template <typename Body>
std::string output_of(Body body) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    collect_output();
    body();
    std::exit(0);
  }
  close(ends[1]);
  std::string text;
  char bytes[4096];
  for (ssize_t count = 0; (count = read(ends[0], bytes, sizeof bytes)) > 0;) {
    text.append(bytes, static_cast<std::size_t>(count));
  }
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return text;
}

TEST(Output, IsShownWhenItIsAskedForAndAtTheEnd) {
  EXPECT_EQ(output_of([] {
              std::puts("shown");
              show_output();
              std::puts("left");
            }),
            "shown\nleft\n");
}

TEST(Output, OfPiecesIsTheirText) {
  const std::string longest(1000, 'x');
  EXPECT_EQ(output_of([&] {
              print_pieces({"a ", "", longest, Decimal(7), "\n"});
            }),
            "a " + longest + "7\n");
}

TEST(Output, OfNumbersIsDecimal) {
  for (const unsigned long long number : {0ULL, 9ULL, 10ULL, 65535ULL, ULLONG_MAX}) {
    EXPECT_EQ(std::string_view(Decimal(number)), std::to_string(number));
  }
}

TEST(Output, IsNotWrittenTwiceWhenThreadsPrintAtTheEnd) {
  for (int round = 0; round < 200; ++round) {
    const std::string text = output_of([] {
      std::thread([] {
        for (unsigned long long i = 0;; ++i) {
          print_pieces({Decimal(i), "\n"});
          show_output();
        }
      }).detach();
      std::this_thread::yield();
    });
    std::string expected;
    for (int i = 0; expected.size() < text.size(); ++i) expected += std::to_string(i) + '\n';
    ASSERT_EQ(text, expected) << "round " << round;
  }
}

}  // namespace
