// Chooses what the monitor shows: terms such as code=SET_ZOOM err!=0, all of which must hold.
#ifndef MONITOR_FILTER_H
#define MONITOR_FILTER_H

#include <string>
#include <string_view>
#include <vector>

#include "observation.h"

namespace vlm::monitor {

class Filter {
 public:
  /// Adds the terms of `text`, which stand apart by blanks. False when one is none: `error` says
  /// which.
  bool add(const std::string& text, std::string& error);

  bool passes(const Observation& observation) const;

 private:
  enum class Operator { kEqual, kUnequal, kLess, kAtMost, kMore, kAtLeast };
  struct Key;
  struct Term {
    const Key* key;
    Operator op;
    std::string text;
    double number = 0;
  };

  static const Key* find_key(std::string_view name);
  static bool parse(std::string_view word, Term& term);
  static bool holds(const Term& term, const Observation& observation);

  std::vector<Term> _terms;
};

}  // namespace vlm::monitor

#endif  // MONITOR_FILTER_H
