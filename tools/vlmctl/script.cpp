#include "script.h"

#include "catalogue_text.h"
#include "exit_status.h"

namespace vlm::ctl {

namespace {

constexpr unsigned kMostRepeats = 1'000'000;
constexpr std::size_t kDeepest = 16;

[[noreturn]] void refuse(std::size_t line, const std::string& message) {
  fail(kUsage, "", "line " + std::to_string(line) + ": " + message);
}

unsigned parse_times(std::size_t line, const Words& words) {
  const auto times = words.size() == 2 ? catalogue::parse_digits(words[1], 10) : std::nullopt;
  const bool valid = times && *times >= 1 && *times <= kMostRepeats;
  if (!valid) refuse(line, "repeat takes a number from 1 to 1000000");
  return static_cast<unsigned>(*times);
}

class Parser {
 public:
  explicit Parser(const std::vector<std::string>& lines) : _lines(lines) {}

  /// Up to the end of the file, or of the repeat that began in line `opened`.
  std::vector<Step> block(std::size_t opened, std::size_t depth) {
    if (depth > kDeepest) refuse(opened, "repeats are nested too deep");
    std::vector<Step> steps;
    while (_next < _lines.size()) {
      Step step;
      step.text = _lines[_next++];
      step.line = _next;
      step.words = words_of(step);
      if (step.words.empty()) continue;
      if (step.words[0] == "end") {
        if (opened == 0) refuse(step.line, "end without repeat");
        return steps;
      }
      if (step.words[0] == "repeat") {
        step.times = parse_times(step.line, step.words);
        step.body = block(step.line, depth + 1);
      }
      steps.push_back(std::move(step));
    }
    if (opened != 0) refuse(opened, "repeat without end");
    return steps;
  }

 private:
  static Words words_of(Step& step) {
    try {
      const auto first = step.text.find_first_not_of(" \t");
      step.text.erase(0, first);
      return split_words(step.text);
    } catch (const Failure& failure) {
      refuse(step.line, failure.message);
    }
  }

  const std::vector<std::string>& _lines;
  std::size_t _next = 0;
};

}  // namespace

Words split_words(const std::string& line) {
  Words words;
  std::string word;
  bool inside = false;  // a word
  char quote = '\0';
  for (const char letter : line) {
    const bool space = letter == ' ' || letter == '\t';
    if (quote != '\0') {
      if (letter == quote)
        quote = '\0';
      else
        word += letter;
    } else if (letter == '"' || letter == '\'') {
      quote = letter;
      inside = true;
    } else if (letter == '#' && !inside) {
      break;
    } else if (!space) {
      word += letter;
      inside = true;
    } else if (inside) {
      words.push_back(word);
      word.clear();
      inside = false;
    }
  }
  if (quote != '\0') fail(kUsage, "", "a quote is not closed");
  if (inside) words.push_back(word);
  return words;
}

std::vector<Step> parse_script(const std::vector<std::string>& lines) {
  return Parser(lines).block(0, 0);
}

}  // namespace vlm::ctl
