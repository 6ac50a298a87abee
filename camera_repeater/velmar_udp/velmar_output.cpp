#include "velmar_output.h"

#include <cstring>

namespace {

void print_long(std::initializer_list<std::string_view> pieces) {
  flockfile(stdout);
  for (const std::string_view piece : pieces) std::fwrite(piece.data(), 1, piece.size(), stdout);
  funlockfile(stdout);
}

}  // namespace

Decimal::Decimal(unsigned long long number) {
  do {
    _digits[--_first] = static_cast<char>('0' + number % 10);
    number /= 10;
  } while (number != 0);
}

void print_pieces(std::initializer_list<std::string_view> pieces) {
  char line[256];
  std::size_t size = 0;
  for (const std::string_view piece : pieces) {
    if (piece.size() > sizeof line - size) return print_long(pieces);
    std::memcpy(line + size, piece.data(), piece.size());
    size += piece.size();
  }
  std::fwrite(line, 1, size, stdout);
}
