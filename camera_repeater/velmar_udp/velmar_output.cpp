#include "velmar_output.h"

#include <algorithm>

Decimal::Decimal(unsigned long long number) {
  do {
    _digits[--_first] = static_cast<char>('0' + number % 10);
    number /= 10;
  } while (number != 0);
}

void print_pieces(std::initializer_list<std::string_view> pieces) {
  char text[128];
  std::size_t size = 0;
  flockfile(stdout);
  for (std::string_view piece : pieces) {
    while (!piece.empty()) {
      const std::size_t part = std::min(piece.size(), sizeof text - size);
      std::copy_n(piece.data(), part, text + size);
      piece.remove_prefix(part);
      size += part;
      if (size < sizeof text) break;
      std::fwrite(text, 1, size, stdout);
      size = 0;
    }
  }
  std::fwrite(text, 1, size, stdout);
  funlockfile(stdout);
}
