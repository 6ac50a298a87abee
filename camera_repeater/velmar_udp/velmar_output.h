// Standard output as the programs use it: the lines of a step are collected and written together, at
// the latest before the thread that printed them waits, or hands over to one that goes on printing.
// All threads print into one buffer, so that the lines keep the order in which they were printed.
#ifndef VELMAR_OUTPUT_H
#define VELMAR_OUTPUT_H

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

/// Writes what was collected. To be called before a thread waits, and before it writes to standard
/// error. Costs no system call when nothing has been printed.
inline void show_output() { std::fflush(stdout); }

/// Writes what was collected, and makes every other thread that prints wait from now on. For the end of
/// a program: the C library then writes what it finds in the buffer without its lock, a second time
/// when another thread is just writing it.
inline void end_output() {
  flockfile(stdout);
  show_output();
}

/// Lets standard output collect lines until show_output(), or until its buffer is full. Once, before
/// anything is printed. Where this is not called, lines go out as the stream's buffering says.
inline void collect_output() {
  static char buffer[16384];  // the longest text, the console's list of commands, in one write
  std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
  std::atexit(end_output);
}

/// A number as print_pieces takes it.
class Decimal {
 public:
  explicit Decimal(unsigned long long number);
  operator std::string_view() const { return {_digits + _first, sizeof _digits - _first}; }

 private:
  char _digits[20];
  std::size_t _first = sizeof _digits;
};

/// Prints the pieces one behind the other; other threads' output stays outside them. What every
/// request prints goes this way, which costs a tenth of printf's formatting.
void print_pieces(std::initializer_list<std::string_view> pieces);

#endif  // VELMAR_OUTPUT_H
