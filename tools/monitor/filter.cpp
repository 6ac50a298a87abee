#include "filter.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <sstream>

#include "command_name.h"

namespace vlm::monitor {

/// What a term can ask for: a number or a text of the observation, none where it has no such thing.
struct Filter::Key {
  const char* name;
  std::optional<double> (*number)(const Observation&);
  std::optional<std::string> (*text)(const Observation&);
};

namespace {

using Number = std::optional<double>;
using Text = std::optional<std::string>;

Number code_of(const Observation& observation) {
  if (observation.decoded.code < 0) return std::nullopt;
  return observation.decoded.code;
}

Number result_of(const Observation& observation) {
  if (observation.decoded.kind != Kind::kReply) return std::nullopt;
  return observation.decoded.result;
}

Number round_trip_ms(const Observation& observation) {
  if (!observation.finding.round_trip_ns) return std::nullopt;
  return static_cast<double>(*observation.finding.round_trip_ns) / 1e6;
}

Number number_of(const Observation& observation) { return static_cast<double>(observation.number); }

Number since_s(const Observation& observation) {
  return static_cast<double>(observation.since_ns) / 1e9;
}

Text kind_of(const Observation& observation) {
  return observation.number == 0 ? "timeout" : name_of(observation.decoded.kind);
}

Text channel_of(const Observation& observation) { return observation.entry.channel; }

Text mark_of(const Observation& observation) { return name_of(observation.finding.mark); }

Text name_in(const Observation& observation) { return observation.decoded.name; }

std::optional<double> number_in(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0') return std::nullopt;
  return value;
}

}  // namespace

const Filter::Key* Filter::find_key(std::string_view name) {
  static constexpr Key kKeys[] = {
      {"code", code_of, nullptr},       {"err", result_of, nullptr},
      {"rtt", round_trip_ms, nullptr},  {"number", number_of, nullptr},
      {"since", since_s, nullptr},      {"kind", nullptr, kind_of},
      {"channel", nullptr, channel_of}, {"mark", nullptr, mark_of},
      {"name", nullptr, name_in},
  };
  const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys),
                                         [&](const Key& key) { return name == key.name; });
  return found == std::end(kKeys) ? nullptr : found;
}

bool Filter::add(const std::string& text, std::string& error) {
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    Term term{};
    if (!parse(word, term)) {
      error = "no filter: " + word;
      return false;
    }
    _terms.push_back(term);
  }
  return true;
}

bool Filter::parse(std::string_view word, Term& term) {
  struct Spelling {
    const char* text;
    Operator op;
  };
  static constexpr Spelling kOperators[] = {
      {"!=", Operator::kUnequal}, {"<=", Operator::kAtMost}, {">=", Operator::kAtLeast},
      {"=", Operator::kEqual},    {"<", Operator::kLess},    {">", Operator::kMore},
  };
  const auto at = word.find_first_of("!<>=");
  if (at == word.npos) return false;
  term.key = find_key(word.substr(0, at));
  const auto* const op =
      std::find_if(std::begin(kOperators), std::end(kOperators), [&](const Spelling& spelling) {
        const std::string_view text = spelling.text;
        return word.substr(at, text.size()) == text;
      });
  if (term.key == nullptr || op == std::end(kOperators)) return false;
  term.op = op->op;
  term.text = word.substr(at + std::string_view(op->text).size());
  if (term.key->text != nullptr) {
    std::replace(term.text.begin(), term.text.end(), '_', term.key->text == mark_of ? ' ' : '_');
    return term.op == Operator::kEqual || term.op == Operator::kUnequal;
  }
  auto number = number_in(term.text);
  if (!number && term.key->number == code_of) {
    if (const auto code = command_code(term.text)) number = *code;
  }
  term.number = number.value_or(0);
  return number.has_value();
}

bool Filter::passes(const Observation& observation) const {
  return std::all_of(_terms.begin(), _terms.end(),
                     [&](const Term& term) { return holds(term, observation); });
}

bool Filter::holds(const Term& term, const Observation& observation) {
  if (term.key->text != nullptr) {
    const auto text = term.key->text(observation);
    return (text == term.text) == (term.op == Operator::kEqual);
  }
  const auto number = term.key->number(observation);
  if (!number) return false;
  switch (term.op) {
    case Operator::kEqual: return *number == term.number;
    case Operator::kUnequal: return *number != term.number;
    case Operator::kLess: return *number < term.number;
    case Operator::kAtMost: return *number <= term.number;
    case Operator::kMore: return *number > term.number;
    default: return *number >= term.number;
  }
}

}  // namespace vlm::monitor
