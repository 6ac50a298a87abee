// Tables of rows that a code finds. A row has a member `code`; the rows stand ascending by it, which
// the table's own source asserts:
//
//   static_assert(is_ascending_by_code(kRows));
#ifndef VELMAR_TABLE_H
#define VELMAR_TABLE_H

#include <cstddef>

/// True when each row's code is above that of the row before it.
template <typename Row, std::size_t size>
constexpr bool is_ascending_by_code(const Row (&rows)[size]) {
  for (std::size_t i = 1; i < size; ++i) {
    if (rows[i - 1].code >= rows[i].code) return false;
  }
  return true;
}

/// The row of `code`, null without one. The rows must be ascending.
template <typename Row, std::size_t size>
const Row* find_by_code(const Row (&rows)[size], int code) {
  const Row* row = rows;  // from which on the code can stand, among `left` rows
  for (std::size_t left = size; left > 1;) {
    const std::size_t half = left / 2;
    if (row[half].code <= code) row += half;
    left -= half;
  }
  return row->code == code ? row : nullptr;
}

#endif  // VELMAR_TABLE_H
