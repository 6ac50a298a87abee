// Regular expressions (ECMAScript) for tests. <regex> is behind them in one source: a test that
// includes it takes seconds more to compile, in each build.
#ifndef PATTERN_H
#define PATTERN_H

#include <string>
#include <vector>

/// A match: the whole of it, then its groups; empty where one took no part.
using Match = std::vector<std::string>;

/// Whether `pattern` describes all of `text`.
bool is_like(const std::string& text, const std::string& pattern);

/// Every match in `text`, in order.
std::vector<Match> matches_in(const std::string& text, const std::string& pattern);

/// `text` with `by` in place of every match; $1 in it stands for the first group.
std::string replaced(const std::string& text, const std::string& pattern, const std::string& by);

#endif  // PATTERN_H
