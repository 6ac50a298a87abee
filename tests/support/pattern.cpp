#include "pattern.h"

#include <map>
#include <regex>

namespace {

/// Compiled once: some tests hold thousands of lines against one pattern.
const std::regex& compiled(const std::string& pattern) {
  thread_local std::map<std::string, std::regex> all;
  const auto known = all.find(pattern);
  return known != all.end() ? known->second : all.emplace(pattern, pattern).first->second;
}

}  // namespace

bool is_like(const std::string& text, const std::string& pattern) {
  return std::regex_match(text, compiled(pattern));
}

std::vector<Match> matches_in(const std::string& text, const std::string& pattern) {
  std::vector<Match> all;
  const std::sregex_iterator end;
  for (std::sregex_iterator it(text.begin(), text.end(), compiled(pattern)); it != end; ++it) {
    all.emplace_back(it->begin(), it->end());
  }
  return all;
}

std::string replaced(const std::string& text, const std::string& pattern, const std::string& by) {
  return std::regex_replace(text, compiled(pattern), by);
}
