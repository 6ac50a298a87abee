// Output that never stops the program: what is printed goes into memory, and a thread writes it out.
// When nobody takes it, because a pipe is full, its reader has gone or the disk has no room, whole
// lines are dropped; once output is taken again, a line where they would stand says how many.
#ifndef OUTPUT_RELAY_H
#define OUTPUT_RELAY_H

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string>

namespace vlm::service {

class OutputRelay {
 public:
  /// For output to `descriptor`, with `program` in front of the line about what was dropped.
  OutputRelay(int descriptor, std::string program);

  /// Starts the thread; the object must live as long as the process. False, with the reason in
  /// errno, when there is no thread to be had.
  bool start();

  /// A stream into the relay, for good, buffered as setvbuf takes it; null when there is no memory.
  /// Writing to it neither blocks nor fails.
  std::FILE* open_stream(int buffering);

  /// Takes text. Any thread; never blocks.
  void append(const char* text, std::size_t size);

  /// Waits until all that has been taken is written, but no longer than `limit`. At the end of the
  /// program.
  void drain(std::chrono::milliseconds limit);

 private:
  /// What waits while another such amount is being written.
  static constexpr std::size_t kCapacity = std::size_t{256} * 1024;

  void run();
  bool is_urgent() const;
  void store(const char* piece, std::size_t size);
  void write_out(unsigned long lost_behind);
  std::size_t write_all(const char* text, std::size_t size) const;
  bool write_note();

  const int _descriptor;
  const std::string _program;

  std::mutex _mutex;  // guards the members down to _draining
  std::condition_variable _printed;
  std::condition_variable _written;
  std::string _stored;
  unsigned long _lost = 0;  // lines dropped behind what is stored
  bool _cut = false;        // the beginning of the current line was dropped
  bool _writing = false;
  bool _draining = false;  // somebody waits until all is written

  // The thread's own.
  std::string _taken;
  unsigned long _untold = 0;  // lines lost that no note has been written of
  bool _mid_line = false;     // the last byte written was no newline
};

/// Sends standard output and standard error through relays of their own, the first as it is shown
/// (velmar_output.h), the other line by line. False, with the reason in
/// errno, when that is not possible. Once, before other threads print.
bool relay_standard_output(const char* program);

/// Waits until what was printed is written, but no longer than `limit`.
void drain_standard_output(std::chrono::milliseconds limit);

}  // namespace vlm::service

#endif  // OUTPUT_RELAY_H
