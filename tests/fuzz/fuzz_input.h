// Takes a fuzzer's input apart from its front; behind its end everything is zero or empty.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* bytes, std::size_t size) : _next(bytes), _left(size) {}

  bool empty() const { return _left == 0; }

  std::uint8_t byte() {
    if (_left == 0) return 0;
    --_left;
    return *_next++;
  }

  /// Little-endian.
  std::uint16_t word() {
    const unsigned low = byte();
    return static_cast<std::uint16_t>(low | static_cast<unsigned>(byte()) << 8);
  }

  /// At most `size` bytes, in a block of their own: whoever reads beyond it is caught.
  std::vector<std::uint8_t> bytes(std::size_t size) {
    size = std::min(size, _left);
    std::vector<std::uint8_t> taken(_next, _next + size);
    taken.shrink_to_fit();
    _next += size;
    _left -= size;
    return taken;
  }

  std::vector<std::uint8_t> rest() { return bytes(_left); }

  /// Up to the next `end`, which is taken too, or to the end of the input.
  std::string text(char end) {
    std::string taken;
    while (_left > 0) {
      const char c = static_cast<char>(byte());
      if (c == end) break;
      taken += c;
    }
    return taken;
  }

 private:
  const std::uint8_t* _next;
  std::size_t _left;
};

/// What has to hold whatever the input; a fuzzer ends at once when it does not.
inline void must(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "must hold: %s\n", what);
  std::abort();
}

/// Throws standard output away: the programs print each line.
inline void be_quiet() { must(std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null"); }

#endif  // FUZZ_INPUT_H
