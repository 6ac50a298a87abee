// Entry of the console program: the prompt, one command from the arguments, help, or the UDP client.

#include "vlm_test.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "velmar_output.h"

namespace {

using Clock = std::chrono::steady_clock;

// A command line, its terminator included.
using Line = char[100];

enum class ReadResult { kLine, kTooLong, kEnd };

/// Reads one line with its newline. Of a line that is too long nothing is left for the next read:
/// no part of it must run as a command.
ReadResult read_line(Line& line) {
  show_output();
  std::size_t length = 0;
  bool fits = true;
  int c = 0;
  while (c != '\n' && (c = std::getchar()) != EOF) {
    if (length < sizeof line - 1) {
      line[length++] = static_cast<char>(c);
    } else if (c != '\n') {
      fits = false;
    }
  }
  line[length] = '\0';
  if (!fits) return ReadResult::kTooLong;
  return length == 0 ? ReadResult::kEnd : ReadResult::kLine;
}

/// Joins the arguments, each followed by a blank. False when they do not fit.
bool join_arguments(int argc, char** argv, Line& line) {
  std::size_t length = 0;
  for (int i = 1; i < argc; ++i) {
    const std::size_t size = std::strlen(argv[i]);
    if (length + size + 1 >= sizeof line) return false;
    std::memcpy(line + length, argv[i], size);
    length += size;
    line[length++] = ' ';
  }
  line[length] = '\0';
  return true;
}

/// Gives standard streams that are closed the null device. Otherwise the next files opened, the bus's
/// among them, would take their numbers, and the console would print into those.
void open_closed_streams() {
  int fd = -1;
  do {
    fd = open("/dev/null", O_RDWR);
  } while (fd != -1 && fd <= STDERR_FILENO);
  if (fd != -1) close(fd);
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

void refuse() { std::puts("invalid command input"); }

/// Gives the listener, started at `listening_since`, the time to subscribe: a reply that nobody
/// listens for would be lost, and its command time out.
void let_listener_subscribe(Clock::time_point listening_since) {
  show_output();
  std::this_thread::sleep_until(listening_since + std::chrono::milliseconds(500));
}

/// Acts on one line of the prompt. False when it ends the loop.
bool run_line(Line& line, Clock::time_point listening_since) {
  switch (line[0]) {
    case 'h':
    case 'H': print_usage(); return true;
    case 'q':
    case 'Q': return false;
    default: break;
  }
  if (is_digit(line[0])) {
    let_listener_subscribe(listening_since);
    send_cmd_to_lcm(line);
  } else {
    refuse();
  }
  return true;
}

void run_prompt(Clock::time_point listening_since) {
  Line line = {};
  for (;;) {
    std::puts("Please input cmd below:[cmd_type] [param0] [param1] ...");
    const ReadResult result = read_line(line);
    if (result == ReadResult::kEnd) return;
    if (result == ReadResult::kTooLong) {
      refuse();
    } else if (!run_line(line, listening_since)) {
      return;
    }
  }
}

void run_arguments(int argc, char** argv, Clock::time_point listening_since) {
  Line line = {};
  if (!is_digit(argv[1][0]) || !join_arguments(argc, argv, line)) return refuse();
  let_listener_subscribe(listening_since);
  send_cmd_to_lcm(line);
}

}  // namespace

int main(int argc, char** argv) {
  open_closed_streams();
  // Scripts and pipes see each line before the console waits for anything.
  collect_output();
  udp_start_receiving_messages();
  const auto listening_since = Clock::now();

  if (argc < 2) {
    run_prompt(listening_since);
  } else if (std::strcmp(argv[1], "udp") == 0) {
    process_test_udp(argc, argv);
    std::exit(0);
  } else if (std::strcmp(argv[1], "-h") == 0) {
    std::printf("soft version: %s \n", "");
    print_usage();
  } else {
    run_arguments(argc, argv, listening_since);
  }
  return 0;
}
